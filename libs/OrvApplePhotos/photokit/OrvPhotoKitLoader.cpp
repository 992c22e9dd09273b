// A little over 600 lines, kept in one file: it is one class, and its parts
// (identifiers, authorization and changes, album tree, contents, bookkeeping,
// in that order below) share one lock and one record of followed fetch results.

#include "OrvPhotoKitLoader.h"

#include "OrvExternalFotoImplDataPhotoKit.h"
#include "OrvFotoCacheManager.h"
#include "OrvNativeMetaData.h"
#include "OrvPhotoKitDatabase.h"
#include "OrvQtCompat.h"

#include <QCoreApplication>
#include <QDebug>
#include <QMutexLocker>
#include <QRandomGenerator>

#include <algorithm>
#include <mutex>

using namespace OrvPhotoKit;

// Debug lines carry the selector as the function name, as the platform logs it.
#define ORV_PK_DEBUG(selector) \
    QMessageLogger(QT_MESSAGELOG_FILE, QT_MESSAGELOG_LINE, "-[OrvPhotoKitLoader " selector "]", "default").debug()

#define ORV_PK_BLOCK_DEBUG \
    QMessageLogger(QT_MESSAGELOG_FILE, QT_MESSAGELOG_LINE, "-[OrvPhotoKitLoader startObserving]_block_invoke", "default").debug()

namespace {

const QString serviceId = QStringLiteral("photokit");
const QString typeAll = QStringLiteral("all");
const QString typeYears = QStringLiteral("years");
const QString typeYear = QStringLiteral("year");
const QString typeICloud = QStringLiteral("iCloud");
const QString typeProjects = QStringLiteral("projects");
const QString typeAlbum = QStringLiteral("album");
const QString typeFolder = QStringLiteral("folder");
const QString typeFoto = QStringLiteral("foto");

// Every album of this source is a regular album for the host.
const OrvExternalAlbumType albumType(OrvExternalAlbumType::Regular);

std::mutex changeHandoffMutex;

constexpr quint32 allAssetSourceTypes = AssetSourceTypeUserLibrary | AssetSourceTypeCloudShared | AssetSourceTypeiTunesSynced;

// "yyyy-MM-ddTHHmmss.jpg" of the time in its own zone. Written out by hand:
// QDateTime::toString with a format costs more than the rest of a foto.
QString fotoName(const QDateTime& taken)
{
    const QDate date = taken.date();
    const QTime time = taken.time();
    if (!date.isValid() || !time.isValid() || date.year() < 0 || date.year() > 9999)
        return taken.toString(QStringLiteral("yyyy-MM-dd'T'HHmmss'.jpg'"));
    char16_t text[21];
    auto put = [&text](int at, int value, int digits) {
        for (int i = digits - 1; i >= 0; --i, value /= 10)
            text[at + i] = char16_t(u'0' + value % 10);
    };
    put(0, date.year(), 4);
    text[4] = u'-';
    put(5, date.month(), 2);
    text[7] = u'-';
    put(8, date.day(), 2);
    text[10] = u'T';
    put(11, time.hour(), 2);
    put(13, time.minute(), 2);
    put(15, time.second(), 2);
    text[17] = u'.';
    text[18] = u'j';
    text[19] = u'p';
    text[20] = u'g';
    return QString(reinterpret_cast<const QChar*>(text), 21);
}

FetchOptions localIdentifierOptions(const QString& localIdentifier)
{
    FetchOptions options;
    options.includeAssetSourceTypes = allAssetSourceTypes;
    options.predicate = Predicate{QStringLiteral("localIdentifier = %@"), {localIdentifier}};
    return options;
}

} // namespace

OrvPhotoKitLoader::OrvPhotoKitLoader(OrvPhotoKitDatabase* database)
    : myDatabase(database),
      mySortDescriptors{SortDescriptor{QStringLiteral("creationDate"), false}},
      myLibrary(sharedPhotoLibrary()),
      myRetrieval([this] {
          QMutexLocker locker(&myMutex);
          return myDatabase;
      })
{
}

std::shared_ptr<OrvPhotoKitLoader> OrvPhotoKitLoader::initWithDatabase(OrvPhotoKitDatabase* database)
{
    std::shared_ptr<OrvPhotoKitLoader> loader(new OrvPhotoKitLoader(database));
    if (!loader->myLibrary)
        return nullptr;
    ORV_PK_DEBUG("initWithDatabase:") << "OrvPhotoKitLoader initialized";
    return loader;
}

