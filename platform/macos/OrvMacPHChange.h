#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

// PHChange as OrvPhotoKit::Change.
class OrvMacPHChange : public OrvPhotoKit::Change
{
public:
    explicit OrvMacPHChange(PHChange* change) : myChange(change) {}

    // Null when the change leaves the result as it is, or the result is not one of this backend's.
    OrvPhotoKit::FetchResultChangeDetailsPtr changeDetailsForFetchResult(
        const OrvPhotoKit::FetchResultPtr& fetchResult) const override;

private:
    PHChange* myChange;
};
