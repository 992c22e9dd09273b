#include "OrvTargetFolder.h"

#include "OrvUserFile.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
// Kernel copies and unnamed temporary files are Linux's; elsewhere (macOS) the folder
// copies through a buffer and names its temporary files.
#if defined(__linux__)
#include <sys/sendfile.h>
#define ORV_LINUX_FILES 1
#else
#define ORV_LINUX_FILES 0
#endif

namespace {

// Copies up to count bytes of in, from *from on, to the end of out; the number copied,
// 0 at the end of in, -1 with errno on failure. *kernel: copy_file_range may still be
// tried (not across file systems on older kernels; sendfile is then the kernel's copy).
ssize_t copyChunk(int in, qint64* from, int out, size_t count, bool* kernel)
{
#if ORV_LINUX_FILES
    if (*kernel) {
        loff_t offset = loff_t(*from);
        const ssize_t copied = ::copy_file_range(in, &offset, out, nullptr, count, 0);
        if (copied >= 0) {
            *from = qint64(offset);
            return copied;
        }
        if (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
            return -1;
        *kernel = false;
    }
    off_t at = off_t(*from);
    const ssize_t copied = ::sendfile(out, in, &at, count);
    if (copied >= 0)
        *from = qint64(at);
    return copied;
#else
    Q_UNUSED(kernel);
    char buffer[1 << 16];
    const ssize_t got = ::pread(in, buffer, qMin(count, sizeof buffer), off_t(*from));
    if (got <= 0)
        return got;
    for (ssize_t done = 0; done < got;) {
        const ssize_t put = ::write(out, buffer + done, size_t(got - done));
        if (put < 0 && errno != EINTR)
            return -1;
        done += qMax<ssize_t>(put, 0);
    }
    *from += got;
    return got;
#endif
}

QString systemError(int error) { return QString::fromLocal8Bit(std::strerror(error)); }

qsizetype encodedSize(const QString& text) { return QFile::encodeName(text).size(); }

// The longest start of text, whole characters only, of at most maxBytes in the encoding of file names.
QString cutTo(const QString& text, qsizetype maxBytes)
{
    if (encodedSize(text) <= maxBytes)
        return text;
    qsizetype end = 0;
    qsizetype size = 0;
    while (end < text.size()) {
        const bool pair = text.at(end).isHighSurrogate() && end + 1 < text.size() && text.at(end + 1).isLowSurrogate();
        const qsizetype length = pair ? 2 : 1;
        size += encodedSize(text.mid(end, length));
        if (size > maxBytes)
            break;
        end += length;
    }
    return text.left(end);
}

// The extension of a name, with its dot; a long run after the last dot is part of the name.
QString extensionOf(const QString& name, int maxBytes)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 && encodedSize(name.mid(dot)) <= qMin(32, maxBytes / 4) ? name.mid(dot) : QString();
}

// base shortened so that base and tail together take at most maxBytes.
QString fitted(const QString& base, const QString& tail, int maxBytes)
{
    return cutTo(base, qMax<qsizetype>(0, maxBytes - encodedSize(tail))) + tail;
}

// Writes straight to the descriptor and remembers the first failure, short
// writes included, so a full disk is told apart from a producer with nothing to give.
class TargetFile : public QIODevice
{
public:
    explicit TargetFile(int fd) : myFd(fd) { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }
    // Seekable, for writers that go back to fill in sizes (TIFF).
    bool isSequential() const override { return false; }
    bool seek(qint64 position) override
    {
        return ::lseek(myFd, off_t(position), SEEK_SET) == off_t(position) && QIODevice::seek(position);
    }
    qint64 size() const override
    {
        struct stat info {};
        return ::fstat(myFd, &info) == 0 ? qint64(info.st_size) : 0;
    }
    int failure() const { return myFailure; }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override
    {
        if (myFailure)
            return -1;
        qint64 done = 0;
        while (done < size) {
            const ssize_t written = ::write(myFd, data + done, size_t(size - done));
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0) {
                myFailure = written < 0 ? errno : ENOSPC;
                setErrorString(systemError(myFailure));
                return -1;
            }
            done += written;
        }
        return done;
    }

private:
    int myFd;
    int myFailure = 0;
};

} // namespace

OrvTargetFolder::OrvTargetFolder(const QString& path) : myPath(path)
{
    if (path.isEmpty()) {
        myError = QStringLiteral("no folder given");
        return;
    }
    if (!QFileInfo(path).isDir() && !QDir().mkpath(path)) {
        myError = QStringLiteral("cannot create the folder");
        return;
    }
    myFd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (myFd < 0)
        myError = systemError(errno);
}

