#pragma once

// The part of Apple's Photos framework (PhotoKit) that the plug-in uses, as thin
// C++ interfaces. A backend (the simulation here, Objective-C++ adapters on
// macOS) implements them and installs itself with setSharedPhotoLibraryProvider;
// the plug-in reaches it only through OrvPhotoKit::sharedPhotoLibrary(). Objects are immutable snapshots, as PHObjects
// are: an edited asset is a new object with the same local identifier.

#include <QByteArray>
#include <QDateTime>
#include <QImage>
#include <QList>
#include <QSizeF>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace OrvPhotoKit {

// PHAuthorizationStatus
enum class AuthorizationStatus : int { NotDetermined = 0, Restricted = 1, Denied = 2, Authorized = 3 };

// PHAssetSourceType bits
enum AssetSourceType : quint32 {
    AssetSourceTypeNone = 0,
    AssetSourceTypeUserLibrary = 1,
    AssetSourceTypeCloudShared = 2,
    AssetSourceTypeiTunesSynced = 4,
};

// PHAssetCollectionType / PHAssetCollectionSubtype (the values the plug-in asks for)
enum class AssetCollectionType : int { Album = 1, SmartAlbum = 2, Moment = 3 };
enum class AssetCollectionSubtype : int {
    AlbumRegular = 2,
    AlbumCloudShared = 101,
    SmartAlbumGeneric = 200,
    SmartAlbumFavorites = 203,
    Any = 0x7fffffff,
};

// PHCollectionListType / PHCollectionListSubtype
enum class CollectionListType : int { MomentList = 1, Folder = 2, SmartFolder = 3 };
enum class CollectionListSubtype : int { RegularFolder = 100, Any = 0x7fffffff };

// PHAssetResourceType
enum class AssetResourceType : int {
    Photo = 1,
    Video = 2,
    Audio = 3,
    AlternatePhoto = 4,
    FullSizePhoto = 5,
    FullSizeVideo = 6,
    AdjustmentData = 7,
    AdjustmentBasePhoto = 8,
    PairedVideo = 9,
};

enum class ObjectKind { Asset, AssetCollection, CollectionList };

// CLLocationCoordinate2D
struct Coordinate
{
    double latitude = 0.0;
    double longitude = 0.0;
};

// CLLocation, as far as the plug-in reads it.
struct Location
{
    Coordinate coordinate;
};

// PHObject
class Object
{
public:
    virtual ~Object();
    virtual ObjectKind kind() const = 0;
    virtual QString localIdentifier() const = 0;
};
using ObjectPtr = std::shared_ptr<const Object>;

// PHAsset
class Asset : public Object
{
public:
    ObjectKind kind() const final { return ObjectKind::Asset; }
    virtual std::optional<QDateTime> creationDate() const = 0;
    // Key-value access; the plug-in reads "localCreationDate" (a QDateTime, or an
    // invalid QVariant). That date is the local wall-clock time written as UTC.
    virtual QVariant valueForKey(const QString& key) const = 0;
    virtual std::optional<Location> location() const = 0;
    virtual int pixelWidth() const = 0;
    virtual int pixelHeight() const = 0;
    virtual bool isFavorite() const = 0;
};
using AssetPtr = std::shared_ptr<const Asset>;

// PHCollection
class Collection : public Object
{
public:
    virtual QString localizedTitle() const = 0;
};
using CollectionPtr = std::shared_ptr<const Collection>;

// PHAssetCollection
class AssetCollection : public Collection
{
public:
    ObjectKind kind() const final { return ObjectKind::AssetCollection; }
    virtual AssetCollectionType assetCollectionType() const = 0;
    virtual AssetCollectionSubtype assetCollectionSubtype() const = 0;
};
using AssetCollectionPtr = std::shared_ptr<const AssetCollection>;

// PHCollectionList
class CollectionList : public Collection
{
public:
    ObjectKind kind() const final { return ObjectKind::CollectionList; }
    virtual CollectionListType collectionListType() const = 0;
};
using CollectionListPtr = std::shared_ptr<const CollectionList>;

