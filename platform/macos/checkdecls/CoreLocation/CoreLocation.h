#pragma once

// Core Location, as far as the adapters use it (a PHAsset's location). Written
// from Apple's public documentation for the Linux check; pages are under
// https://developer.apple.com/documentation/corelocation/.

#include <Foundation/Foundation.h>

typedef double CLLocationDegrees;  // corelocation/cllocationdegrees

// corelocation/cllocationcoordinate2d
typedef struct {
    CLLocationDegrees latitude;
    CLLocationDegrees longitude;
} CLLocationCoordinate2D;

// corelocation/cllocation
API_AVAILABLE(macos(10.6))
@interface CLLocation : NSObject
@property(readonly) CLLocationCoordinate2D coordinate;  // corelocation/cllocation/coordinate
@end
