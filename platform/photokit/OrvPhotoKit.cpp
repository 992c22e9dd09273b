#include "OrvPhotoKit.h"

#include "OrvBackendSlot.h"

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

namespace {

OrvBackendSlot<PhotoLibraryPtr>& backend()
{
    static OrvBackendSlot<PhotoLibraryPtr> slot("PhotoKit: no backend installed");
    return slot;
}

} // namespace

void setSharedPhotoLibraryProvider(PhotoLibraryProvider newProvider) { backend().set(std::move(newProvider)); }

PhotoLibraryPtr sharedPhotoLibrary() { return backend().get(); }

} // namespace OrvPhotoKit
