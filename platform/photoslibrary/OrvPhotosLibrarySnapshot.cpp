#include "OrvPhotosLibrarySnapshot.h"

#include "OrvPhotosLibraryPrivateIndex.h"
#include "OrvPhotosLibraryWal.h"
#include "OrvUserFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>

#include <sqlite3.h>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/vfs.h>
#endif

#include <algorithm>
#include <vector>

namespace OrvPhotosLibrary {

namespace {

constexpr int copyAttempts = 6;
constexpr qint64 copyChunk = 1024 * 1024;

QString logPathOf(const QString& database) { return database + QStringLiteral("-wal"); }

QByteArray logHeader(const QString& path)
{
    OrvUserFile log(path, OrvUserFile::Media);
    QByteArray header(int(Wal::headerSize), '\0');
    if (!log.open() || log.readAt(0, header.data(), Wal::headerSize) != Wal::headerSize)
        return QByteArray();
    return header;
}

// On this machine: a share may be written by another one, whose locks and
// shared memory SQLite cannot see.
bool onLocalFileSystem(const QString& folder)
{
#ifdef __linux__
    struct statfs system;
    if (statfs(QFile::encodeName(folder).constData(), &system) != 0)
        return false;
    switch (static_cast<unsigned long>(system.f_type)) {
    case 0x6969UL:      // NFS
    case 0x517BUL:      // SMB
    case 0xFF534D42UL:  // CIFS
    case 0xFE534D42UL:  // SMB2
    case 0x65735546UL:  // FUSE (sshfs and the like)
    case 0x01021997UL:  // 9P
        return false;
    default:
        return true;
    }
#else
    Q_UNUSED(folder);
    return true;
#endif
}

// Read-only and on this machine: nobody can write the files while they are read.
bool onReadOnlyLocalFileSystem(const QString& folder)
{
    struct statvfs volume;
    if (statvfs(QFile::encodeName(folder).constData(), &volume) != 0 || (volume.f_flag & ST_RDONLY) == 0)
        return false;
    return onLocalFileSystem(folder);
}

bool allZero(const char* data, qint64 size)
{
    return std::all_of(data, data + size, [](char c) { return c == 0; });
}

enum class Copied { Ok, SourceFailed, DestinationFailed, NotInKernel };

#ifdef __linux__
// The file's stretches of data copied by the kernel, holes left as holes:
// no byte passes through this process. NotInKernel where the file systems
// cannot (the caller then copies by reading).
Copied copyInKernel(int in, qint64 size, QFile& out)
{
    const int to = out.handle();
    for (off_t data = 0; data < size;) {
        data = ::lseek(in, data, SEEK_DATA);
        if (data < 0)
            return errno == ENXIO ? Copied::Ok : Copied::NotInKernel;  // ENXIO: only a hole is left
        off_t hole = ::lseek(in, data, SEEK_HOLE);
        if (hole < 0)
            return Copied::NotInKernel;
        hole = std::min<off_t>(hole, size);
        for (off64_t from = data, into = data; from < hole;) {
            const ssize_t copied = ::copy_file_range(in, &from, to, &into, size_t(hole - from), 0);
            if (copied < 0)
                return from == data && (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)
                    ? Copied::NotInKernel
                    : Copied::DestinationFailed;
            if (copied == 0)
                return Copied::SourceFailed;  // shorter than it was when opened
        }
        data = hole;
    }
    return Copied::Ok;
}
#endif

// The file's bytes into a new file at to; runs of zeros become holes, so a
// sparse database stays sparse. Reads through OrvUserFile: never a pipe, a
// device or a folder.
Copied copyFile(const QString& from, const QString& to, QString* error)
{
    OrvUserFile in(from, OrvUserFile::Media);
    if (!in.open()) {
        *error = QStringLiteral("database/Photos.sqlite: ") + in.reason();
        return Copied::SourceFailed;
    }
    QFile out(to);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        *error = QStringLiteral("cannot copy the database into %1: %2").arg(QDir::toNativeSeparators(to), out.errorString());
        return Copied::DestinationFailed;
    }
#ifdef __linux__
    const Copied inKernel = copyInKernel(in.handle(), in.size(), out);
    if (inKernel == Copied::Ok && out.resize(in.size()))
        return Copied::Ok;
    if (inKernel != Copied::NotInKernel) {
        *error = QStringLiteral("cannot copy the database into %1").arg(QDir::toNativeSeparators(to));
        return inKernel == Copied::SourceFailed ? Copied::SourceFailed : Copied::DestinationFailed;
    }
#endif
    std::vector<char> buffer(static_cast<size_t>(copyChunk));
    qint64 offset = 0;
    while (offset < in.size()) {
        const qint64 read = in.readAt(offset, buffer.data(), std::min(copyChunk, in.size() - offset));
        if (read <= 0) {
            *error = QStringLiteral("database/Photos.sqlite: ") + in.reason();
            return Copied::SourceFailed;
        }
        const bool hole = allZero(buffer.data(), read);
        if (!out.seek(hole ? offset + read : offset) || (!hole && out.write(buffer.data(), read) != read)) {
            *error = QStringLiteral("cannot copy the database into %1: %2").arg(QDir::toNativeSeparators(to), out.errorString());
            return Copied::DestinationFailed;
        }
        offset += read;
    }
    if (!out.resize(offset)) {
        *error = QStringLiteral("cannot copy the database: ") + out.errorString();
        return Copied::DestinationFailed;
    }
    return Copied::Ok;
}

} // namespace

