#include "OrvAppleImageCaptureInterface.h"

#include "OrvAppleImageCaptureDatabase.h"
#include "OrvExternalAlbum.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"
#include "OrvUniformType.h"

#include <QBuffer>
#include <QDebug>
#include <QFile>
#include <QIcon>
#include <QPixmap>
#include <QUuid>

#include <algorithm>

using namespace OrvImageCapture;

namespace {

// The camera device type with every location type: local, shared, Bonjour, Bluetooth, remote.
constexpr quint32 browsedCameras = 0xFF01;

bool isImageOrMovie(const CameraItemPtr& item)
{
    const QString uti = item->UTI();
    return OrvUniformType::conformsTo(uti, OrvUniformType::kUTTypeImage)
        || OrvUniformType::conformsTo(uti, OrvUniformType::kUTTypeMovie);
}

} // namespace

std::shared_ptr<OrvAppleImageCaptureInterface> OrvAppleImageCaptureInterface::initWithDatabase(
    OrvAppleImageCaptureDatabase* database)
{
    std::shared_ptr<OrvAppleImageCaptureInterface> interface(new OrvAppleImageCaptureInterface(database));
    interface->mDeviceBrowser = createDeviceBrowser();
    if (interface->mDeviceBrowser) {
        interface->mDeviceBrowser->setDelegate(interface);
        interface->mDeviceBrowser->setBrowsedDeviceTypeMask(interface->mDeviceBrowser->browsedDeviceTypeMask() | browsedCameras);
    }
    return interface;
}

OrvAppleImageCaptureInterface::OrvAppleImageCaptureInterface(OrvAppleImageCaptureDatabase* database) : myDatabase(database)
{
}

OrvAppleImageCaptureInterface::~OrvAppleImageCaptureInterface() = default;

void OrvAppleImageCaptureInterface::startObserving()
{
    if (mDeviceBrowser)
        mDeviceBrowser->start();
}

void OrvAppleImageCaptureInterface::detach()
{
    myDatabase = nullptr;
    if (mDeviceBrowser)
        mDeviceBrowser->stop();
}

// ---- devices

void OrvAppleImageCaptureInterface::deviceBrowserDidAddDevice(DeviceBrowser*, const DevicePtr& device, bool)
{
    // Scanners and anything else that is no camera are never opened.
    if (!device || !(device->type() & DeviceTypeCamera))
        return;
    device->setDelegate(weak_from_this());
    device->requestOpenSession();
}

void OrvAppleImageCaptureInterface::deviceDidOpenSession(const DevicePtr& device, const OptionalError& error)
{
    const CameraDevicePtr camera = asCameraDevice(device);
    if (error || !camera || !myDatabase)
        return;
    qDebug().nospace() << "Image Capture: Hello " << camera->name();
    const QString key = myDatabase->createExternalIdDevice(camera).toUrl().toString();
    std::lock_guard<std::recursive_mutex> lock(myLock);
    myUrlDeviceDict.insert(key, camera);
    myDeviceItemThumbnailDict.insert(camera.get(), ThumbnailCache());
}

void OrvAppleImageCaptureInterface::cameraDeviceDidAddItems(const CameraDevicePtr&, const QList<CameraItemPtr>& items)
{
    if (!myDatabase)
        return;
    QList<QPair<QString, OrvDeviceItemPair>> accepted;
    accepted.reserve(items.size());
    for (const CameraItemPtr& item : items) {
        if (!item || !isImageOrMovie(item))
            continue;
        const QString key = myDatabase->createExternalIdItem(item).toUrl().toString();
        accepted.append({key, OrvDeviceItemPair(item->device(), item)});
    }
    std::lock_guard<std::recursive_mutex> lock(myLock);
    for (const auto& [key, pair] : std::as_const(accepted))
        myUrlItemDict.insert(key, pair);  // a later item with the same id replaces the earlier one
}

void OrvAppleImageCaptureInterface::deviceDidBecomeReadyWithCompleteContentCatalog(const CameraDevicePtr& camera)
{
    if (!camera || !myDatabase)
        return;
    qDebug().nospace() << "Image Capture: Boarding Complete " << camera->name();
    QList<QPair<QString, CameraItemPtr>> mine;
    {
        std::lock_guard<std::recursive_mutex> lock(myLock);
        myCatalogued.insert(camera.get());
        for (auto it = myUrlItemDict.cbegin(); it != myUrlItemDict.cend(); ++it) {
            if (it->device() == camera)
                mine.append({it.key(), it->item()});
        }
    }
    // By name, case-insensitively; the id keeps equal names in a fixed order.
    std::sort(mine.begin(), mine.end(), [](const auto& a, const auto& b) {
        const int byName = a.second->name().compare(b.second->name(), Qt::CaseInsensitive);
        return byName != 0 ? byName < 0 : a.first < b.first;
    });
    QList<CameraItemPtr> sorted;
    sorted.reserve(mine.size());
    for (const auto& entry : std::as_const(mine))
        sorted.append(entry.second);
    const OrvExternalId albumId(QUrl(findOrCreateAlbum(camera)));
    myDatabase->cameraItemsAdded(albumId, sorted);
}

