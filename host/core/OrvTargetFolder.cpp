#include "OrvTargetFolder.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString systemError(int error) { return QString::fromLocal8Bit(std::strerror(error)); }

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
    if (myFd >= 0)
        ::close(myFd);
}

bool OrvTargetFolder::isValidName(const QString& name)
{
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..")
        && !name.contains(QLatin1Char('/')) && !name.contains(QChar(0)) && QFile::encodeName(name).size() < 256;
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

bool OrvTargetFolder::create(const QString& name, const Producer& produce)
{
    myWriteFailed = false;
    if (myFd < 0)
        return false;
    if (!isValidName(name) || isTaken(name)) {
        myError = QStringLiteral("%1 exists").arg(name);
        return false;
    }
    QByteArray temporaryName;
    return writeTemporary(produce, &temporaryName) && commitTemporary(temporaryName, name);
}

bool OrvTargetFolder::replace(const QString& name, const Producer& produce)
{
    myWriteFailed = false;
    if (myFd < 0 || !isValidName(name))
        return false;
    const QByteArray finalName = QFile::encodeName(name);
    struct stat info {};
    if (::fstatat(myFd, finalName.constData(), &info, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISREG(info.st_mode)) {
        myError = QStringLiteral("%1 is no regular file").arg(name);
        return false;
    }
    QByteArray temporaryName;
    if (!writeTemporary(produce, &temporaryName))
        return false;
    if (::renameat(myFd, temporaryName.constData(), myFd, finalName.constData()) == 0)
        return true;
    myError = systemError(errno);
    discardTemporary(temporaryName);
    return false;
}

bool OrvTargetFolder::writeTemporary(const Producer& produce, QByteArray* temporaryName)
{
    const int fd = createTemporary(temporaryName);
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

int OrvTargetFolder::createTemporary(QByteArray* temporaryName)
{
    if (myFd < 0 || !temporaryName)
        return -1;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        *temporaryName = ".orv-" + QByteArray::number(QRandomGenerator::global()->generate64(), 36) + ".part";
        fd = ::openat(myFd, temporaryName->constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST)
            break;
    }
    if (fd < 0)
        myError = systemError(errno);
    return fd;
}

bool OrvTargetFolder::commitTemporary(const QByteArray& temporaryName, const QString& name)
{
    if (myFd < 0)
        return false;
    if (!isValidName(name) || isTaken(name)) {
        myError = QStringLiteral("%1 exists").arg(name);
        discardTemporary(temporaryName);
        return false;
    }
    const QByteArray finalName = QFile::encodeName(name);
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
            return true;
        }
    }
    discardTemporary(temporaryName);
    return ok;
}

void OrvTargetFolder::discardTemporary(const QByteArray& temporaryName)
{
    if (myFd >= 0 && !temporaryName.isEmpty())
        ::unlinkat(myFd, temporaryName.constData(), 0);
}

qint64 OrvTargetFolder::temporarySize(const QByteArray& temporaryName) const
{
    struct stat info {};
    if (myFd < 0 || ::fstatat(myFd, temporaryName.constData(), &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(info.st_mode))
        return -1;
    return qint64(info.st_size);
}
