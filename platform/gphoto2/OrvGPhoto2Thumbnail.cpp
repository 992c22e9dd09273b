#include "OrvGPhoto2Thumbnail.h"

#include "OrvGPhoto2CaptureDate.h"
#include "OrvGPhoto2Library.h"
#include "OrvMediaLoader.h"
#include "OrvUserFile.h"

#include <QBuffer>

#include <cstring>

#include <gphoto2/gphoto2.h>

namespace OrvGPhoto2 {

namespace {

// The EXIF block of a JPEG is at most 64 KiB and comes first.
constexpr qint64 headBytes = 128 * 1024;

QImage decodeScaled(const char* data, qint64 size, int edge)
{
    if (!data || size <= 0)
        return {};
    QByteArray bytes = QByteArray::fromRawData(data, qsizetype(size));
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::ReadOnly))
        return {};
    return OrvSingleton<OrvMediaLoader>::instance()->load(&buffer, QSize(edge, edge));
}

QImage fromCameraFile(Camera* camera, GPContext* context, const QByteArray& folder, const QByteArray& name,
                      CameraFileType type, int edge, int* result)
{
    CameraFile* file = nullptr;
    if (gp_file_new(&file) < GP_OK)
        return {};
    QImage image;
    *result = gp_camera_file_get(camera, folder.constData(), name.constData(), type, file, context);
    if (*result >= GP_OK) {
        const char* data = nullptr;
        unsigned long size = 0;
        if (gp_file_get_data_and_size(file, &data, &size) >= GP_OK)
            image = decodeScaled(data, qint64(size), edge);
    }
    gp_file_unref(file);
    return image;
}

quint32 read16(const uchar* p, bool little) { return little ? p[0] | p[1] << 8 : p[0] << 8 | p[1]; }
quint32 read32(const uchar* p, bool little)
{
    return little ? quint32(p[0]) | quint32(p[1]) << 8 | quint32(p[2]) << 16 | quint32(p[3]) << 24
                  : quint32(p[0]) << 24 | quint32(p[1]) << 16 | quint32(p[2]) << 8 | quint32(p[3]);
}

} // namespace

QByteArray exifThumbnail(const QByteArray& head)
{
    const QByteArray segment = exifSegment([&head](qint64 offset, char* data, qint64 size) -> qint64 {
        if (offset < 0 || offset >= head.size())
            return 0;
        const qint64 n = qMin<qint64>(size, head.size() - offset);
        memcpy(data, head.constData() + offset, size_t(n));
        return n;
    });
    // After marker, length and "Exif\0\0": the TIFF structure the offsets count from.
    constexpr qsizetype tiffStart = 10;
    if (segment.size() < tiffStart + 8)
        return {};
    const auto* tiff = reinterpret_cast<const uchar*>(segment.constData()) + tiffStart;
    const qsizetype tiffSize = segment.size() - tiffStart;
    const bool little = tiff[0] == 'I' && tiff[1] == 'I';
    if (!little && !(tiff[0] == 'M' && tiff[1] == 'M'))
        return {};
    auto inside = [&](quint64 offset, quint64 length) { return offset + length <= quint64(tiffSize); };
    const quint32 ifd0 = read32(tiff + 4, little);
    if (!inside(ifd0, 2))
        return {};
    const quint32 entries0 = read16(tiff + ifd0, little);
    const quint64 next = quint64(ifd0) + 2 + 12 * quint64(entries0);
    if (!inside(next, 4))
        return {};
    const quint32 ifd1 = read32(tiff + next, little);
    if (ifd1 == 0 || !inside(ifd1, 2))
        return {};
    const quint32 entries1 = read16(tiff + ifd1, little);
    quint32 offset = 0;
    quint32 bytesCount = 0;
    for (quint32 i = 0; i < entries1 && inside(quint64(ifd1) + 2 + 12 * quint64(i + 1), 0); ++i) {
        const uchar* entry = tiff + ifd1 + 2 + 12 * i;
        const quint32 tag = read16(entry, little);
        const quint32 type = read16(entry + 2, little);
        const quint32 value = type == 3 ? read16(entry + 8, little) : read32(entry + 8, little);
        if (tag == 0x0201)
            offset = value;
        else if (tag == 0x0202)
            bytesCount = value;
    }
    if (offset == 0 || bytesCount == 0 || !inside(offset, bytesCount))
        return {};
    return QByteArray(reinterpret_cast<const char*>(tiff + offset), qsizetype(bytesCount));
}

QImage readThumbnail(Camera* camera, GPContext* context, const QString& folder, const QString& name, qint64 size, int edge,
                     int* result)
{
    const QByteArray folderPath = folder.toUtf8();
    const QByteArray fileName = name.toUtf8();
    QImage image = fromCameraFile(camera, context, folderPath, fileName, GP_FILE_TYPE_PREVIEW, edge, result);
    if (!image.isNull())
        return image;
    // A camera without previews answers "not supported"; one that is gone needs no second try.
    if (*result < GP_OK && classify(*result) == Failure::Disconnected)
        return {};
    QByteArray head(headBytes, Qt::Uninitialized);
    uint64_t got = uint64_t(head.size());
    *result = gp_camera_file_read(camera, folderPath.constData(), fileName.constData(), GP_FILE_TYPE_NORMAL, 0, head.data(),
                                  &got, context);
    if (*result >= GP_OK) {
        head.truncate(qsizetype(qMin<uint64_t>(got, uint64_t(head.size()))));
        const QByteArray thumbnail = exifThumbnail(head);
        image = decodeScaled(thumbnail.constData(), thumbnail.size(), edge);
        if (!image.isNull())
            return image;
    }
    if (size <= 0 || size > thumbnailReadBound || (*result < GP_OK && classify(*result) == Failure::Disconnected))
        return {};
    return fromCameraFile(camera, context, folderPath, fileName, GP_FILE_TYPE_NORMAL, edge, result);
}

QImage readThumbnail(OrvUserFile* file, int edge)
{
    if (!file || !file->isOpen())
        return {};
    QByteArray head(qsizetype(qMin(headBytes, file->size())), Qt::Uninitialized);
    const qint64 got = file->readAt(0, head.data(), head.size());
    if (got <= 0)
        return {};
    head.truncate(qsizetype(got));
    const QByteArray thumbnail = exifThumbnail(head);
    QImage image = decodeScaled(thumbnail.constData(), thumbnail.size(), edge);
    if (!image.isNull())
        return image;
    if (got == file->size())
        return decodeScaled(head.constData(), head.size(), edge);
    // Decoded from the file as it is read, scaled while decoding: any size of photo, bounded memory.
    return OrvSingleton<OrvMediaLoader>::instance()->load(file, QSize(edge, edge));
}

} // namespace OrvGPhoto2
