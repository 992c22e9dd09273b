#pragma once

// The part of Apple's ImageCaptureCore that the plug-in uses, as thin C++
// interfaces: a device browser, devices and their sessions, camera items and
// folders, thumbnails, the content catalogue and file downloads. A backend (the
// simulation, libgphoto2 on Linux, Objective-C++ adapters on macOS) implements
// them and installs itself with setDeviceBrowserProvider; the plug-in reaches
// it only through OrvImageCapture::createDeviceBrowser().
//
// As ImageCaptureCore does, backends call every delegate on the Qt main
// thread. The plug-in calls items, devices and requestDownloadFile from any
// thread; backends never call a delegate from inside such a call.

#include <QDateTime>
#include <QImage>
#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace OrvImageCapture {

// ICDeviceType and ICDeviceLocationType bits, as in ICDeviceTypeMask.
enum DeviceTypeBits : quint32 {
    DeviceTypeCamera = 0x00000001,
    DeviceTypeScanner = 0x00000002,
    DeviceLocationTypeLocal = 0x00000100,
    DeviceLocationTypeShared = 0x00000200,
    DeviceLocationTypeBonjour = 0x00000400,
    DeviceLocationTypeBluetooth = 0x00000800,
    DeviceLocationTypeRemote = 0x0000FE00,
};

// An NSError as far as the plug-in looks at it; callbacks get none on success.
struct Error
{
    int code = 0;
    QString description;
};
using OptionalError = std::optional<Error>;

// Error codes the backends report.
enum ErrorCode : int {
    ErrorCommunication = -9900,  // the device stopped answering
    ErrorDeviceRemoved = -9901,  // unplugged while the request ran
    ErrorTimeout = -9902,        // the device did not answer in time
    ErrorDeviceBusy = -9903,     // another program holds the device
    ErrorFileNotFound = -9904,   // the file is no longer on the device
    ErrorWriteFailed = -9905,    // the download could not be written (a full disk)
    ErrorCancelled = -9906,      // the download was cancelled
};

class CameraDevice;
class CameraFolder;

// ICCameraItem. Immutable but for the thumbnail, which a backend sets once it has it.
class CameraItem
{
public:
    virtual ~CameraItem();
    virtual QString name() const = 0;
    virtual QString UTI() const = 0;
    // Null for the top folder of a storage.
    virtual std::shared_ptr<const CameraFolder> parentFolder() const = 0;
    // Null once the device is gone.
    virtual std::shared_ptr<CameraDevice> device() const = 0;
    virtual QDateTime creationDate() const = 0;
    // A null image while the backend has none.
    virtual QImage thumbnailIfAvailable() const = 0;
    virtual bool isFolder() const = 0;
};
using CameraItemPtr = std::shared_ptr<const CameraItem>;

// ICCameraFolder
class CameraFolder : public CameraItem
{
public:
    bool isFolder() const final { return true; }
};

// ICCameraFile
class CameraFile : public CameraItem
{
public:
    bool isFolder() const final { return false; }
    virtual qint64 fileSize() const = 0;
};
using CameraFilePtr = std::shared_ptr<const CameraFile>;

// The options dictionary of requestDownloadFile (ICDownloadsDirectoryURL,
// ICSaveAsFilename, ICOverwrite) and, in the completion, ICSavedFilename.
struct DownloadOptions
{
    QUrl downloadsDirectoryURL;  // a directory URL: its local path ends in "/"
    QString saveAsFilename;
    bool overwrite = false;
    QString savedFilename;  // set by the backend in the completion
};

// ICDeviceDelegate with ICCameraDeviceDelegate. The callbacks that the plug-in
// accepts but does nothing with have empty defaults.
class Device;
class CameraDeviceDelegate
{
public:
    virtual ~CameraDeviceDelegate();
    virtual void deviceDidOpenSession(const std::shared_ptr<Device>& device, const OptionalError& error) = 0;
    virtual void deviceDidCloseSession(const std::shared_ptr<Device>& device, const OptionalError& error) = 0;
    virtual void didRemoveDevice(const std::shared_ptr<Device>& device);