bool Snapshot::FileStamp::operator==(const FileStamp& other) const
{
    return exists == other.exists && size == other.size && modified == other.modified && changed == other.changed
        && device == other.device && inode == other.inode;
}

Snapshot::FileStamp Snapshot::FileStamp::of(const QString& path)
{
    FileStamp stamp;
    struct stat status;
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return stamp;
    stamp.exists = true;
    stamp.size = qint64(status.st_size);
#ifdef __APPLE__
    stamp.modified = qint64(status.st_mtimespec.tv_sec) * 1000000000 + status.st_mtimespec.tv_nsec;
    stamp.changed = qint64(status.st_ctimespec.tv_sec) * 1000000000 + status.st_ctimespec.tv_nsec;
#else
    stamp.modified = qint64(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec;
    stamp.changed = qint64(status.st_ctim.tv_sec) * 1000000000 + status.st_ctim.tv_nsec;
#endif
    stamp.device = quint64(status.st_dev);
    stamp.inode = quint64(status.st_ino);
    return stamp;
}

QString Snapshot::databasePath(const QString& packagePath)
{
    return QDir(packagePath).filePath(QStringLiteral("database/Photos.sqlite"));
}

std::shared_ptr<const Snapshot> Snapshot::take(const QString& packagePath, const Snapshot* previous, QString* error,
                                                Source source)
{
    QString ignored;
    if (!error)
        error = &ignored;
    const QFileInfo package(packagePath);
    if (!package.exists()) {
        *error = QStringLiteral("no such folder");
        return nullptr;
    }
    if (!package.isDir()) {
        *error = QStringLiteral("not a folder (a Photos library is a folder that ends in .photoslibrary)");
        return nullptr;
    }
    if (!package.isReadable() || !package.isExecutable()) {
        *error = QStringLiteral("the folder cannot be read");
        return nullptr;
    }
    const QString database = databasePath(packagePath);
    const OrvUserFile::Status status = OrvUserFile::check(database, OrvUserFile::Media);
    if (status == OrvUserFile::Missing) {
        const QDir folder(packagePath);
        if (QFileInfo::exists(folder.filePath(QStringLiteral("database/photos.db"))))
            *error = QStringLiteral("a library of Photos 4 or earlier (database/photos.db, no database/Photos.sqlite); "
                                    "only libraries of Photos 5 (macOS 10.15) and later are read");
        else if (QFileInfo::exists(folder.filePath(QStringLiteral("AlbumData.xml"))))
            *error = QStringLiteral("an iPhoto library (AlbumData.xml, no database/Photos.sqlite)");
        else
            *error = QStringLiteral("no database/Photos.sqlite in it: not a Photos library");
        return nullptr;
    }
    if (status != OrvUserFile::Ok) {
        *error = QStringLiteral("database/Photos.sqlite: ") + OrvUserFile::describe(status, OrvUserFile::Media);
        return nullptr;
    }
    std::shared_ptr<Snapshot> snapshot(new Snapshot());
    snapshot->myPackagePath = package.absoluteFilePath();
    const QString folder = QFileInfo(database).absolutePath();
    if (onReadOnlyLocalFileSystem(folder) && snapshot->openInPlace(true))
        return snapshot;
    // Without a log SQLite would make one; a copy gets an empty one of its own.
    if (source == Source::InPlace && onLocalFileSystem(folder)
        && OrvUserFile::check(logPathOf(database), OrvUserFile::Media) == OrvUserFile::Ok && snapshot->openInPlace(false))
        return snapshot;
    if (!snapshot->copy(previous, error))
        return nullptr;
    return snapshot;
}

Snapshot::~Snapshot()
{
    if (myDb)
        sqlite3_close_v2(myDb);
}

bool Snapshot::isCurrent() const
{
    const QString database = databasePath(myPackagePath);
    return FileStamp::of(database) == myDatabase && FileStamp::of(logPathOf(database)) == myLog;
}

bool Snapshot::isIntact() const
{
    if (myCopy || myFrozen)
        return true;
    const QString database = databasePath(myPackagePath);
    const QString log = logPathOf(database);
    const FileStamp logNow = FileStamp::of(log);
    return FileStamp::of(database) == myDatabase && logNow.exists && logNow.inode == myLog.inode
        && logNow.device == myLog.device && logNow.size >= myLog.size && logHeader(log) == myLogHeader;
}

bool Snapshot::openInPlace(bool forGood)
{
    const QString database = databasePath(myPackagePath);
    const QString log = logPathOf(database);
    // Taken before SQLite reads anything: a change after this makes the snapshot not intact.
    myDatabase = FileStamp::of(database);
    myLog = FileStamp::of(log);
    myLogHeader = logHeader(log);
    myFrozen = forGood;
    QString error;
    if (open(database, &error))
        return true;
    myLogHeader.clear();
    return false;
}

bool Snapshot::copy(const Snapshot* previous, QString* error)
{
    const QString database = databasePath(myPackagePath);
    const QString log = logPathOf(database);
    for (int attempt = 0; attempt < copyAttempts; ++attempt) {
        if (attempt > 0)
            QThread::msleep(20UL << attempt);
        myCopy = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/orv-photoslibrary-XXXXXX"));
        if (!myCopy->isValid()) {
            *error = QStringLiteral("cannot make a private folder for the copy: ") + myCopy->errorString();
            myCopy.reset();
            return false;
        }
        const QString copiedDatabase = myCopy->filePath(QStringLiteral("Photos.sqlite"));
        const FileStamp before = FileStamp::of(database);
        const FileStamp logBefore = FileStamp::of(log);
        const QByteArray headerBefore = logHeader(log);

        // The last copy serves again while the database file is unchanged, or while
        // the log is the same generation (same header: its salts and checkpoint
        // count change whenever it restarts): the database is then written only by
        // checkpoints, which copy into it pages whose frames the log still holds
        // and which SQLite reads from the log in the copy. A change then costs
        // what the log holds, not what the library holds.
        const bool sameLog = previous && Wal::isValidHeader(headerBefore) && previous->myLogHeader == headerBefore
            && previous->myLog.exists && previous->myLog.inode == logBefore.inode && previous->myLog.device == logBefore.device
            && previous->myDatabase.inode == before.inode && previous->myDatabase.device == before.device;
        const bool reused = previous && previous->myCopy && (previous->myDatabase == before || sameLog)
            && ::link(QFile::encodeName(previous->myCopy->filePath(QStringLiteral("Photos.sqlite"))).constData(),
                      QFile::encodeName(copiedDatabase).constData())
                == 0;
        if (!reused) {
            // A source that fails mid-copy (truncated, replaced) is tried again.
            const Copied copied = copyFile(database, copiedDatabase, error);
            if (copied == Copied::DestinationFailed)
                return false;
            if (copied == Copied::SourceFailed)
                continue;
        }
        qint64 logLength = 0;
        {
            // The copy always has a log, if an empty one: SQLite opens it read-only.
            QFile out(copiedDatabase + QStringLiteral("-wal"));
            if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
                *error = QStringLiteral("cannot copy the database's log: ") + out.errorString();
                return false;
            }
            OrvUserFile in(log, OrvUserFile::Media);
            if (logBefore.exists && in.open() && (logLength = Wal::copyCommitted(in, out)) < 0) {
                *error = QStringLiteral("cannot copy the database's log: ") + out.errorString();
                return false;
            }
        }

        const FileStamp after = FileStamp::of(database);
        const FileStamp logAfter = FileStamp::of(log);
        // Frames appended after the ones copied do not matter; a restarted log
        // (new header) or a database written meanwhile does.
        if (before == after && headerBefore == logHeader(log) && logBefore.inode == logAfter.inode
            && logAfter.size >= logLength) {
            // The log as it was before the copy: one that grew meanwhile is not current.
            myDatabase = after;
            myLog = logBefore;
            // The generation of the log this copy of the database goes with.
            myLogHeader = headerBefore;
            return open(copiedDatabase, error);
        }
    }
    if (error->isEmpty())
        *error = QStringLiteral("the library kept changing while it was copied");
    return false;
}

