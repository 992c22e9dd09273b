#include "OrvAppleImageCaptureDatabase.h"

#include "OrvAppleImageCaptureInterface.h"
#include "OrvCTime.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetrieverAppleImageCapture.h"
#include "OrvGUIWidgetsConfig.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"
#include "OrvUserFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QThread>

#include <chrono>

using namespace OrvImageCapture;

const QString OrvAppleImageCaptureDatabase::URLScheme = QStringLiteral("appleimagecapture");

namespace {

std::mutex boundsMutex;
OrvAppleImageCaptureDatabase::WaitBounds& currentBounds()
{
    static OrvAppleImageCaptureDatabase::WaitBounds bounds;
    return bounds;
}

OrvAppleImageCaptureDatabase::WaitBounds waitBounds()
{
    std::lock_guard<std::mutex> lock(boundsMutex);
    return currentBounds();
}

QString percentEncoded(const QString& text) { return QString::fromUtf8(QUrl::toPercentEncoding(text)); }

} // namespace

OrvAppleImageCaptureDatabase::OrvAppleImageCaptureDatabase()
    : OrvExternalDatabase(
        OrvExternalService(URLScheme, OrvFotoDatabaseType::displayName(URLScheme),
                           OrvSingleton<OrvGUIWidgetsConfig>::instance()->loadIconById(QStringLiteral("ico_camera_api_big")),
                           OrvSingleton<OrvGUIWidgetsConfig>::instance()->loadIconById(QStringLiteral("ico_camera_api")),
                           OrvSingleton<OrvGUIWidgetsConfig>::instance()->loadImageById(QStringLiteral("ico_camera_api_big"), 97),
                           0),
        OrvFotoDatabaseType(OrvFotoDatabaseType::AppleImageCapture))
{
    service().setPlaceholderText(OrvFotoRetrieverAppleImageCapture::placeholderText());
    myInterface = OrvAppleImageCaptureInterface::initWithDatabase(this);
}

OrvAppleImageCaptureDatabase::~OrvAppleImageCaptureDatabase()
{
    // The backend holds the interface only weakly; it must not report to a source that is gone.
    myInterface->detach();
}

bool OrvAppleImageCaptureDatabase::doLazyInit()
{
    if (myInitialised)
        return true;
    myInitialised = true;
    // Loading until the first device shows up: set before browsing, which may report at once.
    myLoading = true;
    emit loadingInProgress(OrvFotoSourceNode(), true);
    myInterface->startObserving();
    return true;
}

void OrvAppleImageCaptureDatabase::albumAdded(const OrvExternalAlbum& album, const QIcon& icon)
{
    if (myLoading) {
        myLoading = false;
        emit loadingInProgress(OrvFotoSourceNode(), false);
    }
    emit OrvExternalDatabase::albumAdded(album, icon);
}

void OrvAppleImageCaptureDatabase::fotosInserted(const OrvExternalFotoList& fotos, const OrvExternalId& albumId)
{
    emit OrvExternalDatabase::fotosInserted(fotos, albumId);
}

void OrvAppleImageCaptureDatabase::albumWithContentsRemoved(const OrvExternalId& albumId)
{
    OrvExternalAlbum album;
    {
        // Pool changes never interleave with a waiter's table work.
        std::lock_guard<std::mutex> lock(myDownloadMutex);
        OrvExternalDataPool& pool = getExternalDataPool();
        for (const OrvExternalFoto& foto : pool.fotosInAlbum(albumId))
            pool.removeFotoFromAlbum(foto.id(), albumId);
        album = pool.findAlbum(albumId);
        pool.removeAlbum(albumId);
    }
    // Told outside the lock: a view that reacts may well ask for a foto.
    emit OrvExternalDatabase::albumRemoved(album, false);
}

// Waiting for a device to appear is no gathering: one may never come.
bool OrvAppleImageCaptureDatabase::isStillGatheringFotos() const { return myInterface->isGathering(); }