OrvPhotoKitLoader::~OrvPhotoKitLoader()
{
    if (myLibrary)
        myLibrary->unregisterChangeObserver(this);
}

void OrvPhotoKitLoader::detach()
{
    QMutexLocker locker(&myMutex);
    myDatabase = nullptr;
}

int OrvPhotoKitLoader::observedFetchResultCount() const
{
    QMutexLocker locker(&myMutex);
    return int(myUrlForFetchResults.size());
}

// ---------------------------------------------------------------- identifiers

OrvExternalId OrvPhotoKitLoader::createIdForObject(const ObjectPtr& object)
{
    if (!object)
        return OrvExternalId(serviceId, QString(), QString());
    QString type;
    switch (object->kind()) {
    case ObjectKind::AssetCollection:
        type = typeAlbum;
        break;
    case ObjectKind::Asset:
        type = typeFoto;
        break;
    case ObjectKind::CollectionList:
        type = typeFolder;
        break;
    }
    return OrvExternalId(serviceId, type, OrvPhotoKitDatabase::fromLocalIdentifier(object->localIdentifier()));
}

QString OrvPhotoKitLoader::localIdentifierForExternalId(const OrvExternalId& id)
{
    return OrvPhotoKitDatabase::toLocalIdentifier(id.remoteId());
}

Predicate OrvPhotoKitLoader::predicateForYear(int year)
{
    const QDateTime start = OrvQt::local(QDate(year, 1, 1), QTime(0, 0));
    const QDateTime end = OrvQt::local(QDate(year + 1, 1, 1), QTime(0, 0));
    // Strict on both sides: a photo taken exactly at midnight of New Year belongs to neither year.
    return Predicate{QStringLiteral("creationDate > %@ AND creationDate < %@"), {start, end}};
}

// ---------------------------------------------------------------- authorization and changes

void OrvPhotoKitLoader::startObserving()
{
    myLibrary->registerChangeObserver(weak_from_this());
    if (myLibrary->authorizationStatus() == AuthorizationStatus::Authorized) {
        startFetch();
        return;
    }
    const std::weak_ptr<OrvPhotoKitLoader> weakSelf = weak_from_this();
    myLibrary->requestAuthorization([weakSelf](AuthorizationStatus status) {
        const auto self = weakSelf.lock();
        if (!self)
            return;
        switch (status) {
        case AuthorizationStatus::NotDetermined:
            ORV_PK_BLOCK_DEBUG << "PHAuthorizationStatusNotDetermined";
            break;
        case AuthorizationStatus::Restricted:
            ORV_PK_BLOCK_DEBUG << "PHAuthorizationStatusRestricted";
            break;
        case AuthorizationStatus::Denied:
            ORV_PK_BLOCK_DEBUG << "PHAuthorizationStatusDenied";
            break;
        case AuthorizationStatus::Authorized:
            // Right here on the authorization queue, as PhotoKit hands it to us.
            self->startFetch();
            break;
        default:
            ORV_PK_BLOCK_DEBUG << "PHAuthorizationStatus unknown";
            break;
        }
        if (self->myLibrary->authorizationStatus() != AuthorizationStatus::Authorized) {
            QMutexLocker locker(&self->myMutex);
            if (self->myDatabase)
                self->myDatabase->authFailed();
        }
    });
}

void OrvPhotoKitLoader::photoLibraryDidChange(const ChangePtr& change)
{
    // Nothing happens on PhotoKit's thread: the host is touched on the main thread only.
    QCoreApplication* application = QCoreApplication::instance();
    if (!application || !change)
        return;
    const std::shared_ptr<OrvPhotoKitLoader> self = shared_from_this();
    // The handoff is made under a lock that the main thread takes again before it
    // uses the block: Qt's own event queue synchronises too, but out of sight of
    // race detectors, which would otherwise see the block's captures race.
    std::lock_guard<std::mutex> handoff(changeHandoffMutex);
    QMetaObject::invokeMethod(
        application,
        [self, change] {
            { std::lock_guard<std::mutex> received(changeHandoffMutex); }
            self->handleLibraryChange(change);
        },
        Qt::QueuedConnection);
}

