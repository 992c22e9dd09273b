#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

#include <memory>

// The PhotoKit change observer that stands for one of the interface's
// observers: each change reaches it as PhotoKit reports it, off the main
// thread, while it is alive.
@interface OrvMacPHChangeObserver : NSObject <PHPhotoLibraryChangeObserver>
- (instancetype)initWithObserver:(std::weak_ptr<OrvPhotoKit::PhotoLibraryChangeObserver>)observer;
@end