OrvExternalId OrvAppleImageCaptureDatabase::createExternalIdDevice(const CameraDevicePtr& device) const
{
    return OrvExternalId(URLScheme, QStringLiteral("album"), device ? percentEncoded(device->UUIDString()) : QString());
}

OrvExternalId OrvAppleImageCaptureDatabase::createExternalIdItem(const CameraItemPtr& item) const
{
    if (!item)
        return {};
    const CameraDevicePtr device = item->device();
    // Folders up to (not including) the storage's top folder, each encoded; the
    // item's own name as it is (ids stored elsewhere depend on that asymmetry).
    QString path = QStringLiteral("/");
    std::shared_ptr<const CameraFolder> folder = item->parentFolder();
    for (int depth = 0; folder && folder->parentFolder() && depth < 4096; ++depth) {
        path = QLatin1Char('/') + percentEncoded(folder->name()) + path;
        folder = folder->parentFolder();
    }
    const QString uuid = device ? percentEncoded(device->UUIDString()) : QString();
    return OrvExternalId(URLScheme, QStringLiteral("foto"), uuid + path + item->name());
}

void OrvAppleImageCaptureDatabase::cameraItemsAdded(const OrvExternalId& albumId, const QList<CameraItemPtr>& items)
{
    OrvExternalFotoList fotos;
    fotos.reserve(items.size());
    for (const CameraItemPtr& item : items) {
        const QString name = item->name();
        // No date of its own: the host finds the item's date in its metadata (fillMetaData).
        fotos.append(OrvExternalFoto(new OrvExternalFotoImplDataWebService(
            createExternalIdItem(item), name, OrvMediaFormat(QFileInfo(name)), QDateTime(), QSize(-1, -1))));
    }
    fotosInserted(fotos, albumId);
}

void OrvAppleImageCaptureDatabase::reportNewAvailableBitmap(const CameraItemPtr& item, const QSize& size)
{
    const OrvFoto foto(OrvFotoKeyExternalService(this, createExternalIdItem(item)));
    OrvSingleton<OrvFotoChangeDispatcher>::instance()->dispatchNewAvailableBitmap(foto, size);
}

QString OrvAppleImageCaptureDatabase::filenameHint(const OrvExternalId& id, const QSize&) const
{
    return myInterface->sourceFilenameForUrl(id.toUrl().toString());
}

OrvFotoRetrieverInterface* OrvAppleImageCaptureDatabase::createRetrieverInterface(const OrvExternalId& id) const
{
    return new OrvFotoRetrieverAppleImageCapture(this, id);
}

// ---- downloads

void OrvAppleImageCaptureDatabase::setWaitBoundsForTesting(const WaitBounds& bounds)
{
    std::lock_guard<std::mutex> lock(boundsMutex);
    currentBounds() = bounds;
}

QString OrvAppleImageCaptureDatabase::waitForDownload(const OrvExternalId& id) const
{
    std::unique_lock<std::mutex> lock(myDownloadMutex);
    const QCoreApplication* application = QCoreApplication::instance();
    const bool onMainThread = application && QThread::currentThread() == application->thread();
    const QString directory = QDir(OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir()).absolutePath();
    const QString url = id.toUrl().toString();

    std::condition_variable condition;
    OrvAppleImageCaptureDownloadData entry;
    entry.setWaitCondition(&condition);
    myDownloads.insert(id, entry);
    // Lock order: this mutex, then the interface's lock inside.
    myInterface->download(url, directory);

    const WaitBounds bounds = waitBounds();
    const std::chrono::milliseconds interval(onMainThread ? bounds.mainIntervalMs : bounds.workerIntervalMs);
    QString path;
    for (int counter = bounds.passes - 1;; --counter) {
        if (onMainThread) {
            // The completion is delivered on this very thread: let it run.
            lock.unlock();
            QCoreApplication::processEvents(QEventLoop::AllEvents, bounds.mainEventsMs);
            lock.lock();
        }
        path = myDownloads.value(id).uuidFilename();
        if (!path.isEmpty())
            break;
        condition.wait_for(lock, interval);
        path = myDownloads.value(id).uuidFilename();
        if (!path.isEmpty() || counter <= 0)
            break;
    }
    myDownloads.remove(id);
    return path;
}

