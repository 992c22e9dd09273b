#include "OrvIPhotoDatabase.h"

#include "OrvFileSystemWatcher.h"
#include "OrvFotoRetrieverInterfaceIPhoto.h"
#include "OrvIPhotoDatabaseParser.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFileIconProvider>
#include <QMutex>
#include <QSettings>
#include <QThread>

#include <atomic>

namespace {

// The application's icon; only where widgets may be used (the main thread of a QApplication).
QIcon applicationIcon(const QString& applicationPath)
{
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()) || QThread::currentThread() != qApp->thread())
        return QIcon();
    return QFileIconProvider().icon(QFileInfo(applicationPath));
}

OrvExternalService makeService(const QString& serviceName, const QString& visibleName, const QString& applicationPath)
{
    const QIcon icon = applicationIcon(applicationPath);
    return OrvExternalService(serviceName, visibleName, icon, icon, QImage(), OrvExternalServiceTreeHints(12));
}

// "~" anywhere in a preference stands for the home folder.
QString expandHome(QString path) { return path.replace(QLatin1Char('~'), QDir::homePath()); }

} // namespace

OrvIPhotoDatabase* OrvIPhotoDatabase::instance()
{
    static QMutex myInstanceMutex;
    static std::atomic<OrvIPhotoDatabase*> myInstance{nullptr};
    if (OrvIPhotoDatabase* existing = myInstance.load(std::memory_order_acquire))
        return existing;
    QMutexLocker locker(&myInstanceMutex);
    if (!myInstance.load(std::memory_order_relaxed)) {
        myInstance.store(new OrvIPhotoDatabase(QStringLiteral("iphoto"), tr("iPhoto"), QStringLiteral("/Applications/iPhoto.app"),
                                               QStringLiteral("AlbumData.xml"), QStringLiteral("Database/apdb/Library.apdb"),
                                               OrvFotoDatabaseType(OrvFotoDatabaseType::IPhoto)),
                         std::memory_order_release);
    }
    return myInstance.load(std::memory_order_relaxed);
}

OrvIPhotoDatabase* OrvIPhotoDatabase::apertureInstance()
{
    static QMutex myApertureInstanceMutex;
    static std::atomic<OrvIPhotoDatabase*> myApertureInstance{nullptr};
    if (OrvIPhotoDatabase* existing = myApertureInstance.load(std::memory_order_acquire))
        return existing;
    QMutexLocker locker(&myApertureInstanceMutex);
    if (!myApertureInstance.load(std::memory_order_relaxed)) {
        // The leading "./" differs from iPhoto's on purpose; the path is only joined to a folder.
        myApertureInstance.store(new OrvIPhotoDatabase(QStringLiteral("aperture"), tr("Aperture"),
                                                       QStringLiteral("/Applications/Aperture.app"),
                                                       QStringLiteral("ApertureData.xml"),
                                                       QStringLiteral("./Database/apdb/Library.apdb"),
                                                       OrvFotoDatabaseType(OrvFotoDatabaseType::Aperture)),
                                 std::memory_order_release);
    }
    return myApertureInstance.load(std::memory_order_relaxed);
}

OrvIPhotoDatabase::OrvIPhotoDatabase(const QString& serviceName, const QString& visibleName,
                                     const QString& applicationPath, const QString& albumDataFileName,
                                     const QString& databaseFile, const OrvFotoDatabaseType& type)
    : OrvExternalDatabase(makeService(serviceName, visibleName, applicationPath), type),
      myAlbumDataFileName(albumDataFileName),
      myServiceName(serviceName),
      myVisibleName(visibleName),
      myDatabaseFile(databaseFile)
{
    parseFile(standardAlbumDataFile());
    emit updateTreeModel();
    OrvFileSystemWatcher* watcher = OrvSingleton<OrvFileSystemWatcher>::instance();
    watcher->addFile(standardAlbumDataFile(), OrvFileSystemWatcherAttribute(0));
    connect(watcher, &OrvFileSystemWatcher::filesChanged, this, &OrvIPhotoDatabase::readChangedFiles,
            Qt::DirectConnection);
}

OrvIPhotoDatabase::~OrvIPhotoDatabase() = default;

QFileInfo OrvIPhotoDatabase::standardAlbumDataFile() const
{
    QSettings settings(QStringLiteral("apple"), myServiceName);
    const QString xmlPath = expandHome(settings.value(QStringLiteral("XMLDataFilePath")).toString());
    if (!xmlPath.isEmpty())
        return QFileInfo(xmlPath);
    // Without a root either, the folder is the current directory; there is no other fallback.
    const QString root = expandHome(settings.value(QStringLiteral("RootDirectory")).toString());
    return QFileInfo(QDir(root), myAlbumDataFileName);
}

QFileInfo OrvIPhotoDatabase::watchFile() const
{
    return QFileInfo(standardAlbumDataFile().absolutePath() + QLatin1Char('/') + myDatabaseFile);
}

bool OrvIPhotoDatabase::appIsRunning() const
{
    const QFileInfo xmlFile = standardAlbumDataFile();
    if (!xmlFile.exists())
        return false;
    const QFileInfo databaseFile = watchFile();
    if (!databaseFile.exists())
        return false;
    // The application rewrites both files while it runs; a minute apart is still "at rest".
    const qint32 seconds = qint32(xmlFile.lastModified().secsTo(databaseFile.lastModified()));
    return qAbs(qint64(seconds)) >= 61;
}

bool OrvIPhotoDatabase::parseStandardFile(bool reportRunningApp)
{
    parseFile(standardAlbumDataFile());
    emit updateTreeModel();
    if (reportRunningApp && !myAppRunningReported && appIsRunning()) {
        // Once per lifetime, so the user is warned at most once.
        myAppRunningReported = true;
        return true;
    }
    return false;
}

void OrvIPhotoDatabase::parseFile(const QFileInfo& file)
{
    OrvIPhotoDatabaseParser parser(urlBuilder());
    parser.parse(file);
    emit dataPoolSet(parser.dataPool());
}

QList<QString> OrvIPhotoDatabase::readChangedFiles(const QList<QString>& paths) { return paths; }

QFileInfo OrvIPhotoDatabase::download(const OrvExternalId&, const QSize&) const { return QFileInfo(); }

QString OrvIPhotoDatabase::filenameHint(const OrvExternalId& id, const QSize& size) const
{
    const QUrl url = findExternalFoto(id).dataUrl(size);
    return QFileInfo(url.path(QUrl::FullyDecoded)).baseName();
}

OrvFotoRetrieverInterface* OrvIPhotoDatabase::createRetrieverInterface(const OrvExternalId& id) const
{
    return new OrvFotoRetrieverInterfaceIPhoto(id);
}

bool OrvIPhotoDatabase::wantsToBeShown() { return countFotos() > 0; }

QUrl OrvIPhotoDatabase::transformFileSystemUrlToExternalDatabaseUrlIfPossible(const QUrl& url) const
{
    // Matched against the full image's URL, never the thumbnail's.
    const QSize fullSize(3000, 2000);
    for (const OrvExternalFoto& foto : fotos()) {
        if (foto.dataUrl(fullSize) == url)
            return foto.id().toUrl();
    }
    return url;
}

OrvExternalId OrvIPhotoDatabase::albumByVisibleName(const QString& name) const
{
    return albums().findAlbumIdByVisibleName(name);
}

QStringList OrvIPhotoDatabase::allRegularAlbums() const
{
    return albums().filter(OrvExternalAlbumType::Regular, true).albumNamesSorted();
}
