#include "OrvPhotoKitSimLibrary.h"

#include "OrvPhotoKitSimAssetCollection.h"
#include "OrvPhotoKitSimChange.h"
#include "OrvPhotoKitSimCollectionList.h"
#include "OrvPhotoKitSimFetchEvaluation.h"
#include "OrvPhotoKitSimFetchResult.h"
#include "OrvPhotoKitSimImageManager.h"
#include "OrvPhotoKitSimResource.h"
#include "OrvPhotoKitSimState.h"

#include <QDebug>
#include <QSet>

#include <algorithm>

using namespace OrvPhotoKit;

namespace OrvPhotoKitSim {

Library::Library()
    : myState(std::make_shared<State>()),
      myStatus(int(AuthorizationStatus::NotDetermined)),
      myAnswer(int(AuthorizationStatus::Authorized))
{
}

Library::~Library() = default;

std::shared_ptr<Library> Library::create()
{
    std::shared_ptr<Library> library(new Library());
    library->myImageManager = std::make_shared<SimImageManager>(library);
    return library;
}

ImageManagerPtr Library::defaultManager() { return myImageManager; }

std::shared_ptr<const SimAsset> Library::currentAsset(const QString& localIdentifier) const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myState->asset(localIdentifier);
}

void Library::setAuthorizationStatus(AuthorizationStatus status) { myStatus.store(int(status)); }
void Library::setAuthorizationAnswer(AuthorizationStatus answer) { myAnswer.store(int(answer)); }
AuthorizationStatus Library::authorizationStatus() const { return AuthorizationStatus(myStatus.load()); }

void Library::requestAuthorization(std::function<void(AuthorizationStatus)> handler)
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

void Library::registerChangeObserver(const std::weak_ptr<PhotoLibraryChangeObserver>& observer)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myObservers.push_back(observer);
}

void Library::unregisterChangeObserver(const PhotoLibraryChangeObserver* observer)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myObservers.erase(std::remove_if(myObservers.begin(), myObservers.end(),
                                     [observer](const std::weak_ptr<PhotoLibraryChangeObserver>& entry) {
                                         const auto locked = entry.lock();
                                         return !locked || locked.get() == observer;
                                     }),
                      myObservers.end());
}

int Library::assetCount() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return int(myState->assets.size());
}

QString Library::resourceFilePath(const AssetResourcePtr& resource)
{
    const auto* sim = dynamic_cast<const SimResource*>(resource.get());
    return sim ? sim->spec().filePath : QString();
}

void Library::edit(const std::function<void(State&)>& apply)
{
    bool commitNow = false;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        if (!myPending)
            myPending = std::make_shared<State>(*myState);
        apply(*myPending);
        commitNow = myBatchDepth == 0;
    }
    if (commitNow)
        commit(true);
}

void Library::performChanges(const std::function<void()>& edits, bool incremental)
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        ++myBatchDepth;
    }
    edits();
    bool last = false;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        last = --myBatchDepth == 0;
    }
    if (last)
        commit(incremental);
}

void Library::commit(bool incremental)
{
    std::vector<std::weak_ptr<PhotoLibraryChangeObserver>> observers;
    std::shared_ptr<const State> after;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        if (!myPending)
            return;
        myState = myPending;
        myPending.reset();
        after = myState;
        observers = myObservers;
    }
    if (observers.empty())
        return;
    const ChangePtr change = std::make_shared<SimChange>(after, incremental);
    for (const auto& observer : observers) {
        myQueue.post([observer, change] {
            if (const auto locked = observer.lock())
                locked->photoLibraryDidChange(change);
        });
    }
}

void Library::addAsset(const AssetSpec& asset, const QStringList& albums)
{
    if (asset.localIdentifier.isEmpty())
        return;
    edit([&](State& state) {
        auto object = std::make_shared<const SimAsset>(asset);
        const auto it = state.assetIndex.constFind(asset.localIdentifier);
        if (it != state.assetIndex.cend()) {
            state.assets[size_t(*it)] = object;
        } else {
            state.assetIndex.insert(asset.localIdentifier, qsizetype(state.assets.size()));
            state.assets.push_back(object);
        }
        for (const QString& album : albums) {
            if (state.collectionIndex.contains(album) && !state.albumAssets[album].contains(asset.localIdentifier))
                state.albumAssets[album].append(asset.localIdentifier);
        }
    });
}

