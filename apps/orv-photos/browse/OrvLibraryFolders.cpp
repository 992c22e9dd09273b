#include "OrvLibraryFolders.h"

#include "OrvAlbumNesting.h"
#include "OrvExternalDatabase.h"
#include "OrvUserFile.h"

#include <QDebug>
#include <QXmlStreamReader>

namespace {

// Ids are short numbers; anything longer is no id of a real library.
constexpr qsizetype maxIdLength = 64;

// The text of a value element that holds only text; skips anything else.
QString idText(QXmlStreamReader& xml)
{
    if (xml.name() == QLatin1String("array") || xml.name() == QLatin1String("dict")) {
        xml.skipCurrentElement();
        return QString();
    }
    const QString text = xml.readElementText(QXmlStreamReader::SkipChildElements);
    return text.size() <= maxIdLength ? text : QString();
}

// One album's "dict": its AlbumId and Parent, a key paired with the next element.
void readAlbum(QXmlStreamReader& xml, QHash<QString, QString>& parents)
{
    QString id;
    QString parent;
    QString key;
    bool haveKey = false;
    while (xml.readNextStartElement()) {
        if (haveKey) {
            if (key == QLatin1String("AlbumId"))
                id = idText(xml);
            else if (key == QLatin1String("Parent"))
                parent = idText(xml);
            else
                xml.skipCurrentElement();
            haveKey = false;
        } else if (xml.name() == QLatin1String("key")) {
            key = xml.readElementText(QXmlStreamReader::SkipChildElements);
            haveKey = true;
        } else {
            xml.skipCurrentElement();
        }
    }
    if (!id.isEmpty() && !parent.isEmpty())
        parents.insert(id, parent);
}

} // namespace

QHash<QString, QString> OrvLibraryFolders::read(const QString& libraryFile)
{
    QHash<QString, QString> parents;
    OrvUserFile file(libraryFile, OrvUserFile::LibraryFile);
    if (libraryFile.isEmpty() || !file.open())
        return parents;
    QXmlStreamReader xml(&file);
    // plist > dict > key "List of Albums" > array > album dicts
    if (!xml.readNextStartElement())
        return parents;
    bool inDict = false;
    while (!inDict && xml.readNextStartElement()) {
        inDict = xml.name() == QLatin1String("dict");
        if (!inDict)
            xml.skipCurrentElement();
    }
    if (!inDict)
        return parents;
    bool albumsNext = false;
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("key")) {
            albumsNext = xml.readElementText(QXmlStreamReader::SkipChildElements) == QLatin1String("List of Albums");
            continue;
        }
        if (albumsNext && xml.name() == QLatin1String("array")) {
            while (xml.readNextStartElement()) {
                if (xml.name() == QLatin1String("dict"))
                    readAlbum(xml, parents);
                else
                    xml.skipCurrentElement();
            }
            break;  // the rest of the file holds photos, faces and rolls
        }
        albumsNext = false;
        xml.skipCurrentElement();
    }
    if (xml.hasError() && !parents.isEmpty())
        qDebug() << "OrvLibraryFolders:" << libraryFile << "broken after its folders:" << xml.errorString();
    return parents;
}

void OrvLibraryFolders::arrange(OrvExternalDatabase* database, const std::function<QString()>& libraryFile)
{
    const OrvExternalUrlBuilder builder = database->urlBuilder();
    database->setAlbumArrangement([builder, libraryFile](const OrvExternalAlbumPool& albums) {
        const QHash<QString, QString> read = OrvLibraryFolders::read(libraryFile());
        if (read.isEmpty())
            return albums;
        QHash<OrvExternalId, OrvExternalId> parents;
        parents.reserve(read.size());
        const OrvExternalAccess access(builder);
        for (auto it = read.cbegin(); it != read.cend(); ++it)
            parents.insert(access.buildAlbumId(it.key()), access.buildAlbumId(it.value()));
        return OrvAlbumNesting::nested(albums, parents);
    });
}
