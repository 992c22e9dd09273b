#include "OrvPhotosLibraryPrivateIndex.h"

#include <sqlite3.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace OrvPhotosLibrary {

namespace {

// A file of the system's VFS, with the index regions of its connection.
struct File
{
    sqlite3_file base;
    sqlite3_file* real = nullptr;
    std::vector<void*> regions;
};

constexpr size_t realOffset = (sizeof(File) + 15) & ~size_t(15);

sqlite3_vfs* systemVfs = nullptr;
sqlite3_vfs privateVfs;
sqlite3_io_methods privateMethods;

sqlite3_file* real(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real; }

int fileClose(sqlite3_file* file)
{
    File* self = reinterpret_cast<File*>(file);
    const int result = self->real->pMethods ? self->real->pMethods->xClose(self->real) : SQLITE_OK;
    for (void* region : self->regions)
        std::free(region);
    self->~File();
    return result;
}
int fileRead(sqlite3_file* f, void* data, int amount, sqlite3_int64 offset)
{
    return real(f)->pMethods->xRead(real(f), data, amount, offset);
}
int fileWrite(sqlite3_file* f, const void* data, int amount, sqlite3_int64 offset)
{
    return real(f)->pMethods->xWrite(real(f), data, amount, offset);
}
int fileTruncate(sqlite3_file* f, sqlite3_int64 size) { return real(f)->pMethods->xTruncate(real(f), size); }
int fileSync(sqlite3_file* f, int flags) { return real(f)->pMethods->xSync(real(f), flags); }
int fileSize(sqlite3_file* f, sqlite3_int64* size) { return real(f)->pMethods->xFileSize(real(f), size); }
int fileLock(sqlite3_file* f, int level) { return real(f)->pMethods->xLock(real(f), level); }
int fileUnlock(sqlite3_file* f, int level) { return real(f)->pMethods->xUnlock(real(f), level); }
int fileCheckReservedLock(sqlite3_file* f, int* out) { return real(f)->pMethods->xCheckReservedLock(real(f), out); }
int fileControl(sqlite3_file* f, int op, void* argument) { return real(f)->pMethods->xFileControl(real(f), op, argument); }
int fileSectorSize(sqlite3_file* f) { return real(f)->pMethods->xSectorSize(real(f)); }
int fileDeviceCharacteristics(sqlite3_file* f) { return real(f)->pMethods->xDeviceCharacteristics(real(f)); }

// The index: regions of the connection's own memory, zeroed when first asked
// for (SQLite then rebuilds the index from the log). Its locks guard nothing
// another connection could see.
int indexMap(sqlite3_file* f, int region, int size, int, void volatile** out)
{
    File* self = reinterpret_cast<File*>(f);
    *out = nullptr;
    if (region < 0 || size <= 0)
        return SQLITE_IOERR_SHMMAP;
    if (size_t(region) >= self->regions.size())
        self->regions.resize(size_t(region) + 1, nullptr);
    if (!self->regions[size_t(region)]) {
        self->regions[size_t(region)] = std::calloc(1, size_t(size));
        if (!self->regions[size_t(region)])
            return SQLITE_NOMEM;
    }
    *out = self->regions[size_t(region)];
    return SQLITE_OK;
}
int indexLock(sqlite3_file*, int, int, int) { return SQLITE_OK; }
void indexBarrier(sqlite3_file*) { std::atomic_thread_fence(std::memory_order_seq_cst); }
int indexUnmap(sqlite3_file* f, int)
{
    File* self = reinterpret_cast<File*>(f);
    for (void* region : self->regions)
        std::free(region);
    self->regions.clear();
    return SQLITE_OK;
}
int fileFetch(sqlite3_file* f, sqlite3_int64 offset, int amount, void** out)
{
    return real(f)->pMethods->xFetch(real(f), offset, amount, out);
}
int fileUnfetch(sqlite3_file* f, sqlite3_int64 offset, void* p) { return real(f)->pMethods->xUnfetch(real(f), offset, p); }

// The log and the journal, read here: the system's VFS gives them to the
// database's owner when running as root (a change of their status on every
// open) and would make them when missing. Opened read-only, a regular file only.
struct LogFile
{
    sqlite3_file base;
    int fd = -1;
};

sqlite3_io_methods logMethods;

int logFd(sqlite3_file* f) { return reinterpret_cast<LogFile*>(f)->fd; }

int logClose(sqlite3_file* f)
{
    LogFile* self = reinterpret_cast<LogFile*>(f);
    if (self->fd >= 0)
        ::close(self->fd);
    self->fd = -1;
    return SQLITE_OK;
}
int logRead(sqlite3_file* f, void* data, int amount, sqlite3_int64 offset)
{
    char* into = static_cast<char*>(data);
    int done = 0;
    while (done < amount) {
        const ssize_t got = ::pread(logFd(f), into + done, size_t(amount - done), off_t(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return SQLITE_IOERR_READ;
        if (got == 0)
            break;
        done += int(got);
    }
    if (done < amount) {
        std::memset(into + done, 0, size_t(amount - done));
        return SQLITE_IOERR_SHORT_READ;
    }
    return SQLITE_OK;
}
int logWrite(sqlite3_file*, const void*, int, sqlite3_int64) { return SQLITE_READONLY; }
int logTruncate(sqlite3_file*, sqlite3_int64) { return SQLITE_READONLY; }
int logSync(sqlite3_file*, int) { return SQLITE_OK; }
int logSize(sqlite3_file* f, sqlite3_int64* size)
{
    struct stat status;
    if (::fstat(logFd(f), &status) != 0)
        return SQLITE_IOERR_FSTAT;
    *size = sqlite3_int64(status.st_size);
    return SQLITE_OK;
}
int logLock(sqlite3_file*, int) { return SQLITE_OK; }
int logCheckReservedLock(sqlite3_file*, int* out)
{
    *out = 0;
    return SQLITE_OK;
}
int logControl(sqlite3_file*, int, void*) { return SQLITE_NOTFOUND; }
int logSectorSize(sqlite3_file*) { return 4096; }
int logDeviceCharacteristics(sqlite3_file*) { return 0; }

int openLog(sqlite3_filename name, sqlite3_file* file, int* outFlags)
{
    LogFile* self = new (file) LogFile();
    file->pMethods = nullptr;
    // Never blocks on a pipe: anything but a regular file is refused after opening.
    const int fd = name ? ::open(name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY) : -1;
    struct stat status;
    if (fd < 0 || ::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        if (fd >= 0)
            ::close(fd);
        return SQLITE_CANTOPEN;
    }
    self->fd = fd;
    file->pMethods = &logMethods;
    if (outFlags)
        *outFlags = SQLITE_OPEN_READONLY;
    return SQLITE_OK;
}

int vfsOpen(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags)
{
    if (flags & (SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL))
        return openLog(name, file, outFlags);
    // The database may be the library's own: read-only, never made.
    if (flags & SQLITE_OPEN_MAIN_DB)
        flags = (flags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_READONLY;
    File* self = new (file) File();
    self->real = reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + realOffset);
    self->real->pMethods = nullptr;
    const int result = systemVfs->xOpen(systemVfs, name, self->real, flags, outFlags);
    if (result != SQLITE_OK || !self->real->pMethods) {
        if (self->real->pMethods)
            self->real->pMethods->xClose(self->real);
        self->~File();
        file->pMethods = nullptr;
        return result != SQLITE_OK ? result : SQLITE_CANTOPEN;
    }
    file->pMethods = &privateMethods;
    return SQLITE_OK;
}

// SQLite deletes the log of an empty database file; the files may be the library's.
int vfsDelete(sqlite3_vfs*, const char*, int) { return SQLITE_OK; }

void registerVfs()
{
    if (sqlite3_initialize() != SQLITE_OK)
        return;
    systemVfs = sqlite3_vfs_find(nullptr);
    if (!systemVfs || systemVfs->iVersion < 1)
        return;
    privateMethods = sqlite3_io_methods{3,
                                        fileClose,
                                        fileRead,
                                        fileWrite,
                                        fileTruncate,
                                        fileSync,
                                        fileSize,
                                        fileLock,
                                        fileUnlock,
                                        fileCheckReservedLock,
                                        fileControl,
                                        fileSectorSize,
                                        fileDeviceCharacteristics,
                                        indexMap,
                                        indexLock,
                                        indexBarrier,
                                        indexUnmap,
                                        fileFetch,
                                        fileUnfetch};
    logMethods = sqlite3_io_methods{1,
                                    logClose,
                                    logRead,
                                    logWrite,
                                    logTruncate,
                                    logSync,
                                    logSize,
                                    logLock,
                                    logLock,
                                    logCheckReservedLock,
                                    logControl,
                                    logSectorSize,
                                    logDeviceCharacteristics,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr};
    // Everything but opening and deleting files is the system's own.
    privateVfs = *systemVfs;
    privateVfs.pNext = nullptr;
    privateVfs.zName = "orv-photoslibrary";
    privateVfs.szOsFile = std::max(int(realOffset) + systemVfs->szOsFile, int(sizeof(LogFile)));
    privateVfs.xOpen = vfsOpen;
    privateVfs.xDelete = vfsDelete;
    if (sqlite3_vfs_register(&privateVfs, 0) != SQLITE_OK)
        systemVfs = nullptr;
}

} // namespace

const char* PrivateIndex::vfsName()
{
    static std::once_flag once;
    std::call_once(once, registerVfs);
    return systemVfs ? privateVfs.zName : nullptr;
}

} // namespace OrvPhotosLibrary
