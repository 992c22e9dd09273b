#include "OrvMediaLoader.h"
#include "OrvColorProfileConverter.h"
#include "OrvExifOrientation.h"
#include "OrvJpegDecoder.h"
#include "OrvMediaCheck.h"
#include "OrvNativeMetaData.h"
#include "OrvUserFile.h"

#include <QBuffer>
#include <QDebug>
#include <QTransform>
#include <QImageReader>
#include <QImageWriter>

#include <cmath>

namespace {

// Files up to this size are read whole and decoded from memory; larger ones
// (a TIFF of a medium-format scan) are decoded from the file.
const qint64 kMaxInMemoryBytes = 512LL * 1024 * 1024;

bool isUsable(const QSize& size) { return size.isValid() && !size.isEmpty(); }

bool exceedsPixelBound(const QSize& size, const QString& origin)
{
    if (!isUsable(size) || qint64(size.width()) * size.height() <= OrvMediaLoader::maxPixels)
        return false;
    qDebug() << "OrvMediaLoader: refusing" << size.width() << "x" << size.height() << "pixels of" << origin;
    return true;
}

// The EXIF orientations as Qt's readers apply them: mirror first, then turn.
QImage oriented(const QImage& image, int orientation)
{
    switch (orientation) {
    case 2:
        return image.mirrored(true, false);
    case 3:
        return image.mirrored(true, true);
    case 4:
        return image.mirrored(false, true);
    case 5:
        return image.mirrored(false, true).transformed(QTransform().rotate(90));
    case 6:
        return image.transformed(QTransform().rotate(90));
    case 7:
        return image.mirrored(true, false).transformed(QTransform().rotate(90));
    case 8:
        return image.transformed(QTransform().rotate(270));
    default:
        return image;
    }
}

// Where the bytes come from: memory, or a file opened through OrvUserFile.
struct Source
{
    QByteArray bytes;
    OrvUserFile* file = nullptr;
    QString origin;

    QByteArray head(qint64 size) const
    {
        if (!file)
            return bytes.left(qsizetype(size));
        QByteArray result(qsizetype(size), Qt::Uninitialized);
        const qint64 got = file->readAt(0, result.data(), size);
        result.resize(qsizetype(qMax<qint64>(0, got)));
        return result;
    }
};

QImage decodeJpeg(const Source& source, const QSize& boundingSize, OrvMediaLoader::Orientation orientation)
{
    OrvJpegDecoder decoder = source.file ? OrvJpegDecoder(source.file) : OrvJpegDecoder(source.bytes);
    if (!decoder.readHeader()) {
        qDebug() << "OrvMediaLoader: cannot decode" << source.origin << decoder.errorString();
        return QImage();
    }
    const QSize stored = decoder.storedSize();
    if (exceedsPixelBound(stored, source.origin))
        return QImage();
    const int turn = orientation == OrvMediaLoader::ShowOriented ? decoder.orientation() : 1;
    const bool swap = OrvExifOrientation::swapsAxes(turn);
    QSize scaled;
    if (isUsable(boundingSize)) {
        const QSize shown = swap ? stored.transposed() : stored;
        const QSize target = OrvMediaLoader::fittedSize(shown, boundingSize);
        if (target != shown)
            scaled = swap ? target.transposed() : target;
    }
    const QImage image = decoder.read(scaled);
    if (image.isNull()) {
        qDebug() << "OrvMediaLoader: cannot decode" << source.origin << decoder.errorString();
        return QImage();
    }
    return oriented(image, turn);
}

QImage decodeWithQt(QImageReader& reader, const QSize& boundingSize, OrvMediaLoader::Orientation orientation,
                    const QString& origin)
{
    reader.setAutoTransform(orientation == OrvMediaLoader::ShowOriented);
    // size() only parses the header: big enough to refuse before anything is allocated.
    const QSize stored = reader.size();
    if (exceedsPixelBound(stored, origin))
        return QImage();
    const bool scale = isUsable(boundingSize);
    if (scale && isUsable(stored)) {
        // The scaled size applies to the stored pixels, before the rotation.
        const bool swap = orientation == OrvMediaLoader::ShowOriented
            && reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
        const QSize shown = swap ? stored.transposed() : stored;
        const QSize target = OrvMediaLoader::fittedSize(shown, boundingSize);
        if (target != shown)
            reader.setScaledSize(swap ? target.transposed() : target);
    }
    QImage image;
    if (!reader.read(&image) || image.isNull()) {
        qDebug() << "OrvMediaLoader: cannot decode" << origin << reader.errorString();
        return QImage();
    }
    // Readers that report no size beforehand got no scaled size.
    if (scale) {
        const QSize target = OrvMediaLoader::fittedSize(image.size(), boundingSize);
        if (target != image.size())
            image = image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    return image;
}

// One way for every decode, sized or not: the same checks on every path.
QImage decode(const Source& source, const QSize& boundingSize, OrvMetaData* colorInfo,
              OrvMediaLoader::Orientation orientation)
{
    const QByteArray head = source.head(16);
    if (head.isEmpty())
        return QImage();
    QImage image;
    if (OrvJpegDecoder::isJpeg(head.constData(), head.size())) {
        image = decodeJpeg(source, boundingSize, orientation);
    } else if (source.file) {
        source.file->seek(0);
        QImageReader reader(source.file);
        image = decodeWithQt(reader, boundingSize, orientation, source.origin);
    } else {
        QBuffer buffer;
        buffer.setData(source.bytes);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer);
        image = decodeWithQt(reader, boundingSize, orientation, source.origin);
    }
    if (!image.isNull() && colorInfo && image.colorSpace().isValid())
        colorInfo->setColorSpace(image.colorSpace());
    return image;
}

} // namespace

