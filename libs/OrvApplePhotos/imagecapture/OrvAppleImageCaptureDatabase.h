#pragma once

#include "OrvAppleImageCaptureDownloadData.h"
#include "OrvDrawable.h"
#include "OrvExternalDatabase.h"
#include "OrvImageCapture.h"
#include "OrvSingleton.h"

#include <QByteArray>
#include <QHash>
#include <QIcon>
#include <QSize>

#include <memory>
#include <mutex>

class OrvAppleImageCaptureInterface;
class OrvNativeMetaDataGeneric;

// Cameras, phones and card readers through Image Capture: one album per
// connected device with its images and movies. Thumbnails come from the
// device; full images and files are downloaded on request into the host's
// temporary folder, the asking thread waiting for the download (bounded).
class OrvAppleImageCaptureDatabase : public OrvExternalDatabase, public OrvSingleton<OrvAppleImageCaptureDatabase>
{
    Q_OBJECT
public:
    static const QString URLScheme;

    OrvAppleImageCaptureDatabase();
    ~OrvAppleImageCaptureDatabase() override;

    bool doLazyInit() override;
    QString filenameHint(const OrvExternalId& id, const QSize& size) const override;
    OrvFotoRetrieverInterface* createRetrieverInterface(const OrvExternalId& id) const override;
    bool isFotoImportAutostartSupported() const override;
    bool isFotoImportAutostartTrigger(const QUrl& url) const override;
    void setFotoImportAutostartTrigger(const QUrl& url, bool on) override;
    // While a device's catalogue is still coming.
    bool isStillGatheringFotos() const override;
    // What the interface reports, on the main thread.
    virtual void albumAdded(const OrvExternalAlbum& album, const QIcon& icon);
    virtual void fotosInserted(const OrvExternalFotoList& fotos, const OrvExternalId& albumId);
    virtual void albumWithContentsRemoved(const OrvExternalId& albumId);

    // Ids: the device's album, and an item (device, folder path, name).
    OrvExternalId createExternalIdDevice(const OrvImageCapture::CameraDevicePtr& device) const;
    OrvExternalId createExternalIdItem(const OrvImageCapture::CameraItemPtr& item) const;
    void cameraItemsAdded(const OrvExternalId& albumId, const QList<OrvImageCapture::CameraItemPtr>& items);
    void reportNewAvailableBitmap(const OrvImageCapture::CameraItemPtr& item, const QSize& size);
    void didDownloadFile(const OrvImageCapture::CameraFilePtr& file, const QString& path);

    // For the retrievers, from any thread. A valid size asks for the device's
    // thumbnail, an invalid one for the full image, downloaded.
    OrvDrawable drawable(const OrvExternalId& id, const QSize& size) const;
    QByteArray byteArray(const OrvExternalId& id) const;
    void fillMetaData(const OrvExternalId& id, OrvNativeMetaDataGeneric* metaData) const;
    // Downloads the item and waits for it; the local path, or empty when it
    // did not arrive in time. The file is the caller's to remove.
    QString waitForDownload(const OrvExternalId& id) const;

    // The application whose launch a device's plug-in can trigger: on macOS its
    // bundle (".app"), elsewhere its desktop file.
    static QString appPath();

    // The download wait is at most passes × interval; tests shorten it.
    struct WaitBounds
    {
        int passes = 1200;
        int workerIntervalMs = 500;
        int mainIntervalMs = 50;
        int mainEventsMs = 100;
    };
    static void setWaitBoundsForTesting(const WaitBounds& bounds);

    OrvAppleImageCaptureInterface* interface() const { return myInterface.get(); }

private:
    std::shared_ptr<OrvAppleImageCaptureInterface> myInterface;
    // Standard lock and condition: ThreadSanitizer sees through them (not through Qt's).
    mutable std::mutex myDownloadMutex;
    mutable QHash<OrvExternalId, OrvAppleImageCaptureDownloadData> myDownloads;
    bool myInitialised = false;
    bool myLoading = false;
};
