#include "OrvGPhoto2CaptureDate.h"

#include "OrvNativeMetaData.h"
#include "OrvUserFile.h"

#include <QFileInfo>

namespace OrvGPhoto2 {

namespace {

// Segments before the EXIF block (JFIF, colour profiles, maker blocks) are skipped, not read.
constexpr int maxSegments = 32;
constexpr qint64 headBytes = 4096;

} // namespace

QByteArray exifSegment(const ReadAt& read)
{
    QByteArray head(headBytes, Qt::Uninitialized);
    const qint64 got = read(0, head.data(), head.size());
    if (got < 4)
        return {};
    head.truncate(qsizetype(got));
    const auto byteAt = [&](qint64 at) { return uchar(head.at(qsizetype(at))); };
    if (byteAt(0) != 0xFF || byteAt(1) != 0xD8)
        return {};
    qint64 at = 2;
    for (int segment = 0; segment < maxSegments; ++segment) {
        uchar marker[4];
        if (at + 4 <= head.size()) {
            for (int i = 0; i < 4; ++i)
                marker[i] = byteAt(at + i);
        } else if (read(at, reinterpret_cast<char*>(marker), 4) != 4) {
            return {};
        }
        if (marker[0] != 0xFF)
            return {};
        // Fill bytes and markers without a length.
        if (marker[1] == 0xFF) {
            at += 1;
            continue;
        }
        if (marker[1] == 0xD8 || marker[1] == 0x01 || (marker[1] >= 0xD0 && marker[1] <= 0xD7)) {
            at += 2;
            continue;
        }
        // The image data begins: no EXIF block comes after it.
        if (marker[1] == 0xDA || marker[1] == 0xD9)
            return {};
        const qint64 length = qint64(marker[2]) << 8 | marker[3];
        if (length < 2)
            return {};
        if (marker[1] == 0xE1 && length > 8) {
            QByteArray bytes;
            if (at + 2 + length <= head.size()) {
                bytes = head.mid(qsizetype(at), qsizetype(length + 2));
            } else {
                bytes.resize(qsizetype(length + 2));
                if (read(at, bytes.data(), bytes.size()) != bytes.size())
                    return {};
            }
            if (bytes.mid(4, 6) == QByteArray("Exif\0\0", 6))
                return bytes;
        }
        at += 2 + length;
    }
    return {};
}

QDateTime captureDate(const ReadAt& read)
{
    const QByteArray segment = exifSegment(read);
    if (segment.isEmpty())
        return {};
    // The block alone, as a JPEG without pixels: all the reader needs of the file.
    const QByteArray jpeg = QByteArray("\xFF\xD8", 2) + segment + QByteArray("\xFF\xD9", 2);
    const OrvNativeMetaDataExiv2 metaData(QFileInfo(QStringLiteral("exif.jpg")), jpeg);
    return metaData.isValid() ? metaData.metaData().pictureTaken() : QDateTime();
}

QDateTime captureDate(OrvUserFile* file)
{
    if (!file || !file->isOpen())
        return {};
    return captureDate([file](qint64 offset, char* data, qint64 size) { return file->readAt(offset, data, size); });
}

} // namespace OrvGPhoto2
