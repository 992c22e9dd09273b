#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

// PHFetchResult as OrvPhotoKit::FetchResult; nil is an empty result. Its
// objects are adapted as they are asked for.
class OrvMacPHFetchResult : public OrvPhotoKit::FetchResult
{
public:
    explicit OrvMacPHFetchResult(PHFetchResult* result) : myResult(result) {}

    PHFetchResult* result() const { return myResult; }
    // The PHFetchResult behind a result of this backend; nil for any other.
    static PHFetchResult* from(const OrvPhotoKit::FetchResultPtr& result);

    qsizetype count() const override;
    OrvPhotoKit::ObjectPtr objectAtIndex(qsizetype index) const override;

    // A PHAsset, PHAssetCollection or PHCollectionList as the interface's object; null for anything else.
    static OrvPhotoKit::ObjectPtr adapt(id object);
    // The objects of an array (nil: none).
    static std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> adapt(NSArray* objects);

private:
    PHFetchResult* myResult;
};
