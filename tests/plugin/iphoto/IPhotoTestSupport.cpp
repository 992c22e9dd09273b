#include "IPhotoTestSupport.h"

#include "OrvIPhotoDatabaseParser.h"
#include "OrvXMLLoader.h"

#include <QDomElement>
#include <QFile>

#include <cmath>

namespace IPhotoTest {

QByteArray library(const QByteArray& topDictBody)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n<dict>\n"
        + topDictBody + "</dict>\n</plist>\n";
}

QByteArray entry(const QByteArray& key, const QByteArray& value, const QByteArray& element)
{
    return "\t<key>" + key + "</key>\n\t<" + element + ">" + value + "</" + element + ">\n";
}

QByteArray foto(const QByteArray& key, const QByteArray& imagePath, const QByteArray& more, const QByteArray& mediaType)
{
    return "<key>" + key + "</key>\n<dict>\n" + entry("MediaType", mediaType) + entry("ImagePath", imagePath) + more
        + "</dict>\n";
}

QByteArray album(const QByteArray& id, const QByteArray& name, const QByteArray& type, const QList<QByteArray>& keys)
{
    QByteArray list;
    for (const QByteArray& key : keys)
        list += "<string>" + key + "</string>";
    return "<dict>\n" + entry("AlbumId", id, "integer") + entry("AlbumName", name) + entry("Album Type", type)
        + "<key>KeyList</key><array>" + list + "</array>\n</dict>\n";
}

QString Snapshot::toString() const
{
    return QStringLiteral("albums:\n  ") + albums.join(QStringLiteral("\n  ")) + QStringLiteral("\nfotos:\n  ")
        + fotos.join(QStringLiteral("\n  ")) + QStringLiteral("\npersons:\n  ") + persons.join(QStringLiteral("\n  "));
}

