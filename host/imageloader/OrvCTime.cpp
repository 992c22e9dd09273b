#include "OrvCTime.h"
#include "OrvUserFile.h"

#include <QDebug>
#include <QFile>

bool OrvCTime::writeTo(const QString& path) const
{
    if (!myTime.isValid() || path.isEmpty())
        return false;
    // Read-only is enough: changing times needs ownership, not write access,
    // and an open for writing would look like a modification to watchers.
    OrvUserFile opened(path, OrvUserFile::Media);
    QFile file;
    if (!opened.open() || !file.open(opened.handle(), QIODevice::ReadOnly, QFileDevice::DontCloseHandle)) {
        qDebug() << "OrvCTime: cannot open" << path << opened.reason();
        return false;
    }
    const bool ok = file.setFileTime(myTime, QFileDevice::FileModificationTime)
        && file.setFileTime(myTime, QFileDevice::FileAccessTime);
    if (!ok) {
        qDebug() << "OrvCTime: cannot set the time of" << path << file.errorString();
        return false;
    }
    // Most file systems here cannot set the birth time; that is no failure.
    file.setFileTime(myTime, QFileDevice::FileBirthTime);
    return true;
}