OrvMediaLoader::OrvMediaLoader()
{
    // Qt refuses images above 128 MB by default, a 54-megapixel photo among
    // them. Every image within the pixel bound must decode, even at 8 bytes a
    // pixel (16-bit formats); the bound itself is checked before decoding.
    QImageReader::setAllocationLimit(int(maxPixels * 8 / (1024 * 1024)) + 64);
}

bool OrvMediaLoader::isSupportedFormat(const OrvMediaFormat& format) const
{
    static const QList<QByteArray> supported = QImageReader::supportedImageFormats();
    const QByteArray name = format.qtFormat();
    if (name.isEmpty())
        return false;
    if (supported.contains(name))
        return true;
    // HEIF readers register under either name.
    return format.code() == OrvMediaFormat::Heic && supported.contains("heif");
}

QImage OrvMediaLoader::load(const QString& path, const QSize& boundingSize, OrvMetaData* colorInfo,
                           Orientation orientation) const
{
    OrvUserFile file(path, OrvUserFile::Image);
    if (!file.open())
        return QImage();
    Source source;
    source.origin = path;
    source.file = &file;
    char head[4] = {};
    const qint64 got = file.readAt(0, head, sizeof head);
    // JPEG reads its file in chunks anyway; other formats decode faster from memory.
    if (!OrvJpegDecoder::isJpeg(head, got) && file.size() <= kMaxInMemoryBytes) {
        source.bytes = file.readWhole();
        source.file = nullptr;
        if (source.bytes.isEmpty())
            return QImage();
    }
    return decode(source, boundingSize, colorInfo, orientation);
}

QImage OrvMediaLoader::load(QIODevice* device, const QSize& boundingSize, OrvMetaData* colorInfo,
                           Orientation orientation) const
{
    if (!device || !device->isReadable())
        return QImage();
    Source source;
    source.origin = QStringLiteral("device");
    if (auto* file = qobject_cast<OrvUserFile*>(device)) {
        source.file = file;
        source.origin = file->path();
    } else if (auto* buffer = qobject_cast<QBuffer*>(device); buffer && buffer->pos() == 0) {
        // A buffer's bytes are shared, not copied.
        source.bytes = buffer->data();
    } else if (!device->isSequential() && device->bytesAvailable() <= kMaxInMemoryBytes) {
        source.bytes = device->readAll();
    } else {
        QImageReader reader(device);
        QImage image = decodeWithQt(reader, boundingSize, orientation, source.origin);
        if (!image.isNull() && colorInfo && image.colorSpace().isValid())
            colorInfo->setColorSpace(image.colorSpace());
        return image;
    }
    return decode(source, boundingSize, colorInfo, orientation);
}

OrvDrawable OrvMediaLoader::loadDrawable(const OrvMediaDescriptor& descriptor, const QSize& boundingSize) const
{
    // Video frames need a video decoder, which this library does not have.
    if (!descriptor.isValid() || descriptor.frameIndex().isValid())
        return OrvDrawable();
    OrvMetaData colorInfo;
    QImage image = load(descriptor.filePath(), boundingSize, &colorInfo);
    if (image.isNull())
        return OrvDrawable();
    return OrvDrawable(OrvColorProfileConverter::instance()->convert(image, colorInfo));
}