namespace {

QString describe(const OrvExternalAlbum& album)
{
    QStringList ids;
    for (const OrvExternalId& id : album.fotoIds())
        ids.append(id.toString());
    return album.id().toString() + QLatin1Char('|') + album.name() + QLatin1Char('|') + QString::number(album.type().code())
        + QLatin1Char('|') + ids.join(QLatin1Char(','))
        + (album.parentAlbum().isValid() ? QStringLiteral("|in ") + album.parentAlbum().toString() : QString());
}

QString describe(const OrvExternalFoto& foto)
{
    const auto* data = dynamic_cast<const OrvExternalFotoImplDataLocalDatabase*>(foto.data());
    QStringList faces;
    for (const OrvExternalFace& face : foto.faces()) {
        const QRectF r = face.rect();
        faces.append(face.id().toString() + QStringLiteral("@%1,%2,%3,%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height()));
    }
    const QDateTime taken = foto.taken();
    const QString date = taken.isValid()
        ? taken.toString(Qt::ISODateWithMs) + QLatin1Char('/') + QString::number(taken.toMSecsSinceEpoch())
            + QLatin1Char('/') + QString::number(int(taken.timeSpec()))
        : QStringLiteral("no date");
    return foto.id().toString() + QLatin1Char('|') + foto.name() + QLatin1Char('|') + date + QLatin1Char('|')
        + (data ? data->imagePath() + QLatin1Char('|') + data->thumbnailPath() : QStringLiteral("?|?")) + QLatin1Char('|')
        + QString::number(foto.adobeRating()) + QLatin1Char('|') + faces.join(QLatin1Char(';'));
}

// The file format's rules, read literally over a DOM.
class DomReader : public OrvExternalAccess
{
public:
    using OrvExternalAccess::OrvExternalAccess;

    void parse(const QFileInfo& file)
    {
        const QDomElement top = OrvXMLLoader::loadDocumentElement(file).firstChildElement(QStringLiteral("dict"));
        for (QDomElement key = top.firstChildElement(QStringLiteral("key")); !key.isNull();
             key = key.nextSiblingElement(QStringLiteral("key"))) {
            const QString text = key.text();
            const QDomElement value = key.nextSiblingElement();
            if (text == QLatin1String("List of Faces"))
                parsePersons(value);
            else if (text == QLatin1String("List of Albums"))
                parseAlbums(value);
            else if (text == QLatin1String("Master Image List"))
                parseFotos(value);
        }
        for (const OrvExternalFoto& foto : fotos.fotos()) {
            for (const OrvExternalId& person : foto.allPersonsOnThisFoto())
                persons.addKid(person, foto.id());
        }
    }

    OrvExternalAlbumPool albums;
    OrvExternalFotoPool fotos;
    OrvExternalAlbumPool persons;

private:
    template <class F>
    static void forEachKey(const QDomElement& dict, F f)
    {
        for (QDomElement key = dict.firstChildElement(QStringLiteral("key")); !key.isNull();
             key = key.nextSiblingElement(QStringLiteral("key")))
            f(key.text(), key.nextSiblingElement());
    }

    static quint32 albumType(const QString& text)
    {
        using Type = OrvExternalAlbumType;
        static const QHash<QString, quint32> table{{"Regular", Type::Regular}, {"Smart", Type::Regular},
                                                   {"Event", Type::Event},     {"1", Type::Regular},
                                                   {"2", Type::Regular},       {"3", Type::Special},
                                                   {"4", Type::Regular}};
        if (table.contains(text))
            return table.value(text);
        if (text == QLatin1String("Special Roll"))
            return Type::Special;
        if (text.isEmpty())
            return Type::Untitled;
        if (text.endsWith(QLatin1String("Month")) || text.contains(QLatin1String("Event")))
            return Type::Special;
        return Type::Other;
    }

    static double number(const QString& text)
    {
        bool ok = false;
        const double value = text.toDouble(&ok);
        return ok && std::isfinite(value) ? std::trunc(value) : 0.0;
    }

    void parseAlbums(const QDomElement& array)
    {
        for (QDomElement child = array.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
            OrvExternalId id;
            QString name;
            OrvExternalIdList ids;
            quint32 type = OrvExternalAlbumType::Special;
            forEachKey(child, [&](const QString& key, const QDomElement& value) {
                if (key == QLatin1String("Album Type")) {
                    type = albumType(value.text());
                } else if (key == QLatin1String("AlbumId")) {
                    id = buildAlbumId(value.text());
                } else if (key == QLatin1String("KeyList")) {
                    for (QDomElement item = value.firstChildElement(); !item.isNull(); item = item.nextSiblingElement())
                        ids.append(buildFotoId(item.text()));
                } else if (key == QLatin1String("AlbumName")) {
                    name = value.text();
                }
            });
            OrvExternalAlbum album(id, name, ids, OrvExternalAlbumType(type));
            if (album.isValid())
                albums.add(album);
        }
    }

    void parseFotos(const QDomElement& dict)
    {
        forEachKey(dict, [&](const QString& key, const QDomElement& value) {
            const OrvExternalId id = buildFotoId(key);
            QFileInfo image;
            QFileInfo thumb;
            OrvExternalFaceList faces;
            QDateTime date;
            double rating = 0;
            bool isImage = false;
            forEachKey(value, [&](const QString& k, const QDomElement& v) {
                const QString text = v.text();
                if (k == QLatin1String("ImagePath")) {
                    image = QFileInfo(text);
                } else if (k == QLatin1String("ThumbPath")) {
                    thumb = QFileInfo(text);
                } else if (k == QLatin1String("MediaType")) {
                    isImage = text == QLatin1String("Image");
                } else if (k == QLatin1String("Faces")) {
                    for (QDomElement face = v.firstChildElement(QStringLiteral("dict")); !face.isNull();
                         face = face.nextSiblingElement(QStringLiteral("dict")))
                        faces.add(buildFace(face));
                } else if (k == QLatin1String("DateAsTimerInterval")) {
                    const double seconds = number(text);
                    date = std::abs(seconds) > 1e14 ? QDateTime()
                                                    : OrvIPhotoDatabaseParser::iPhotoEpoch().addSecs(qint64(seconds));
                } else if (k == QLatin1String("Rating")) {
                    rating = number(text);
                }
            });
            if (!isImage)
                return;
            auto* data = new OrvExternalFotoImplDataLocalDatabase(id, image.fileName(), date, image, thumb, faces);
            data->setAdobeRating(std::abs(rating) > 2147483647.0 ? 0 : int(rating));
            fotos.add(OrvExternalFoto(data));
        });
    }

    OrvExternalFace buildFace(const QDomElement& dict) const
    {
        OrvExternalId id;
        QRectF rect(0, 0, 0, 0);
        forEachKey(dict, [&](const QString& key, const QDomElement& value) {
            if (key == QLatin1String("face key")) {
                id = buildFaceId(value.text());
            } else if (key == QLatin1String("rectangle")) {
                const QRegularExpressionMatch match =
                    OrvIPhotoDatabaseParser(OrvExternalUrlBuilder()).faceDetectorRegExp().match(value.text());
                if (match.hasMatch()) {
                    const double x = match.captured(1).toDouble();
                    const double y = match.captured(2).toDouble();
                    const double w = match.captured(3).toDouble();
                    const double h = match.captured(4).toDouble();
                    rect = QRectF(x, 1.0 - y - h, w, h);
                }
            }
        });
        return OrvExternalFace(id, rect);
    }

    void parsePersons(const QDomElement& dict)
    {
        forEachKey(dict, [&](const QString& key, const QDomElement& value) {
            QString name;
            forEachKey(value, [&](const QString& k, const QDomElement& v) {
                if (k == QLatin1String("name"))
                    name = v.text();
            });
            const OrvExternalAlbum person(buildFaceId(key), name, OrvExternalIdList(), OrvExternalAlbumType(OrvExternalAlbumType::Person));
            if (person.isValid())
                persons.add(person);
        });
    }
};

} // namespace

Snapshot snapshot(const OrvExternalAlbumPool& albums, const OrvExternalFotoPool& fotos, const OrvExternalAlbumPool& persons)
{
    Snapshot result;
    for (const OrvExternalAlbum& album : albums.albums())
        result.albums.append(describe(album));
    for (const OrvExternalFoto& foto : fotos.fotos())
        result.fotos.append(describe(foto));
    for (const OrvExternalAlbum& person : persons.albums())
        result.persons.append(describe(person));
    return result;
}

namespace {

// threads: any document on a second thread and, where it can be, in two halves.
Snapshot parseWith(const QByteArray& bytes, const QString& service, bool threads, int* readers)
{
    OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder(service)};
    if (threads)
        parser.setThresholds(0, 0);
    parser.parseData(bytes);
    if (readers)
        *readers = parser.readers();
    return snapshot(parser.albums(), parser.fotos(), parser.persons());
}

} // namespace

Snapshot parse(const QByteArray& bytes, const QString& service) { return parseWith(bytes, service, false, nullptr); }

Snapshot parseInHalves(const QByteArray& bytes, int* readers)
{
    return parseWith(bytes, QStringLiteral("iphoto"), true, readers);
}

Snapshot parseWithDom(const QByteArray& bytes, const QString& service)
{
    Scratch scratch;
    DomReader reader{OrvExternalUrlBuilder(service)};
    reader.parse(QFileInfo(scratch.write(QStringLiteral("AlbumData.xml"), bytes)));
    return snapshot(reader.albums, reader.fotos, reader.persons);
}

Scratch::Scratch() : myDir(std::make_shared<QTemporaryDir>()) {}

QString Scratch::path(const QString& name) const { return myDir->filePath(name); }

QString Scratch::write(const QString& name, const QByteArray& bytes) const
{
    const QString file = path(name);
    QFile out(file);
    if (out.open(QIODevice::WriteOnly))
        out.write(bytes);
    return file;
}

} // namespace IPhotoTest

