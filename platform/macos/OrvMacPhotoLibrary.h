#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

#include <map>
#include <mutex>

// PHPhotoLibrary and the class operations of PhotoKit's objects as
// OrvPhotoKit::PhotoLibrary, from macOS 10.15 on (where PhotoKit fetches).
// Authorization is asked for read and write from macOS 11 on, as a whole
// before. A fetch PhotoKit refuses (a predicate it cannot read, a key it does
// not support raise there) is an empty result and a debug line.
class API_AVAILABLE(macos(10.15)) OrvMacPhotoLibrary : public OrvPhotoKit::PhotoLibrary
{
public:
    OrvMacPhotoLibrary();
    ~OrvMacPhotoLibrary() override;

    OrvPhotoKit::AuthorizationStatus authorizationStatus() const override;
    // The handler runs off the main thread.
    void requestAuthorization(std::function<void(OrvPhotoKit::AuthorizationStatus)> handler) override;
    void registerChangeObserver(const std::weak_ptr<OrvPhotoKit::PhotoLibraryChangeObserver>& observer) override;
    void unregisterChangeObserver(const OrvPhotoKit::PhotoLibraryChangeObserver* observer) override;

    OrvPhotoKit::FetchResultPtr fetchAssetsWithOptions(const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchAssetsWithLocalIdentifiers(const QStringList& identifiers,
                                                                const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchAssetsInAssetCollection(const OrvPhotoKit::AssetCollectionPtr& collection,
                                                             const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchAssetCollectionsWithType(OrvPhotoKit::AssetCollectionType type,
                                                              OrvPhotoKit::AssetCollectionSubtype subtype,
                                                              const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchAssetCollectionsWithLocalIdentifiers(const QStringList& identifiers,
                                                                          const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchCollectionListsWithType(OrvPhotoKit::CollectionListType type,
                                                             OrvPhotoKit::CollectionListSubtype subtype,
                                                             const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchCollectionListsContainingCollection(const OrvPhotoKit::CollectionPtr& collection,
                                                                         const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchCollectionsInCollectionList(const OrvPhotoKit::CollectionListPtr& list,
                                                                 const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchTopLevelUserCollectionsWithOptions(const OrvPhotoKit::FetchOptions* options) override;

    QList<OrvPhotoKit::AssetResourcePtr> assetResourcesForAsset(const OrvPhotoKit::AssetPtr& asset) override;
    OrvPhotoKit::ImageManagerPtr defaultManager() override;

    static OrvPhotoKit::AuthorizationStatus status(PHAuthorizationStatus status);

private:
    PHPhotoLibrary* myLibrary;
    std::mutex myMutex;
    // The PhotoKit observer of each of the interface's observers.
    std::map<const OrvPhotoKit::PhotoLibraryChangeObserver*, id> myObservers;
    OrvPhotoKit::ImageManagerPtr myManager;
};