void Library::updateAsset(const AssetSpec& asset)
{
    edit([&](State& state) {
        const auto it = state.assetIndex.constFind(asset.localIdentifier);
        if (it != state.assetIndex.cend())
            state.assets[size_t(*it)] = std::make_shared<const SimAsset>(asset);
    });
}

void Library::setFavorite(const QString& assetId, bool favorite)
{
    edit([&](State& state) {
        const auto it = state.assetIndex.constFind(assetId);
        if (it == state.assetIndex.cend())
            return;
        AssetSpec spec = state.assets[size_t(*it)]->spec();
        spec.favorite = favorite;
        state.assets[size_t(*it)] = std::make_shared<const SimAsset>(spec);
    });
}

void Library::removeAsset(const QString& assetId)
{
    edit([&](State& state) {
        const auto it = state.assetIndex.constFind(assetId);
        if (it == state.assetIndex.cend())
            return;
        state.assets.erase(state.assets.begin() + *it);
        state.reindexAssets();
        for (QStringList& members : state.albumAssets)
            members.removeAll(assetId);
    });
}

void Library::addCollection(const CollectionSpec& collection)
{
    if (collection.localIdentifier.isEmpty())
        return;
    edit([&](State& state) {
        ObjectPtr object;
        if (collection.kind == CollectionKind::Folder)
            object = std::make_shared<const SimCollectionList>(collection.localIdentifier, collection.title);
        else
            object = std::make_shared<const SimAssetCollection>(collection.localIdentifier, collection.title,
                                                                collection.kind, collection.smartSubtype);
        if (state.collectionIndex.contains(collection.localIdentifier)) {
            state.replaceCollection(object);
        } else {
            state.collectionIndex.insert(collection.localIdentifier, qsizetype(state.collections.size()));
            state.collections.push_back(object);
        }
        // Only user albums and folders live in folders.
        const bool nestable = collection.kind == CollectionKind::UserAlbum || collection.kind == CollectionKind::Folder;
        state.parentOf.insert(collection.localIdentifier, nestable ? collection.parentFolder : QString());
        if (collection.kind != CollectionKind::Folder)
            state.albumAssets.insert(collection.localIdentifier, collection.assets);
    });
}

void Library::removeCollection(const QString& collectionId)
{
    edit([&](State& state) {
        if (!state.collectionIndex.contains(collectionId))
            return;
        QSet<QString> doomed{collectionId};
        for (bool grew = true; grew;) {
            grew = false;
            for (auto it = state.parentOf.cbegin(); it != state.parentOf.cend(); ++it) {
                if (doomed.contains(it.value()) && !doomed.contains(it.key())) {
                    doomed.insert(it.key());
                    grew = true;
                }
            }
        }
        state.collections.erase(std::remove_if(state.collections.begin(), state.collections.end(),
                                               [&](const ObjectPtr& object) {
                                                   return doomed.contains(object->localIdentifier());
                                               }),
                                state.collections.end());
        for (const QString& id : doomed) {
            state.parentOf.remove(id);
            state.albumAssets.remove(id);
        }
        state.reindexCollections();
    });
}

void Library::renameCollection(const QString& collectionId, const QString& title)
{
    edit([&](State& state) {
        const ObjectPtr old = state.collection(collectionId);
        if (const auto* album = dynamic_cast<const SimAssetCollection*>(old.get()))
            state.replaceCollection(std::make_shared<const SimAssetCollection>(collectionId, title, album->collectionKind(),
                                                                               album->smartSubtype()));
        else if (old)
            state.replaceCollection(std::make_shared<const SimCollectionList>(collectionId, title));
    });
}

void Library::moveCollection(const QString& collectionId, const QString& folderId)
{
    edit([&](State& state) {
        if (!state.collectionIndex.contains(collectionId) || !isUserCollection(state.collection(collectionId)))
            return;
        if (!folderId.isEmpty() && !asCollectionList(state.collection(folderId)))
            return;
        // A folder cannot move into itself or below itself.
        for (QString up = folderId; !up.isEmpty(); up = state.parentOf.value(up)) {
            if (up == collectionId)
                return;
        }
        state.parentOf.insert(collectionId, folderId);
    });
}

