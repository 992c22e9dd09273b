#include "OrvUserFile.h"

#include <QDebug>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

Q_LOGGING_CATEGORY(orvFiles, "orv.files")

namespace {

constexpr qint64 MiB = 1024 * 1024;
constexpr qint64 chunk = 4 * MiB;

std::atomic<OrvUserFile::OpenHook> openHook{nullptr};

QString sizeText(qint64 bytes)
{
    return bytes >= 1024 * MiB ? QStringLiteral("%1 GiB").arg(bytes / (1024 * MiB)) : QStringLiteral("%1 MiB").arg(bytes / MiB);
}

} // namespace

OrvUserFile::OrvUserFile(const QString& path, Kind kind, QObject* parent) : QIODevice(parent), myPath(path), myKind(kind) {}

OrvUserFile::~OrvUserFile() { close(); }

qint64 OrvUserFile::sizeBound(Kind kind)
{
    switch (kind) {
    case LibraryFile:
        return 2048 * MiB;
    case LibraryDescription:
        return 256 * MiB;
    case FotoList:
        return 64 * MiB;
    case Image:
        return 2048 * MiB;
    case Media:
        return 1024 * 1024 * MiB;
    }
    return 0;
}

QString OrvUserFile::describe(Status status, Kind kind, int error)
{
    switch (status) {
    case Ok:
        return QString();
    case NotOpened:
        return QStringLiteral("not opened");
    case Missing:
        return QStringLiteral("no such file");
    case NotRegular:
        return QStringLiteral("not a regular file");
    case TooLarge:
        return QStringLiteral("larger than %1").arg(sizeText(sizeBound(kind)));
    case Unreadable:
    case ReadFailed:
        return error ? QString::fromLocal8Bit(std::strerror(error)) : QStringLiteral("cannot read");
    }
    return QString();
}

QString OrvUserFile::reason() const { return describe(myStatus, myKind, myError); }

void OrvUserFile::fail(Status status, int error)
{
    myStatus = status;
    myError = error;
    setErrorString(reason());
    if (status != Missing)
        qCDebug(orvFiles).noquote() << QStringLiteral("cannot read %1: %2").arg(myPath, reason());
}

OrvUserFile::Status OrvUserFile::check(const QString& path, Kind kind)
{
    struct stat info {};
    if (path.isEmpty() || ::stat(QFile::encodeName(path).constData(), &info) != 0)
        return errno == EACCES ? Unreadable : Missing;
    if (!S_ISREG(info.st_mode))
        return NotRegular;
    if (qint64(info.st_size) > sizeBound(kind))
        return TooLarge;
    return ::access(QFile::encodeName(path).constData(), R_OK) == 0 ? Ok : Unreadable;
}

bool OrvUserFile::open(OpenMode mode)
{
    if (isOpen() || (mode & ~(Unbuffered | Text)) != ReadOnly) {
        setErrorString(QStringLiteral("read-only, opened once"));
        return false;
    }
    const QByteArray name = myNativePath.isEmpty() ? QFile::encodeName(myPath) : myNativePath;
    // Refuse what is no regular file before opening it: opening some devices
    // already does something.
    struct stat info {};
    const int found = myFollowLinks ? ::stat(name.constData(), &info) : ::lstat(name.constData(), &info);
    if (myPath.isEmpty() || found != 0) {
        fail(errno == ENOENT || errno == ENOTDIR || myPath.isEmpty() ? Missing : Unreadable, myPath.isEmpty() ? 0 : errno);
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        fail(NotRegular);
        return false;
    }
    if (const OpenHook hook = openHook.load())
        hook(name);
    // Non-blocking, in case a pipe took the file's place since: opening a pipe
    // for reading would otherwise wait for a writer.
    int fd = -1;
    do {
        fd = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY | (myFollowLinks ? 0 : O_NOFOLLOW));
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        fail(errno == ENOENT ? Missing : errno == ELOOP ? NotRegular : Unreadable, errno);
        return false;
    }
    return adopt(fd);
}

