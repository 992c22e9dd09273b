#pragma once

#import <ImageCaptureCore/ImageCaptureCore.h>

#include <memory>

class OrvMacICDevice;

// The Image Capture delegate of a device that stands for the interface's
// delegate: each callback (main thread) goes to the delegate of the device's
// adapter, its items adapted. Thumbnails: from macOS 10.15 on the delegate is
// asked for each new file and a thumbnail is requested when it wants one;
// before, Image Capture asks the same itself.
@interface OrvMacICDeviceForwarder : NSObject <ICCameraDeviceDelegate>
- (instancetype)initWithDevice:(std::weak_ptr<OrvMacICDevice>)device;
@end
