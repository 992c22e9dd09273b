#pragma once

// ImageIO, as far as the adapters call it. Written from Apple's public
// documentation for the Linux check; pages are under
// https://developer.apple.com/documentation/imageio/.

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

typedef struct CGImageSource* CGImageSourceRef;            // imageio/cgimagesource
typedef struct CGImageDestination* CGImageDestinationRef;  // imageio/cgimagedestination
typedef const struct CGImageMetadata* CGImageMetadataRef;  // imageio/cgimagemetadata

// imageio/cgimagepropertyorientation
typedef CF_ENUM(uint32_t, CGImagePropertyOrientation){
    kCGImagePropertyOrientationUp = 1,
    kCGImagePropertyOrientationUpMirrored,
    kCGImagePropertyOrientationDown,
    kCGImagePropertyOrientationDownMirrored,
    kCGImagePropertyOrientationLeftMirrored,
    kCGImagePropertyOrientationRight,
    kCGImagePropertyOrientationRightMirrored,
    kCGImagePropertyOrientationLeft,
};

#ifdef __cplusplus
extern "C" {
#endif

// Image-source options (imageio/cgimagesource, Specifying the Read Options)
extern const CFStringRef kCGImageSourceTypeIdentifierHint API_AVAILABLE(macos(10.4));        // imageio/kcgimagesourcetypeidentifierhint
extern const CFStringRef kCGImageSourceShouldCache API_AVAILABLE(macos(10.4));               // imageio/kcgimagesourceshouldcache
extern const CFStringRef kCGImageSourceCreateThumbnailFromImageAlways API_AVAILABLE(macos(10.4));  // imageio/kcgimagesourcecreatethumbnailfromimagealways
extern const CFStringRef kCGImageSourceThumbnailMaxPixelSize API_AVAILABLE(macos(10.4));     // imageio/kcgimagesourcethumbnailmaxpixelsize
extern const CFStringRef kCGImageSourceCreateThumbnailWithTransform API_AVAILABLE(macos(10.4));  // imageio/kcgimagesourcecreatethumbnailwithtransform

// Image properties (imageio/image-properties)
extern const CFStringRef kCGImagePropertyPixelWidth API_AVAILABLE(macos(10.4));        // imageio/kcgimagepropertypixelwidth
extern const CFStringRef kCGImagePropertyPixelHeight API_AVAILABLE(macos(10.4));       // imageio/kcgimagepropertypixelheight
extern const CFStringRef kCGImagePropertyOrientation API_AVAILABLE(macos(10.4));       // imageio/kcgimagepropertyorientation
extern const CFStringRef kCGImagePropertyHasAlpha API_AVAILABLE(macos(10.4));          // imageio/kcgimagepropertyhasalpha
extern const CFStringRef kCGImagePropertyExifDictionary API_AVAILABLE(macos(10.4));    // imageio/kcgimagepropertyexifdictionary
extern const CFStringRef kCGImagePropertyTIFFDictionary API_AVAILABLE(macos(10.4));    // imageio/kcgimagepropertytiffdictionary
extern const CFStringRef kCGImagePropertyGPSDictionary API_AVAILABLE(macos(10.4));     // imageio/kcgimagepropertygpsdictionary
extern const CFStringRef kCGImagePropertyIPTCDictionary API_AVAILABLE(macos(10.4));    // imageio/kcgimagepropertyiptcdictionary

// imageio/cgimagesourcecreatewithdata(_:_:)
CGImageSourceRef CGImageSourceCreateWithData(CFDataRef data, CFDictionaryRef options) API_AVAILABLE(macos(10.4));
CFStringRef CGImageSourceGetType(CGImageSourceRef isrc) API_AVAILABLE(macos(10.4));   // imageio/cgimagesourcegettype(_:)
size_t CGImageSourceGetCount(CGImageSourceRef isrc) API_AVAILABLE(macos(10.4));       // imageio/cgimagesourcegetcount(_:)
// imageio/cgimagesourcecopypropertiesatindex(_:_:_:)
CFDictionaryRef CGImageSourceCopyPropertiesAtIndex(CGImageSourceRef isrc, size_t index, CFDictionaryRef options)
    API_AVAILABLE(macos(10.4));
// imageio/cgimagesourcecreateimageatindex(_:_:_:)
CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef isrc, size_t index, CFDictionaryRef options)
    API_AVAILABLE(macos(10.4));
// imageio/cgimagesourcecreatethumbnailatindex(_:_:_:)
CGImageRef CGImageSourceCreateThumbnailAtIndex(CGImageSourceRef isrc, size_t index, CFDictionaryRef options)
    API_AVAILABLE(macos(10.4));
// imageio/cgimagesourcecopymetadataatindex(_:_:_:)
CGImageMetadataRef CGImageSourceCopyMetadataAtIndex(CGImageSourceRef isrc, size_t index, CFDictionaryRef options)
    API_AVAILABLE(macos(10.8));

// imageio/cgimagemetadatacreatexmpdata(_:_:)
CFDataRef CGImageMetadataCreateXMPData(CGImageMetadataRef metadata, CFDictionaryRef options) API_AVAILABLE(macos(10.8));
// imageio/cgimagemetadatacreatefromxmpdata(_:)
CGImageMetadataRef CGImageMetadataCreateFromXMPData(CFDataRef data) API_AVAILABLE(macos(10.8));

// imageio/cgimagedestinationcreatewithdata(_:_:_:_:)
CGImageDestinationRef CGImageDestinationCreateWithData(CFMutableDataRef data, CFStringRef type, size_t count,
                                                       CFDictionaryRef options) API_AVAILABLE(macos(10.4));
// imageio/cgimagedestinationaddimagefromsource(_:_:_:_:)
void CGImageDestinationAddImageFromSource(CGImageDestinationRef idst, CGImageSourceRef isrc, size_t index,
                                          CFDictionaryRef properties) API_AVAILABLE(macos(10.4));
// imageio/cgimagedestinationaddimageandmetadata(_:_:_:_:)
void CGImageDestinationAddImageAndMetadata(CGImageDestinationRef idst, CGImageRef image, CGImageMetadataRef metadata,
                                           CFDictionaryRef options) API_AVAILABLE(macos(10.8));
bool CGImageDestinationFinalize(CGImageDestinationRef idst) API_AVAILABLE(macos(10.4));  // imageio/cgimagedestinationfinalize(_:)
CFArrayRef CGImageDestinationCopyTypeIdentifiers(void) API_AVAILABLE(macos(10.4));     // imageio/cgimagedestinationcopytypeidentifiers()

#ifdef __cplusplus
}
#endif
