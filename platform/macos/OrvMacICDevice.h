#pragma once

#import <ImageCaptureCore/ImageCaptureCore.h>

#include "OrvImageCapture.h"

#include <deque>
#include <mutex>

class OrvMacICCameraFile;

// ICDevice (a camera, or a scanner the plug-in leaves alone) as
// OrvImageCapture::CameraDevice, one adapter for each device while anyone
// holds it. Its type, name, UUID and icon are read once, when it is first
// adapted on the main thread. Image Capture keeps only a weak reference to a
// device's delegate: the adapter keeps the Image Capture delegate that stands
// for the interface's one, and takes it off the device on the main thread
// when it goes. Downloads may be asked for from any thread; they are started
// on the main thread, where Image Capture also reports them.
class OrvMacICDevice : public OrvImageCapture::CameraDevice, public std::enable_shared_from_this<OrvMacICDevice>
{
public:
    // Null for nil. Main thread.
    static std::shared_ptr<OrvMacICDevice> adapt(ICDevice* device);
    ~OrvMacICDevice() override;

    ICDevice* device() const { return myDevice; }

    quint32 type() const override { return myType; }
    QString name() const override { return myName; }
    QString UUIDString() const override { return myUUID; }
    QImage icon() const override { return myIcon; }
    void setDelegate(const std::weak_ptr<OrvImageCapture::CameraDeviceDelegate>& delegate) override;
    void requestOpenSession() override;
    void requestCloseSession() override;
    QString autolaunchApplicationPath() const override;
    void setAutolaunchApplicationPath(const QString& path) override;
    void requestDownloadFile(const OrvImageCapture::CameraFilePtr& file, const OrvImageCapture::DownloadOptions& options,
                             const std::weak_ptr<OrvImageCapture::DownloadDelegate>& delegate,
                             void* contextInfo) override;

    // For Image Capture's delegate, on the main thread.
    std::shared_ptr<OrvImageCapture::CameraDeviceDelegate> delegate() const;
    // A thumbnail the device delivered, kept on its file among the most recent ones.
    void keepThumbnail(const std::shared_ptr<const OrvMacICCameraFile>& file, const QImage& thumbnail);

    // Thumbnails kept at once per device; older ones are read from Image Capture again when asked for.
    static constexpr size_t keptThumbnails = 256;

private:
    explicit OrvMacICDevice(ICDevice* device);

    ICDevice* myDevice;
    const quint32 myType;
    const QString myName;
    const QString myUUID;
    const QImage myIcon;
    mutable std::mutex myMutex;
    std::weak_ptr<OrvImageCapture::CameraDeviceDelegate> myDelegate;
    id myForwarder = nil;
    std::deque<std::shared_ptr<const OrvMacICCameraFile>> myThumbnailed;  // main thread
};
