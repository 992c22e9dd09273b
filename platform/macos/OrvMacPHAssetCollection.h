#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

// PHAssetCollection as OrvPhotoKit::AssetCollection. The interface's types and
// subtypes carry PhotoKit's values.
class OrvMacPHAssetCollection : public OrvPhotoKit::AssetCollection
{
public:
    explicit OrvMacPHAssetCollection(PHAssetCollection* collection) : myCollection(collection) {}

    PHAssetCollection* collection() const { return myCollection; }
    // The PHCollection behind a collection of this backend (an asset collection
    // or a collection list); nil for any other.
    static PHCollection* from(const OrvPhotoKit::CollectionPtr& collection);

    QString localIdentifier() const override;
    QString localizedTitle() const override;
    OrvPhotoKit::AssetCollectionType assetCollectionType() const override;
    OrvPhotoKit::AssetCollectionSubtype assetCollectionSubtype() const override;

private:
    PHAssetCollection* myCollection;
};