OrvTargetFolder::~OrvTargetFolder()
{
    for (const int fd : std::as_const(myUnnamed))
        ::close(fd);
    if (myFd >= 0)
        ::close(myFd);
}

bool OrvTargetFolder::isValidName(const QString& name)
{
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..")
        && !name.contains(QLatin1Char('/')) && !name.contains(QChar(0)) && QFile::encodeName(name).size() <= NAME_MAX;
}

QString OrvTargetFolder::fittingName(const QString& name, int maxBytes)
{
    QString cleaned = name;
    cleaned.replace(QChar(0), QLatin1Char('_')).replace(QLatin1Char('/'), QLatin1Char('_'));
    if (cleaned == QLatin1String(".") || cleaned == QLatin1String(".."))
        cleaned.prepend(QLatin1Char('_'));
    maxBytes = qBound(16, maxBytes, NAME_MAX);
    const QString extension = extensionOf(cleaned, maxBytes);
    return fitted(cleaned.chopped(extension.size()), extension, maxBytes);
}

QString OrvTargetFolder::uniqueName(const QString& name, const std::function<bool(const QString&)>& isUsed)
{
    clearFailure();
    if (myFd < 0)
        return {};
    const long limit = ::fpathconf(myFd, _PC_NAME_MAX);
    const int maxBytes = limit >= 16 ? int(qMin<long>(limit, NAME_MAX)) : NAME_MAX;
    const QString first = fittingName(name, maxBytes);
    if (first.isEmpty()) {
        myError = QStringLiteral("no name given");
        return {};
    }
    const QString extension = extensionOf(first, maxBytes);
    const QString base = first.chopped(extension.size());
    // Bounded: a folder (or a caller) that takes every name ends the search.
    for (int n = 1; n <= 10000; ++n) {
        const QString candidate = n == 1 ? first : fitted(base, QStringLiteral("-%1").arg(n) + extension, maxBytes);
        if (isUsed && isUsed(candidate))
            continue;
        struct stat info {};
        if (::fstatat(myFd, QFile::encodeName(candidate).constData(), &info, AT_SYMLINK_NOFOLLOW) == 0)
            continue;
        if (errno != ENOENT) {
            myError = systemError(errno);
            myFolderRefused = true;
            return {};
        }
        return candidate;
    }
    myError = QStringLiteral("no free name for %1").arg(first);
    return {};
}

bool OrvTargetFolder::isTaken(const QString& name) const
{
    if (myFd < 0 || !isValidName(name))
        return true;
    struct stat info {};
    return ::fstatat(myFd, QFile::encodeName(name).constData(), &info, AT_SYMLINK_NOFOLLOW) == 0 || errno != ENOENT;
}

bool OrvTargetFolder::create(const QString& name, const QByteArray& bytes)
{
    return create(name, [&bytes](QIODevice* device) { return device->write(bytes) == bytes.size(); });
}

void OrvTargetFolder::clearFailure()
{
    myWriteFailed = false;
    myFolderRefused = false;
}

bool OrvTargetFolder::isFree(const QString& name)
{
    clearFailure();
    myCreatedName.clear();
    if (myFd < 0)
        return false;
    if (!isValidName(name)) {
        myError = QStringLiteral("\"%1\" is no file name").arg(name);
        return false;
    }
    if (isTaken(name)) {
        myError = QStringLiteral("%1 exists").arg(name);
        return false;
    }
    return true;
}

bool OrvTargetFolder::create(const QString& name, const Producer& produce)
{
    if (!isFree(name))
        return false;
    QByteArray temporaryName;
    return writeTemporary(produce, &temporaryName) && commitTemporary(temporaryName, name);
}

