#pragma once

// Core Foundation, as far as the adapters call it. Written from Apple's public
// documentation for the Linux check; pages are under
// https://developer.apple.com/documentation/corefoundation/.

#include "../OrvCheckAvailability.h"

#include <stddef.h>
#include <stdint.h>

typedef unsigned char Boolean;      // corefoundation/boolean
typedef uint8_t UInt8;              // corefoundation/uint8
typedef uint32_t UInt32;            // corefoundation/uint32
typedef long CFIndex;               // corefoundation/cfindex
typedef unsigned long CFTypeID;     // corefoundation/cftypeid
typedef const void* CFTypeRef;      // corefoundation/cftyperef

typedef const struct __attribute__((objc_bridge(NSString))) __CFString* CFStringRef;                   // corefoundation/cfstring
typedef const struct __attribute__((objc_bridge(NSData))) __CFData* CFDataRef;                         // corefoundation/cfdata
typedef struct __attribute__((objc_bridge_mutable(NSMutableData))) __CFData* CFMutableDataRef;         // corefoundation/cfmutabledata
typedef const struct __attribute__((objc_bridge(NSArray))) __CFArray* CFArrayRef;                      // corefoundation/cfarray
typedef const struct __attribute__((objc_bridge(NSDictionary))) __CFDictionary* CFDictionaryRef;       // corefoundation/cfdictionary
typedef const struct __attribute__((objc_bridge(NSURL))) __CFURL* CFURLRef;                            // corefoundation/cfurl
typedef const struct __attribute__((objc_bridge(NSNumber))) __CFBoolean* CFBooleanRef;                 // corefoundation/cfboolean
typedef const struct __CFAllocator* CFAllocatorRef;                                                     // corefoundation/cfallocator

#ifdef __cplusplus
extern "C" {
#endif

extern const CFAllocatorRef kCFAllocatorDefault API_AVAILABLE(macos(10.0));  // corefoundation/kcfallocatordefault
extern const CFAllocatorRef kCFAllocatorNull API_AVAILABLE(macos(10.0));     // corefoundation/kcfallocatornull

void CFRelease(CFTypeRef cf) API_AVAILABLE(macos(10.0));                          // corefoundation/cfrelease
CFTypeRef CFRetain(CFTypeRef cf) API_AVAILABLE(macos(10.0));                      // corefoundation/cfretain
CFTypeID CFGetTypeID(CFTypeRef cf) API_AVAILABLE(macos(10.0));                    // corefoundation/cfgettypeid
CFTypeID CFBooleanGetTypeID(void) API_AVAILABLE(macos(10.0));                     // corefoundation/cfbooleangettypeid

// corefoundation/cfdatacreate
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length) API_AVAILABLE(macos(10.0));
// corefoundation/cfdatacreatewithbytesnocopy
CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                      CFAllocatorRef bytesDeallocator) API_AVAILABLE(macos(10.0));
// corefoundation/cfdatacreatemutable
CFMutableDataRef CFDataCreateMutable(CFAllocatorRef allocator, CFIndex capacity) API_AVAILABLE(macos(10.0));
const UInt8* CFDataGetBytePtr(CFDataRef data) API_AVAILABLE(macos(10.0));         // corefoundation/cfdatagetbyteptr
CFIndex CFDataGetLength(CFDataRef data) API_AVAILABLE(macos(10.0));              // corefoundation/cfdatagetlength

// corefoundation/cfurlstartaccessingsecurityscopedresource(_:)
Boolean CFURLStartAccessingSecurityScopedResource(CFURLRef url) API_AVAILABLE(macos(10.7));
// corefoundation/cfurlstopaccessingsecurityscopedresource(_:)
void CFURLStopAccessingSecurityScopedResource(CFURLRef url) API_AVAILABLE(macos(10.7));

#ifdef __cplusplus
}
#endif
