#pragma once

#include "OrvDeviceItemPair.h"
#include "OrvImageCapture.h"

#include <QHash>
#include <QImage>
#include <QSet>
#include <QString>

#include <memory>
#include <mutex>

class OrvAppleImageCaptureDatabase;
class OrvNativeMetaDataGeneric;

// The platform side of the Image Capture source: browses for cameras, opens a
// session on each, collects their image and movie items, announces one album
// per device, serves thumbnails and metadata, starts downloads and forwards
// their completion. Device callbacks arrive on the main thread; the look-ups
// and download run on any thread under one recursive lock. The database's
// download mutex is taken before that lock, never after it: nothing here calls
// the database while holding it.
class OrvAppleImageCaptureInterface : public OrvImageCapture::DeviceBrowserDelegate,
                                      public OrvImageCapture::CameraDeviceDelegate,
                                      public OrvImageCapture::DownloadDelegate,
                                      public std::enable_shared_from_this<OrvAppleImageCaptureInterface>
{
public:
    static std::shared_ptr<OrvAppleImageCaptureInterface> initWithDatabase(OrvAppleImageCaptureDatabase* database);
    ~OrvAppleImageCaptureInterface() override;

    void startObserving();
    // The database goes away: stop browsing, report nothing more.
    void detach();

    // Callable from any thread; an unknown id gives nothing and does nothing.
    QImage thumbnailForUrl(const QString& url);
    void download(const QString& url, const QString& saveDirectory);
    void fillMetaData(OrvNativeMetaDataGeneric* metaData, const QString& url);
    QString sourceFilenameForUrl(const QString& url);
    bool isAutostart(const QString& deviceUrl);
    void setAutostart(const QString& deviceUrl, bool on);
    // Whether a device has an open session whose catalogue is not complete yet.
    bool isGathering() const;
    // Main thread: the device's album, announced when it is new; its URL text.
    QString findOrCreateAlbum(const OrvImageCapture::CameraDevicePtr& device);

    // The download file name for an item: base name, "-", a braced UUID, ".", suffix.
    static QString uniqueFilename(const QString& itemName);

    // OrvImageCapture::DeviceBrowserDelegate
    void deviceBrowserDidAddDevice(OrvImageCapture::DeviceBrowser* browser, const OrvImageCapture::DevicePtr& device,
                                   bool moreComing) override;
    void deviceBrowserDidRemoveDevice(OrvImageCapture::DeviceBrowser* browser, const OrvImageCapture::DevicePtr& device,
                                      bool moreGoing) override;
    // OrvImageCapture::CameraDeviceDelegate
    void deviceDidOpenSession(const OrvImageCapture::DevicePtr& device, const OrvImageCapture::OptionalError& error) override;
    void deviceDidCloseSession(const OrvImageCapture::DevicePtr& device, const OrvImageCapture::OptionalError& error) override;
    void cameraDeviceDidAddItems(const OrvImageCapture::CameraDevicePtr& camera,
                                 const QList<OrvImageCapture::CameraItemPtr>& items) override;
    void deviceDidBecomeReadyWithCompleteContentCatalog(const OrvImageCapture::CameraDevicePtr& camera) override;
    bool cameraDeviceShouldGetThumbnailOfItem(const OrvImageCapture::CameraDevicePtr& camera,
                                              const OrvImageCapture::CameraItemPtr& item) override;
    void cameraDeviceDidReceiveThumbnailForItem(const OrvImageCapture::CameraDevicePtr& camera,
                                                const OrvImageCapture::CameraItemPtr& item) override;
    // OrvImageCapture::DownloadDelegate
    void didDownloadFile(const OrvImageCapture::CameraFilePtr& file, const OrvImageCapture::OptionalError& error,
                         const OrvImageCapture::DownloadOptions& options, void* contextInfo) override;

private:
    explicit OrvAppleImageCaptureInterface(OrvAppleImageCaptureDatabase* database);
    // A thumbnail kept as JPEG: a device of 10 000 photos would otherwise hold 0.8 GB of pixels.
    struct CachedThumbnail
    {
        QByteArray jpeg;
        QSize size;
    };
    static CachedThumbnail compress(const QImage& thumbnail);
    static QImage expand(const CachedThumbnail& cached);
    // Items and devices by pointer value: the thumbnail cache is keyed by object identity.
    using ThumbnailCache = QHash<const void*, CachedThumbnail>;
    OrvImageCapture::CameraDevicePtr deviceForUrl(const QString& deviceUrl) const;

    OrvAppleImageCaptureDatabase* myDatabase;
    OrvImageCapture::DeviceBrowserPtr mDeviceBrowser;
    mutable std::recursive_mutex myLock;
    QHash<QString, OrvDeviceItemPair> myUrlItemDict;
    QHash<QString, OrvImageCapture::CameraDevicePtr> myUrlDeviceDict;
    QHash<const void*, ThumbnailCache> myDeviceItemThumbnailDict;
    QSet<const void*> myCatalogued;  // devices whose catalogue is complete
};
