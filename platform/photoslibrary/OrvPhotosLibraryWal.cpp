#include "OrvPhotosLibraryWal.h"

#include "OrvUserFile.h"

#include <QFileDevice>
#include <QtEndian>

#include <vector>

namespace OrvPhotosLibrary {

namespace {

constexpr quint32 magicLittleEndian = 0x377f0682;
constexpr quint32 magicBigEndian = 0x377f0683;
constexpr quint32 formatVersion = 3007000;

quint32 bigEndianAt(const char* data) { return qFromBigEndian<quint32>(data); }

} // namespace

void Wal::checksum(bool bigEndian, const char* data, qint64 size, quint32& s1, quint32& s2)
{
    for (qint64 i = 0; i + 8 <= size; i += 8) {
        const quint32 a = bigEndian ? qFromBigEndian<quint32>(data + i) : qFromLittleEndian<quint32>(data + i);
        const quint32 b = bigEndian ? qFromBigEndian<quint32>(data + i + 4) : qFromLittleEndian<quint32>(data + i + 4);
        s1 += a + s2;
        s2 += b + s1;
    }
}

bool Wal::isValidHeader(const QByteArray& header)
{
    if (header.size() < headerSize)
        return false;
    const char* data = header.constData();
    const quint32 magic = bigEndianAt(data);
    const quint32 pageSize = bigEndianAt(data + 8);
    if ((magic != magicLittleEndian && magic != magicBigEndian) || bigEndianAt(data + 4) != formatVersion
        || pageSize < 512 || pageSize > 65536 || (pageSize & (pageSize - 1)) != 0)
        return false;
    quint32 s1 = 0;
    quint32 s2 = 0;
    checksum(magic == magicBigEndian, data, 24, s1, s2);
    return s1 == bigEndianAt(data + 24) && s2 == bigEndianAt(data + 28);
}

qint64 Wal::copyCommitted(OrvUserFile& log, QFileDevice& out)
{
    QByteArray header(int(headerSize), '\0');
    if (log.readAt(0, header.data(), headerSize) != headerSize || !isValidHeader(header))
        return out.resize(0) ? 0 : -1;
    if (!out.seek(0) || out.write(header) != headerSize)
        return -1;
    const char* h = header.constData();
    const bool bigEndian = bigEndianAt(h) == magicBigEndian;
    const qint64 pageSize = bigEndianAt(h + 8);
    const quint32 salt1 = bigEndianAt(h + 16);
    const quint32 salt2 = bigEndianAt(h + 20);
    quint32 s1 = bigEndianAt(h + 24);
    quint32 s2 = bigEndianAt(h + 28);

    const qint64 frameSize = frameHeaderSize + pageSize;
    std::vector<char> frame(size_t(frameSize), 0);
    qint64 committed = 0;
    for (qint64 offset = headerSize; offset + frameSize <= log.size(); offset += frameSize) {
        if (log.readAt(offset, frame.data(), frameSize) != frameSize)
            break;
        const char* f = frame.data();
        if (bigEndianAt(f) == 0 || bigEndianAt(f + 8) != salt1 || bigEndianAt(f + 12) != salt2)
            break;
        checksum(bigEndian, f, 8, s1, s2);
        checksum(bigEndian, f + frameHeaderSize, pageSize, s1, s2);
        if (s1 != bigEndianAt(f + 16) || s2 != bigEndianAt(f + 20))
            break;
        if (out.write(f, frameSize) != frameSize)
            return -1;
        if (bigEndianAt(f + 4) != 0)
            committed = offset + frameSize;
    }
    // Frames after the last commit belong to a transaction still being written.
    return out.resize(committed) ? committed : -1;
}

} // namespace OrvPhotosLibrary
