#include "OrvCTime.h"

#include <QDebug>
#include <QFile>

bool OrvCTime::writeTo(const QString& path) const
{
    if (!myTime.isValid() || path.isEmpty())
        return false;
    QFile file(path);
    // Read-only is enough: changing times needs ownership, not write access,
    // and an open for writing would look like a modification to watchers.
    if (!file.open(QIODevice::ReadOnly | QIODevice::ExistingOnly)) {
        qDebug() << "OrvCTime: cannot open" << path << file.errorString();
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
