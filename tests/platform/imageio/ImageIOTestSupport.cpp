#include "ImageIOTestSupport.h"

#include "OrvImageIO.h"
#include "OrvNativeMetaData.h"
#include "TestSupport.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>

namespace OrvTest {

QByteArray jpegWithExif(int width, int height, int orientation)
{
    OrvFotoMetaData data;
    data.setValid(true);
    data.setPictureTaken(photoTaken());
    data.setGeoPosition(photoPlace());
    data.setCameraMake(QStringLiteral("Orv"));
    data.setCameraModel(QStringLiteral("Test 1"));
    data.setOrientation(orientation);
    QBuffer buffer;
    buffer.setData(makeJpeg(width, height));
    buffer.open(QIODevice::ReadWrite);
    OrvNativeMetaDataExiv2(data).store(&buffer);
    return buffer.data();
}

QByteArray recoded(const QByteArray& bytes, const QString& type)
{
    const auto imageIO = OrvImageIO::sharedImageIO();
    const auto source = imageIO ? imageIO->createImageSourceWithData(bytes, {}) : nullptr;
    QByteArray result;
    const auto destination = source ? imageIO->createImageDestinationWithData(&result, type, 1) : nullptr;
    if (!destination)
        return {};
    destination->addImageFromSource(source, 0, source->copyPropertiesAtIndex(0, {}));
    return destination->finalize() ? result : QByteArray();
}

OrvFotoMetaData metaDataOf(const QByteArray& bytes)
{
    return OrvNativeMetaDataExiv2(QFileInfo(QStringLiteral("photo")), bytes).metaData();
}

namespace {

quint32 crc32(const QByteArray& bytes)
{
    quint32 crc = 0xFFFFFFFFu;
    for (const char c : bytes) {
        crc ^= quint8(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

} // namespace

QByteArray pngDeclaring(quint32 width, quint32 height)
{
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::green);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, "png").write(image);
    // IHDR's width and height (big-endian, after the signature, the length and the type), then its checksum.
    for (int i = 0; i < 4; ++i) {
        bytes[16 + i] = char(width >> (24 - 8 * i));
        bytes[20 + i] = char(height >> (24 - 8 * i));
    }
    const quint32 crc = crc32(bytes.mid(12, 17));
    for (int i = 0; i < 4; ++i)
        bytes[29 + i] = char(crc >> (24 - 8 * i));
    return bytes;
}

QString redCorner(const QImage& image)
{
    const int w = image.width() - 1;
    const int h = image.height() - 1;
    const QList<QPair<QString, QPoint>> corners = {{QStringLiteral("tl"), {w / 8, h / 8}},
                                                   {QStringLiteral("tr"), {w - w / 8, h / 8}},
                                                   {QStringLiteral("bl"), {w / 8, h - h / 8}},
                                                   {QStringLiteral("br"), {w - w / 8, h - h / 8}}};
    QString reddest;
    int best = -1000;
    for (const auto& corner : corners) {
        const QColor color = image.pixelColor(corner.second);
        const int redness = color.red() - (color.green() + color.blue()) / 2;
        if (redness > best) {
            best = redness;
            reddest = corner.first;
        }
    }
    return reddest;
}

} // namespace OrvTest
