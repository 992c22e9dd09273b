#include "OrvImageIOQt.h"

#include "OrvImageIOHeif.h"
#include "OrvImageIOQtDestination.h"
#include "OrvImageIOQtSource.h"
#include "OrvMediaFormat.h"
#include "OrvUserFile.h"

#include <QImageWriter>

#include <cstring>

using namespace OrvImageIO;

QString OrvImageIOQt::typeOfData(const char* data, qsizetype size)
{
    const auto startsWith = [&](const char* magic, qsizetype length) {
        return size >= length && std::memcmp(data, magic, size_t(length)) == 0;
    };
    if (startsWith("\xFF\xD8\xFF", 3))
        return QStringLiteral("public.jpeg");
    if (startsWith("\x89PNG\r\n\x1A\n", 8))
        return QStringLiteral("public.png");
    if (startsWith("II*\0", 4) || startsWith("MM\0*", 4))
        return QStringLiteral("public.tiff");
    if (size >= 12 && std::memcmp(data, "RIFF", 4) == 0 && std::memcmp(data + 8, "WEBP", 4) == 0)
        return QStringLiteral("org.webmproject.webp");
    if (startsWith("GIF87a", 6) || startsWith("GIF89a", 6))
        return QStringLiteral("com.compuserve.gif");
    if (startsWith("BM", 2) && size >= 14)
        return QStringLiteral("com.microsoft.bmp");
    QString heif;
    if (OrvImageIOHeif::sniff(data, size, &heif))
        return heif;
    return {};
}

bool OrvImageIOQt::isHeif(const QString& type)
{
    return type == QLatin1String("public.heic") || type == QLatin1String("public.heif");
}

ImageSourcePtr OrvImageIOQt::createImageSourceWithData(const QByteArray& data, const SourceOptions& options)
{
    QString type = typeOfData(data.constData(), data.size());
    if (type.isEmpty())
        type = options.typeIdentifierHint;
    if (type.isEmpty() || data.isEmpty())
        return nullptr;
    return std::make_shared<OrvImageIOQtSource>(data, QString(), type);
}

ImageSourcePtr OrvImageIOQt::createImageSourceWithURL(const QString& path, const SourceOptions& options)
{
    OrvUserFile file(path, OrvUserFile::Image);
    if (!file.open())
        return nullptr;
    char head[16] = {};
    const qint64 got = file.readAt(0, head, sizeof head);
    QString type = typeOfData(head, qMax<qint64>(0, got));
    if (type.isEmpty())
        type = options.typeIdentifierHint;
    if (type.isEmpty())
        return nullptr;
    return std::make_shared<OrvImageIOQtSource>(QByteArray(), path, type);
}

ImageDestinationPtr OrvImageIOQt::createImageDestinationWithData(QByteArray* data, const QString& type, int count)
{
    if (!data || count < 1 || !copyTypeIdentifiers().contains(type))
        return nullptr;
    return std::make_shared<OrvImageIOQtDestination>(data, type, count);
}

QStringList OrvImageIOQt::copyTypeIdentifiers() const
{
    static const QStringList types = [] {
        QStringList result{QStringLiteral("public.heic"), QStringLiteral("public.heif")};
        const QList<QByteArray> writable = QImageWriter::supportedImageFormats();
        for (const char* uti : {"public.jpeg", "public.png", "public.tiff", "org.webmproject.webp", "com.microsoft.bmp"}) {
            const QString type = QString::fromLatin1(uti);
            if (writable.contains(OrvMediaFormat::fromUti(type).qtFormat()))
                result.append(type);
        }
        return result;
    }();
    return types;
}

void OrvImageIOQt::install()
{
    static const ImageIOPtr shared = std::make_shared<OrvImageIOQt>();
    setImageIOProvider([] { return shared; });
}
