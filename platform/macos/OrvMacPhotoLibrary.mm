#include "OrvMacPhotoLibrary.h"

#include "OrvMacFoundation.h"
#include "OrvMacPHAsset.h"
#include "OrvMacPHAssetCollection.h"
#include "OrvMacPHAssetResource.h"
#include "OrvMacPHChangeObserver.h"
#include "OrvMacPHCollectionList.h"
#include "OrvMacPHFetchResult.h"
#include "OrvMacPHImageManager.h"

#include <QDebug>

using namespace OrvPhotoKit;

namespace {

// nil stands for PhotoKit's default options. The interface's source-type bits are PhotoKit's.
API_AVAILABLE(macos(10.15))
PHFetchOptions* fetchOptions(const FetchOptions* options)
{
    if (!options)
        return nil;
    PHFetchOptions* result = [[PHFetchOptions alloc] init];
    if (options->predicate) {
        result.predicate = [NSPredicate predicateWithFormat:options->predicate->format.toNSString()
                                              argumentArray:OrvMacFoundation::array(options->predicate->arguments)];
    }
    if (!options->sortDescriptors.isEmpty()) {
        NSMutableArray<NSSortDescriptor*>* sorts = [NSMutableArray array];
        for (const SortDescriptor& sort : options->sortDescriptors)
            [sorts addObject:[[NSSortDescriptor alloc] initWithKey:sort.key.toNSString() ascending:sort.ascending]];
        result.sortDescriptors = sorts;
    }
    if (options->includeAssetSourceTypes != AssetSourceTypeNone)
        result.includeAssetSourceTypes = PHAssetSourceType(options->includeAssetSourceTypes);
    return result;
}

// PhotoKit and NSPredicate raise for what they cannot read: that fetch finds nothing.
API_AVAILABLE(macos(10.15))
FetchResultPtr fetched(const char* what, const FetchOptions* options, PHFetchResult* (^fetch)(PHFetchOptions*))
{
    @autoreleasepool {
        PHFetchResult* result = nil;
        @try {
            result = fetch(fetchOptions(options));
        } @catch (NSException* exception) {
            qDebug().noquote() << "PhotoKit:" << what << "refused:" << OrvMacFoundation::string(exception.reason);
            result = nil;
        }
        return std::make_shared<OrvMacPHFetchResult>(result);
    }
}

} // namespace

OrvMacPhotoLibrary::OrvMacPhotoLibrary()
    : myLibrary([PHPhotoLibrary sharedPhotoLibrary]), myManager(std::make_shared<OrvMacPHImageManager>())
{
}

OrvMacPhotoLibrary::~OrvMacPhotoLibrary()
{
    std::lock_guard<std::mutex> lock(myMutex);
    for (const auto& [observer, photoKitObserver] : myObservers)
        [myLibrary unregisterChangeObserver:photoKitObserver];
}

AuthorizationStatus OrvMacPhotoLibrary::status(PHAuthorizationStatus status)
{
    // The interface's statuses are PhotoKit's; a newer one (limited access) stays as it is, unknown to the plug-in.
    return AuthorizationStatus(int(status));
}

AuthorizationStatus OrvMacPhotoLibrary::authorizationStatus() const
{
    if (@available(macOS 11.0, *))
        return status([PHPhotoLibrary authorizationStatusForAccessLevel:PHAccessLevelReadWrite]);
    ORV_MAC_OLDER_SYSTEMS(return status([PHPhotoLibrary authorizationStatus]);)
}

void OrvMacPhotoLibrary::requestAuthorization(std::function<void(AuthorizationStatus)> handler)
{
    void (^answer)(PHAuthorizationStatus) = ^(PHAuthorizationStatus granted) {
        OrvMacFoundation::offMainThread(^{
            handler(status(granted));
        });
    };
    if (@available(macOS 11.0, *))
        [PHPhotoLibrary requestAuthorizationForAccessLevel:PHAccessLevelReadWrite handler:answer];
    else
        [PHPhotoLibrary requestAuthorization:answer];
}

void OrvMacPhotoLibrary::registerChangeObserver(const std::weak_ptr<PhotoLibraryChangeObserver>& observer)
{
    const auto locked = observer.lock();
    if (!locked)
        return;
    OrvMacPHChangeObserver* photoKitObserver = [[OrvMacPHChangeObserver alloc] initWithObserver:observer];
    id replaced = nil;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        __strong id& slot = myObservers[locked.get()];
        replaced = slot;
        slot = photoKitObserver;
    }
    if (replaced)
        [myLibrary unregisterChangeObserver:replaced];
    [myLibrary registerChangeObserver:photoKitObserver];
}

void OrvMacPhotoLibrary::unregisterChangeObserver(const PhotoLibraryChangeObserver* observer)
{
    id photoKitObserver = nil;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        const auto it = myObservers.find(observer);
        if (it == myObservers.end())
            return;
        photoKitObserver = it->second;
        myObservers.erase(it);
    }
    [myLibrary unregisterChangeObserver:photoKitObserver];
}

FetchResultPtr OrvMacPhotoLibrary::fetchAssetsWithOptions(const FetchOptions* options)
{
    return fetched("assets", options, ^(PHFetchOptions* phOptions) {
        return static_cast<PHFetchResult*>([PHAsset fetchAssetsWithOptions:phOptions]);
    });
}

