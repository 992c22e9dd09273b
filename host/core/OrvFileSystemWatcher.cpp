#include "OrvFileSystemWatcher.h"

#include <QCoreApplication>
#include <QFileSystemWatcher>
#include <QThread>

OrvFileSystemWatcher::OrvFileSystemWatcher()
    : myWatcher(new QFileSystemWatcher(this))
{
    // Change events need the main thread's event loop, whoever asked first.
    if (QCoreApplication* app = QCoreApplication::instance(); app && thread() != app->thread())
        moveToThread(app->thread());
    connect(myWatcher, &QFileSystemWatcher::fileChanged, this,
            [this](const QString& path) { emit filesChanged(QList<QString>{path}); });
}

void OrvFileSystemWatcher::addFile(const QFileInfo& file, OrvFileSystemWatcherAttribute)
{
    const QString path = file.absoluteFilePath();
    // A file that does not exist yet cannot be watched; its folder can.
    if (path.isEmpty())
        return;
    // A file that cannot be read cannot be watched either (and Qt would warn).
    if (file.exists() && file.isReadable())
        myWatcher->addPath(path);
    else if (QFileInfo(file.absolutePath()).isDir())
        myWatcher->addPath(file.absolutePath());
}

void OrvFileSystemWatcher::removeFile(const QFileInfo& file)
{
    if (!file.absoluteFilePath().isEmpty())
        myWatcher->removePath(file.absoluteFilePath());
}

QStringList OrvFileSystemWatcher::watchedFiles() const
{
    return myWatcher->files() + myWatcher->directories();
}
