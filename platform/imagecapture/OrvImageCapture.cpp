#include "OrvImageCapture.h"

#include <QDebug>

#include <atomic>
#include <mutex>

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

std::mutex providerMutex;
DeviceBrowserProvider& provider()
{
    static DeviceBrowserProvider installed;
    return installed;
}

} // namespace

void setDeviceBrowserProvider(DeviceBrowserProvider newProvider)
{
    std::lock_guard<std::mutex> lock(providerMutex);
    provider() = std::move(newProvider);
}

DeviceBrowserPtr createDeviceBrowser()
{
    DeviceBrowserProvider current;
    {
        std::lock_guard<std::mutex> lock(providerMutex);
        current = provider();
    }
    if (current)
        return current();
    static std::atomic<bool> told{false};
    if (!told.exchange(true))
        qDebug() << "Image Capture: no backend installed";
    return {};
}

} // namespace OrvImageCapture
