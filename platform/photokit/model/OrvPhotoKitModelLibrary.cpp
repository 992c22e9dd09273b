#include "OrvPhotoKitModelLibrary.h"

#include "OrvPhotoKitModelAssetCollection.h"
#include "OrvPhotoKitModelChange.h"
#include "OrvPhotoKitModelFetchEvaluation.h"
#include "OrvPhotoKitModelFetchResult.h"
#include "OrvPhotoKitModelState.h"

#include <algorithm>

using namespace OrvPhotoKit;

namespace OrvPhotoKitModel {

ModelLibrary::ModelLibrary(AuthorizationStatus status, AuthorizationStatus answer)
    : myState(std::make_shared<State>()), myStatus(int(status)), myAnswer(int(answer))
{
}

ModelLibrary::~ModelLibrary() = default;

std::shared_ptr<const State> ModelLibrary::state() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myState;
}

void ModelLibrary::setAuthorizationStatus(AuthorizationStatus status) { myStatus.store(int(status)); }
void ModelLibrary::setAuthorizationAnswer(AuthorizationStatus answer) { myAnswer.store(int(answer)); }
AuthorizationStatus ModelLibrary::authorizationStatus() const { return AuthorizationStatus(myStatus.load()); }

void ModelLibrary::requestAuthorization(std::function<void(AuthorizationStatus)> handler)
{
    ++myRequests;
    myQueue.post([this, handler = std::move(handler)] {
        // Only an undetermined status asks the user; later requests get the answer given.
        int expected = int(AuthorizationStatus::NotDetermined);
        myStatus.compare_exchange_strong(expected, myAnswer.load());
        if (handler)
            handler(authorizationStatus());
    });
}

void ModelLibrary::registerChangeObserver(const std::weak_ptr<PhotoLibraryChangeObserver>& observer)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myObservers.push_back(observer);
}

void ModelLibrary::unregisterChangeObserver(const PhotoLibraryChangeObserver* observer)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myObservers.erase(std::remove_if(myObservers.begin(), myObservers.end(),
                                     [observer](const std::weak_ptr<PhotoLibraryChangeObserver>& entry) {
                                         const auto locked = entry.lock();
                                         return !locked || locked.get() == observer;
                                     }),
                      myObservers.end());
}

void ModelLibrary::publish(std::shared_ptr<State> after, bool incremental, const QSet<QString>* touchedAssets)
{
    std::vector<std::weak_ptr<PhotoLibraryChangeObserver>> observers;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        after->version = ++myVersion;
        myState = after;
        observers = myObservers;
    }
    if (observers.empty())
        return;
    const ChangePtr change = std::make_shared<ModelChange>(
        std::move(after), incremental, touchedAssets ? std::optional<QSet<QString>>(*touchedAssets) : std::nullopt);
    for (const auto& observer : observers) {
        myQueue.post([observer, change] {
            if (const auto locked = observer.lock())
                locked->photoLibraryDidChange(change);
        });
    }
}

FetchResultPtr ModelLibrary::fetch(Query query, std::optional<Selection> selection)
{
    const std::shared_ptr<const State> current = state();
    std::vector<ObjectPtr> objects = query(*current);
    return std::make_shared<ModelFetchResult>(std::move(query), std::move(objects), current->version, std::move(selection));
}

FetchResultPtr ModelLibrary::fetchAssetsWithOptions(const FetchOptions* options)
{
    const std::optional<FetchOptions> copied = copyOptions(options);
    return fetch(
        [copied](const State& state) {
            return applyOptions(std::vector<ObjectPtr>(state.assets.begin(), state.assets.end()), copied, librarySourceTypes);
        },
        Selection{optionFilter(copied, librarySourceTypes), copied ? copied->sortDescriptors : SortDescriptors()});
}

FetchResultPtr ModelLibrary::fetchAssetsWithLocalIdentifiers(const QStringList& identifiers, const FetchOptions* options)
{
    return fetch([identifiers, options = copyOptions(options)](const State& state) {
        std::vector<ObjectPtr> candidates;
        for (const QString& id : identifiers) {
            if (auto asset = state.asset(id))
                candidates.push_back(std::move(asset));
        }
        return applyOptions(std::move(candidates), options, allSourceTypes);
    });
}

