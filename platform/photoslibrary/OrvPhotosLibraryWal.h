#pragma once

// SQLite's write-ahead log as a reader of a copy needs it: a photo may exist
// only in the log, so the log is copied with the database, but only as far as
// SQLite itself would read it: a valid header, then frames whose salts and
// running checksums hold, up to the last one that ends a transaction. A log of
// zeros (a sparse file of gigabytes), a torn frame or one of an older
// generation ends the copy there, so it costs what the log really holds.

#include <QByteArray>
#include <QString>

class OrvUserFile;
class QFileDevice;

namespace OrvPhotosLibrary {

class Wal
{
public:
    static constexpr qint64 headerSize = 32;
    static constexpr qint64 frameHeaderSize = 24;

    // Whether the 32 bytes are a log header whose own checksum holds.
    static bool isValidHeader(const QByteArray& header);
    // Copies what SQLite would use of the log into out, frame by frame as each is
    // checked, and leaves out exactly that long; the length copied (0: nothing
    // usable), or -1 when out cannot be written.
    static qint64 copyCommitted(OrvUserFile& log, QFileDevice& out);

    // The checksum SQLite keeps over 8-byte units of data, continued from (s1, s2).
    static void checksum(bool bigEndian, const char* data, qint64 size, quint32& s1, quint32& s2);
};

} // namespace OrvPhotosLibrary