bool OrvTargetFolder::replace(const QString& name, const Producer& produce)
{
    clearFailure();
    if (myFd < 0 || !isValidName(name))
        return false;
    const QByteArray finalName = QFile::encodeName(name);
    struct stat info {};
    if (::fstatat(myFd, finalName.constData(), &info, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISREG(info.st_mode)) {
        myError = QStringLiteral("%1 is no regular file").arg(name);
        return false;
    }
    QByteArray temporaryName;
    // Renamed over the old file: that needs a name.
    if (!writeTemporary(produce, &temporaryName, false))
        return false;
    // In place of the file of that name, or not at all.
    QString checkedName = name;
    if (!acceptsTemporary(temporaryName, &checkedName) || checkedName != name) {
        discardTemporary(temporaryName);
        return false;
    }
    if (::renameat(myFd, temporaryName.constData(), myFd, finalName.constData()) == 0)
        return true;
    myError = systemError(errno);
    discardTemporary(temporaryName);
    return false;
}

bool OrvTargetFolder::writeTemporary(const Producer& produce, QByteArray* temporaryName, bool unnamed)
{
    const int fd = openTemporary(temporaryName, unnamed);
    if (fd < 0)
        return false;
    bool ok = false;
    {
        TargetFile file(fd);
        ok = produce(&file) && !file.failure();
        myWriteFailed = file.failure() != 0;
        if (!ok)
            myError = myWriteFailed ? file.errorString() : QStringLiteral("nothing to write");
    }
    if (::close(fd) != 0 && ok) {
        ok = false;
        myWriteFailed = true;
        myError = systemError(errno);
    }
    if (!ok)
        discardTemporary(*temporaryName);
    return ok;
}

bool OrvTargetFolder::adoptFile(const QString& name, const QString& sourcePath)
{
    if (!isFree(name))
        return false;
    const int in = ::open(QFile::encodeName(sourcePath).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat info {};
    if (in < 0 || ::fstat(in, &info) != 0 || !S_ISREG(info.st_mode)) {
        myError = in < 0 ? systemError(errno) : QStringLiteral("%1 is no regular file").arg(sourcePath);
        if (in >= 0)
            ::close(in);
        return false;
    }
    QString finalName = name;
    if (!accepts(in, &finalName)) {
        ::close(in);
        return false;
    }
    bool ok = false;
    bool linked = false;
    if (info.st_nlink == 1) {
        // The very file opened, whatever its path names by now.
        linked = linkDescriptor(in, QFile::encodeName(finalName));
        if (!linked && errno == EEXIST) {
            myError = QStringLiteral("%1 exists").arg(finalName);
            ::close(in);
            return false;
        }
        ok = linked;
        if (linked)
            myCreatedName = finalName;
    }
    if (!linked) {
        // Another file system, one without links, or a file with other names: a copy.
        QByteArray temporaryName;
        ok = copyToTemporary(in, qint64(info.st_size), &temporaryName) && commit(temporaryName, finalName, false);
    }
    ::close(in);
    return ok;
}

bool OrvTargetFolder::copyToTemporary(int in, qint64 size, QByteArray* temporaryName)
{
    const int out = createTemporary(temporaryName);
    if (out < 0)
        return false;
    int failure = 0;
    bool kernelCopy = true;
    // From the start, wherever a descriptor sharing in's position left it.
    qint64 from = 0;
    while (from < size) {
        const size_t chunk = size_t(qMin<qint64>(size - from, 1 << 30));
        const ssize_t copied = copyChunk(in, &from, out, chunk, &kernelCopy);
        if (copied < 0 && errno == EINTR)
            continue;
        if (copied < 0) {
            failure = errno;
            break;
        }
        if (copied == 0) {
            // Shorter than it was: not the whole file.
            failure = ENODATA;
            break;
        }
    }
    if (::close(out) != 0 && !failure)
        failure = errno;
    if (failure) {
        myWriteFailed = failure == ENOSPC || failure == EDQUOT || failure == EFBIG || failure == EIO;
        myError = systemError(failure);
        discardTemporary(*temporaryName);
        return false;
    }
    return true;
}

bool OrvTargetFolder::linkDescriptor(int fd, const QByteArray& finalName) const
{
    // Through /proc: linking a descriptor directly needs a privilege. A link never replaces what exists.
    const QByteArray self = "/proc/self/fd/" + QByteArray::number(fd);
    return ::linkat(AT_FDCWD, self.constData(), myFd, finalName.constData(), AT_SYMLINK_FOLLOW) == 0;
}

int OrvTargetFolder::createTemporary(QByteArray* temporaryName) { return openTemporary(temporaryName, true); }

int OrvTargetFolder::openTemporary(QByteArray* temporaryName, bool unnamed)
{
    if (myFd < 0 || !temporaryName)
        return -1;
    // A file without a name: nothing to clean up after a failure or a crash, and
    // no lock on the folder while the file system looks for a free inode. It is
    // linked through /proc, so only where that is there.
#ifdef O_TMPFILE
    static const bool linkable = ::access("/proc/self/fd", X_OK) == 0;
    if (unnamed && linkable && !myUnnamedRefused) {
        const int fd = ::openat(myFd, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
        const int kept = fd >= 0 ? ::fcntl(fd, F_DUPFD_CLOEXEC, 0) : -1;
        if (kept >= 0) {
            do
                *temporaryName = OrvTargetFolder::temporaryName(&myNames);
            while (myUnnamed.contains(*temporaryName));
            myUnnamed.insert(*temporaryName, kept);
            return fd;
        }
        if (fd >= 0)
            ::close(fd);
    }
#else
    Q_UNUSED(unnamed);
#endif
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        *temporaryName = OrvTargetFolder::temporaryName(&myNames);
        // Never through what is there already: a link planted at the name, even a dangling one, or a file.
        fd = ::openat(myFd, temporaryName->constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST)
            break;
    }
    if (fd < 0) {
        // Not even an empty file: the folder takes none.
        myError = systemError(errno);
        myWriteFailed = true;
        myFolderRefused = true;
    }
    return fd;
}

bool OrvTargetFolder::commitTemporary(const QByteArray& temporaryName, const QString& name)
{
    return commit(temporaryName, name, true);
}

bool OrvTargetFolder::commit(const QByteArray& temporaryName, QString name, bool check)
{
    if (myFd < 0)
        return false;
    if (!isValidName(name) || isTaken(name)) {
        myError = QStringLiteral("%1 exists").arg(name);
        discardTemporary(temporaryName);
        return false;
    }
    if (check && !acceptsTemporary(temporaryName, &name)) {
        discardTemporary(temporaryName);
        return false;
    }
    const QByteArray finalName = QFile::encodeName(name);
    const auto unnamed = myUnnamed.constFind(temporaryName);
    if (unnamed != myUnnamed.cend()) {
        const int kept = *unnamed;
        bool ok = linkDescriptor(kept, finalName);
        if (!ok && errno == EEXIST) {
            myError = QStringLiteral("%1 exists").arg(name);
        } else if (!ok) {
            // Linking refused after all: from now on, and for these bytes, named temporary files.
            myError = systemError(errno);
            myUnnamedRefused = true;
            QByteArray named;
            ok = copyToTemporary(kept, temporarySize(temporaryName), &named) && commit(named, name, false);
        }
        discardTemporary(temporaryName);
        if (ok)
            myCreatedName = name;
        return ok;
    }
    bool ok = true;
    // A hard link never replaces what exists; a rename where the file system
    // has no links, after one more look.
    if (::linkat(myFd, temporaryName.constData(), myFd, finalName.constData(), 0) != 0) {
        const int error = errno;
        if (error == EEXIST) {
            ok = false;
            myError = QStringLiteral("%1 exists").arg(name);
        } else if (isTaken(name) || ::renameat(myFd, temporaryName.constData(), myFd, finalName.constData()) != 0) {
            ok = false;
            myError = systemError(error);
        } else {
            myCreatedName = name;
            return true;
        }
    }
    discardTemporary(temporaryName);
    if (ok)
        myCreatedName = name;
    return ok;
}

void OrvTargetFolder::discardTemporary(const QByteArray& temporaryName)
{
    const auto unnamed = myUnnamed.find(temporaryName);
    if (unnamed != myUnnamed.end()) {
        ::close(*unnamed);
        myUnnamed.erase(unnamed);
        return;
    }
    if (myFd >= 0 && !temporaryName.isEmpty())
        ::unlinkat(myFd, temporaryName.constData(), 0);
}

qint64 OrvTargetFolder::temporarySize(const QByteArray& temporaryName) const
{
    struct stat info {};
    const auto unnamed = myUnnamed.constFind(temporaryName);
    if (unnamed != myUnnamed.cend())
        return ::fstat(*unnamed, &info) == 0 ? qint64(info.st_size) : -1;
    if (myFd < 0 || ::fstatat(myFd, temporaryName.constData(), &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(info.st_mode))
        return -1;
    return qint64(info.st_size);
}

bool OrvTargetFolder::accepts(int fd, QString* name)
{
    if (!myCheck)
        return true;
    OrvUserFile file(*name, OrvUserFile::Media);
    QString why;
    if (file.openDescriptor(fd) && myCheck(&file, name, &why))
        return true;
    myError = why.isEmpty() ? file.reason() : why;
    return false;
}

bool OrvTargetFolder::acceptsTemporary(const QByteArray& temporaryName, QString* name)
{
    if (!myCheck)
        return true;
    const auto unnamed = myUnnamed.constFind(temporaryName);
    const int fd = unnamed != myUnnamed.cend()
        ? ::fcntl(*unnamed, F_DUPFD_CLOEXEC, 0)
        : ::openat(myFd, temporaryName.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        myError = systemError(errno);
        return false;
    }
    const bool accepted = accepts(fd, name);
    ::close(fd);
    return accepted;
}

void OrvTargetFolder::useNamedTemporariesForTesting(quint32 seed)
{
    myUnnamedRefused = true;
    myNames.seed(seed);
}

QByteArray OrvTargetFolder::temporaryName(QRandomGenerator* random)
{
    return ".orv-" + QByteArray::number(random->generate64(), 36) + ".part";
}
