#include "OrvPhotosLibraryPrivateIndex.h"

#include <sqlite3.h>

#include <atomic>
#include <cstdlib>
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

int vfsOpen(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags)
{
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
    // Everything but opening files is the system's own.
    privateVfs = *systemVfs;
    privateVfs.pNext = nullptr;
    privateVfs.zName = "orv-photoslibrary";
    privateVfs.szOsFile = int(realOffset) + systemVfs->szOsFile;
    privateVfs.xOpen = vfsOpen;
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
