#pragma once

// A consistent, read-only view of a library's database, taken without writing
// a byte into the package. SQLite writes even when asked to read only (it
// rebuilds the shared-memory index beside the database, creates a missing log,
// and a read-write connection folds the log into the database when it closes),
// so the database is opened through a file system of our own
// (OrvPhotosLibraryPrivateIndex.h) that opens every file read-only, deletes
// nothing and keeps the log's index in the connection's own memory.
//
// Where it lies on this machine and has a log, the database is read in place:
// the index, built once from the log, shows the library as of the last commit
// then, and stays so while the log keeps its generation (same header: its salts
// and checkpoint count change whenever it restarts) and the database file is
// not written (a checkpoint copies newer pages into it). Frames appended
// meanwhile do not matter. Whoever reads checks isIntact() afterwards and reads
// again from a new snapshot when it is not: a library being written is seen as
// before or after a commit, never a mixture. A read-only local volume is read in
// place for good. Otherwise (a share, no log, a library that keeps changing)
// the database and its log are copied into a private folder, and the copy
// counts only if the files did not change while it was made; else it is made
// again, a few times. The copy of the database file of the last snapshot is
// reused while the library's file is unchanged or its log is the same
// generation (checkpoints only copy in what the log still holds).

#include <QByteArray>
#include <QString>

#include <memory>

struct sqlite3;
class QTemporaryDir;

namespace OrvPhotosLibrary {

class Snapshot
{
public:
    // Which file a path leads to, and how it looked.
    struct FileStamp
    {
        bool exists = false;
        qint64 size = 0;
        qint64 modified = 0;  // nanoseconds
        qint64 changed = 0;   // nanoseconds (status change)
        quint64 device = 0;
        quint64 inode = 0;
        bool operator==(const FileStamp& other) const;
        bool operator!=(const FileStamp& other) const { return !(*this == other); }
        static FileStamp of(const QString& path);
    };

    // Where a snapshot may read the database: in place where that is safe, or a copy.
    enum class Source { InPlace, Copy };

    // The database of the package as it is now; null and one line in error when
    // there is none to read. previous, when given, lends its copy of the database
    // file if that file has not changed since.
    static std::shared_ptr<const Snapshot> take(const QString& packagePath, const Snapshot* previous, QString* error,
                                                Source source = Source::InPlace);
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    // Serialised by SQLite: usable from any thread.
    sqlite3* db() const { return myDb; }
    QString packagePath() const { return myPackagePath; }
    bool isInPlace() const { return !myCopy; }
    // Whether the package's database files still look as when this was taken.
    bool isCurrent() const;
    // Whether what was read so far is the library as of one commit: always for a
    // copy; in place, while the database file and the log's generation stay.
    bool isIntact() const;

    static QString databasePath(const QString& packagePath);

private:
    Snapshot() = default;
    bool openInPlace(bool forGood);
    bool copy(const Snapshot* previous, QString* error);
    bool open(const QString& path, QString* error);

    QString myPackagePath;
    std::unique_ptr<QTemporaryDir> myCopy;
    bool myFrozen = false;  // on a read-only volume
    sqlite3* myDb = nullptr;
    FileStamp myDatabase;
    FileStamp myLog;
    QByteArray myLogHeader;
};

} // namespace OrvPhotosLibrary
