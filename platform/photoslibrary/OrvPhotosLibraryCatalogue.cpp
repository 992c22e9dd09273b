#include "OrvPhotosLibraryCatalogue.h"

#include "OrvPhotoKitModelAssetCollection.h"
#include "OrvPhotoKitModelCollectionList.h"
#include "OrvPhotoKitModelState.h"

#include <QLocale>
#include <QSet>
#include <QUuid>

#include <algorithm>

using namespace OrvPhotoKit;
using OrvPhotoKitModel::CollectionKind;
using OrvPhotoKitModel::ModelAssetCollection;
using OrvPhotoKitModel::ModelCollectionList;
using OrvPhotoKitModel::State;

namespace OrvPhotosLibrary {

namespace {

QString albumIdentifier(const QString& uuid) { return uuid + QStringLiteral("/L0/040"); }
QString folderIdentifier(const QString& uuid) { return uuid + QStringLiteral("/L0/020"); }

// The favourites smart album is computed, not stored: its identifier is made
// from the store's, so that it stays the same from one run to the next.
QString favoritesIdentifier(const QString& storeUuid)
{
    static const QUuid space(QStringLiteral("{5d0c3c2e-8f4b-4b4e-9a57-3f1f2a3c6e01}"));
    const QUuid id = QUuid::createUuidV5(space, QStringLiteral("favorites:") + storeUuid);
    return albumIdentifier(id.toString(QUuid::WithoutBraces).toUpper());
}

// The title Photos gives the favourites album in the user's language.
QString favoritesTitle()
{
    switch (QLocale().language()) {
    case QLocale::German:
        return QStringLiteral("Favoriten");
    case QLocale::French:
        return QStringLiteral("Favoris");
    case QLocale::Spanish:
    case QLocale::Portuguese:
        return QStringLiteral("Favoritos");
    case QLocale::Italian:
        return QStringLiteral("Preferiti");
    case QLocale::Dutch:
        return QStringLiteral("Favorieten");
    default:
        return QStringLiteral("Favorites");
    }
}

const Asset& libraryAsset(const std::shared_ptr<const OrvPhotoKitModel::ModelAsset>& asset)
{
    return static_cast<const Asset&>(*asset);
}

} // namespace

Catalogue::Catalogue() : myState(std::make_shared<State>()) {}

const Asset* Catalogue::assetOfKey(qint64 key) const
{
    const auto& assets = myState->assets;
    const auto it = std::lower_bound(assets.cbegin(), assets.cend(), key,
                                     [](const auto& asset, qint64 wanted) { return libraryAsset(asset).primaryKey() < wanted; });
    return it != assets.cend() && libraryAsset(*it).primaryKey() == key ? &libraryAsset(*it) : nullptr;
}

qint64 Catalogue::primaryKeyOf(const QString& localIdentifier) const
{
    const auto asset = myState->asset(localIdentifier);
    return asset ? libraryAsset(asset).primaryKey() : 0;
}

std::optional<Catalogue> Catalogue::read(Reader& reader, const QString& storeUuid, QString* error)
{
    Catalogue catalogue;
    catalogue.myFavoritesId = favoritesIdentifier(storeUuid);
    State& state = *catalogue.myState;
    std::vector<std::shared_ptr<const Asset>> assets = reader.assets();
    state.assets.reserve(assets.size());
    state.assetIndex.reserve(qsizetype(assets.size()));
    for (auto& asset : assets) {
        if (state.assetIndex.contains(asset->localIdentifier()))
            continue;  // a second row with an identifier seen before
        state.assetIndex.insert(asset->localIdentifier(), qsizetype(state.assets.size()));
        state.assets.push_back(std::move(asset));
    }
    catalogue.setAlbums(reader.albums());
    catalogue.myMembers = reader.members(catalogue.myAlbums, nullptr, &state.assets);
    if (reader.failed()) {
        *error = QStringLiteral("database/Photos.sqlite cannot be read: ") + reader.error();
        return std::nullopt;
    }
    catalogue.buildCollections(reader, nullptr, nullptr);
    return catalogue;
}

std::optional<Catalogue> Catalogue::updated(Reader& reader, const Touched& touched, QString* error) const
{
    Catalogue next = *this;
    next.myState = std::make_shared<State>(*myState);
    next.myTouched.clear();
    State& state = *next.myState;

    // Assets: read again, added, replaced where they changed, or gone.
    QSet<qint64> gone(touched.deletedAssets.cbegin(), touched.deletedAssets.cend());
    QHash<qint64, std::shared_ptr<const Asset>> fresh;
    for (auto& asset : reader.assets(&touched.assets))
        fresh.insert(asset->primaryKey(), std::move(asset));
    for (qint64 key : touched.assets) {
        if (!fresh.contains(key))
            gone.insert(key);  // deleted, hidden or put in the trash
    }
    // Assets that came are appended (new rows have the highest keys); anything else sorts again.
    bool reorder = false;
    QSet<QString> stale;
    for (qint64 key : std::as_const(gone)) {
        if (const Asset* known = assetOfKey(key))
            next.myTouched.insert(known->localIdentifier());
    }
    for (auto it = fresh.cbegin(); it != fresh.cend(); ++it) {
        const QString id = it.value()->localIdentifier();
        next.myTouched.insert(id);
        const Asset* known = assetOfKey(it.key());
        if (known && known->localIdentifier() != id) {
            stale.insert(known->localIdentifier());
            next.myTouched.insert(known->localIdentifier());
        }
        const auto at = state.assetIndex.constFind(id);
        if (at != state.assetIndex.cend()) {
            if (!libraryAsset(state.assets[size_t(*at)]).sameAs(*it.value()))
                state.assets[size_t(*at)] = it.value();
        } else {
            reorder = reorder || (!state.assets.empty() && libraryAsset(state.assets.back()).primaryKey() > it.key());
            state.assetIndex.insert(id, qsizetype(state.assets.size()));
            state.assets.push_back(it.value());
        }
    }
    if (!gone.isEmpty() || !stale.isEmpty()) {
        const auto end = std::remove_if(state.assets.begin(), state.assets.end(), [&](const auto& asset) {
            const qint64 key = libraryAsset(asset).primaryKey();
            return (gone.contains(key) && !fresh.contains(key)) || stale.contains(asset->localIdentifier());
        });
        reorder = reorder || end != state.assets.end();
        state.assets.erase(end, state.assets.end());
    }
    if (reorder) {
        std::stable_sort(state.assets.begin(), state.assets.end(), [](const auto& a, const auto& b) {
            return libraryAsset(a).primaryKey() < libraryAsset(b).primaryKey();
        });
        state.reindexAssets();
    }

    // Albums: all rows again (there are few); contents of those that changed or list a touched asset.
    next.setAlbums(reader.albums());
    QSet<qint64> reread(touched.albums.cbegin(), touched.albums.cend());
    reread.unite(reader.albumsListing(touched.assets));
    for (auto it = next.myAlbums.cbegin(); it != next.myAlbums.cend(); ++it) {
        if (!myAlbums.contains(it.key()) || !(myAlbums.value(it.key()) == it.value()))
            reread.insert(it.key());
    }
    for (auto it = next.myMembers.begin(); it != next.myMembers.end();) {
        it = next.myAlbums.contains(it.key()) ? std::next(it) : next.myMembers.erase(it);
    }
    QList<qint64> rereadList;
    for (qint64 key : std::as_const(reread)) {
        if (next.myAlbums.contains(key))
            rereadList.append(key);
    }
    if (!rereadList.isEmpty()) {
        const QHash<qint64, QList<qint64>> members = reader.members(next.myAlbums, &rereadList);
        for (qint64 key : std::as_const(rereadList))
            next.myMembers.insert(key, members.value(key));
    }
    if (reader.failed()) {
        *error = QStringLiteral("database/Photos.sqlite cannot be read: ") + reader.error();
        return std::nullopt;
    }
    // Albums that lost an asset keep it listed: fetches skip assets the library no longer shows.
    const QSet<qint64> freshMembers(rereadList.cbegin(), rereadList.cend());
    next.buildCollections(reader, myState.get(), &freshMembers);
    return next;
}

void Catalogue::setAlbums(const std::vector<AlbumRow>& rows)
{
    myAlbums.clear();
    myAlbumOrder.clear();
    for (const AlbumRow& row : rows) {
        if (myAlbums.contains(row.primaryKey))
            continue;
        myAlbums.insert(row.primaryKey, row);
        myAlbumOrder.append(row.primaryKey);
    }
}

void Catalogue::buildCollections(Reader& reader, const State* previous, const QSet<qint64>* fresh)
{
    State& state = *myState;
    state.collections.clear();
    state.parentOf.clear();
    state.albumAssets.clear();
    myAssetKeys.clear();
    myAssetKeys.reserve(state.assets.size());
    for (const auto& asset : state.assets)
        myAssetKeys.push_back(libraryAsset(asset).primaryKey());

    const auto keep = [&](ObjectPtr made) {
        // The object of the last version when nothing about it changed.
        const ObjectPtr old = previous ? previous->collection(made->localIdentifier()) : nullptr;
        if (old && old->kind() == made->kind()) {
            const auto* a = dynamic_cast<const ModelAssetCollection*>(old.get());
            const auto* b = dynamic_cast<const ModelAssetCollection*>(made.get());
            const bool same = asCollection(old)->localizedTitle() == asCollection(made)->localizedTitle()
                && (!a || (b && a->collectionKind() == b->collectionKind() && a->smartSubtype() == b->smartSubtype()));
            if (same)
                made = old;
        }
        state.collections.push_back(made);
    };

    keep(std::make_shared<const ModelAssetCollection>(myFavoritesId, favoritesTitle(), CollectionKind::SmartAlbum,
                                                      AssetCollectionSubtype::SmartAlbumFavorites));
    state.parentOf.insert(myFavoritesId, QString());

    qint64 root = 0;
    QString projects;
    for (qint64 key : std::as_const(myAlbumOrder)) {
        const AlbumRow& row = myAlbums[key];
        if (row.kind == RootFolderKind && root == 0)
            root = key;
        else if (row.kind == ProjectsRootKind && projects.isEmpty())
            projects = folderIdentifier(row.uuid);
    }
    int loops = 0;
    for (qint64 key : std::as_const(myAlbumOrder)) {
        const AlbumRow& row = myAlbums[key];
        QString id;
        QString parent;
        switch (row.kind) {
        case UserAlbumKind:
        case FolderKind: {
            id = row.kind == FolderKind ? folderIdentifier(row.uuid) : albumIdentifier(row.uuid);
            // Up the folders to the root; a chain that comes back to itself is left out,
            // one whose folder is missing starts at the top.
            QSet<qint64> seen{key};
            bool looped = false;
            for (std::optional<qint64> up = row.parent; up && *up != root;) {
                const auto folder = myAlbums.constFind(*up);
                if (folder == myAlbums.cend() || folder->kind != FolderKind)
                    break;
                if (seen.contains(*up)) {
                    looped = true;
                    break;
                }
                seen.insert(*up);
                up = folder->parent;
            }
            if (looped) {
                ++loops;
                continue;
            }
            const auto folder = row.parent ? myAlbums.constFind(*row.parent) : myAlbums.cend();
            if (folder != myAlbums.cend() && folder->kind == FolderKind)
                parent = folderIdentifier(folder->uuid);
            if (row.kind == FolderKind) {
                keep(std::make_shared<const ModelCollectionList>(id, row.title));
                state.parentOf.insert(id, parent);
                continue;
            }
            keep(std::make_shared<const ModelAssetCollection>(id, row.title, CollectionKind::UserAlbum,
                                                              AssetCollectionSubtype::AlbumRegular));
            break;
        }
        case SharedAlbumKind:
            id = albumIdentifier(row.uuid);
            keep(std::make_shared<const ModelAssetCollection>(id, row.title, CollectionKind::SharedAlbum,
                                                              AssetCollectionSubtype::AlbumCloudShared));
            break;
        case ProjectAlbumKind:
            // Projects are found by identifier only: they hang below a root no fetch lists.
            id = albumIdentifier(row.uuid);
            parent = projects.isEmpty() ? QStringLiteral("projects") : projects;
            keep(std::make_shared<const ModelAssetCollection>(id, row.title, CollectionKind::UserAlbum,
                                                              AssetCollectionSubtype::AlbumRegular));
            break;
        default:
            continue;
        }
        state.parentOf.insert(id, parent);
        setMembers(key, id, previous, fresh);
    }
    if (loops > 0)
        reader.note(QStringLiteral("albums and folders in a loop of folders left out"), loops);
    state.reindexCollections();
    myAssetKeys = {};
}

void Catalogue::setMembers(qint64 album, const QString& id, const State* previous, const QSet<qint64>* fresh)
{
    if (previous && fresh && !fresh->contains(album)) {
        const auto it = previous->albumAssets.constFind(id);
        if (it != previous->albumAssets.cend()) {
            myState->albumAssets.insert(id, *it);
            return;
        }
    }
    QStringList ids;
    const QList<qint64> members = myMembers.value(album);
    ids.reserve(members.size());
    for (qint64 key : members) {
        // Looked up among the keys side by side, not asset by asset.
        const auto it = std::lower_bound(myAssetKeys.cbegin(), myAssetKeys.cend(), key);
        if (it != myAssetKeys.cend() && *it == key)
            ids.append(myState->assets[size_t(it - myAssetKeys.cbegin())]->localIdentifier());
    }
    myState->albumAssets.insert(id, ids);
}

void Catalogue::keepUnchanged(Reader& reader, const Catalogue& old)
{
    State& state = *myState;
    myTouched.clear();
    for (auto& asset : state.assets) {
        const auto before = old.myState->asset(asset->localIdentifier());
        if (before && libraryAsset(before).sameAs(libraryAsset(asset)))
            asset = before;
        else
            myTouched.insert(asset->localIdentifier());
    }
    for (const auto& asset : old.myState->assets) {
        if (!state.assetIndex.contains(asset->localIdentifier()))
            myTouched.insert(asset->localIdentifier());
    }
    buildCollections(reader, old.myState.get(), nullptr);
}

bool Catalogue::differsFrom(const Catalogue& old) const
{
    const State& a = *myState;
    const State& b = *old.myState;
    return a.assets != b.assets || a.collections != b.collections || a.parentOf != b.parentOf || a.albumAssets != b.albumAssets;
}

} // namespace OrvPhotosLibrary
