#pragma once

// AppKit, as far as the adapters use it. Written from Apple's public
// documentation for the Linux check; pages are under
// https://developer.apple.com/documentation/appkit/.

#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>

#include <sys/types.h>

typedef CGRect NSRect;                       // foundation/nsrect
typedef NSString* NSImageHintKey;            // appkit/nsimage/hintkey

@class NSGraphicsContext;

// appkit/nsimage
@interface NSImage : NSObject
// appkit/nsimage/cgimage(forproposedrect:context:hints:)
- (CGImageRef)CGImageForProposedRect:(NSRect*)proposedDestRect
                             context:(NSGraphicsContext*)referenceContext
                               hints:(NSDictionary<NSImageHintKey, id>*)hints API_AVAILABLE(macos(10.6));
@end

// appkit/nsrunningapplication
API_AVAILABLE(macos(10.6))
@interface NSRunningApplication : NSObject
@property(readonly, copy) NSString* bundleIdentifier;    // appkit/nsrunningapplication/bundleidentifier
@property(readonly, copy) NSString* localizedName;       // appkit/nsrunningapplication/localizedname
@property(readonly) pid_t processIdentifier;             // appkit/nsrunningapplication/processidentifier
@end

// appkit/nsworkspace
@interface NSWorkspace : NSObject
@property(class, readonly) NSWorkspace* sharedWorkspace;                                       // appkit/nsworkspace/shared
@property(readonly, copy) NSArray<NSRunningApplication*>* runningApplications API_AVAILABLE(macos(10.6));  // appkit/nsworkspace/runningapplications
@end
