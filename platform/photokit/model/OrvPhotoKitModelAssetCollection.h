#pragma once

// A PHAssetCollection of a library model: a user, smart or shared album.

#include "OrvPhotoKit.h"
#include "OrvPhotoKitModelCollectionKind.h"

namespace OrvPhotoKitModel {

class ModelAssetCollection : public OrvPhotoKit::AssetCollection
{
public:
    ModelAssetCollection(const QString& id, const QString& title, CollectionKind kind,
                         OrvPhotoKit::AssetCollectionSubtype smartSubtype)
        : myId(id), myTitle(title), myKind(kind), mySmartSubtype(smartSubtype)
    {
    }
    QString localIdentifier() const override { return myId; }
    QString localizedTitle() const override { return myTitle; }
    OrvPhotoKit::AssetCollectionType assetCollectionType() const override
    {
        return myKind == CollectionKind::SmartAlbum ? OrvPhotoKit::AssetCollectionType::SmartAlbum
                                                    : OrvPhotoKit::AssetCollectionType::Album;
    }
    OrvPhotoKit::AssetCollectionSubtype assetCollectionSubtype() const override
    {
        switch (myKind) {
        case CollectionKind::SmartAlbum:
            return mySmartSubtype;
        case CollectionKind::SharedAlbum:
            return OrvPhotoKit::AssetCollectionSubtype::AlbumCloudShared;
        default:
            return OrvPhotoKit::AssetCollectionSubtype::AlbumRegular;
        }
    }
    CollectionKind collectionKind() const { return myKind; }
    OrvPhotoKit::AssetCollectionSubtype smartSubtype() const { return mySmartSubtype; }

private:
    QString myId;
    QString myTitle;
    CollectionKind myKind;
    OrvPhotoKit::AssetCollectionSubtype mySmartSubtype;
};

} // namespace OrvPhotoKitModel
