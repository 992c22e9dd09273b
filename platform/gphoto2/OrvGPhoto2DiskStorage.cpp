#include "OrvGPhoto2DiskStorage.h"

#include <QDebug>
#include <QFile>

#include <climits>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace OrvGPhoto2 {

namespace {

QByteArray realPath(const QByteArray& path)
{
    char* real = ::realpath(path.constData(), nullptr);
    if (!real)
        return {};
    const QByteArray result(real);
    std::free(real);
    return result;
}

} // namespace

DiskStorage::DiskStorage(const QString& port)
{
    if (!port.startsWith(QLatin1String("disk:")) || port.size() <= 5)
        return;
    myRoot = realPath(QFile::encodeName(port.mid(5)));
    struct stat info {};
    if (myRoot.isEmpty() || myRoot == "/" || ::stat(myRoot.constData(), &info) != 0 || !S_ISDIR(info.st_mode))
        myRoot.clear();
}

bool DiskStorage::contains(const QByteArray& real) const
{
    return !real.isEmpty() && real.startsWith(myRoot) && (real.size() == myRoot.size() || real.at(myRoot.size()) == '/');
}

QByteArray DiskStorage::realFolder(const QByteArray& path) const
{
    {
        std::lock_guard<std::mutex> lock(myFoldersMutex);
        const auto known = myFolders.constFind(path);
        if (known != myFolders.cend())
            return *known;
    }
    const QByteArray real = realPath(path);
    if (!contains(real))
        return {};
    std::lock_guard<std::mutex> lock(myFoldersMutex);
    myFolders.insert(path, real);
    return real;
}

QByteArray DiskStorage::resolve(const QByteArray& folder, const QByteArray& name, struct stat* info) const
{
    struct stat own {};
    if (!info)
        info = &own;
    if (!isValid() || name.contains('/') || name == ".." || name == "." || folder.contains("/../"))
        return {};
    QByteArray path = myRoot;
    if (!folder.startsWith('/'))
        path += '/';
    path += folder;
    const QByteArray real = realFolder(path);
    if (real.isEmpty() || name.isEmpty())
        return real;
    const QByteArray file = real + '/' + name;
    // Anything but a link is itself; a link is followed to wherever it leads.
    if (::lstat(file.constData(), info) == 0 && !S_ISLNK(info->st_mode))
        return file;
    const QByteArray target = realPath(file);
    return contains(target) && ::lstat(target.constData(), info) == 0 ? target : QByteArray();
}

bool DiskStorage::isInside(const QByteArray& folder) const { return !resolve(folder, QByteArray()).isEmpty(); }

std::optional<DiskStorage::Entry> DiskStorage::item(const QByteArray& folder, const QByteArray& name) const
{
    struct stat info {};
    const QByteArray real = resolve(folder, name, &info);
    // Resolved, the path has no link left: info is of the file itself.
    if (real.isEmpty() || !S_ISREG(info.st_mode) || ::access(real.constData(), R_OK) != 0) {
        qDebug().noquote() << "Image Capture: not a photo of this storage:" << QString::fromUtf8(folder + '/' + name);
        return std::nullopt;
    }
    return Entry{qint64(info.st_size), qint64(info.st_mtime)};
}

std::unique_ptr<OrvUserFile> DiskStorage::open(const QByteArray& folder, const QByteArray& name, OrvUserFile::Kind kind) const
{
    const QByteArray real = resolve(folder, name);
    if (real.isEmpty())
        return nullptr;
    auto file = std::make_unique<OrvUserFile>(QFile::decodeName(real), kind);
    file->setFollowLinks(false);
    file->setNativePath(real);
    if (!file->open())
        return nullptr;
    // A folder on the way may have become a link since it was resolved: what is open must still be inside.
    char opened[PATH_MAX];
    const QByteArray self = "/proc/self/fd/" + QByteArray::number(file->handle());
    const ssize_t length = ::readlink(self.constData(), opened, sizeof opened);
    if (length > 0 && size_t(length) < sizeof opened && !contains(QByteArray(opened, int(length)))) {
        qDebug().noquote() << "Image Capture: left the storage:" << QString::fromUtf8(folder + '/' + name);
        return nullptr;
    }
    return file;
}

} // namespace OrvGPhoto2
