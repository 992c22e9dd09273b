#pragma once

// A simulated camera, phone or card reader: a folder of files (or a list of
// items) as its storage, a session that delivers the items in batches and then
// the complete catalogue, thumbnails read on the device's own thread, and
// downloads that complete after a delay, fail, never complete or wait until a
// test releases them. Delegates are called on the main thread, as
// ImageCaptureCore calls them.

#include "OrvImageCapture.h"
#include "OrvImageCaptureHub.h"
#include "OrvImageCaptureItem.h"
#include "OrvSerialQueue.h"

#include <QList>

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace OrvImageCaptureSim {

enum class DownloadResult { Complete, Fail, Never, Held };
enum class ThumbnailTiming { AfterCatalog, WithItems, None };

// An item listed without a storage folder.
struct ItemSpec
{
    QString name;
    QString folder;  // "DCIM/100APPLE": the folders below the storage's top folder
    QString uti;     // empty: from the name's extension
    QDateTime created;
    QString file;  // the bytes behind it; empty for none
};

struct DeviceSpec
{
    QString name;
    QString uuid;
    quint32 type = OrvImageCapture::DeviceTypeCamera | OrvImageCapture::DeviceLocationTypeLocal;
    QString storage;  // a folder whose files are the device's items
    QList<ItemSpec> items;
    int itemBatch = 100;
    int thumbnailBatch = 25;
    int thumbnailEdge = 160;
    ThumbnailTiming thumbnails = ThumbnailTiming::AfterCatalog;
    int downloadDelayMs = 0;
    DownloadResult download = DownloadResult::Complete;
    QString autolaunchApplicationPath;
    bool sessionFails = false;
};

class Device : public OrvImageCapture::CameraDevice, public std::enable_shared_from_this<Device>
{
public:
    static std::shared_ptr<Device> create(const DeviceSpec& spec);
    ~Device() override;

    // OrvImageCapture::CameraDevice
    quint32 type() const override { return mySpec.type; }
    QString name() const override { return mySpec.name; }
    QString UUIDString() const override { return mySpec.uuid; }
    QImage icon() const override;
    void setDelegate(const std::weak_ptr<OrvImageCapture::CameraDeviceDelegate>& delegate) override;
    void requestOpenSession() override;
    void requestCloseSession() override;
    QString autolaunchApplicationPath() const override;
    void setAutolaunchApplicationPath(const QString& path) override;
    void requestDownloadFile(const OrvImageCapture::CameraFilePtr& file, const OrvImageCapture::DownloadOptions& options,
                             const std::weak_ptr<OrvImageCapture::DownloadDelegate>& delegate, void* contextInfo) override;

    // Driving the device from a test.
    void setDownloadResult(DownloadResult result) { myDownloadResult = int(result); }
    void setDownloadDelay(int milliseconds) { myDownloadDelayMs = milliseconds; }
    // Held downloads go on and complete (or fail, if the device is gone by then).
    void releaseHeldDownloads();
    int heldDownloads() const;
    int downloadRequests() const { return myDownloadRequests; }
    // Thumbnails read from the storage since the device was made.
    int thumbnailReads() const { return myThumbnailReads; }
    bool isSessionOpen() const { return mySessionOpen; }
    bool isPlugged() const { return myPlugged; }
    // Blocks until the device's thread has done everything posted so far.
    void waitForQueue() { myQueue.waitIdle(); }

    // The hub plugs and unplugs; an unplugged device fails what it still has to do.
    void setPlugged(bool plugged);

private:
    explicit Device(const DeviceSpec& spec);
    using Download = OrvImageCapture::DownloadRequest;
    bool isCurrent(int session) const { return mySessionOpen && mySession == session && myPlugged; }
    QList<OrvImageCapture::CameraItemPtr> listItems();
    void deliverItems(int session, int from);
    void catalogueComplete(int session);
    void deliverThumbnails(int session, QList<std::shared_ptr<const OrvImageCapture::ListedFile>> files, int from, bool thenNext);
    void runDownload(Download download, bool released);
    std::shared_ptr<OrvImageCapture::CameraDeviceDelegate> delegate() const { return myDelegate.lock(); }

    const DeviceSpec mySpec;
    // Main thread only.
    std::weak_ptr<OrvImageCapture::CameraDeviceDelegate> myDelegate;
    bool mySessionOpen = false;
    int mySession = 0;
    QList<OrvImageCapture::CameraItemPtr> myItems;
    QList<std::shared_ptr<const OrvImageCapture::ListedFile>> myFiles;

    std::atomic<bool> myPlugged{false};
    std::atomic<int> myDownloadResult;
    std::atomic<int> myDownloadDelayMs;
    std::atomic<int> myDownloadRequests{0};
    std::atomic<int> myThumbnailReads{0};
    mutable std::mutex myMutex;
    std::condition_variable myUnplugged;
    QList<Download> myHeld;
    QString myAutolaunchApplicationPath;
    OrvSerialQueue myQueue;
};

} // namespace OrvImageCaptureSim
