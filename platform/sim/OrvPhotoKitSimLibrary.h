#pragma once

// A drivable model of a Photos library as PhotoKit presents it. Tests and the
// host program build a library, set the authorization answer and inject changes;
// once installed (install()), the plug-in sees it through
// OrvPhotoKit::sharedPhotoLibrary(). Authorization answers and change
// notifications arrive on the library's own queue thread.

#include "OrvPhotoKitModelCollectionKind.h"
#include "OrvPhotoKitModelLibrary.h"

#include <QHash>
#include <QStringList>

#include <mutex>

namespace OrvPhotoKitSim {

struct ResourceSpec
{
    QString originalFilename;
    OrvPhotoKit::AssetResourceType type = OrvPhotoKit::AssetResourceType::Photo;
    QString filePath;  // the bytes behind the resource, when there are any
    bool inCloud = false;  // only in the cloud: image requests download it
};

struct AssetSpec
{
    QString localIdentifier;
    std::optional<QDateTime> creationDate;
    // Local wall-clock time of the shot, written as UTC (as Photos keeps it).
    std::optional<QDateTime> localCreationDate;
    std::optional<OrvPhotoKit::Location> location;
    int pixelWidth = 0;
    int pixelHeight = 0;
    bool favorite = false;
    quint32 sourceType = OrvPhotoKit::AssetSourceTypeUserLibrary;
    QList<ResourceSpec> resources;
};

using OrvPhotoKitModel::CollectionKind;

struct CollectionSpec
{
    QString localIdentifier;
    QString title;
    CollectionKind kind = CollectionKind::UserAlbum;
    // Smart albums only; a favourites smart album holds every favourite asset.
    OrvPhotoKit::AssetCollectionSubtype smartSubtype = OrvPhotoKit::AssetCollectionSubtype::SmartAlbumGeneric;
    QString parentFolder;  // local identifier of the containing folder; empty: top level
    QStringList assets;    // albums other than favourites: local identifiers in album order
};

class SimAsset;
class SimImageManager;

class Library : public OrvPhotoKitModel::ModelLibrary
{
public:
    // An empty library; access not determined yet, and granted when asked.
    static std::shared_ptr<Library> create();
    // A library from a description file (see README.md); null and a message in
    // error when the file cannot be read or is malformed.
    static std::shared_ptr<Library> loadDescription(const QString& path, QString* error = nullptr);

    ~Library() override;

    // Building and changing the library. Outside performChanges each call is
    // one change of its own; observers hear of every change on the queue.
    // Unknown identifiers are ignored.
    void addAsset(const AssetSpec& asset, const QStringList& albums = {});
    // Replaces the asset's properties (an edit in Photos).
    void updateAsset(const AssetSpec& asset);
    void setFavorite(const QString& assetId, bool favorite);
    void removeAsset(const QString& assetId);
    void addCollection(const CollectionSpec& collection);
    // Removes a collection; a folder goes with everything in it.
    void removeCollection(const QString& collectionId);
    void renameCollection(const QString& collectionId, const QString& title);
    void moveCollection(const QString& collectionId, const QString& folderId);
    void addAssetsToAlbum(const QString& albumId, const QStringList& assetIds);
    void removeAssetsFromAlbum(const QString& albumId, const QStringList& assetIds);
    // Runs edits as one change. Without incremental details observers get change
    // details that only say "reload" (as PhotoKit does for large changes).
    void performChanges(const std::function<void()>& edits, bool incremental = true);

    int assetCount() const;
    // The asset as the library holds it now; null when it is gone.
    std::shared_ptr<const SimAsset> currentAsset(const QString& localIdentifier) const;
    // The image manager, for setting its downloads and looking at the requests it had.
    std::shared_ptr<SimImageManager> imageManager() const { return myImageManager; }
    // The file behind a resource (for image requests).
    static QString resourceFilePath(const OrvPhotoKit::AssetResourcePtr& resource);

    // OrvPhotoKit::PhotoLibrary
    QList<OrvPhotoKit::AssetResourcePtr> assetResourcesForAsset(const OrvPhotoKit::AssetPtr& asset) override;
    OrvPhotoKit::ImageManagerPtr defaultManager() override;

private:
    Library();
    // Applies an edit to the pending state (opening a change when none is open).
    void edit(const std::function<void(OrvPhotoKitModel::State&)>& apply);
    void commit(bool incremental);

    mutable std::mutex myMutex;
    std::shared_ptr<OrvPhotoKitModel::State> myPending;  // edits of the open change
    int myBatchDepth = 0;
    std::shared_ptr<SimImageManager> myImageManager;
};

// Makes the simulation the PhotoKit backend: from then on
// OrvPhotoKit::sharedPhotoLibrary() hands out sharedLibrary().
void install();

// The library the simulation hands out. Until one is set, the first call loads
// the description named by $ORV_PHOTOS_LIBRARY, or makes an empty library.
void setSharedLibrary(std::shared_ptr<Library> library);
std::shared_ptr<Library> sharedLibrary();

} // namespace OrvPhotoKitSim
