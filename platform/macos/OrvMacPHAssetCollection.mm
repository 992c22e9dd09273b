#include "OrvMacPHAssetCollection.h"

#include "OrvMacFoundation.h"
#include "OrvMacPHCollectionList.h"

PHCollection* OrvMacPHAssetCollection::from(const OrvPhotoKit::CollectionPtr& collection)
{
    if (const auto assets = std::dynamic_pointer_cast<const OrvMacPHAssetCollection>(collection))
        return assets->myCollection;
    if (const auto list = std::dynamic_pointer_cast<const OrvMacPHCollectionList>(collection))
        return list->list();
    return nil;
}

QString OrvMacPHAssetCollection::localIdentifier() const
{
    return OrvMacFoundation::string(myCollection.localIdentifier);
}

QString OrvMacPHAssetCollection::localizedTitle() const
{
    return OrvMacFoundation::string(myCollection.localizedTitle);
}

OrvPhotoKit::AssetCollectionType OrvMacPHAssetCollection::assetCollectionType() const
{
    return OrvPhotoKit::AssetCollectionType(int(myCollection.assetCollectionType));
}

OrvPhotoKit::AssetCollectionSubtype OrvMacPHAssetCollection::assetCollectionSubtype() const
{
    return OrvPhotoKit::AssetCollectionSubtype(int(myCollection.assetCollectionSubtype));
}
