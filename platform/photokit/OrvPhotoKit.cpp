#include "OrvPhotoKit.h"

#include <QDebug>

#include <atomic>
#include <mutex>

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

std::mutex providerMutex;
PhotoLibraryProvider& provider()
{
    static PhotoLibraryProvider installed;
    return installed;
}

} // namespace

void setSharedPhotoLibraryProvider(PhotoLibraryProvider newProvider)
{
    std::lock_guard<std::mutex> lock(providerMutex);
    provider() = std::move(newProvider);
}

PhotoLibraryPtr sharedPhotoLibrary()
{
    PhotoLibraryProvider current;
    {
        std::lock_guard<std::mutex> lock(providerMutex);
        current = provider();
    }
    // Called outside the lock: a backend may take its time to make its library.
    if (current)
        return current();
    static std::atomic<bool> told{false};
    if (!told.exchange(true))
        qDebug() << "PhotoKit: no backend installed";
    return {};
}

} // namespace OrvPhotoKit
