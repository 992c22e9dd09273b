#pragma once

// A camera (or card reader, or phone) as libgphoto2 reaches it. One thread per
// device owns its Camera and GPContext and makes every call into libgphoto2
// for it: downloads first, then listing, thumbnails last. Results reach the
// delegates on the main thread. Nothing on the device is ever changed.

#include "OrvGPhoto2DiskStorage.h"
#include "OrvGPhoto2Library.h"
#include "OrvGPhoto2TaskThread.h"
#include "OrvImageCapture.h"
#include "OrvImageCaptureHub.h"
#include "OrvImageCaptureItem.h"
#include "OrvTargetFolder.h"

#include <QHash>
#include <QList>

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>

namespace OrvGPhoto2 {

class Device : public OrvImageCapture::CameraDevice, public std::enable_shared_from_this<Device>
{
public:
    // model and port as gphoto2's --camera and --port take them; uuid stays the
    // same for the same device across runs.
    static std::shared_ptr<Device> create(const QString& model, const QString& port, const QString& uuid);
    ~Device() override;

    const QString& model() const { return myModel; }
    const QString& port() const { return myPort; }
    // Told (on the main thread) when the device stopped answering for good.
    void setOnDisconnect(std::function<void(const QString& uuid)> onDisconnect) { myOnDisconnect = std::move(onDisconnect); }

    // OrvImageCapture::CameraDevice
    quint32 type() const override;
    QString name() const override { return myModel; }
    QString UUIDString() const override { return myUuid; }
    QImage icon() const override;
    void setDelegate(const std::weak_ptr<OrvImageCapture::CameraDeviceDelegate>& delegate) override;
    void requestOpenSession() override;
    void requestCloseSession() override;
    // Linux keeps one choice for all cameras: the desktop's application for camera content.
    QString autolaunchApplicationPath() const override;
    void setAutolaunchApplicationPath(const QString& path) override;
    void requestDownloadFile(const OrvImageCapture::CameraFilePtr& file, const OrvImageCapture::DownloadOptions& options,
                             const std::weak_ptr<OrvImageCapture::DownloadDelegate>& delegate, void* contextInfo) override;

    // Cancels every download asked for so far; none of them is reported as done.
    void cancelDownloads();
    // Tests line up work while the device's thread waits.
    void suspendThread() { myThread.suspend(); }
    void resumeThread() { myThread.resume(); }
    void waitForThread() { myThread.waitIdle(); }

    // Whether listed items get their thumbnails read (every device of the process).
    static void setReadsThumbnails(bool reads) { ourReadsThumbnails = reads; }

    // Thumbnails kept at once per device; older ones are read again when asked for.
    static constexpr int thumbnailCacheSize = 256;
    static constexpr int thumbnailEdge = 160;

private:
    Device(const QString& model, const QString& port, const QString& uuid);
    struct Download : OrvImageCapture::DownloadRequest
    {
        std::shared_ptr<std::atomic<bool>> cancelled;
    };
    using FilePtr = std::shared_ptr<const OrvImageCapture::ListedFile>;

    // The device's thread.
    void openCamera(int session);
    void closeCamera();
    void listItems(int session);
    // Returns how many of files it got to: it stops early for a download.
    int readThumbnails(int session, const QList<FilePtr>& files);
    void download(const Download& download);
    // The file into fd (which they close); libgphoto2's result. The storage's
    // copy tells the size the file has now: a folder's file may have changed.
    int copyFromCamera(const OrvImageCapture::ListedFile& file, int fd);
    int copyFromStorage(const OrvImageCapture::ListedFile& file, int fd, qint64* expected);
    // The name as the device lists it, also where it is no valid UTF-8.
    QByteArray deviceName(const OrvImageCapture::ListedFile& file) const;
    // A result that says the device is gone ends the session from here.
    bool failed(int result);

    // Main thread.
    void deliver(int session, const std::function<void(const std::shared_ptr<Device>&,
                                                       const std::shared_ptr<OrvImageCapture::CameraDeviceDelegate>&)>& what);
    void askForThumbnails(int session, const QList<FilePtr>& files, int from);

    static std::atomic<bool> ourReadsThumbnails;

    const QString myModel;
    const QString myPort;
    const QString myUuid;
    // Valid for a folder served as a camera: its files are read here, not by the driver.
    // Shared with the items, which read their dates through it when first asked.
    const std::shared_ptr<const DiskStorage> myStorage;
    std::function<void(const QString&)> myOnDisconnect;

    // Main thread only.
    std::weak_ptr<OrvImageCapture::CameraDeviceDelegate> myDelegate;
    bool mySessionOpen = false;
    // Set when the close is asked for: from then on the session's content reaches no one,
    // as ImageCaptureCore delivers nothing after a device is closed or removed.
    std::atomic<bool> myClosing{false};
    std::atomic<int> mySession{0};

    std::mutex myDownloadsMutex;
    QList<std::shared_ptr<std::atomic<bool>>> myDownloadFlags;

    // The device's thread only.
    Camera* myCamera = nullptr;
    GPContext* myContext = nullptr;
    std::deque<FilePtr> myThumbnailed;
    // The folder the last download went to, kept open for the next one.
    std::unique_ptr<OrvTargetFolder> myDownloadFolder;
    // Names listed that do not survive the way through QString, by folder and name as items have them.
    QHash<QString, QByteArray> myDeviceNames;
    CancelSource myCancel;
    std::atomic<bool> myDisconnected{false};

    // Last: stopped (its work done) before anything above goes.
    TaskThread myThread;
};

} // namespace OrvGPhoto2