void OrvPhotoKitLoader::handleLibraryChange(const ChangePtr& change)
{
    QMutexLocker locker(&myMutex);
    if (!myDatabase)
        return;
    RecordedList updated;
    QList<OrvFoto> stale;
    const RecordedList snapshot = myUrlForFetchResults;
    for (const Recorded& recorded : snapshot) {
        const FetchResultChangeDetailsPtr details = change->changeDetailsForFetchResult(recorded.result);
        if (details) {
            stale.append(handleChanges(details, albumIdOf(recorded)));
            const FetchResultPtr after = details->fetchResultAfterChanges();
            record(updated, after ? after : recorded.result, recorded.albumUrl);
        } else {
            record(updated, recorded.result, recorded.albumUrl);
        }
    }
    // Nodes opened while the change was handled (a host reacting to a notification) stay followed.
    for (const Recorded& recorded : myUrlForFetchResults) {
        const bool known = std::any_of(snapshot.cbegin(), snapshot.cend(),
                                       [&](const Recorded& old) { return old.result == recorded.result; });
        if (!known)
            record(updated, recorded.result, recorded.albumUrl);
    }
    if (!stale.isEmpty())
        OrvSingleton<OrvFotoCacheManager>::instance()->invalidate(OrvFotoList(stale));
    myUrlForFetchResults = std::move(updated);
}

QList<OrvFoto> OrvPhotoKitLoader::handleChanges(const FetchResultChangeDetailsPtr& details, const OrvExternalId& albumId)
{
    if (details->hasIncrementalChanges()) {
        if (const auto removed = details->removedObjects())
            assetsRemoved(*removed, albumId);
        if (const auto inserted = details->insertedObjects())
            assetsAdded(*inserted, albumId);
        const auto changed = details->changedObjects();
        return changed ? assetsChanged(*changed) : QList<OrvFoto>();
    }
    ORV_PK_DEBUG("handleChanges:inAlbum:") << "Reloading Apple Photos Database";
    if (const auto before = details->fetchResultBeforeChanges())
        assetsRemoved(*before, albumId);
    if (const auto after = details->fetchResultAfterChanges())
        assetsAdded(*after, albumId);
    return {};
}

void OrvPhotoKitLoader::assetsRemoved(const ObjectEnumeration& objects, const OrvExternalId& albumId)
{
    if (!myDatabase)
        return;
    QList<OrvExternalId> fotoIds;
    QList<OrvExternalId> albumIds;
    for (qsizetype i = 0; i < objects.count(); ++i) {
        const ObjectPtr object = objects.objectAtIndex(i);
        if (!object)
            continue;
        if (object->kind() == ObjectKind::Asset)
            fotoIds.append(createIdForObject(object));
        else
            albumIds.append(createIdForObject(object));
    }
    if (!fotoIds.isEmpty())
        myDatabase->fotosRemoved(fotoIds, albumId);
    for (const OrvExternalId& id : std::as_const(albumIds))
        myDatabase->albumRemoved(id);
}

QList<OrvFoto> OrvPhotoKitLoader::assetsChanged(const ObjectEnumeration& objects)
{
    QList<OrvFoto> stale;
    if (!myDatabase)
        return stale;
    for (qsizetype i = 0; i < objects.count(); ++i) {
        const ObjectPtr object = objects.objectAtIndex(i);
        if (!object)
            continue;
        const OrvExternalId id = createIdForObject(object);
        if (object->kind() == ObjectKind::Asset)
            stale.append(OrvFoto(OrvFotoKeyExternalService(myDatabase, id)));
        else if (const auto collection = asCollection(object))
            myDatabase->albumRenamed(id, collection->localizedTitle());
    }
    return stale;
}

// ---------------------------------------------------------------- album tree

void OrvPhotoKitLoader::announceAlbum(const OrvExternalId& id, const QString& name, const OrvExternalId& parent)
{
    if (!myDatabase || myDatabase->findAlbum(id).isValid())
        return;
    OrvExternalAlbum album(id, name, OrvExternalIdList(), albumType);
    album.setParentAlbum(parent);
    myDatabase->albumAdded(album);
}

void OrvPhotoKitLoader::startFetch()
{
    QMutexLocker locker(&myMutex);
    ORV_PK_DEBUG("startFetch") << "startFetch begin";
    createAlbumForAll();
    createAlbumForFavorites();
    createAlbumForShared();
    createAlbumForYears();

    const FetchResultPtr topLevel = myLibrary->fetchTopLevelUserCollectionsWithOptions(nullptr);
    if (topLevel) {
        record(myUrlForFetchResults, topLevel, std::nullopt);
        collectionsAdded(*topLevel, OrvExternalId());
    }

    const QSet<QUrl> backlog = myFetchMoreBacklog;
    myFetchMoreBacklog.clear();
    for (const QUrl& url : backlog)
        fetchMore(url);
    ORV_PK_DEBUG("startFetch") << "startFetch end";
}

