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
    const QByteArray finalName = QFile::encodeName(name);
    QByteArray temporaryName;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        temporaryName = ".orv-" + QByteArray::number(QRandomGenerator::global()->generate64(), 36) + ".part";
        fd = ::openat(myFd, temporaryName.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST)
            break;
    }
    if (fd < 0) {
        myError = systemError(errno);
        return false;
    }
    bool ok = false;
    {
        QFile file;
        if (file.open(fd, QIODevice::WriteOnly, QFileDevice::DontCloseHandle)) {
            ok = produce(&file) && file.flush() && file.error() == QFileDevice::NoError;
            myWriteFailed = file.error() != QFileDevice::NoError;
            if (!ok)
                myError = myWriteFailed ? file.errorString() : QStringLiteral("nothing to write");
        }
    }
    if (::close(fd) != 0 && ok) {
        ok = false;
        myWriteFailed = true;
        myError = systemError(errno);
    }
    if (ok) {
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
    }
    ::unlinkat(myFd, temporaryName.constData(), 0);
    return ok;
}