namespace {

enum class Kind { Unreadable, Jpeg, Png, Other };

// What the file is, from its first bytes.
Kind sniff(OrvUserFile* file)
{
    if (!file->open())
        return Kind::Unreadable;
    QByteArray head(OrvMediaCheck::headSize, Qt::Uninitialized);
    head.truncate(qsizetype(qMax<qint64>(0, file->readAt(0, head.data(), head.size()))));
    const OrvMediaFormat format = OrvMediaCheck::formatOf(head);
    return format.code() == OrvMediaFormat::Jpeg ? Kind::Jpeg : format.code() == OrvMediaFormat::Png ? Kind::Png : Kind::Other;
}

} // namespace

bool OrvMediaLoader::isIntact(const QString& path) const
{
    OrvUserFile file(path, OrvUserFile::Media);
    const Kind kind = sniff(&file);
    if (kind == Kind::Jpeg) {
        OrvJpegDecoder decoder(&file);
        if (decoder.readHeader()) {
            const QSize stored = decoder.storedSize();
            if (qint64(stored.width()) * stored.height() > maxPixels || !decoder.read(QSize(1, 1)).isNull())
                return true;
        }
        qDebug() << "OrvMediaLoader: damaged JPEG" << path << decoder.errorString();
        return false;
    }
    return kind == Kind::Png ? OrvMediaCheck::pngReachesEnd(&file) : kind == Kind::Other;
}

bool OrvMediaLoader::isComplete(const QString& path)
{
    OrvUserFile file(path, OrvUserFile::Media);
    const Kind kind = sniff(&file);
    if (kind == Kind::Jpeg) {
        if (OrvJpegDecoder::reachesEnd(&file))
            return true;
        qDebug() << "OrvMediaLoader: JPEG without its end" << path;
        return false;
    }
    return kind == Kind::Png ? OrvMediaCheck::pngReachesEnd(&file) : kind == Kind::Other;
}

QSize OrvMediaLoader::imageSize(const QString& path) const
{
    OrvUserFile file(path, OrvUserFile::Image);
    if (!file.open())
        return QSize();
    char head[4] = {};
    if (file.readAt(0, head, sizeof head) == qint64(sizeof head) && OrvJpegDecoder::isJpeg(head, sizeof head)) {
        OrvJpegDecoder decoder(&file);
        if (decoder.readHeader()) {
            const QSize stored = decoder.storedSize();
            return OrvExifOrientation::swapsAxes(decoder.orientation()) ? stored.transposed() : stored;
        }
        return QSize();
    }
    QImageReader reader(&file);
    reader.setAutoTransform(true);
    const QSize stored = reader.size();
    if (isUsable(stored))
        return reader.transformation().testFlag(QImageIOHandler::TransformationRotate90) ? stored.transposed() : stored;
    // Formats Qt cannot read (raw, HEIC without a plug-in) often state it in their metadata.
    const QSize fromMetaData = OrvNativeMetaDataExiv2(QFileInfo(path)).metaData().preferredSize();
    return isUsable(fromMetaData) ? fromMetaData : QSize();
}

bool OrvMediaLoader::encode(const QImage& image, QIODevice* device, const OrvMediaFormat& format, int quality) const
{
    const QByteArray name = format.qtFormat();
    if (image.isNull() || !device || name.isEmpty())
        return false;
    if (!device->isOpen() && !device->open(QIODevice::WriteOnly))
        return false;
    if (!device->isWritable())
        return false;
    QImageWriter writer(device, name);
    if (quality >= 0)
        writer.setQuality(qMin(quality, 100));
    if (!writer.write(image)) {
        qDebug() << "OrvMediaLoader: cannot encode" << name << writer.errorString();
        return false;
    }
    return true;
}

bool OrvMediaLoader::encode(const OrvDrawable& drawable, QIODevice* device, const OrvMediaFormat& format,
                            int quality) const
{
    return encode(drawable.image(), device, format, quality);
}

QSize OrvMediaLoader::fittedSize(const QSize& source, const QSize& boundingSize)
{
    if (!isUsable(source) || !isUsable(boundingSize))
        return source;
    if (source.width() <= boundingSize.width() && source.height() <= boundingSize.height())
        return source;
    const double factor = std::min(double(boundingSize.width()) / source.width(),
                                   double(boundingSize.height()) / source.height());
    // Round, but never to nothing: a 10000x1 panorama still gets a one-pixel line.
    const int width = qBound(1, int(std::lround(source.width() * factor)), boundingSize.width());
    const int height = qBound(1, int(std::lround(source.height() * factor)), boundingSize.height());
    return QSize(width, height);
}