FetchResultPtr OrvMacPhotoLibrary::fetchAssetsWithLocalIdentifiers(const QStringList& identifiers,
                                                                   const FetchOptions* options)
{
    NSArray<NSString*>* localIdentifiers = OrvMacFoundation::array(identifiers);
    return fetched("assets by identifier", options, ^(PHFetchOptions* phOptions) {
        return static_cast<PHFetchResult*>([PHAsset fetchAssetsWithLocalIdentifiers:localIdentifiers options:phOptions]);
    });
}

FetchResultPtr OrvMacPhotoLibrary::fetchAssetsInAssetCollection(const AssetCollectionPtr& collection,
                                                                const FetchOptions* options)
{
    const auto mine = std::dynamic_pointer_cast<const OrvMacPHAssetCollection>(collection);
    PHAssetCollection* phCollection = mine ? mine->collection() : nil;
    if (!phCollection)
        return std::make_shared<OrvMacPHFetchResult>(nil);
    return fetched("assets in a collection", options, ^(PHFetchOptions* phOptions) {
        return static_cast<PHFetchResult*>([PHAsset fetchAssetsInAssetCollection:phCollection options:phOptions]);
    });
}

FetchResultPtr OrvMacPhotoLibrary::fetchAssetCollectionsWithType(AssetCollectionType type, AssetCollectionSubtype subtype,
                                                                 const FetchOptions* options)
{
    // The interface's types and subtypes are PhotoKit's values.
    const auto phType = PHAssetCollectionType(int(type));
    const auto phSubtype = PHAssetCollectionSubtype(int(subtype));
    return fetched("asset collections", options, ^(PHFetchOptions* phOptions) {
        return static_cast<PHFetchResult*>([PHAssetCollection fetchAssetCollectionsWithType:phType
                                                                                    subtype:phSubtype
                                                                                    options:phOptions]);
    });
}

FetchResultPtr OrvMacPhotoLibrary::fetchAssetCollectionsWithLocalIdentifiers(const QStringList& identifiers,
                                                                             const FetchOptions* options)
{
    NSArray<NSString*>* localIdentifiers = OrvMacFoundation::array(identifiers);
    return fetched("asset collections by identifier", options, ^(PHFetchOptions* phOptions) {
        return static_cast<PHFetchResult*>([PHAssetCollection fetchAssetCollectionsWithLocalIdentifiers:localIdentifiers
                                                                                                options:phOptions]);
    });
}

FetchResultPtr OrvMacPhotoLibrary::fetchCollectionListsWithType(CollectionListType type, CollectionListSubtype subtype,
                                                                const FetchOptions* options)
{
    const auto phType = PHCollectionListType(int(type));
    const auto phSubtype = PHCollectionListSubtype(int(subtype));
    return fetched("collection lists", options, ^(PHFetchOptions* phOptions) {
        return static_cast<PHFetchResult*>([PHCollectionList fetchCollectionListsWithType:phType
                                                                                 subtype:phSubtype
                                                                                 options:phOptions]);
    });
}

FetchResultPtr OrvMacPhotoLibrary::fetchCollectionListsContainingCollection(const CollectionPtr& collection,
                                                                            const FetchOptions* options)
{
    PHCollection* phCollection = OrvMacPHAssetCollection::from(collection);
    if (!phCollection)
        return std::make_shared<OrvMacPHFetchResult>(nil);
    return fetched("collection lists containing a collection", options, ^(PHFetchOptions* phOptions) {
        return static_cast<PHFetchResult*>([PHCollectionList fetchCollectionListsContainingCollection:phCollection
                                                                                              options:phOptions]);
    });
}

FetchResultPtr OrvMacPhotoLibrary::fetchCollectionsInCollectionList(const CollectionListPtr& list,
                                                                    const FetchOptions* options)
{
    PHCollectionList* phList = OrvMacPHCollectionList::from(list);
    if (!phList)
        return std::make_shared<OrvMacPHFetchResult>(nil);
    return fetched("collections in a list", options, ^(PHFetchOptions* phOptions) {
        return static_cast<PHFetchResult*>([PHCollection fetchCollectionsInCollectionList:phList options:phOptions]);
    });
}

FetchResultPtr OrvMacPhotoLibrary::fetchTopLevelUserCollectionsWithOptions(const FetchOptions* options)
{
    return fetched("top-level collections", options, ^(PHFetchOptions* phOptions) {
        return static_cast<PHFetchResult*>([PHCollection fetchTopLevelUserCollectionsWithOptions:phOptions]);
    });
}

QList<AssetResourcePtr> OrvMacPhotoLibrary::assetResourcesForAsset(const AssetPtr& asset)
{
    @autoreleasepool {
        QList<AssetResourcePtr> resources;
        PHAsset* phAsset = OrvMacPHAsset::from(asset);
        if (!phAsset)
            return resources;
        for (PHAssetResource* resource in [PHAssetResource assetResourcesForAsset:phAsset])
            resources.append(std::make_shared<OrvMacPHAssetResource>(resource));
        return resources;
    }
}

ImageManagerPtr OrvMacPhotoLibrary::defaultManager()
{
    return myManager;
}
