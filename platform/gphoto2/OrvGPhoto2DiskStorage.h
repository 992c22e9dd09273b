#pragma once

// The folder that libgphoto2's directory driver serves as a camera ("disk:/path"),
// as the driver maps it: the camera's folder "/DCIM" is <root>/DCIM. An item of
// it is what can be downloaded from it: a regular file inside the folder that
// can be read. A link that leads out of it is no photo of this card (importing
// it would copy whatever it points to), a named pipe or a device is none either.
// Files are opened here, never by the driver: the open never blocks, never
// follows a link, and what it gives is checked to be a regular file inside.

#include "OrvUserFile.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <memory>
#include <mutex>
#include <optional>

struct stat;

namespace OrvGPhoto2 {

class DiskStorage
{
public:
    // Not valid for a port that is no "disk:" one, or names no folder.
    explicit DiskStorage(const QString& port = QString());
    DiskStorage(const DiskStorage&) = delete;
    DiskStorage& operator=(const DiskStorage&) = delete;
    bool isValid() const { return !myRoot.isEmpty(); }

    struct Entry
    {
        qint64 size = 0;
        qint64 modified = 0;  // seconds since the epoch
    };
    // What the camera's folder and name (as the driver lists them) are, when they are an item.
    std::optional<Entry> item(const QByteArray& folder, const QByteArray& name) const;
    // Whether a camera's folder is inside the storage (a linked folder may lead anywhere).
    bool isInside(const QByteArray& folder) const;
    // The item opened for reading; null when it is no item (any more).
    std::unique_ptr<OrvUserFile> open(const QByteArray& folder, const QByteArray& name, OrvUserFile::Kind kind) const;

private:
    // The path that folder/name leads to once its links are resolved; empty when it leaves the storage.
    // info (where given) gets what lstat tells of a named file there.
    QByteArray resolve(const QByteArray& folder, const QByteArray& name, struct stat* info = nullptr) const;
    bool contains(const QByteArray& real) const;
    // The folder's path with its links resolved, once per folder: a photo's own
    // path then costs one lstat, not a readlink for each folder on the way.
    // A folder made a link later is caught where a file is opened.
    QByteArray realFolder(const QByteArray& path) const;

    QByteArray myRoot;  // canonical, without a trailing "/"
    mutable std::mutex myFoldersMutex;
    mutable QHash<QByteArray, QByteArray> myFolders;  // as asked -> resolved, inside the storage
};

} // namespace OrvGPhoto2
