#pragma once

#include "OrvExternalFoto.h"
#include "OrvExternalId.h"
#include "OrvFoto.h"
#include "OrvPhotoKit.h"
#include "OrvPhotoKitRetrieval.h"

#include <QHash>
#include <QRecursiveMutex>
#include <QSet>
#include <QUrl>

#include <memory>
#include <optional>
#include <vector>

class OrvPhotoKitDatabase;

// The platform side of the PhotoKit source: asks for access, builds the album
// tree, fetches the fotos of opened nodes and follows the library's changes.
// Its state is guarded by one recursive lock, because the first fetch after
// access is granted runs on PhotoKit's authorization queue while the host may
// already call fetchMore on the main thread.
class OrvPhotoKitLoader : public OrvPhotoKit::PhotoLibraryChangeObserver,
                          public std::enable_shared_from_this<OrvPhotoKitLoader>
{
public:
    static std::shared_ptr<OrvPhotoKitLoader> initWithDatabase(OrvPhotoKitDatabase* database);
    ~OrvPhotoKitLoader() override;
    OrvPhotoKitLoader(const OrvPhotoKitLoader&) = delete;
    OrvPhotoKitLoader& operator=(const OrvPhotoKitLoader&) = delete;

    // The database is going away: nothing is reported to it any more.
    void detach();

    // Authorization and observation.
    void startObserving();
    void photoLibraryDidChange(const OrvPhotoKit::ChangePtr& change) override;

    // Album tree and contents.
    void startFetch();
    void fetchMore(const QUrl& url);
    void setSortDescriptors(const OrvPhotoKit::SortDescriptors& descriptors);
    OrvPhotoKit::SortDescriptors sortDescriptors() const;
    void reload();
    OrvExternalId addProject(const QString& localIdentifier);

    // Pixels, files and metadata of one asset (OrvPhotoKitRetrieval); any thread.
    QImage requestImage(const OrvExternalId& id, const QSize& targetSize, bool immediately)
    {
        return myRetrieval.requestImage(id, targetSize, immediately);
    }
    QImage requestFullImage(const OrvExternalId& id) { return myRetrieval.requestFullImage(id); }
    OrvFotoMetaData metaData(const OrvExternalId& id) { return myRetrieval.metaData(id); }
    QByteArray file(const OrvExternalId& id, const QString& destinationUti) { return myRetrieval.file(id, destinationUti); }

    static OrvExternalId createIdForObject(const OrvPhotoKit::ObjectPtr& object);
    static QString localIdentifierForExternalId(const OrvExternalId& id);
    // "creationDate > start AND creationDate < start of next year", local calendar.
    static OrvPhotoKit::Predicate predicateForYear(int year);
    // The instant in the zone the asset was taken in, as its local creation
    // date tells; unchanged where it tells nothing. Fotos and their metadata
    // carry this one date.
    static QDateTime inZoneTakenIn(const OrvPhotoKit::AssetPtr& asset, const QDateTime& instant);

    // How many fetch results are followed for changes (for diagnostics and tests).
    int observedFetchResultCount() const;

private:
    explicit OrvPhotoKitLoader(OrvPhotoKitDatabase* database);

    struct Recorded
    {
        OrvPhotoKit::FetchResultPtr result;
        std::optional<QString> albumUrl;  // none: the top-level collections
    };
    using RecordedList = std::vector<Recorded>;

    void createAlbumForAll();
    void createAlbumForFavorites();
    void createAlbumForShared();
    void createAlbumForYears();
    void createAlbumForYear(int year, const OrvExternalId& parent);
    OrvExternalId createAlbum(const OrvPhotoKit::AssetCollectionPtr& collection, const OrvExternalId& parent);
    void collectionsAdded(const OrvPhotoKit::ObjectEnumeration& collections, const OrvExternalId& parent);
    void collectionListAdded(const OrvPhotoKit::CollectionListPtr& list, const OrvExternalId& parent);
    void createParents(const OrvPhotoKit::CollectionPtr& collection);
    // Announces an album node unless the database has it already.
    void announceAlbum(const OrvExternalId& id, const QString& name, const OrvExternalId& parent);

    void assetsAdded(const OrvPhotoKit::ObjectEnumeration& objects, const OrvExternalId& albumId);
    OrvExternalFoto assetAdded(const OrvPhotoKit::AssetPtr& asset);
    void assetsRemoved(const OrvPhotoKit::ObjectEnumeration& objects, const OrvExternalId& albumId);
    QList<OrvFoto> assetsChanged(const OrvPhotoKit::ObjectEnumeration& objects);
    QList<OrvFoto> handleChanges(const OrvPhotoKit::FetchResultChangeDetailsPtr& details, const OrvExternalId& albumId);
    void handleLibraryChange(const OrvPhotoKit::ChangePtr& change);

    void record(RecordedList& list, const OrvPhotoKit::FetchResultPtr& result, const std::optional<QString>& albumUrl);
    static OrvExternalId albumIdOf(const Recorded& recorded);

    mutable QRecursiveMutex myMutex;
    OrvPhotoKitDatabase* myDatabase;
    QSet<QString> myObservedGroups;
    RecordedList myUrlForFetchResults;
    QSet<QUrl> myFetchMoreBacklog;
    OrvPhotoKit::SortDescriptors mySortDescriptors;
    OrvPhotoKit::PhotoLibraryPtr myLibrary;
    OrvPhotoKitRetrieval myRetrieval;
};