void OrvPhotoKitLoader::createAlbumForAll()
{
    announceAlbum(OrvExternalId(serviceId, typeAll, QString()), OrvPhotoKitDatabase::allPhotosAlbumName(), OrvExternalId());
}

void OrvPhotoKitLoader::createAlbumForFavorites()
{
    const FetchResultPtr favorites = myLibrary->fetchAssetCollectionsWithType(
        AssetCollectionType::SmartAlbum, AssetCollectionSubtype::SmartAlbumFavorites, nullptr);
    if (const auto collection = favorites ? asAssetCollection(favorites->firstObject()) : nullptr)
        createAlbum(collection, OrvExternalId());
}

void OrvPhotoKitLoader::createAlbumForShared()
{
    const FetchResultPtr shared = myLibrary->fetchAssetCollectionsWithType(AssetCollectionType::Album,
                                                                           AssetCollectionSubtype::AlbumCloudShared, nullptr);
    if (!shared || shared->count() == 0)
        return;
    const OrvExternalId sharedId(serviceId, typeICloud, QString());
    announceAlbum(sharedId, OrvPhotoKitDatabase::iCloudSharedPhotosAlbumName(), OrvExternalId());
    record(myUrlForFetchResults, shared, sharedId.toString());
    for (qsizetype i = 0; i < shared->count(); ++i) {
        if (const auto collection = asAssetCollection(shared->objectAtIndex(i)))
            createAlbum(collection, sharedId);
    }
}

void OrvPhotoKitLoader::createAlbumForYears()
{
    const OrvExternalId yearsId(serviceId, typeYears, QString());
    announceAlbum(yearsId, OrvPhotoKitDatabase::yearsPhotosAlbumName(), OrvExternalId());
    const FetchResultPtr assets = myLibrary->fetchAssetsWithOptions(nullptr);
    if (!assets)
        return;
    QSet<int> years;
    // Assets come roughly in date order: most share the year of the one before.
    qint64 yearStart = 1;
    qint64 yearEnd = 0;
    for (qsizetype i = 0; i < assets->count(); ++i) {
        const AssetPtr asset = asAsset(assets->objectAtIndex(i));
        const std::optional<QDateTime> created = asset ? asset->creationDate() : std::nullopt;
        if (!created || !created->isValid())
            continue;
        const qint64 msecs = created->toMSecsSinceEpoch();
        if (msecs >= yearStart && msecs < yearEnd)
            continue;
        const int year = created->toLocalTime().date().year();
        years.insert(year);
        yearStart = OrvQt::local(QDate(year, 1, 1), QTime(0, 0)).toMSecsSinceEpoch();
        yearEnd = OrvQt::local(QDate(year + 1, 1, 1), QTime(0, 0)).toMSecsSinceEpoch();
    }
    QList<int> sorted = years.values();
    std::sort(sorted.begin(), sorted.end(), std::greater<int>());
    for (int year : std::as_const(sorted))
        createAlbumForYear(year, yearsId);
}

void OrvPhotoKitLoader::createAlbumForYear(int year, const OrvExternalId& parent)
{
    announceAlbum(OrvExternalId(serviceId, typeYear, QString::number(year)), QString::number(year), parent);
}

OrvExternalId OrvPhotoKitLoader::createAlbum(const AssetCollectionPtr& collection, const OrvExternalId& parent)
{
    const OrvExternalId id = createIdForObject(collection);
    announceAlbum(id, collection->localizedTitle(), parent);
    return id;
}

void OrvPhotoKitLoader::collectionsAdded(const ObjectEnumeration& collections, const OrvExternalId& parent)
{
    for (qsizetype i = 0; i < collections.count(); ++i) {
        const ObjectPtr object = collections.objectAtIndex(i);
        if (const auto list = asCollectionList(object))
            collectionListAdded(list, parent);
        else if (const auto album = asAssetCollection(object))
            createAlbum(album, parent);
    }
}

void OrvPhotoKitLoader::collectionListAdded(const CollectionListPtr& list, const OrvExternalId& parent)
{
    announceAlbum(createIdForObject(list), list->localizedTitle(), parent);
}

