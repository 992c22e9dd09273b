#pragma once

// A SQLite file system (VFS) that keeps the write-ahead log's index of each
// connection in the connection's own memory instead of in a "-shm" file beside
// the database. SQLite shares that index between all connections of a process
// to the same file (by inode), so a new snapshot whose database file is a link
// to the last one's would read the new log through the last one's stale index;
// and a library on a read-only disk has no "-shm" to share. With a private
// index every connection builds its own from the log it was given, nothing is
// ever written beside the database, and the files themselves are read through
// the system's own VFS unchanged. The database, its log and journal are opened
// read-only (never created) and nothing is deleted, so that it can read a
// library where it lies. Only for connections that never write.

namespace OrvPhotosLibrary {

class PrivateIndex
{
public:
    // The VFS's name for sqlite3_open_v2, registered on first use; null when
    // SQLite has no default VFS to build on.
    static const char* vfsName();
};

} // namespace OrvPhotosLibrary
