#pragma once

// A drivable model of a Photos library as PhotoKit presents it. Tests and the
// host program build a library, set the authorization answer and inject changes;
// once installed (install()), the plug-in sees it through
// OrvPhotoKit::sharedPhotoLibrary(). Authorization answers and change
// notifications arrive on the library's own queue thread.

#include "OrvPhotoKit.h"
#include "OrvPhotoKitSimQueue.h"

#include <QHash>
#include <QStringList>

#include <atomic>
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

enum class CollectionKind { UserAlbum, SmartAlbum, SharedAlbum, Folder };

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
struct State;

class Library : public OrvPhotoKit::PhotoLibrary
{
public:
    // An empty library; access not determined yet, and granted when asked.
    static std::shared_ptr<Library> create();
    // A library from a description file (see README.md); null and a message in
    // error when the file cannot be read or is malformed.
    static std::shared_ptr<Library> loadDescription(const QString& path, QString* error = nullptr);

    ~Library() override;

    // Authorization: the status now, and what the user answers when asked.
    void setAuthorizationStatus(OrvPhotoKit::AuthorizationStatus status);
    void setAuthorizationAnswer(OrvPhotoKit::AuthorizationStatus answer);
    int authorizationRequestCount() const { return myRequests.load(); }

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

    // Waits until the queue has delivered everything posted so far.
    void waitForQueue() { myQueue.waitIdle(); }
    bool isQueueThread() const { return myQueue.isCurrentThread(); }
    int assetCount() const;
    // The asset as the library holds it now; null when it is gone.
    std::shared_ptr<const SimAsset> currentAsset(const QString& localIdentifier) const;
    // The image manager, for setting its downloads and looking at the requests it had.
    std::shared_ptr<SimImageManager> imageManager() const { return myImageManager; }
    // The file behind a resource (for image requests).
    static QString resourceFilePath(const OrvPhotoKit::AssetResourcePtr& resource);

    // OrvPhotoKit::PhotoLibrary
    OrvPhotoKit::AuthorizationStatus authorizationStatus() const override;
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

private:
    Library();
    using Query = std::function<std::vector<OrvPhotoKit::ObjectPtr>(const State&)>;
    OrvPhotoKit::FetchResultPtr fetch(Query query);
    // Applies an edit to the pending state (opening a change when none is open).
    void edit(const std::function<void(State&)>& apply);
    void commit(bool incremental);

    mutable std::mutex myMutex;
    std::shared_ptr<const State> myState;
    std::shared_ptr<State> myPending;  // edits of the open change
    int myBatchDepth = 0;
    std::vector<std::weak_ptr<OrvPhotoKit::PhotoLibraryChangeObserver>> myObservers;
    std::atomic<int> myStatus;
    std::atomic<int> myAnswer;
    std::atomic<int> myRequests{0};
    std::shared_ptr<SimImageManager> myImageManager;
    Queue myQueue;
};

// Makes the simulation the PhotoKit backend: from then on
// OrvPhotoKit::sharedPhotoLibrary() hands out sharedLibrary().
void install();

// The library the simulation hands out. Until one is set, the first call loads
// the description named by $ORV_PHOTOS_LIBRARY, or makes an empty library.
void setSharedLibrary(std::shared_ptr<Library> library);
std::shared_ptr<Library> sharedLibrary();

} // namespace OrvPhotoKitSim
