#pragma once

// A consistent, read-only view of a library's database, taken without writing
// a byte into the package. SQLite writes even when asked to read only (it
// rebuilds the shared-memory index beside the database, and a read-write
// connection folds the log into the database when it closes), so the database
// is never opened where it lies unless its file system is mounted read-only
// (and local: a share may be written by the Mac meanwhile). Otherwise the
// database and its write-ahead log (the part SQLite would use) are copied into
// a private folder, and the copy counts only if the files did not change while
// it was made; else it is made again, a few times. The database file of the
// last snapshot is reused while the library's file is unchanged or its log is
// the same generation (checkpoints only copy in what the log still holds), so
// following a library costs what its log holds, not what the library holds.

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

    // The database of the package as it is now; null and one line in error when
    // there is none to read. previous, when given, lends its copy of the database
    // file if that file has not changed since.
    static std::shared_ptr<const Snapshot> take(const QString& packagePath, const Snapshot* previous, QString* error);
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    // Serialised by SQLite: usable from any thread.
    sqlite3* db() const { return myDb; }
    QString packagePath() const { return myPackagePath; }
    bool isInPlace() const { return !myCopy; }
    // Whether the package's database files still look as when this was taken.
    bool isCurrent() const;

    static QString databasePath(const QString& packagePath);

private:
    Snapshot() = default;
    bool openInPlace();
    bool copy(const Snapshot* previous, QString* error);
    bool open(const QString& path, QString* error);

    QString myPackagePath;
    std::unique_ptr<QTemporaryDir> myCopy;
    sqlite3* myDb = nullptr;
    FileStamp myDatabase;
    FileStamp myLog;
    QByteArray myLogHeader;
};

} // namespace OrvPhotosLibrary
