#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

// PHFetchResultChangeDetails as OrvPhotoKit::FetchResultChangeDetails. The
// result before the changes is the one the details were asked for (the
// plug-in knows it by its address); the result after them is made once.
class OrvMacPHFetchResultChangeDetails : public OrvPhotoKit::FetchResultChangeDetails
{
public:
    OrvMacPHFetchResultChangeDetails(PHFetchResultChangeDetails* details, OrvPhotoKit::FetchResultPtr before);

    OrvPhotoKit::FetchResultPtr fetchResultBeforeChanges() const override { return myBefore; }
    OrvPhotoKit::FetchResultPtr fetchResultAfterChanges() const override { return myAfter; }
    bool hasIncrementalChanges() const override;
    std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> removedObjects() const override;
    std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> insertedObjects() const override;
    std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> changedObjects() const override;

private:
    PHFetchResultChangeDetails* myDetails;
    OrvPhotoKit::FetchResultPtr myBefore;
    OrvPhotoKit::FetchResultPtr myAfter;
};