void OrvPhotoKitLoader::createParents(const CollectionPtr& collection)
{
    if (!collection || !myDatabase || !myDatabase->findAlbum(createIdForObject(collection)).isValid())
        return;
    const FetchResultPtr lists = myLibrary->fetchCollectionListsContainingCollection(collection, nullptr);
    if (const auto list = lists ? asCollectionList(lists->firstObject()) : nullptr)
        fetchMore(createIdForObject(list).toUrl());
}

OrvExternalId OrvPhotoKitLoader::addProject(const QString& localIdentifier)
{
    QMutexLocker locker(&myMutex);
    const OrvExternalId projectsId(serviceId, typeProjects, QString());
    announceAlbum(projectsId, OrvPhotoKitDatabase::projectsPhotosAlbumName(), OrvExternalId());
    const FetchResultPtr collections =
        myLibrary->fetchAssetCollectionsWithLocalIdentifiers(QStringList{localIdentifier}, nullptr);
    if (const auto collection = collections ? asAssetCollection(collections->firstObject()) : nullptr)
        return createAlbum(collection, projectsId);
    return OrvExternalId();
}

// ---------------------------------------------------------------- contents

void OrvPhotoKitLoader::setSortDescriptors(const SortDescriptors& descriptors)
{
    QMutexLocker locker(&myMutex);
    mySortDescriptors = descriptors;
}

SortDescriptors OrvPhotoKitLoader::sortDescriptors() const
{
    QMutexLocker locker(&myMutex);
    return mySortDescriptors;
}

void OrvPhotoKitLoader::fetchMore(const QUrl& url)
{
    QMutexLocker locker(&myMutex);
    if (myLibrary->authorizationStatus() != AuthorizationStatus::Authorized) {
        myFetchMoreBacklog.insert(url);
        return;
    }
    const OrvExternalId node(url);
    const QString& type = node.type();
    const QString localIdentifier = OrvPhotoKitDatabase::toLocalIdentifier(node.remoteId());
    if (localIdentifier.isEmpty() && type != typeAll)
        return;
    if (myObservedGroups.contains(localIdentifier))
        return;
    myObservedGroups.insert(localIdentifier);

    FetchResultPtr assets;
    OrvExternalId albumId;
    FetchOptions assetOptions;
    assetOptions.sortDescriptors = mySortDescriptors;
    if (type == typeFolder) {
        const FetchOptions listOptions = localIdentifierOptions(localIdentifier);
        const FetchResultPtr lists =
            myLibrary->fetchCollectionListsWithType(CollectionListType::Folder, CollectionListSubtype::Any, &listOptions);
        const CollectionListPtr list = lists ? asCollectionList(lists->firstObject()) : nullptr;
        if (!list)
            return;
        FetchOptions options;
        options.includeAssetSourceTypes = allAssetSourceTypes;
        const FetchResultPtr collections = myLibrary->fetchCollectionsInCollectionList(list, &options);
        if (collections)
            collectionsAdded(*collections, createIdForObject(list));
        createParents(list);
        return;
    } else if (type == typeAlbum) {
        const FetchResultPtr collections =
            myLibrary->fetchAssetCollectionsWithLocalIdentifiers(QStringList{localIdentifier}, nullptr);
        const AssetCollectionPtr collection = collections ? asAssetCollection(collections->firstObject()) : nullptr;
        if (!collection) {
            ORV_PK_DEBUG("fetchMore:") << "Error: AssetCollection with localIdentifier" << localIdentifier << "not found";
            return;
        }
        assetOptions.includeAssetSourceTypes = allAssetSourceTypes;
        assets = myLibrary->fetchAssetsInAssetCollection(collection, &assetOptions);
        albumId = createIdForObject(collection);
        createParents(collection);
    } else if (type == typeYear) {
        assetOptions.predicate = predicateForYear(node.remoteId().toInt());
        assets = myLibrary->fetchAssetsWithOptions(&assetOptions);
        albumId = OrvExternalId(serviceId, typeYear, node.remoteId());
    } else if (type == typeAll) {
        assets = myLibrary->fetchAssetsWithOptions(&assetOptions);
        albumId = OrvExternalId(serviceId, typeAll, QString());
    } else {
        return;
    }
    if (!assets)
        return;
    record(myUrlForFetchResults, assets, albumId.toString());
    assetsAdded(*assets, albumId);
}