void Library::addAssetsToAlbum(const QString& albumId, const QStringList& assetIds)
{
    edit([&](State& state) {
        if (!state.albumAssets.contains(albumId))
            return;
        QStringList& members = state.albumAssets[albumId];
        for (const QString& id : assetIds) {
            if (state.assetIndex.contains(id) && !members.contains(id))
                members.append(id);
        }
    });
}

void Library::removeAssetsFromAlbum(const QString& albumId, const QStringList& assetIds)
{
    edit([&](State& state) {
        if (!state.albumAssets.contains(albumId))
            return;
        QStringList& members = state.albumAssets[albumId];
        for (const QString& id : assetIds)
            members.removeAll(id);
    });
}

FetchResultPtr Library::fetch(Query query)
{
    std::shared_ptr<const State> state;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        state = myState;
    }
    std::vector<ObjectPtr> objects = query(*state);
    return std::make_shared<SimFetchResult>(std::move(query), std::move(objects));
}

FetchResultPtr Library::fetchAssetsWithOptions(const FetchOptions* options)
{
    return fetch([options = copyOptions(options)](const State& state) {
        return applyOptions(std::vector<ObjectPtr>(state.assets.begin(), state.assets.end()), options, librarySourceTypes);
    });
}

FetchResultPtr Library::fetchAssetsWithLocalIdentifiers(const QStringList& identifiers, const FetchOptions* options)
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

FetchResultPtr Library::fetchAssetsInAssetCollection(const AssetCollectionPtr& collection, const FetchOptions* options)
{
    const QString id = collection ? collection->localIdentifier() : QString();
    return fetch([id, options = copyOptions(options)](const State& state) {
        const auto* album = dynamic_cast<const SimAssetCollection*>(state.collection(id).get());
        return album ? applyOptions(assetsOfAlbum(state, *album), options, allSourceTypes) : std::vector<ObjectPtr>();
    });
}

FetchResultPtr Library::fetchAssetCollectionsWithType(AssetCollectionType type, AssetCollectionSubtype subtype,
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

FetchResultPtr Library::fetchAssetCollectionsWithLocalIdentifiers(const QStringList& identifiers,
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

FetchResultPtr Library::fetchCollectionListsWithType(CollectionListType type, CollectionListSubtype subtype,
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

FetchResultPtr Library::fetchCollectionListsContainingCollection(const CollectionPtr& collection,
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

FetchResultPtr Library::fetchCollectionsInCollectionList(const CollectionListPtr& list, const FetchOptions* options)
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

FetchResultPtr Library::fetchTopLevelUserCollectionsWithOptions(const FetchOptions* options)
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

QList<AssetResourcePtr> Library::assetResourcesForAsset(const AssetPtr& asset)
{
    QList<AssetResourcePtr> result;
    if (!asset)
        return result;
    std::shared_ptr<const SimAsset> current;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        current = myState->asset(asset->localIdentifier());
    }
    const auto* sim = current ? current.get() : dynamic_cast<const SimAsset*>(asset.get());
    if (!sim)
        return result;
    for (const ResourceSpec& resource : sim->spec().resources)
        result.append(std::make_shared<const SimResource>(resource));
    return result;
}

// ---------------------------------------------------------------- shared library

namespace {

std::mutex sharedMutex;
std::shared_ptr<Library> sharedInstance;

} // namespace

void install() { OrvPhotoKit::setSharedPhotoLibraryProvider([] { return OrvPhotoKit::PhotoLibraryPtr(sharedLibrary()); }); }

void setSharedLibrary(std::shared_ptr<Library> library)
{
    std::lock_guard<std::mutex> lock(sharedMutex);
    sharedInstance = std::move(library);
}

std::shared_ptr<Library> sharedLibrary()
{
    std::lock_guard<std::mutex> lock(sharedMutex);
    if (!sharedInstance) {
        const QString path = qEnvironmentVariable("ORV_PHOTOS_LIBRARY");
        if (!path.isEmpty()) {
            QString error;
            sharedInstance = Library::loadDescription(path, &error);
            if (!sharedInstance)
                qDebug() << "PhotoKit simulation: cannot load" << path << ":" << error;
        }
        if (!sharedInstance)
            sharedInstance = Library::create();
    }
    return sharedInstance;
}

} // namespace OrvPhotoKitSim
