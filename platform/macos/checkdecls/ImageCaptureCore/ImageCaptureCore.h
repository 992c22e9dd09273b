#pragma once

// ImageCaptureCore, as far as the adapters use it. Written from Apple's public
// documentation for the Linux check; pages are under
// https://developer.apple.com/documentation/imagecapturecore/. Required and
// optional protocol methods as the documentation shows them ("optional func"
// in the Swift declaration). Mask values are the ones the platform interface
// (platform/imagecapture/OrvImageCapture.h) states.

#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>

#include <sys/types.h>

// imagecapturecore/icdevicetype (camera: macOS 10.4)
typedef NS_ENUM(NSUInteger, ICDeviceType){
    ICDeviceTypeCamera = 0x00000001,
    ICDeviceTypeScanner = 0x00000002,
};

// imagecapturecore/icdevicetypemask: device types OR'd with location types (icdevicelocationtypemask)
typedef NS_ENUM(NSUInteger, ICDeviceTypeMask){
    ICDeviceTypeMaskCamera = 0x00000001,
    ICDeviceTypeMaskScanner = 0x00000002,
};

typedef NSString* ICDownloadOption;  // imagecapturecore/icdownloadoption (macOS 10.4)
extern "C" ICDownloadOption const ICDownloadsDirectoryURL API_AVAILABLE(macos(10.4));  // imagecapturecore/icdownloadoption/downloadsdirectoryurl
extern "C" ICDownloadOption const ICSaveAsFilename API_AVAILABLE(macos(10.4));         // imagecapturecore/icdownloadoption/saveasfilename
extern "C" ICDownloadOption const ICSavedFilename API_AVAILABLE(macos(10.4));          // imagecapturecore/icdownloadoption/savedfilename
extern "C" ICDownloadOption const ICOverwrite API_AVAILABLE(macos(10.4));              // imagecapturecore/icdownloadoption/overwrite

@class ICDevice, ICCameraDevice, ICCameraItem, ICCameraFolder, ICCameraFile, ICDeviceBrowser;

// imagecapturecore/icdevicedelegate
@protocol ICDeviceDelegate <NSObject>
- (void)didRemoveDevice:(ICDevice*)device;  // imagecapturecore/icdevicedelegate/didremove(_:)
// imagecapturecore/icdevicedelegate/device(_:didopensessionwitherror:) (main thread)
- (void)device:(ICDevice*)device didOpenSessionWithError:(NSError*)error API_AVAILABLE(macos(10.4));
// imagecapturecore/icdevicedelegate/device(_:didclosesessionwitherror:) (main thread)
- (void)device:(ICDevice*)device didCloseSessionWithError:(NSError*)error API_AVAILABLE(macos(10.4));
@end

// imagecapturecore/iccameradevicedelegate
@protocol ICCameraDeviceDelegate <ICDeviceDelegate>
// imagecapturecore/iccameradevicedelegate/cameradevice(_:didadd:)-8oukd
- (void)cameraDevice:(ICCameraDevice*)camera didAddItems:(NSArray<ICCameraItem*>*)items API_AVAILABLE(macos(10.4));
// imagecapturecore/iccameradevicedelegate/cameradevice(_:didremove:)
- (void)cameraDevice:(ICCameraDevice*)camera didRemoveItems:(NSArray<ICCameraItem*>*)items API_AVAILABLE(macos(10.4));
// imagecapturecore/iccameradevicedelegate/cameradevice(_:didreceivethumbnail:for:error:)
- (void)cameraDevice:(ICCameraDevice*)camera
    didReceiveThumbnail:(CGImageRef)thumbnail
                forItem:(ICCameraItem*)item
                  error:(NSError*)error API_AVAILABLE(macos(10.15));
// imagecapturecore/iccameradevicedelegate/cameradevice(_:didreceivemetadata:for:error:)
- (void)cameraDevice:(ICCameraDevice*)camera
    didReceiveMetadata:(NSDictionary*)metadata
               forItem:(ICCameraItem*)item
                 error:(NSError*)error API_AVAILABLE(macos(10.15));
// imagecapturecore/iccameradevicedelegate/cameradevice(_:didrenameitems:)
- (void)cameraDevice:(ICCameraDevice*)camera didRenameItems:(NSArray<ICCameraItem*>*)items API_AVAILABLE(macos(10.4));
// imagecapturecore/iccameradevicedelegate/cameradevicedidchangecapability(_:)
- (void)cameraDeviceDidChangeCapability:(ICCameraDevice*)camera API_AVAILABLE(macos(10.4));
// imagecapturecore/iccameradevicedelegate/cameradevice(_:didreceiveptpevent:)
- (void)cameraDevice:(ICCameraDevice*)camera didReceivePTPEvent:(NSData*)eventData API_AVAILABLE(macos(10.4));
// imagecapturecore/iccameradevicedelegate/devicedidbecomeready(withcompletecontentcatalog:)
- (void)deviceDidBecomeReadyWithCompleteContentCatalog:(ICCameraDevice*)device API_AVAILABLE(macos(10.4));
// imagecapturecore/iccameradevicedelegate/cameradevicedidremoveaccessrestriction(_:)
- (void)cameraDeviceDidRemoveAccessRestriction:(ICDevice*)device API_AVAILABLE(macos(10.4));
// imagecapturecore/iccameradevicedelegate/cameradevicedidenableaccessrestriction(_:)
- (void)cameraDeviceDidEnableAccessRestriction:(ICDevice*)device API_AVAILABLE(macos(10.4));
@optional
// imagecapturecore/iccameradevicedelegate/cameradevice(_:didcompletedeletefileswitherror:)
- (void)cameraDevice:(ICCameraDevice*)camera didCompleteDeleteFilesWithError:(NSError*)error;
// imagecapturecore/iccameradevicedelegate/cameradevice(_:shouldgetthumbnailof:) (added in 10.10, see the 10.10 API changes)
- (BOOL)cameraDevice:(ICCameraDevice*)camera shouldGetThumbnailOfItem:(ICCameraItem*)item API_AVAILABLE(macos(10.10));
// imagecapturecore/iccameradevicedelegate/cameradevice(_:didreceivethumbnailfor:)
- (void)cameraDevice:(ICCameraDevice*)camera
    didReceiveThumbnailForItem:(ICCameraItem*)item API_DEPRECATED("use cameraDevice:didReceiveThumbnail:forItem:error:",
                                                                  macos(10.4, 10.15));