// Downcasts by kind; null when the object is of another kind.
AssetPtr asAsset(const ObjectPtr& object);
AssetCollectionPtr asAssetCollection(const ObjectPtr& object);
CollectionListPtr asCollectionList(const ObjectPtr& object);
CollectionPtr asCollection(const ObjectPtr& object);

// NSFastEnumeration of PHObjects: what fetch results and the object arrays of
// change details have in common.
class ObjectEnumeration
{
public:
    virtual ~ObjectEnumeration();
    virtual qsizetype count() const = 0;
    virtual ObjectPtr objectAtIndex(qsizetype index) const = 0;
};

// NSArray<PHObject*>
class ObjectArray : public ObjectEnumeration
{
public:
    ObjectArray() = default;
    explicit ObjectArray(std::vector<ObjectPtr> objects) : myObjects(std::move(objects)) {}
    qsizetype count() const override { return qsizetype(myObjects.size()); }
    ObjectPtr objectAtIndex(qsizetype index) const override;

private:
    std::vector<ObjectPtr> myObjects;
};

// PHFetchResult. Its address is its identity (usable as a dictionary key).
class FetchResult : public ObjectEnumeration
{
public:
    ObjectPtr firstObject() const { return count() > 0 ? objectAtIndex(0) : ObjectPtr(); }
};
using FetchResultPtr = std::shared_ptr<const FetchResult>;

// NSSortDescriptor
struct SortDescriptor
{
    QString key;
    bool ascending = true;
};
using SortDescriptors = QList<SortDescriptor>;

// NSPredicate predicateWithFormat:argumentArray:
struct Predicate
{
    QString format;
    QVariantList arguments;
};

// PHFetchOptions
struct FetchOptions
{
    std::optional<Predicate> predicate;
    SortDescriptors sortDescriptors;
    // Bits of AssetSourceType; none set means the framework's default.
    quint32 includeAssetSourceTypes = AssetSourceTypeNone;
};

// PHFetchResultChangeDetails
class FetchResultChangeDetails
{
public:
    virtual ~FetchResultChangeDetails();
    virtual FetchResultPtr fetchResultBeforeChanges() const = 0;
    virtual FetchResultPtr fetchResultAfterChanges() const = 0;
    virtual bool hasIncrementalChanges() const = 0;
    virtual std::shared_ptr<const ObjectEnumeration> removedObjects() const = 0;
    virtual std::shared_ptr<const ObjectEnumeration> insertedObjects() const = 0;
    virtual std::shared_ptr<const ObjectEnumeration> changedObjects() const = 0;
};
using FetchResultChangeDetailsPtr = std::shared_ptr<const FetchResultChangeDetails>;

// PHChange
class Change
{
public:
    virtual ~Change();
    // Null when the change does not touch the fetch result.
    virtual FetchResultChangeDetailsPtr changeDetailsForFetchResult(const FetchResultPtr& fetchResult) const = 0;
};
using ChangePtr = std::shared_ptr<const Change>;

// PHPhotoLibraryChangeObserver. Called on a queue of the framework, never the main thread.
class PhotoLibraryChangeObserver
{
public:
    virtual ~PhotoLibraryChangeObserver();
    virtual void photoLibraryDidChange(const ChangePtr& change) = 0;
};

// PHAssetResource
class AssetResource
{
public:
    virtual ~AssetResource();
    virtual QString originalFilename() const = 0;
    virtual AssetResourceType type() const = 0;
};
using AssetResourcePtr = std::shared_ptr<const AssetResource>;

// PHImageRequestOptions
enum class ImageRequestDeliveryMode : int { Opportunistic = 0, HighQualityFormat = 1, FastFormat = 2 };
struct ImageRequestOptions
{
    bool synchronous = false;
    bool networkAccessAllowed = false;
    ImageRequestDeliveryMode deliveryMode = ImageRequestDeliveryMode::Opportunistic;
};

// PHImageContentMode
enum class ImageContentMode : int { AspectFit = 0, AspectFill = 1 };

// PHImageManagerMaximumSize
inline const QSizeF ImageManagerMaximumSize(-1.0, -1.0);

