#include "OrvMacICDeviceForwarder.h"

#include "OrvMacFoundation.h"
#include "OrvMacICCameraFile.h"
#include "OrvMacICDevice.h"
#include "OrvMacImageConversion.h"

using namespace OrvImageCapture;

namespace {

OptionalError error(NSError* error)
{
    if (!error)
        return std::nullopt;
    return Error{int(error.code), OrvMacFoundation::describe(error)};
}

} // namespace

@implementation OrvMacICDeviceForwarder {
    std::weak_ptr<OrvMacICDevice> myDevice;
}

- (instancetype)initWithDevice:(std::weak_ptr<OrvMacICDevice>)device
{
    self = [super init];
    if (self)
        myDevice = std::move(device);
    return self;
}

- (std::shared_ptr<OrvMacICDevice>)adapter
{
    return myDevice.lock();
}

- (QList<CameraItemPtr>)adapt:(NSArray<ICCameraItem*>*)items device:(const std::shared_ptr<OrvMacICDevice>&)device
{
    QList<CameraItemPtr> adapted;
    for (ICCameraItem* item in items) {
        if (CameraItemPtr one = OrvMacICCameraFile::adaptItem(item, device))
            adapted.append(one);
    }
    return adapted;
}

// ---- ICDeviceDelegate

- (void)device:(ICDevice*)device didOpenSessionWithError:(NSError*)openError
{
    const auto adapter = [self adapter];
    if (const auto delegate = adapter ? adapter->delegate() : nullptr)
        delegate->deviceDidOpenSession(adapter, error(openError));
}

- (void)device:(ICDevice*)device didCloseSessionWithError:(NSError*)closeError
{
    const auto adapter = [self adapter];
    if (const auto delegate = adapter ? adapter->delegate() : nullptr)
        delegate->deviceDidCloseSession(adapter, error(closeError));
}

- (void)didRemoveDevice:(ICDevice*)device
{
    const auto adapter = [self adapter];
    if (const auto delegate = adapter ? adapter->delegate() : nullptr)
        delegate->didRemoveDevice(adapter);
}

// ---- ICCameraDeviceDelegate

- (void)cameraDevice:(ICCameraDevice*)camera didAddItems:(NSArray<ICCameraItem*>*)items
{
    const auto adapter = [self adapter];
    const auto delegate = adapter ? adapter->delegate() : nullptr;
    if (!delegate)
        return;
    const QList<CameraItemPtr> added = [self adapt:items device:adapter];
    if (!added.isEmpty())
        delegate->cameraDeviceDidAddItems(adapter, added);
    if (@available(macOS 10.15, *)) {
        for (const CameraItemPtr& item : added) {
            const auto file = std::dynamic_pointer_cast<const OrvMacICCameraFile>(item);
            if (!file || !delegate->cameraDeviceShouldGetThumbnailOfItem(adapter, item))
                continue;
            // One the device holds already comes at once; any other is asked of the device.
            const QImage thumbnail = file->readThumbnail();
            if (thumbnail.isNull()) {
                [file->file() requestThumbnail];
                continue;
            }
            adapter->keepThumbnail(file, thumbnail);
            delegate->cameraDeviceDidReceiveThumbnailForItem(adapter, item);
        }
    }
}

- (void)cameraDevice:(ICCameraDevice*)camera didRemoveItems:(NSArray<ICCameraItem*>*)items
{
    const auto adapter = [self adapter];
    const auto delegate = adapter ? adapter->delegate() : nullptr;
    if (!delegate)
        return;
    for (const CameraItemPtr& item : [self adapt:items device:adapter])
        delegate->cameraDeviceDidRemoveItem(adapter, item);
}

- (void)cameraDevice:(ICCameraDevice*)camera didRenameItems:(NSArray<ICCameraItem*>*)items
{
    const auto adapter = [self adapter];
    if (const auto delegate = adapter ? adapter->delegate() : nullptr)
        delegate->cameraDeviceDidRenameItems(adapter, [self adapt:items device:adapter]);
}