#include "TestSupport.h"

#include <QDir>
#include <QSettings>

#include <gtest/gtest.h>

namespace IPhotoTest {

namespace {

Fixture* theFixture = nullptr;

class Environment : public ::testing::Environment
{
public:
    void SetUp() override
    {
        static QTemporaryDir dir;
        auto* f = new Fixture;
        f->root = dir.path();
        const QString config = dir.filePath(QStringLiteral("config"));
        QDir().mkpath(config);
        qputenv("XDG_CONFIG_HOME", config.toLocal8Bit());
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, config);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, config);

        const QString lib = dir.filePath(QStringLiteral("iPhoto Library"));
        QDir().mkpath(lib + QStringLiteral("/Masters"));
        QDir().mkpath(lib + QStringLiteral("/Thumbs"));
        f->rotatedImage = lib + QStringLiteral("/Masters/IMG_0001.JPG");
        f->thumbnail = lib + QStringLiteral("/Thumbs/1.jpg");
        OrvTest::writeFile(f->rotatedImage, OrvTest::makeJpeg(64, 48, 6));
        OrvTest::writeFile(f->thumbnail, OrvTest::makeJpeg(32, 24));
        OrvTest::writeFile(lib + QStringLiteral("/Masters/IMG_0002.JPG"), OrvTest::makeJpeg(40, 30));
        const QByteArray faces = "<key>Faces</key><array><dict>" + entry("face key", "3", "integer")
            + entry("rectangle", "{{0.25, 0.5}, {0.1, 0.15}}") + "</dict></array>";
        f->iphotoLibrary = lib + QStringLiteral("/AlbumData.xml");
        writeTo(f->iphotoLibrary,
                library("<key>List of Albums</key><array>" + album("10", "Zoo", "Regular", {"1", "2"})
                        + album("11", "apples", "Regular", {"2"}) + album("12", "Trip", "Event", {"1"})
                        + album("13", "Last Import", "Special Roll", {"2"}) + "</array>"
                        + "<key>List of Faces</key><dict><key>3</key><dict>" + entry("name", "Ann") + "</dict></dict>"
                        + "<key>Master Image List</key><dict>"
                        + foto("1", f->rotatedImage.toUtf8(),
                               entry("ThumbPath", f->thumbnail.toUtf8()) + entry("Rating", "4", "integer")
                                   + entry("DateAsTimerInterval", "300000000.5", "real") + faces)
                        + foto("2", (lib + QStringLiteral("/Masters/IMG_0002.JPG")).toUtf8(),
                               entry("DateAsTimerInterval", "310000000", "real"))
                        + "</dict>"));
        setPreferences(QStringLiteral("iphoto"), f->iphotoLibrary);