void OrvPhotoKitLoader::reload()
{
    QMutexLocker locker(&myMutex);
    const RecordedList recorded = myUrlForFetchResults;
    for (const Recorded& entry : recorded) {
        const OrvExternalId albumId = albumIdOf(entry);
        assetsRemoved(*entry.result, albumId);
        assetsAdded(*entry.result, albumId);
    }
}

void OrvPhotoKitLoader::assetsAdded(const ObjectEnumeration& objects, const OrvExternalId& albumId)
{
    if (!myDatabase)
        return;
    QList<OrvExternalFoto> fotos;
    fotos.reserve(objects.count());
    for (qsizetype i = 0; i < objects.count(); ++i) {
        const ObjectPtr object = objects.objectAtIndex(i);
        if (!object)
            continue;
        switch (object->kind()) {
        case ObjectKind::CollectionList:
            collectionListAdded(asCollectionList(object), albumId);
            break;
        case ObjectKind::AssetCollection:
            createAlbum(asAssetCollection(object), albumId);
            break;
        case ObjectKind::Asset:
            fotos.append(assetAdded(asAsset(object)));
            break;
        }
    }
    if (!fotos.isEmpty())
        myDatabase->fotosInserted(fotos, albumId);
}

QDateTime OrvPhotoKitLoader::inZoneTakenIn(const AssetPtr& asset, const QDateTime& instant)
{
    // The local creation date is the wall-clock time of the shot; its distance
    // from the instant is the zone the photo was taken in.
    static const QString localCreationDateKey = QStringLiteral("localCreationDate");
    const QVariant local = asset ? asset->valueForKey(localCreationDateKey) : QVariant();
    if (!local.isValid() || !instant.isValid())
        return instant;
    const QDateTime localDate = local.toDateTime();
    if (!localDate.isValid())
        return instant;
    const qint64 d = instant.secsTo(localDate);
    // Fixed zones reach 16 hours either way; closer to 17 hours no zone can be
    // given, and the instant is kept as it is rather than made invalid.
    return d >= -57600 && d <= 57600 ? instant.toOffsetFromUtc(int(d)) : instant;
}

OrvExternalFoto OrvPhotoKitLoader::assetAdded(const AssetPtr& asset)
{
    const OrvExternalId id = createIdForObject(asset);
    const std::optional<Location> location = asset->location();
    const OrvGeoPosition position =
        location ? OrvGeoPosition(location->coordinate.latitude, location->coordinate.longitude) : OrvGeoPosition();

    // No date at all: a random moment in the first 49.7 days of 1970 (UTC), which the host
    // program knows to show as no date (OrvFotoDate::isStandIn).
    const std::optional<QDateTime> created = asset->creationDate();
    QDateTime taken;
    if (created && created->isValid())
        taken = *created;
    else
        taken = OrvQt::utcFromMSecs(qint64(QRandomGenerator::global()->generate64() & 0xffffffffu));

    taken = inZoneTakenIn(asset, taken);

    const QString name = fotoName(taken);
    const QSize size(asset->pixelWidth(), asset->pixelHeight());

    OrvNativeMetaDataGeneric native;
    native.setPictureTaken(taken);
    native.setPreferredSize(size);
    native.setGeoPosition(position);
    native.setAdobeRating(asset->isFavorite() ? 5 : 0);
    OrvSingleton<OrvFotoCacheManager>::instance()->insertMetaData(OrvFoto(OrvFotoKeyExternalService(myDatabase, id)),
                                                                  OrvFotoMetaData(native));

    // One allocation for the foto and its reference count.
    auto foto = std::make_shared<OrvExternalFotoImplDataPhotoKit>(id, name, taken, size, position);
    // The rating travels with the foto too, so that lists need not ask the cache.
    foto->setAdobeRating(asset->isFavorite() ? 5 : 0);
    return OrvExternalFoto(std::shared_ptr<const OrvExternalFotoImplData>(std::move(foto)));
}

// ---------------------------------------------------------------- bookkeeping

void OrvPhotoKitLoader::record(RecordedList& list, const FetchResultPtr& result, const std::optional<QString>& albumUrl)
{
    for (Recorded& entry : list) {
        if (entry.result == result) {
            entry.albumUrl = albumUrl;
            return;
        }
    }
    list.push_back({result, albumUrl});
}

OrvExternalId OrvPhotoKitLoader::albumIdOf(const Recorded& recorded)
{
    return recorded.albumUrl ? OrvExternalId(QUrl(*recorded.albumUrl)) : OrvExternalId();
}