QString OrvAppleImageCaptureInterface::findOrCreateAlbum(const CameraDevicePtr& device)
{
    if (!myDatabase || !device)
        return {};
    const OrvExternalId id = myDatabase->createExternalIdDevice(device);
    OrvExternalAlbum album = myDatabase->findAlbum(id);
    if (!album.isValid()) {
        album = OrvExternalAlbum(id, device->name(), OrvExternalIdList(), OrvExternalAlbumType::Regular);
        const QImage icon = device->icon();
        myDatabase->albumAdded(album, icon.isNull() ? QIcon() : QIcon(QPixmap::fromImage(icon)));
    }
    return album.url().toString();
}

void OrvAppleImageCaptureInterface::deviceBrowserDidRemoveDevice(DeviceBrowser*, const DevicePtr& device, bool)
{
    if (!device)
        return;
    qDebug().nospace() << "Image Capture: Good bye " << device->name();
    if (const CameraDevicePtr camera = asCameraDevice(device); camera && myDatabase)
        myDatabase->albumWithContentsRemoved(myDatabase->createExternalIdDevice(camera));
    device->requestCloseSession();
}

void OrvAppleImageCaptureInterface::deviceDidCloseSession(const DevicePtr& device, const OptionalError&)
{
    std::lock_guard<std::recursive_mutex> lock(myLock);
    for (auto it = myUrlItemDict.begin(); it != myUrlItemDict.end();) {
        if (it->device() == device)
            it = myUrlItemDict.erase(it);
        else
            ++it;
    }
    for (auto it = myUrlDeviceDict.begin(); it != myUrlDeviceDict.end(); ++it) {
        if (*it == device) {
            myUrlDeviceDict.erase(it);
            break;
        }
    }
    myDeviceItemThumbnailDict.remove(device.get());
    myCatalogued.remove(device.get());
}

bool OrvAppleImageCaptureInterface::isGathering() const
{
    std::lock_guard<std::recursive_mutex> lock(myLock);
    for (const CameraDevicePtr& device : myUrlDeviceDict) {
        if (!myCatalogued.contains(device.get()))
            return true;
    }
    return false;
}

// ---- thumbnails

bool OrvAppleImageCaptureInterface::cameraDeviceShouldGetThumbnailOfItem(const CameraDevicePtr& camera,
                                                                         const CameraItemPtr& item)
{
    std::lock_guard<std::recursive_mutex> lock(myLock);
    const auto cache = myDeviceItemThumbnailDict.constFind(camera.get());
    return cache != myDeviceItemThumbnailDict.cend() && !cache->contains(item.get());
}

void OrvAppleImageCaptureInterface::cameraDeviceDidReceiveThumbnailForItem(const CameraDevicePtr& camera,
                                                                           const CameraItemPtr& item)
{
    if (!camera || !item || !myDatabase)
        return;
    const QImage thumbnail = item->thumbnailIfAvailable();
    if (thumbnail.isNull())
        return;
    CachedThumbnail cached = compress(thumbnail);
    {
        std::lock_guard<std::recursive_mutex> lock(myLock);
        const auto cache = myDeviceItemThumbnailDict.find(camera.get());
        if (cache == myDeviceItemThumbnailDict.end() || cache->contains(item.get()))
            return;
        cache->insert(item.get(), cached);
    }
    // A thumbnail before the catalogue is complete already shows the device.
    findOrCreateAlbum(camera);
    myDatabase->reportNewAvailableBitmap(item, thumbnail.size());
}

QImage OrvAppleImageCaptureInterface::thumbnailForUrl(const QString& url)
{
    std::lock_guard<std::recursive_mutex> lock(myLock);
    const auto pair = myUrlItemDict.constFind(url);
    if (pair == myUrlItemDict.cend() || !pair->item())
        return {};
    const auto cache = myDeviceItemThumbnailDict.find(pair->device().get());
    if (cache != myDeviceItemThumbnailDict.end()) {
        const auto cached = cache->constFind(pair->item().get());
        if (cached != cache->cend())
            return expand(*cached);
    }
    const QImage thumbnail = pair->item()->thumbnailIfAvailable();
    if (!thumbnail.isNull() && cache != myDeviceItemThumbnailDict.end())
        cache->insert(pair->item().get(), compress(thumbnail));
    return thumbnail;
}