    virtual void cameraDeviceDidAddItems(const std::shared_ptr<CameraDevice>& camera, const QList<CameraItemPtr>& items) = 0;
    virtual void cameraDeviceDidRemoveItem(const std::shared_ptr<CameraDevice>& camera, const CameraItemPtr& item);
    virtual void cameraDeviceDidRenameItems(const std::shared_ptr<CameraDevice>& camera, const QList<CameraItemPtr>& items);
    virtual void cameraDeviceDidChangeCapability(const std::shared_ptr<CameraDevice>& camera);
    virtual void cameraDeviceDidReceiveMetadataForItem(const std::shared_ptr<CameraDevice>& camera, const CameraItemPtr& item);
    virtual void cameraDeviceDidCompleteDeleteFiles(const std::shared_ptr<CameraDevice>& camera, const OptionalError& error);
    virtual void deviceDidBecomeReadyWithCompleteContentCatalog(const std::shared_ptr<CameraDevice>& camera) = 0;
    // Asked before the backend reads a thumbnail; false spares the device the work.
    virtual bool cameraDeviceShouldGetThumbnailOfItem(const std::shared_ptr<CameraDevice>& camera,
                                                      const CameraItemPtr& item) = 0;
    virtual void cameraDeviceDidReceiveThumbnailForItem(const std::shared_ptr<CameraDevice>& camera,
                                                        const CameraItemPtr& item) = 0;
};

// ICCameraDeviceDownloadDelegate with the selector didDownloadFile:error:options:contextInfo:.
class DownloadDelegate
{
public:
    virtual ~DownloadDelegate();
    virtual void didDownloadFile(const CameraFilePtr& file, const OptionalError& error, const DownloadOptions& options,
                                 void* contextInfo) = 0;
};

// ICDevice
class Device
{
public:
    virtual ~Device();
    virtual quint32 type() const = 0;  // DeviceTypeBits
    virtual QString name() const = 0;
    virtual QString UUIDString() const = 0;
    virtual QImage icon() const = 0;
    virtual void setDelegate(const std::weak_ptr<CameraDeviceDelegate>& delegate) = 0;
    // Answered through deviceDidOpenSession / deviceDidCloseSession.
    virtual void requestOpenSession() = 0;
    virtual void requestCloseSession() = 0;
    // The application launched when the device is plugged in; a null text is nil.
    virtual QString autolaunchApplicationPath() const = 0;
    virtual void setAutolaunchApplicationPath(const QString& path) = 0;
};
using DevicePtr = std::shared_ptr<Device>;

// ICCameraDevice
class CameraDevice : public Device
{
public:
    // Starts a download; the delegate hears of it on the main thread, or never
    // when the device goes away first. Callable from any thread.
    virtual void requestDownloadFile(const CameraFilePtr& file, const DownloadOptions& options,
                                     const std::weak_ptr<DownloadDelegate>& delegate, void* contextInfo) = 0;
};
using CameraDevicePtr = std::shared_ptr<CameraDevice>;

// Null when the device is no camera (a scanner).
CameraDevicePtr asCameraDevice(const DevicePtr& device);

class DeviceBrowser;
// ICDeviceBrowserDelegate
class DeviceBrowserDelegate
{
public:
    virtual ~DeviceBrowserDelegate();
    virtual void deviceBrowserDidAddDevice(DeviceBrowser* browser, const DevicePtr& device, bool moreComing) = 0;
    virtual void deviceBrowserDidRemoveDevice(DeviceBrowser* browser, const DevicePtr& device, bool moreGoing) = 0;
};

// ICDeviceBrowser
class DeviceBrowser
{
public:
    virtual ~DeviceBrowser();
    virtual void setDelegate(const std::weak_ptr<DeviceBrowserDelegate>& delegate) = 0;
    virtual quint32 browsedDeviceTypeMask() const = 0;
    virtual void setBrowsedDeviceTypeMask(quint32 mask) = 0;
    // Devices already there are reported, then every later arrival and departure.
    virtual void start() = 0;
    virtual void stop() = 0;
};
using DeviceBrowserPtr = std::shared_ptr<DeviceBrowser>;

// [[ICDeviceBrowser alloc] init] of the installed backend; null (and one debug
// line) while no backend is installed.
DeviceBrowserPtr createDeviceBrowser();

// Where a backend installs itself, before the plug-in first makes a browser.
using DeviceBrowserProvider = std::function<DeviceBrowserPtr()>;
void setDeviceBrowserProvider(DeviceBrowserProvider provider);

} // namespace OrvImageCapture
