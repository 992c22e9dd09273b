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

// A small PNG whose header declares width x height (a decompression bomb when large).
inline QByteArray pngDeclaring(quint32 width, quint32 height)
{
    QImage row(64, 4, QImage::Format_Grayscale8);
    row.fill(0);
    QByteArray png = encodeImage(row, "png");
    const qsizetype ihdr = png.indexOf("IHDR");
    for (int i = 0; i < 4; ++i) {
        png[ihdr + 4 + i] = char(width >> (24 - 8 * i));
        png[ihdr + 8 + i] = char(height >> (24 - 8 * i));
    }
    return png;
}

// A JPEG whose frame header declares width x height over the coded data of a small one.
inline QByteArray jpegDeclaring(quint16 width, quint16 height)
{
    QByteArray jpeg = makeJpeg(64, 48);
    const qsizetype sof = jpeg.indexOf("\xFF\xC0");
    jpeg[sof + 5] = char(height >> 8);
    jpeg[sof + 6] = char(height & 0xFF);
    jpeg[sof + 7] = char(width >> 8);
    jpeg[sof + 8] = char(width & 0xFF);
    return jpeg;
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
