#pragma once

#include "TestSupport.h"

#include <QBuffer>
#include <QColor>
#include <QImage>
#include <QImageWriter>

namespace OrvTest {

inline QByteArray encodeImage(const QImage& image, const char* format, int quality = -1, bool progressive = false)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    if (quality >= 0)
        writer.setQuality(quality);
    writer.setProgressiveScanWrite(progressive);
    return writer.write(image) ? bytes : QByteArray();
}

// makeJpeg paints the stored top-left quadrant red and the bottom-right one blue.
inline bool isRed(QRgb pixel) { return qRed(pixel) > 180 && qGreen(pixel) < 90 && qBlue(pixel) < 90; }
inline bool isBlue(QRgb pixel) { return qBlue(pixel) > 180 && qRed(pixel) < 90 && qGreen(pixel) < 90; }

// Pixel a little inside the given corner, away from scaling seams.
inline QRgb corner(const QImage& image, bool right, bool bottom)
{
    const int x = right ? image.width() * 7 / 8 : image.width() / 8;
    const int y = bottom ? image.height() * 7 / 8 : image.height() / 8;
    return image.pixel(x, y);
}

} // namespace OrvTest