void OrvAppleImageCaptureDatabase::didDownloadFile(const CameraFilePtr& file, const QString& path)
{
    const OrvExternalId id = createExternalIdItem(file);
    std::lock_guard<std::mutex> lock(myDownloadMutex);
    OrvFotoAccess::setManifestationStatus(OrvFoto(OrvMediaDescriptor(QFileInfo(path), OrvVideoFrameIndex())),
                                          OrvFotoManifestationStatus::Loading);
    const auto entry = myDownloads.find(id);
    OrvCTime(file->creationDate()).writeTo(path);
    if (entry != myDownloads.end() && entry->waitCondition()) {
        entry->setUuidFilename(path);
        entry->waitCondition()->notify_all();
    }
}

OrvDrawable OrvAppleImageCaptureDatabase::drawable(const OrvExternalId& id, const QSize& size) const
{
    if (size.width() >= 0 && size.height() >= 0) {
        // The device's thumbnail at its own size; never a download.
        const QImage thumbnail = myInterface->thumbnailForUrl(id.toUrl().toString());
        return thumbnail.isNull() ? OrvFotoCacheDrawable::placeHolder() : OrvDrawable(thumbnail);
    }
    const QString path = waitForDownload(id);
    const OrvDrawable full = OrvSingleton<OrvMediaLoader>::instance()->loadDrawable(
        OrvMediaDescriptor(QFileInfo(path), OrvVideoFrameIndex()), QSize(-1, -1));
    // Every request downloads anew: the file has served its purpose.
    if (!path.isEmpty())
        QFile::remove(path);
    return full;
}

QByteArray OrvAppleImageCaptureDatabase::byteArray(const OrvExternalId& id) const
{
    const QString path = waitForDownload(id);
    if (path.isEmpty())
        return {};
    const QByteArray bytes = OrvUserFile::readAll(path, OrvUserFile::Image);
    QFile::remove(path);
    return bytes;
}

void OrvAppleImageCaptureDatabase::fillMetaData(const OrvExternalId& id, OrvNativeMetaDataGeneric* metaData) const
{
    myInterface->fillMetaData(metaData, id.toUrl().toString());
}

// ---- import autostart

QString OrvAppleImageCaptureDatabase::appPath()
{
#ifdef Q_OS_MACOS
    const QString executable = QCoreApplication::applicationFilePath();
    const qsizetype n = executable.lastIndexOf(QLatin1String(".app/"), -1, Qt::CaseInsensitive) + 4;
    return executable.size() > n ? executable.left(n) : executable;
#else
    // The desktop's equivalent of an application bundle is its desktop file.
    QString name = QGuiApplication::desktopFileName();
    if (name.isEmpty())
        name = QCoreApplication::applicationName();
    if (name.isEmpty())
        return {};
    if (!name.endsWith(QLatin1String(".desktop")))
        name += QLatin1String(".desktop");
    return QStandardPaths::locate(QStandardPaths::ApplicationsLocation, name);
#endif
}

bool OrvAppleImageCaptureDatabase::isFotoImportAutostartSupported() const
{
#ifdef Q_OS_MACOS
    return appPath().startsWith(QLatin1String("/Applications/"));
#else
    // The desktop offers an application for camera content only when its desktop file says it takes it.
    const QString path = appPath();
    if (path.isEmpty())
        return false;
    const QByteArray entry = OrvUserFile::readAll(path, OrvUserFile::LibraryDescription);
    for (const QByteArray& line : entry.split('\n')) {
        if (line.startsWith("MimeType=") && line.mid(9).split(';').contains("x-content/image-dcf"))
            return true;
    }
    return false;
#endif
}

bool OrvAppleImageCaptureDatabase::isFotoImportAutostartTrigger(const QUrl& url) const
{
    return myInterface->isAutostart(url.toString());
}

void OrvAppleImageCaptureDatabase::setFotoImportAutostartTrigger(const QUrl& url, bool on)
{
    myInterface->setAutostart(url.toString(), on);
}