        const QString apertureRoot = dir.filePath(QStringLiteral("Aperture Library"));
        QDir().mkpath(apertureRoot);
        f->apertureImage = apertureRoot + QStringLiteral("/a1.jpg");
        OrvTest::writeFile(f->apertureImage, OrvTest::makeJpeg(50, 40));
        f->apertureLibrary = apertureRoot + QStringLiteral("/ApertureData.xml");
        writeTo(f->apertureLibrary,
                library("<key>Master Image List</key><dict>"
                        + foto("a1", f->apertureImage.toUtf8(), entry("Rating", "5", "integer") + faces) + "</dict>"
                        + "<key>List of Faces</key><dict><key>3</key><dict>" + entry("name", "Ann") + "</dict></dict>"));
        setPreferences(QStringLiteral("aperture"), QString(), apertureRoot);
        theFixture = f;
    }

private:
    static void writeTo(const QString& path, const QByteArray& bytes) { OrvTest::writeFile(path, bytes); }
};

[[maybe_unused]] const auto* environment = ::testing::AddGlobalTestEnvironment(new Environment);

} // namespace

const Fixture& fixture() { return *theFixture; }

void setPreferences(const QString& application, const QString& xmlDataFilePath, const QString& rootDirectory)
{
    QSettings settings(QStringLiteral("apple"), application);
    settings.clear();
    if (!xmlDataFilePath.isNull())
        settings.setValue(QStringLiteral("XMLDataFilePath"), xmlDataFilePath);
    if (!rootDirectory.isNull())
        settings.setValue(QStringLiteral("RootDirectory"), rootDirectory);
    settings.sync();
}

} // namespace IPhotoTest