bool OrvUserFile::openDescriptor(int fd)
{
    if (isOpen() || fd < 0) {
        setErrorString(QStringLiteral("read-only, opened once"));
        return false;
    }
    const int copy = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) {
        fail(Unreadable, errno);
        return false;
    }
    return adopt(copy);
}

void OrvUserFile::setOpenHookForTesting(OpenHook hook) { openHook = hook; }

bool OrvUserFile::adopt(int fd)
{
    // What is open counts, not what the path showed before: it may have been swapped since.
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        fail(NotRegular);
        return false;
    }
    if (qint64(info.st_size) > sizeBound(myKind)) {
        ::close(fd);
        fail(TooLarge);
        return false;
    }
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0)
        ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
    myFd = fd;
    mySize = qint64(info.st_size);
    myOffset = 0;
    myRanOut = false;
    myStatus = Ok;
    myError = 0;
    return QIODevice::open(ReadOnly | Unbuffered);
}

void OrvUserFile::close()
{
    if (myFd >= 0) {
        ::close(myFd);
        myFd = -1;
    }
    if (isOpen())
        QIODevice::close();
}

bool OrvUserFile::seek(qint64 position)
{
    if (myFd < 0 || position < 0)
        return false;
    myOffset = position;
    return QIODevice::seek(position);
}

bool OrvUserFile::atEnd() const { return myFd < 0 || (myOffset >= mySize && mySize > 0); }

qint64 OrvUserFile::readAt(qint64 offset, char* data, qint64 maxSize)
{
    if (myFd < 0 || offset < 0 || maxSize < 0)
        return -1;
    const qint64 bound = sizeBound(myKind);
    if (offset >= bound) {
        // One byte past the bound tells whether the file really goes on.
        char probe = 0;
        ssize_t got = -1;
        do {
            got = ::pread(myFd, &probe, 1, off_t(offset));
        } while (got < 0 && errno == EINTR);
        if (got <= 0)
            return got < 0 ? -1 : 0;
        myStatus = TooLarge;
        setErrorString(reason());
        qCDebug(orvFiles).noquote() << QStringLiteral("cannot read %1: %2").arg(myPath, reason());
        return -1;
    }
    maxSize = qMin(maxSize, bound - offset);
    qint64 done = 0;
    while (done < maxSize) {
        const ssize_t got = ::pread(myFd, data + done, size_t(qMin(maxSize - done, chunk)), off_t(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            myStatus = ReadFailed;
            myError = errno;
            setErrorString(reason());
            return done > 0 ? done : -1;
        }
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

qint64 OrvUserFile::readData(char* data, qint64 maxSize)
{
    if (maxSize > 0 && mySize > 0 && myOffset >= mySize)
        myRanOut = true;
    const qint64 got = readAt(myOffset, data, maxSize);
    if (got > 0)
        myOffset += got;
    else if (got == 0 && maxSize > 0)
        myRanOut = true;
    return got;
}

qint64 OrvUserFile::writeData(const char*, qint64) { return -1; }

QByteArray OrvUserFile::readAll(const QString& path, Kind kind, Status* status)
{
    OrvUserFile file(path, kind);
    const QByteArray bytes = file.open() ? file.readWhole() : QByteArray();
    if (status)
        *status = file.status();
    return bytes;
}

QByteArray OrvUserFile::readWhole()
{
    if (myFd < 0)
        return {};
    const qint64 bound = sizeBound(myKind);
    QByteArray bytes;
    // A size of zero may be a file whose size the file system does not know.
    qint64 capacity = mySize > 0 ? qMin(mySize + 1, bound + 1) : 64 * 1024;
    qint64 total = 0;
    for (;;) {
        if (total == capacity) {
            if (capacity > bound) {
                myStatus = TooLarge;
                return {};
            }
            capacity = qMin(capacity * 2, bound + 1);
        }
        if (bytes.size() < capacity)
            bytes.resize(qsizetype(capacity));
        const qint64 got = readAt(total, bytes.data() + total, capacity - total);
        if (got < 0) {
            if (myStatus == Ok)
                myStatus = ReadFailed;
            return {};
        }
        if (got == 0)
            break;
        total += got;
    }
    bytes.resize(qsizetype(total));
    if (mySize == 0)
        bytes.squeeze();
    return bytes;
}
