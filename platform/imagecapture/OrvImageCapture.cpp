#include "OrvImageCapture.h"

#include "OrvBackendProvider.h"

namespace OrvImageCapture {

CameraItem::~CameraItem() = default;
CameraDeviceDelegate::~CameraDeviceDelegate() = default;
DownloadDelegate::~DownloadDelegate() = default;
Device::~Device() = default;
DeviceBrowserDelegate::~DeviceBrowserDelegate() = default;
DeviceBrowser::~DeviceBrowser() = default;

void CameraDeviceDelegate::didRemoveDevice(const std::shared_ptr<Device>&) {}
void CameraDeviceDelegate::cameraDeviceDidRemoveItem(const std::shared_ptr<CameraDevice>&, const CameraItemPtr&) {}
void CameraDeviceDelegate::cameraDeviceDidRenameItems(const std::shared_ptr<CameraDevice>&, const QList<CameraItemPtr>&) {}
void CameraDeviceDelegate::cameraDeviceDidChangeCapability(const std::shared_ptr<CameraDevice>&) {}
void CameraDeviceDelegate::cameraDeviceDidReceiveMetadataForItem(const std::shared_ptr<CameraDevice>&, const CameraItemPtr&) {}
void CameraDeviceDelegate::cameraDeviceDidCompleteDeleteFiles(const std::shared_ptr<CameraDevice>&, const OptionalError&) {}

CameraDevicePtr asCameraDevice(const DevicePtr& device)
{
    return device && (device->type() & DeviceTypeCamera) ? std::dynamic_pointer_cast<CameraDevice>(device)
                                                         : CameraDevicePtr();
}

namespace {

OrvBackendProvider<DeviceBrowserPtr>& provider()
{
    static OrvBackendProvider<DeviceBrowserPtr> installed;
    return installed;
}

} // namespace

void setDeviceBrowserProvider(DeviceBrowserProvider newProvider) { provider().install(std::move(newProvider)); }

DeviceBrowserPtr createDeviceBrowser() { return provider().make("Image Capture:"); }

} // namespace OrvImageCapture
