#include "OrvPhotoKit.h"

#ifndef __APPLE__
#include "OrvPhotoKitSimLibrary.h"
#endif

namespace OrvPhotoKit {

Object::~Object() = default;
ObjectEnumeration::~ObjectEnumeration() = default;
FetchResultChangeDetails::~FetchResultChangeDetails() = default;
Change::~Change() = default;
PhotoLibraryChangeObserver::~PhotoLibraryChangeObserver() = default;
AssetResource::~AssetResource() = default;
ImageManager::~ImageManager() = default;
PhotoLibrary::~PhotoLibrary() = default;

ObjectPtr ObjectArray::objectAtIndex(qsizetype index) const
{
    if (index < 0 || index >= count())
        return {};
    return myObjects[size_t(index)];
}

AssetPtr asAsset(const ObjectPtr& object)
{
    return object && object->kind() == ObjectKind::Asset ? std::static_pointer_cast<const Asset>(object) : AssetPtr();
}

AssetCollectionPtr asAssetCollection(const ObjectPtr& object)
{
    return object && object->kind() == ObjectKind::AssetCollection ? std::static_pointer_cast<const AssetCollection>(object)
                                                                   : AssetCollectionPtr();
}

CollectionListPtr asCollectionList(const ObjectPtr& object)
{
    return object && object->kind() == ObjectKind::CollectionList ? std::static_pointer_cast<const CollectionList>(object)
                                                                  : CollectionListPtr();
}

CollectionPtr asCollection(const ObjectPtr& object)
{
    if (const auto collection = asAssetCollection(object))
        return collection;
    if (const auto list = asCollectionList(object))
        return list;
    return {};
}

PhotoLibraryPtr sharedPhotoLibrary()
{
#ifndef __APPLE__
    // No Photos framework here: the simulated library stands in for it.
    return OrvPhotoKitSim::sharedLibrary();
#else
#error "the macOS PhotoKit adapter is not part of this build yet"
#endif
}

} // namespace OrvPhotoKit