// Keys of the info dictionary that image requests hand their result handler.
inline const QString ImageResultIsDegradedKey = QStringLiteral("PHImageResultIsDegradedKey");  // bool
inline const QString ImageResultIsInCloudKey = QStringLiteral("PHImageResultIsInCloudKey");    // bool
inline const QString ImageErrorKey = QStringLiteral("PHImageErrorKey");                        // text
inline const QString ImageResultRequestIDKey = QStringLiteral("PHImageResultRequestIDKey");    // int

// PHImageManager. A null image in the image handler stands for a nil NSImage,
// empty data and type in the data handler for nil. A synchronous request
// calls its handler before it returns.
class ImageManager
{
public:
    using ImageHandler = std::function<void(const QImage& image, const QVariantMap& info)>;
    using DataHandler =
        std::function<void(const QByteArray& data, const QString& dataUti, int orientation, const QVariantMap& info)>;

    virtual ~ImageManager();
    virtual int requestImageForAsset(const AssetPtr& asset, const QSizeF& targetSize, ImageContentMode contentMode,
                                     const ImageRequestOptions& options, const ImageHandler& resultHandler) = 0;
    virtual int requestImageDataAndOrientationForAsset(const AssetPtr& asset, const ImageRequestOptions& options,
                                                       const DataHandler& resultHandler) = 0;
};
using ImageManagerPtr = std::shared_ptr<ImageManager>;

// PHPhotoLibrary with the class operations of PHAsset, PHAssetCollection,
// PHCollectionList, PHCollection, PHAssetResource and PHImageManager that the plug-in calls.
// A null options pointer stands for nil.
class PhotoLibrary
{
public:
    virtual ~PhotoLibrary();

    // PHPhotoLibrary
    virtual AuthorizationStatus authorizationStatus() const = 0;
    // The handler runs on a queue of the framework, never the main thread.
    virtual void requestAuthorization(std::function<void(AuthorizationStatus)> handler) = 0;
    virtual void registerChangeObserver(const std::weak_ptr<PhotoLibraryChangeObserver>& observer) = 0;
    virtual void unregisterChangeObserver(const PhotoLibraryChangeObserver* observer) = 0;

    // PHAsset
    virtual FetchResultPtr fetchAssetsWithOptions(const FetchOptions* options) = 0;
    virtual FetchResultPtr fetchAssetsWithLocalIdentifiers(const QStringList& identifiers, const FetchOptions* options) = 0;
    virtual FetchResultPtr fetchAssetsInAssetCollection(const AssetCollectionPtr& collection,
                                                        const FetchOptions* options) = 0;

    // PHAssetCollection
    virtual FetchResultPtr fetchAssetCollectionsWithType(AssetCollectionType type, AssetCollectionSubtype subtype,
                                                         const FetchOptions* options) = 0;
    virtual FetchResultPtr fetchAssetCollectionsWithLocalIdentifiers(const QStringList& identifiers,
                                                                     const FetchOptions* options) = 0;

    // PHCollectionList
    virtual FetchResultPtr fetchCollectionListsWithType(CollectionListType type, CollectionListSubtype subtype,
                                                        const FetchOptions* options) = 0;
    virtual FetchResultPtr fetchCollectionListsContainingCollection(const CollectionPtr& collection,
                                                                    const FetchOptions* options) = 0;

    // PHCollection
    virtual FetchResultPtr fetchCollectionsInCollectionList(const CollectionListPtr& list, const FetchOptions* options) = 0;
    virtual FetchResultPtr fetchTopLevelUserCollectionsWithOptions(const FetchOptions* options) = 0;

    // PHAssetResource
    virtual QList<AssetResourcePtr> assetResourcesForAsset(const AssetPtr& asset) = 0;
    // PHImageManager defaultManager
    virtual ImageManagerPtr defaultManager() = 0;
};
using PhotoLibraryPtr = std::shared_ptr<PhotoLibrary>;

// [PHPhotoLibrary sharedPhotoLibrary] of the installed backend; null (and one
// debug line) while no backend is installed.
PhotoLibraryPtr sharedPhotoLibrary();

// Where a backend installs itself. The program that runs the plug-in links a
// backend and installs it before the plug-in first asks for the library; the
// plug-in itself never names a backend.
using PhotoLibraryProvider = std::function<PhotoLibraryPtr()>;
void setSharedPhotoLibraryProvider(PhotoLibraryProvider provider);

} // namespace OrvPhotoKit
