#pragma once

#import <ImageCaptureCore/ImageCaptureCore.h>

#include "OrvImageCaptureHub.h"

// One download as Image Capture runs it: the download delegate that tells the
// interface's delegate how it ended (main thread), with the name the file was
// saved under. It is the context it hands Image Capture, retained until the
// report comes; a download whose report never comes (the device went away)
// leaves this small object behind.
@interface OrvMacICDownload : NSObject <ICCameraDeviceDownloadDelegate>
- (instancetype)initWithRequest:(const OrvImageCapture::DownloadRequest&)request;
- (void)didDownloadFile:(ICCameraFile*)file
                  error:(NSError*)error
                options:(NSDictionary<NSString*, id>*)options
            contextInfo:(void*)contextInfo;
@end
