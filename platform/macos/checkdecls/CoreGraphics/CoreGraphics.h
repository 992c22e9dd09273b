#pragma once

// Core Graphics, as far as the adapters call it. Written from Apple's public
// documentation for the Linux check; pages are under
// https://developer.apple.com/documentation/coregraphics/.

#include <CoreFoundation/CoreFoundation.h>

typedef double CGFloat;                       // coregraphics/cgfloat (64-bit)

struct CGPoint { CGFloat x; CGFloat y; };     // foundation/nspoint
struct CGSize { CGFloat width; CGFloat height; };  // foundation/nssize
struct CGRect { CGPoint origin; CGSize size; };    // foundation/nsrect
typedef struct CGPoint CGPoint;
typedef struct CGSize CGSize;
typedef struct CGRect CGRect;

typedef struct CGImage* CGImageRef;                    // coregraphics/cgimage
typedef struct CGColorSpace* CGColorSpaceRef;          // coregraphics/cgcolorspace
typedef struct CGContext* CGContextRef;                // coregraphics/cgcontext
typedef struct CGDataProvider* CGDataProviderRef;      // coregraphics/cgdataprovider

// coregraphics/cgimagealphainfo
typedef CF_ENUM(uint32_t, CGImageAlphaInfo){
    kCGImageAlphaNone,
    kCGImageAlphaPremultipliedLast,
    kCGImageAlphaPremultipliedFirst,
    kCGImageAlphaLast,
    kCGImageAlphaFirst,
    kCGImageAlphaNoneSkipLast,
    kCGImageAlphaNoneSkipFirst,
    kCGImageAlphaOnly,
};

// coregraphics/cgbitmapinfo
typedef CF_OPTIONS(uint32_t, CGBitmapInfo){
    kCGBitmapAlphaInfoMask = 0x1F,
    kCGBitmapByteOrderDefault = (0 << 12),
    kCGBitmapByteOrder32Little = (2 << 12),
    kCGBitmapByteOrder32Host = kCGBitmapByteOrder32Little,  // an Intel Mac
};

// coregraphics/cgcolorspacemodel
typedef CF_ENUM(int32_t, CGColorSpaceModel){
    kCGColorSpaceModelUnknown = -1,
    kCGColorSpaceModelMonochrome,
    kCGColorSpaceModelRGB,
    kCGColorSpaceModelCMYK,
    kCGColorSpaceModelLab,
    kCGColorSpaceModelDeviceN,
    kCGColorSpaceModelIndexed,
    kCGColorSpaceModelPattern,
    kCGColorSpaceModelXYZ,
};

// coregraphics/cgcolorrenderingintent
typedef CF_ENUM(int32_t, CGColorRenderingIntent){
    kCGRenderingIntentDefault,
    kCGRenderingIntentAbsoluteColorimetric,
    kCGRenderingIntentRelativeColorimetric,
    kCGRenderingIntentPerceptual,
    kCGRenderingIntentSaturation,
};

// coregraphics/cgdataproviderreleasedatacallback
typedef void (*CGDataProviderReleaseDataCallback)(void* info, const void* data, size_t size);

#ifdef __cplusplus
extern "C" {
#endif

CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height);  // coregraphics/cgrectmake
CGSize CGSizeMake(CGFloat width, CGFloat height);                        // coregraphics/cgsizemake

size_t CGImageGetWidth(CGImageRef image) API_AVAILABLE(macos(10.0));              // coregraphics/cgimage/width
size_t CGImageGetHeight(CGImageRef image) API_AVAILABLE(macos(10.0));             // coregraphics/cgimage/height
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) API_AVAILABLE(macos(10.0));  // coregraphics/cgimage/colorspace
void CGImageRelease(CGImageRef image) API_AVAILABLE(macos(10.0));                  // coregraphics/cgimagerelease
// coregraphics/cgimage/init(width:height:bitspercomponent:bitsperpixel:bytesperrow:space:bitmapinfo:provider:decode:shouldinterpolate:intent:)
CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel, size_t bytesPerRow,
                         CGColorSpaceRef space, CGBitmapInfo bitmapInfo, CGDataProviderRef provider,
                         const CGFloat* decode, bool shouldInterpolate, CGColorRenderingIntent intent)
    API_AVAILABLE(macos(10.0));

extern const CFStringRef kCGColorSpaceSRGB API_AVAILABLE(macos(10.5));                       // coregraphics/cgcolorspace/srgb
CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) API_AVAILABLE(macos(10.2));   // coregraphics/cgcolorspace/init(name:)
CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) API_AVAILABLE(macos(10.0));     // coregraphics/cgcolorspaceretain
void CGColorSpaceRelease(CGColorSpaceRef space) API_AVAILABLE(macos(10.0));               // coregraphics/cgcolorspacerelease
CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) API_AVAILABLE(macos(10.5)); // coregraphics/cgcolorspace/model
CFDataRef CGColorSpaceCopyICCData(CGColorSpaceRef space) API_AVAILABLE(macos(10.12));     // coregraphics/cgcolorspace/copyiccdata()
CGColorSpaceRef CGColorSpaceCreateWithICCData(CFTypeRef data) API_AVAILABLE(macos(10.12)); // coregraphics/cgcolorspace/init(iccdata:)

// coregraphics/cgcontext/init(data:width:height:bitspercomponent:bytesperrow:space:bitmapinfo:)
CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo)
    API_AVAILABLE(macos(10.0));
void CGContextDrawImage(CGContextRef c, CGRect rect, CGImageRef image) API_AVAILABLE(macos(10.0));  // coregraphics/cgcontext/draw(_:in:bytiling:)
void CGContextRelease(CGContextRef c) API_AVAILABLE(macos(10.0));                                  // coregraphics/cgcontextrelease

// coregraphics/cgdataprovider/init(datainfo:data:size:releasedata:)
CGDataProviderRef CGDataProviderCreateWithData(void* info, const void* data, size_t size,
                                               CGDataProviderReleaseDataCallback releaseData) API_AVAILABLE(macos(10.0));
void CGDataProviderRelease(CGDataProviderRef provider) API_AVAILABLE(macos(10.0));  // coregraphics/cgdataproviderrelease

#ifdef __cplusplus
}
#endif
