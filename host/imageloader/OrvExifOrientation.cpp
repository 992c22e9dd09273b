#include "OrvExifOrientation.h"

#include <QByteArrayView>

namespace OrvExifOrientation {

namespace {

constexpr quint16 orientationTag = 0x0112;
constexpr quint16 shortType = 3;

quint16 read16(const char* p, bool little)
{
    const auto* u = reinterpret_cast<const uchar*>(p);
    return little ? quint16(u[0] | (u[1] << 8)) : quint16((u[0] << 8) | u[1]);
}

quint32 read32(const char* p, bool little)
{
    const auto* u = reinterpret_cast<const uchar*>(p);
    return little ? quint32(u[0]) | (quint32(u[1]) << 8) | (quint32(u[2]) << 16) | (quint32(u[3]) << 24)
                  : (quint32(u[0]) << 24) | (quint32(u[1]) << 16) | (quint32(u[2]) << 8) | quint32(u[3]);
}

// 0: not TIFF, 1: little-endian, 2: big-endian.
int tiffOrder(const char* data, qint64 size)
{
    if (size < 8)
        return 0;
    if (data[0] == 'I' && data[1] == 'I' && read16(data + 2, true) == 42)
        return 1;
    if (data[0] == 'M' && data[1] == 'M' && read16(data + 2, false) == 42)
        return 2;
    return 0;
}

// XMP writes the orientation as an attribute or as an element.
void scanXmp(const QByteArray& head, qint64 start, qint64 end, Scan* result)
{
    static const QByteArray name = "tiff:Orientation";
    for (qint64 at = head.indexOf(name, start); at >= 0 && at + name.size() + 2 < end; at = head.indexOf(name, at + 1)) {
        qint64 value = at + name.size();
        if (head.at(value) == '=' && (head.at(value + 1) == '"' || head.at(value + 1) == '\''))
            value += 2;
        else if (head.at(value) == '>')
            value += 1;
        else
            continue;
        const char digit = head.at(value);
        if (digit >= '1' && digit <= '8' && value + 1 < end && !(head.at(value + 1) >= '0' && head.at(value + 1) <= '9')) {
            if (digit != '1')
                result->upright.append({value, QByteArray(1, '1')});
        }
    }
}

void scanTiff(const QByteArray& head, qint64 start, qint64 size, Scan* result)
{
    qint64 valueOffset = -1;
    const int orientation = fromTiff(head.constData() + start, size, &valueOffset);
    if (orientation == 0)
        return;
    result->orientation = orientation;
    if (orientation != 1) {
        const bool little = head.at(start) == 'I';
        result->upright.append({start + valueOffset, little ? QByteArray("\x01\x00", 2) : QByteArray("\x00\x01", 2)});
    }
}

} // namespace

int fromTiff(const char* data, qint64 size, qint64* valueOffset)
{
    const int order = tiffOrder(data, size);
    if (order == 0)
        return 0;
    const bool little = order == 1;
    const qint64 directory = read32(data + 4, little);
    if (directory < 8 || directory + 2 > size)
        return 0;
    const int entries = read16(data + directory, little);
    for (int i = 0; i < entries; ++i) {
        const qint64 entry = directory + 2 + qint64(i) * 12;
        if (entry + 12 > size)
            return 0;
        if (read16(data + entry, little) != orientationTag)
            continue;
        if (read16(data + entry + 2, little) != shortType || read32(data + entry + 4, little) != 1)
            return 0;
        const int value = read16(data + entry + 8, little);
        if (value < 1 || value > 8)
            return 0;
        if (valueOffset)
            *valueOffset = entry + 8;
        return value;
    }
    return 0;
}

bool swapsAxes(int orientation) { return orientation >= 5 && orientation <= 8; }

Scan scan(const QByteArray& head)
{
    Scan result;
    const qint64 size = head.size();
    const char* data = head.constData();
    if (tiffOrder(data, size) != 0) {
        // A TIFF file: the first directory is the image's, and the XMP a TIFF may
        // carry is not looked for.
        scanTiff(head, 0, size, &result);
        result.complete = true;
        return result;
    }
    if (size < 4 || uchar(data[0]) != 0xFF || uchar(data[1]) != 0xD8)
        return result;
    static const QByteArray exif("Exif\0\0", 6);
    static const QByteArray xmp("http://ns.adobe.com/xap/1.0/\0", 29);
    qint64 at = 2;
    while (at + 4 <= size) {
        if (uchar(data[at]) != 0xFF)
            return result;  // not a marker where one belongs: leave the file alone
        const uchar marker = uchar(data[at + 1]);
        if (marker == 0xFF) {
            ++at;
            continue;
        }
        if (marker == 0xDA || marker == 0xD9) {
            result.complete = true;
            return result;
        }
        if ((marker >= 0xD0 && marker <= 0xD7) || marker == 0x01) {
            at += 2;
            continue;
        }
        const qint64 length = (uchar(data[at + 2]) << 8) | uchar(data[at + 3]);
        if (length < 2)
            return result;
        const qint64 body = at + 4;
        const qint64 end = at + 2 + length;
        if (end > size)
            return result;
        if (marker == 0xE1) {
            const QByteArrayView segment(data + body, end - body);
            if (segment.startsWith(exif))
                scanTiff(head, body + exif.size(), end - body - exif.size(), &result);
            else if (segment.startsWith(xmp))
                scanXmp(head, body + xmp.size(), end, &result);
        }
        at = end;
    }
    return result;
}

} // namespace OrvExifOrientation
