#include "OrvXMLLoader.h"

#include "OrvUserFile.h"
#include "OrvQtCompat.h"
#include "OrvXmlRepair.h"

#include <QDebug>
#include <QDomDocument>
#include <QXmlStreamReader>

namespace {

// Deeper documents are refused: QDom builds and destroys its tree recursively.
constexpr int maxDepth = 1000;

// Whether QDom may build this document: no entity declarations (nothing can
// expand) and no absurd nesting. Malformed documents pass; QDom reports them.
bool isSafeForDom(const QByteArray& bytes, const QString& path)
{
    QXmlStreamReader reader(bytes);
    int depth = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::DTD:
            if (reader.text().contains(QLatin1String("<!ENTITY"))) {
                qDebug() << "OrvXMLLoader: refusing entity declarations in" << path;
                return false;
            }
            break;
        case QXmlStreamReader::StartElement:
            if (++depth > maxDepth) {
                qDebug() << "OrvXMLLoader: refusing nesting deeper than" << maxDepth << "in" << path;
                return false;
            }
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        default:
            break;
        }
    }
    return true;
}

} // namespace

QDomElement OrvXMLLoader::loadDocumentElement(const QFileInfo& file)
{
    OrvUserFile::Status status = OrvUserFile::NotOpened;
    const QByteArray original = OrvUserFile::readAll(file.absoluteFilePath(), OrvUserFile::LibraryFile, &status);
    if (status != OrvUserFile::Ok) {
        qDebug() << "OrvXMLLoader: cannot open" << file.absoluteFilePath();
        return {};
    }
    // Some writers left bare "&" and NUL bytes in their files; mend those, parse the rest strictly.
    qsizetype repairs = 0;
    const QByteArray bytes = OrvXmlRepair::repaired(original, &repairs);
    if (repairs > 0)
        qDebug() << "OrvXMLLoader: repaired" << repairs << "defects in" << file.absoluteFilePath();
    if (!isSafeForDom(bytes, file.absoluteFilePath()))
        return {};
    QDomDocument document;
    QString error;
    if (!OrvQt::setDomContent(&document, bytes, &error)) {
        qDebug() << "OrvXMLLoader:" << file.absoluteFilePath() << error;
        return {};
    }
    return document.documentElement();
}