OrvAppleImageCaptureInterface::CachedThumbnail OrvAppleImageCaptureInterface::compress(const QImage& thumbnail)
{
    CachedThumbnail cached;
    cached.size = thumbnail.size();
    QBuffer buffer(&cached.jpeg);
    buffer.open(QIODevice::WriteOnly);
    if (!OrvSingleton<OrvMediaLoader>::instance()->encode(thumbnail, &buffer, OrvMediaFormat(OrvMediaFormat::Jpeg), 90))
        cached.jpeg.clear();
    return cached;
}

QImage OrvAppleImageCaptureInterface::expand(const CachedThumbnail& cached)
{
    QByteArray bytes = cached.jpeg;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return OrvSingleton<OrvMediaLoader>::instance()->load(&buffer, QSize());
}

// ---- metadata and names

void OrvAppleImageCaptureInterface::fillMetaData(OrvNativeMetaDataGeneric* metaData, const QString& url)
{
    if (!metaData)
        return;
    std::lock_guard<std::recursive_mutex> lock(myLock);
    const auto pair = myUrlItemDict.constFind(url);
    if (pair == myUrlItemDict.cend() || !pair->item())
        return;
    metaData->setPictureTaken(pair->item()->creationDate());
    QSize size(1, 1);
    const auto cache = myDeviceItemThumbnailDict.constFind(pair->device().get());
    if (cache != myDeviceItemThumbnailDict.cend()) {
        const auto cached = cache->constFind(pair->item().get());
        if (cached != cache->cend())
            size = cached->size;
    }
    metaData->setPreferredSize(size);
}

QString OrvAppleImageCaptureInterface::sourceFilenameForUrl(const QString& url)
{
    std::lock_guard<std::recursive_mutex> lock(myLock);
    const auto pair = myUrlItemDict.constFind(url);
    return pair == myUrlItemDict.cend() || !pair->item() ? QString() : pair->item()->name();
}

// ---- downloads

QString OrvAppleImageCaptureInterface::uniqueFilename(const QString& itemName)
{
    // Split at the last dot by hand: a name from a device is no path, whatever it holds.
    const qsizetype dot = itemName.lastIndexOf(QLatin1Char('.'));
    QString base = dot < 0 ? itemName : itemName.left(dot);
    QString suffix = dot < 0 ? QString() : itemName.mid(dot + 1);
    for (QString* part : {&base, &suffix}) {
        part->replace(QLatin1Char('/'), QLatin1Char('_'));
        part->replace(QChar(0), QLatin1Char('_'));
    }
    // A file name has at most 255 bytes; the UUID and the suffix must fit.
    suffix.truncate(16);
    while (QFile::encodeName(base).size() > 160)
        base.chop(1);
    return base + QLatin1Char('-') + QUuid::createUuid().toString(QUuid::WithBraces) + QLatin1Char('.') + suffix;
}

void OrvAppleImageCaptureInterface::download(const QString& url, const QString& saveDirectory)
{
    std::lock_guard<std::recursive_mutex> lock(myLock);
    const auto pair = myUrlItemDict.constFind(url);
    if (pair == myUrlItemDict.cend() || !pair->item() || !isImageOrMovie(pair->item()))
        return;
    const auto file = std::dynamic_pointer_cast<const CameraFile>(pair->item());
    const CameraDevicePtr device = file ? file->device() : CameraDevicePtr();
    if (!device)
        return;
    DownloadOptions options;
    QString directory = saveDirectory;
    if (!directory.endsWith(QLatin1Char('/')))
        directory += QLatin1Char('/');
    options.downloadsDirectoryURL = QUrl::fromLocalFile(directory);
    options.saveAsFilename = uniqueFilename(file->name());
    options.overwrite = true;
    device->requestDownloadFile(file, options, weak_from_this(), nullptr);
}

void OrvAppleImageCaptureInterface::didDownloadFile(const CameraFilePtr& file, const OptionalError& error,
                                                    const DownloadOptions& options, void*)
{
    // A failed download is not reported: the waiting side runs into its time limit.
    if (error || !file || !myDatabase)
        return;
    myDatabase->didDownloadFile(file, options.downloadsDirectoryURL.toLocalFile() + options.savedFilename);
}

// ---- autostart

OrvImageCapture::CameraDevicePtr OrvAppleImageCaptureInterface::deviceForUrl(const QString& deviceUrl) const
{
    std::lock_guard<std::recursive_mutex> lock(myLock);
    return myUrlDeviceDict.value(deviceUrl);
}

bool OrvAppleImageCaptureInterface::isAutostart(const QString& deviceUrl)
{
    const CameraDevicePtr device = deviceForUrl(deviceUrl);
    return device && device->autolaunchApplicationPath().contains(OrvAppleImageCaptureDatabase::appPath());
}

void OrvAppleImageCaptureInterface::setAutostart(const QString& deviceUrl, bool on)
{
    if (const CameraDevicePtr device = deviceForUrl(deviceUrl))
        device->setAutolaunchApplicationPath(on ? OrvAppleImageCaptureDatabase::appPath() : QString());
}
