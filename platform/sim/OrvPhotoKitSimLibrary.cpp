#include "OrvPhotoKitSimLibrary.h"

#include "OrvPhotoKitModelAssetCollection.h"
#include "OrvPhotoKitModelCollectionList.h"
#include "OrvPhotoKitModelFetchEvaluation.h"
#include "OrvPhotoKitModelState.h"
#include "OrvPhotoKitSimAsset.h"
#include "OrvPhotoKitSimImageManager.h"
#include "OrvPhotoKitSimResource.h"

#include <QDebug>
#include <QSet>

#include <algorithm>

using namespace OrvPhotoKit;
using OrvPhotoKitModel::ModelAssetCollection;
using OrvPhotoKitModel::ModelCollectionList;
using OrvPhotoKitModel::State;

namespace OrvPhotoKitSim {

Library::Library() : ModelLibrary(AuthorizationStatus::NotDetermined, AuthorizationStatus::Authorized) {}

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
    return std::static_pointer_cast<const SimAsset>(state()->asset(localIdentifier));
}

int Library::assetCount() const { return int(state()->assets.size()); }

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
            myPending = std::make_shared<State>(*state());
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
    // Under the lock, so that changes reach the observers in the order they were made.
    std::lock_guard<std::mutex> lock(myMutex);
    if (!myPending)
        return;
    std::shared_ptr<State> after = std::move(myPending);
    myPending.reset();
    publish(std::move(after), incremental);
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
        AssetSpec spec = static_cast<const SimAsset&>(*state.assets[size_t(*it)]).spec();
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
            object = std::make_shared<const ModelCollectionList>(collection.localIdentifier, collection.title);
        else
            object = std::make_shared<const ModelAssetCollection>(collection.localIdentifier, collection.title,
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
        if (const auto* album = dynamic_cast<const ModelAssetCollection*>(old.get()))
            state.replaceCollection(std::make_shared<const ModelAssetCollection>(collectionId, title, album->collectionKind(),
                                                                               album->smartSubtype()));
        else if (old)
            state.replaceCollection(std::make_shared<const ModelCollectionList>(collectionId, title));
    });
}

void Library::moveCollection(const QString& collectionId, const QString& folderId)
{
    edit([&](State& state) {
        if (!state.collectionIndex.contains(collectionId) || !OrvPhotoKitModel::isUserCollection(state.collection(collectionId)))
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

QList<AssetResourcePtr> Library::assetResourcesForAsset(const AssetPtr& asset)
{
    QList<AssetResourcePtr> result;
    if (!asset)
        return result;
    const std::shared_ptr<const SimAsset> current = currentAsset(asset->localIdentifier());
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