@end

// imagecapturecore/iccameradevicedownloaddelegate
@protocol ICCameraDeviceDownloadDelegate <NSObject>
@optional
// imagecapturecore/iccameradevicedownloaddelegate/diddownloadfile(_:error:options:contextinfo:)
- (void)didDownloadFile:(ICCameraFile*)file
                  error:(NSError*)error
                options:(NSDictionary<NSString*, id>*)options
            contextInfo:(void*)contextInfo API_AVAILABLE(macos(10.4));
@end

// imagecapturecore/icdevice
API_AVAILABLE(macos(10.4))
@interface ICDevice : NSObject
@property(assign) id<ICDeviceDelegate> delegate;        // imagecapturecore/icdevice/delegate (unowned)
@property(readonly) ICDeviceType type;                   // imagecapturecore/icdevice/type
@property(readonly, copy) NSString* name;                // imagecapturecore/icdevice/name
@property(readonly) CGImageRef icon;                     // imagecapturecore/icdevice/icon
@property(readonly, copy) NSString* UUIDString;          // imagecapturecore/icdevice/uuidstring
@property(copy) NSString* autolaunchApplicationPath;     // imagecapturecore/icdevice/autolaunchapplicationpath
- (void)requestOpenSession;                              // imagecapturecore/icdevice/requestopensession()
- (void)requestCloseSession;                             // imagecapturecore/icdevice/requestclosesession()
@end

// imagecapturecore/iccameradevice
API_AVAILABLE(macos(10.4))
@interface ICCameraDevice : ICDevice
// imagecapturecore/iccameradevice/requestdownloadfile(_:options:downloaddelegate:diddownloadselector:contextinfo:)
- (void)requestDownloadFile:(ICCameraFile*)file
                    options:(NSDictionary<ICDownloadOption, id>*)options
           downloadDelegate:(id<ICCameraDeviceDownloadDelegate>)downloadDelegate
        didDownloadSelector:(SEL)selector
                contextInfo:(void*)contextInfo;
@end

// imagecapturecore/iccameraitem
API_AVAILABLE(macos(10.4))
@interface ICCameraItem : NSObject
@property(readonly, copy) NSString* name;                // imagecapturecore/iccameraitem/name
@property(readonly, copy) NSString* UTI;                 // imagecapturecore/iccameraitem/uti
@property(readonly) ICCameraFolder* parentFolder;        // imagecapturecore/iccameraitem/parentfolder
@property(readonly) ICCameraDevice* device;              // imagecapturecore/iccameraitem/device
@property(readonly) NSDate* creationDate;                // imagecapturecore/iccameraitem/creationdate
// imagecapturecore/iccameraitem/thumbnailifavailable
@property(readonly) CGImageRef thumbnailIfAvailable API_DEPRECATED("use thumbnail", macos(10.4, 10.15));
@property(readonly) CGImageRef thumbnail API_AVAILABLE(macos(10.15));   // imagecapturecore/iccameraitem/thumbnail
- (void)requestThumbnail API_AVAILABLE(macos(10.15));                   // imagecapturecore/iccameraitem/requestthumbnail()
@end

// imagecapturecore/iccamerafolder
API_AVAILABLE(macos(10.4))
@interface ICCameraFolder : ICCameraItem
@end

// imagecapturecore/iccamerafile
API_AVAILABLE(macos(10.4))
@interface ICCameraFile : ICCameraItem
@property(readonly) off_t fileSize;  // imagecapturecore/iccamerafile/filesize
@end

// imagecapturecore/icdevicebrowserdelegate
@protocol ICDeviceBrowserDelegate <NSObject>
// imagecapturecore/icdevicebrowserdelegate/devicebrowser(_:didadd:morecoming:)
- (void)deviceBrowser:(ICDeviceBrowser*)browser didAddDevice:(ICDevice*)device moreComing:(BOOL)moreComing;
// imagecapturecore/icdevicebrowserdelegate/devicebrowser(_:didremove:moregoing:)
- (void)deviceBrowser:(ICDeviceBrowser*)browser didRemoveDevice:(ICDevice*)device moreGoing:(BOOL)moreGoing;
@end

// imagecapturecore/icdevicebrowser
API_AVAILABLE(macos(10.4))
@interface ICDeviceBrowser : NSObject
@property(assign) id<ICDeviceBrowserDelegate> delegate;   // imagecapturecore/icdevicebrowser/delegate (unowned)
@property ICDeviceTypeMask browsedDeviceTypeMask;          // imagecapturecore/icdevicebrowser/browseddevicetypemask
- (instancetype)init;                                      // imagecapturecore/icdevicebrowser/init()
- (void)start;                                             // imagecapturecore/icdevicebrowser/start()
- (void)stop;                                              // imagecapturecore/icdevicebrowser/stop()
@end
