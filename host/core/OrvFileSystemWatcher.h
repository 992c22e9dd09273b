#pragma once

#include "OrvSingleton.h"

#include <QFileInfo>
#include <QList>
#include <QObject>
#include <QString>

class QFileSystemWatcher;

enum OrvFileSystemWatcherAttribute { OrvWatchContent = 0, OrvWatchExistence = 1 };

// Tells interested sources that files they read changed on disk.
class OrvFileSystemWatcher : public QObject, public OrvSingleton<OrvFileSystemWatcher>
{
    Q_OBJECT
public:
    void addFile(const QFileInfo& file, OrvFileSystemWatcherAttribute attribute = OrvWatchContent);
    void removeFile(const QFileInfo& file);
    QStringList watchedFiles() const;

signals:
    void filesChanged(const QList<QString>& paths);

private:
    friend class OrvSingleton<OrvFileSystemWatcher>;
    OrvFileSystemWatcher();

    QFileSystemWatcher* myWatcher;
};