bool Snapshot::open(const QString& path, QString* error)
{
    const QByteArray uri = QUrl::fromLocalFile(path).toEncoded() + "?mode=ro";
    const char* vfs = PrivateIndex::vfsName();
    if (!vfs) {
        *error = QStringLiteral("SQLite offers no file system to read the database with");
        return false;
    }
    if (sqlite3_open_v2(uri.constData(), &myDb, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_FULLMUTEX, vfs) != SQLITE_OK) {
        *error = QStringLiteral("database/Photos.sqlite cannot be opened: ") + QString::fromUtf8(sqlite3_errmsg(myDb));
        sqlite3_close_v2(myDb);
        myDb = nullptr;
        return false;
    }
    // A library's database is data, not code: no triggers or views of its own
    // run, and no value is larger than a library would ever store.
    sqlite3_db_config(myDb, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(myDb, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(myDb, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_limit(myDb, SQLITE_LIMIT_LENGTH, 64 * 1024 * 1024);
    sqlite3_exec(myDb, "PRAGMA query_only = 1; PRAGMA mmap_size = 0", nullptr, nullptr, nullptr);
    char* message = nullptr;
    if (sqlite3_exec(myDb, "SELECT count(*) FROM sqlite_master", nullptr, nullptr, &message) != SQLITE_OK) {
        *error = QStringLiteral("database/Photos.sqlite cannot be read: ") + QString::fromUtf8(message ? message : "");
        sqlite3_free(message);
        sqlite3_close_v2(myDb);
        myDb = nullptr;
        return false;
    }
    return true;
}

} // namespace OrvPhotosLibrary
