#include "OrvMediaLoader.h"
#include "OrvColorProfileConverter.h"
#include "OrvNativeMetaData.h"

#include <QBuffer>
#include <QDebug>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>

#include <cmath>

namespace {

// Reading a whole file into memory for a thumbnail is fine up to here; beyond
// it the reader streams from the file and truncation goes unnoticed.
const qint64 kMaxInMemoryBytes = 512LL * 1024 * 1024;

// The JPEG reader pads a cut-off file with an end marker, warns and returns a
// half grey picture as success. Reading from a buffer it takes all bytes at
// once and seeks to the end; it seeks there once more when it finishes. A
// further seek to the end while already there means it asked for more bytes
// than the file has, which is what this counts.
class EndWatchingBuffer : public QBuffer
{
public:
    explicit EndWatchingBuffer(const QByteArray& bytes) { setData(bytes); }

    void resetWatch() { myEndSeeks = 0; }
    bool ranOut() const { return myEndSeeks > 1; }

    bool seek(qint64 position) override
    {
        if (position >= size() && pos() >= size())
            ++myEndSeeks;
        return QBuffer::seek(position);
    }

private:
    int myEndSeeks = 0;
};

bool swapsAxes(QImageIOHandler::Transformations transformation)
{
    return transformation.testFlag(QImageIOHandler::TransformationRotate90);
}

bool isUsable(const QSize& size) { return size.isValid() && !size.isEmpty(); }

QImage decode(QImageReader& reader, const QSize& boundingSize, OrvMetaData* colorInfo, const QString& origin,
              EndWatchingBuffer* watch)
{
    reader.setAutoTransform(true);
    const bool scale = isUsable(boundingSize);
    if (scale) {
        // size() only parses the header. The scaled size applies to the stored
        // pixels, before the EXIF rotation, so fit in display orientation and
        // hand the reader the stored one. With a scaled size the JPEG reader
        // decodes at the nearest larger 1/8 step (DCT scaling) and smooths the
        // rest; the default quality keeps that last step a smooth one.
        const QSize stored = reader.size();
        if (isUsable(stored)) {
            const bool swap = swapsAxes(reader.transformation());
            const QSize shown = swap ? stored.transposed() : stored;
            const QSize target = OrvMediaLoader::fittedSize(shown, boundingSize);
            if (target != shown)
                reader.setScaledSize(swap ? target.transposed() : target);
        }
    }

    // Asked now: once a reader has finished it no longer names its format.
    const bool isJpeg = watch && reader.format() == "jpeg";
    if (watch)
        watch->resetWatch();
    QImage image;
    if (!reader.read(&image) || image.isNull()) {
        qDebug() << "OrvMediaLoader: cannot decode" << origin << reader.errorString();
        return QImage();
    }
    if (isJpeg && watch->ranOut()) {
        qDebug() << "OrvMediaLoader: truncated JPEG" << origin;
        return QImage();
    }
    // Readers that report no size beforehand got no scaled size.
    if (scale) {
        const QSize target = OrvMediaLoader::fittedSize(image.size(), boundingSize);
        if (target != image.size())
            image = image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    if (colorInfo && image.colorSpace().isValid())
        colorInfo->setColorSpace(image.colorSpace());
    return image;
}

// The decoders read from memory without copying chunks around and we can tell
// a cut-off file; the reader detects the format from the content, so a wrong
// suffix does no harm.
QImage decodeBytes(const QByteArray& bytes, const QSize& boundingSize, OrvMetaData* colorInfo, const QString& origin)
{
    if (bytes.isEmpty())
        return QImage();
    EndWatchingBuffer buffer(bytes);
    if (!buffer.open(QIODevice::ReadOnly))
        return QImage();
    QImageReader reader(&buffer);
    return decode(reader, boundingSize, colorInfo, origin, &buffer);
}

} // namespace

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

QImage OrvMediaLoader::load(const QString& path, const QSize& boundingSize, OrvMetaData* colorInfo) const
{
    // Opening a FIFO or a device would block until someone writes to it.
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return QImage();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "OrvMediaLoader: cannot open" << path << file.errorString();
        return QImage();
    }
    const qint64 size = file.size();
    if (size <= 0 || file.isSequential() || size > kMaxInMemoryBytes) {
        QImageReader reader(&file);
        return decode(reader, boundingSize, colorInfo, path, nullptr);
    }
    QByteArray bytes(qsizetype(size), Qt::Uninitialized);
    if (file.read(bytes.data(), size) != size) {
        qDebug() << "OrvMediaLoader: cannot read" << path << file.errorString();
        return QImage();
    }
    file.close();
    return decodeBytes(bytes, boundingSize, colorInfo, path);
}

QImage OrvMediaLoader::load(QIODevice* device, const QSize& boundingSize, OrvMetaData* colorInfo) const
{
    if (!device || !device->isReadable())
        return QImage();
    // A buffer's bytes are shared, not copied.
    if (auto* buffer = qobject_cast<QBuffer*>(device); buffer && buffer->pos() == 0)
        return decodeBytes(buffer->data(), boundingSize, colorInfo, QStringLiteral("buffer"));
    if (!device->isSequential() && device->bytesAvailable() <= kMaxInMemoryBytes)
        return decodeBytes(device->readAll(), boundingSize, colorInfo, QStringLiteral("device"));
    QImageReader reader(device);
    return decode(reader, boundingSize, colorInfo, QStringLiteral("device"), nullptr);
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

QSize OrvMediaLoader::imageSize(const QString& path) const
{
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return QSize();
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize stored = reader.size();
    if (isUsable(stored))
        return swapsAxes(reader.transformation()) ? stored.transposed() : stored;
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