FetchResultPtr ModelLibrary::fetchAssetsInAssetCollection(const AssetCollectionPtr& collection, const FetchOptions* options)
{
    const QString id = collection ? collection->localIdentifier() : QString();
    const std::optional<FetchOptions> copied = copyOptions(options);
    // The favourites are a selection of the library's assets; other albums are lists of their own.
    std::optional<Selection> selection;
    const auto* current = dynamic_cast<const ModelAssetCollection*>(state()->collection(id).get());
    if (current && isFavoritesAlbum(*current)) {
        selection = Selection{[filter = optionFilter(copied, allSourceTypes)](const ObjectPtr& object) {
                                  const auto asset = asAsset(object);
                                  return asset && asset->isFavorite() && filter(object);
                              },
                              copied ? copied->sortDescriptors : SortDescriptors()};
    }
    return fetch(
        [id, copied](const State& state) {
            const auto* album = dynamic_cast<const ModelAssetCollection*>(state.collection(id).get());
            return album ? applyOptions(assetsOfAlbum(state, *album), copied, allSourceTypes) : std::vector<ObjectPtr>();
        },
        std::move(selection));
}

FetchResultPtr ModelLibrary::fetchAssetCollectionsWithType(AssetCollectionType type, AssetCollectionSubtype subtype,
                                                           const FetchOptions* options)
{
    return fetch([type, subtype, options = copyOptions(options)](const State& state) {
        std::vector<ObjectPtr> candidates;
        for (const ObjectPtr& object : state.collections) {
            const auto album = asAssetCollection(object);
            if (album && album->assetCollectionType() == type
                && (subtype == AssetCollectionSubtype::Any || album->assetCollectionSubtype() == subtype))
                candidates.push_back(object);
        }
        return applyOptions(std::move(candidates), options, allSourceTypes);
    });
}

FetchResultPtr ModelLibrary::fetchAssetCollectionsWithLocalIdentifiers(const QStringList& identifiers,
                                                                       const FetchOptions* options)
{
    return fetch([identifiers, options = copyOptions(options)](const State& state) {
        std::vector<ObjectPtr> candidates;
        for (const QString& id : identifiers) {
            if (auto album = asAssetCollection(state.collection(id)))
                candidates.push_back(std::move(album));
        }
        return applyOptions(std::move(candidates), options, allSourceTypes);
    });
}

FetchResultPtr ModelLibrary::fetchCollectionListsWithType(CollectionListType type, CollectionListSubtype subtype,
                                                          const FetchOptions* options)
{
    return fetch([type, subtype, options = copyOptions(options)](const State& state) {
        std::vector<ObjectPtr> candidates;
        const bool wanted = type == CollectionListType::Folder
            && (subtype == CollectionListSubtype::Any || subtype == CollectionListSubtype::RegularFolder);
        for (const ObjectPtr& object : state.collections) {
            if (wanted && object->kind() == ObjectKind::CollectionList)
                candidates.push_back(object);
        }
        return applyOptions(std::move(candidates), options, allSourceTypes);
    });
}

FetchResultPtr ModelLibrary::fetchCollectionListsContainingCollection(const CollectionPtr& collection,
                                                                      const FetchOptions* options)
{
    const QString id = collection ? collection->localIdentifier() : QString();
    return fetch([id, options = copyOptions(options)](const State& state) {
        std::vector<ObjectPtr> candidates;
        const QString parent = state.parentOf.value(id);
        if (!parent.isEmpty()) {
            if (auto list = asCollectionList(state.collection(parent)))
                candidates.push_back(std::move(list));
        }
        return applyOptions(std::move(candidates), options, allSourceTypes);
    });
}

FetchResultPtr ModelLibrary::fetchCollectionsInCollectionList(const CollectionListPtr& list, const FetchOptions* options)
{
    const QString id = list ? list->localIdentifier() : QString();
    return fetch([id, options = copyOptions(options)](const State& state) {
        std::vector<ObjectPtr> candidates;
        if (!id.isEmpty() && state.collectionIndex.contains(id)) {
            for (const ObjectPtr& object : state.collections) {
                if (isUserCollection(object) && state.parentOf.value(object->localIdentifier()) == id)
                    candidates.push_back(object);
            }
        }
        return applyOptions(std::move(candidates), options, allSourceTypes);
    });
}

FetchResultPtr ModelLibrary::fetchTopLevelUserCollectionsWithOptions(const FetchOptions* options)
{
    return fetch([options = copyOptions(options)](const State& state) {
        std::vector<ObjectPtr> candidates;
        for (const ObjectPtr& object : state.collections) {
            if (isUserCollection(object) && state.parentOf.value(object->localIdentifier()).isEmpty())
                candidates.push_back(object);
        }
        return applyOptions(std::move(candidates), options, allSourceTypes);
    });
}

} // namespace OrvPhotoKitModel
