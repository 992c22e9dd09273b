#include "ImageIOTestSupport.h"

#include "OrvImageIO.h"
#include "OrvNativeMetaData.h"
#include "TestSupport.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImage>

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