- (void)cameraDeviceDidChangeCapability:(ICCameraDevice*)camera
{
    const auto adapter = [self adapter];
    if (const auto delegate = adapter ? adapter->delegate() : nullptr)
        delegate->cameraDeviceDidChangeCapability(adapter);
}

- (void)cameraDevice:(ICCameraDevice*)camera
    didReceiveThumbnail:(CGImageRef)thumbnail
                forItem:(ICCameraItem*)item
                  error:(NSError*)thumbnailError API_AVAILABLE(macos(10.15))
{
    const auto adapter = [self adapter];
    const auto delegate = adapter ? adapter->delegate() : nullptr;
    const auto file = std::dynamic_pointer_cast<const OrvMacICCameraFile>(OrvMacICCameraFile::adaptItem(item, adapter));
    if (!delegate || !file || !thumbnail)
        return;
    adapter->keepThumbnail(file, OrvMacImageConversion::fromCGImage(thumbnail));
    delegate->cameraDeviceDidReceiveThumbnailForItem(adapter, file);
}

- (void)cameraDevice:(ICCameraDevice*)camera
    didReceiveMetadata:(NSDictionary*)metadata
               forItem:(ICCameraItem*)item
                 error:(NSError*)metadataError API_AVAILABLE(macos(10.15))
{
    const auto adapter = [self adapter];
    const auto delegate = adapter ? adapter->delegate() : nullptr;
    if (const auto adapted = delegate ? OrvMacICCameraFile::adaptItem(item, adapter) : nullptr)
        delegate->cameraDeviceDidReceiveMetadataForItem(adapter, adapted);
}

- (void)cameraDevice:(ICCameraDevice*)camera didReceivePTPEvent:(NSData*)eventData
{
}

- (void)deviceDidBecomeReadyWithCompleteContentCatalog:(ICCameraDevice*)device
{
    const auto adapter = [self adapter];
    if (const auto delegate = adapter ? adapter->delegate() : nullptr)
        delegate->deviceDidBecomeReadyWithCompleteContentCatalog(adapter);
}

- (void)cameraDeviceDidRemoveAccessRestriction:(ICDevice*)device
{
}

- (void)cameraDeviceDidEnableAccessRestriction:(ICDevice*)device
{
}

- (void)cameraDevice:(ICCameraDevice*)camera didCompleteDeleteFilesWithError:(NSError*)deleteError
{
    const auto adapter = [self adapter];
    if (const auto delegate = adapter ? adapter->delegate() : nullptr)
        delegate->cameraDeviceDidCompleteDeleteFiles(adapter, error(deleteError));
}

// ---- before macOS 10.15: Image Capture asks about thumbnails itself and reports them without the image

- (BOOL)cameraDevice:(ICCameraDevice*)camera shouldGetThumbnailOfItem:(ICCameraItem*)item
{
    if (@available(macOS 10.15, *))
        return NO;  // asked for explicitly when the items arrive
    const auto adapter = [self adapter];
    const auto delegate = adapter ? adapter->delegate() : nullptr;
    const auto adapted = delegate ? OrvMacICCameraFile::adaptItem(item, adapter) : nullptr;
    return adapted && delegate->cameraDeviceShouldGetThumbnailOfItem(adapter, adapted);
}

- (void)cameraDevice:(ICCameraDevice*)camera didReceiveThumbnailForItem:(ICCameraItem*)item
{
    if (@available(macOS 10.15, *))
        return;  // reported with the image
    const auto adapter = [self adapter];
    const auto delegate = adapter ? adapter->delegate() : nullptr;
    const auto file = std::dynamic_pointer_cast<const OrvMacICCameraFile>(OrvMacICCameraFile::adaptItem(item, adapter));
    if (!delegate || !file)
        return;
    adapter->keepThumbnail(file, file->readThumbnail());
    delegate->cameraDeviceDidReceiveThumbnailForItem(adapter, file);
}

@end
