#include "OrvPhotoKitSimLibrary.h"

#include <QDebug>
#include <QSet>

#include <algorithm>
#include <map>

using namespace OrvPhotoKit;

namespace OrvPhotoKitSim {

// ---------------------------------------------------------------- objects

class SimResource : public AssetResource
{
public:
    explicit SimResource(const ResourceSpec& spec) : mySpec(spec) {}
    QString originalFilename() const override { return mySpec.originalFilename; }
    AssetResourceType type() const override { return mySpec.type; }
    const ResourceSpec& spec() const { return mySpec; }

private:
    ResourceSpec mySpec;
};

class SimAsset : public Asset
{
public:
    explicit SimAsset(const AssetSpec& spec) : mySpec(spec) {}
    QString localIdentifier() const override { return mySpec.localIdentifier; }
    std::optional<QDateTime> creationDate() const override { return mySpec.creationDate; }
    QVariant valueForKey(const QString& key) const override
    {
        if (key == QLatin1String("localCreationDate"))
            return mySpec.localCreationDate ? QVariant(*mySpec.localCreationDate) : QVariant();
        if (key == QLatin1String("creationDate"))
            return mySpec.creationDate ? QVariant(*mySpec.creationDate) : QVariant();
        if (key == QLatin1String("localIdentifier"))
            return mySpec.localIdentifier;
        if (key == QLatin1String("favorite"))
            return mySpec.favorite;
        if (key == QLatin1String("pixelWidth"))
            return mySpec.pixelWidth;
        if (key == QLatin1String("pixelHeight"))
            return mySpec.pixelHeight;
        return {};
    }
    std::optional<Location> location() const override { return mySpec.location; }
    int pixelWidth() const override { return mySpec.pixelWidth; }
    int pixelHeight() const override { return mySpec.pixelHeight; }
    bool isFavorite() const override { return mySpec.favorite; }
    const AssetSpec& spec() const { return mySpec; }

private:
    AssetSpec mySpec;
};

class SimAssetCollection : public AssetCollection
{
public:
    SimAssetCollection(const QString& id, const QString& title, CollectionKind kind, AssetCollectionSubtype smartSubtype)
        : myId(id), myTitle(title), myKind(kind), mySmartSubtype(smartSubtype)
    {
    }
    QString localIdentifier() const override { return myId; }
    QString localizedTitle() const override { return myTitle; }
    AssetCollectionType assetCollectionType() const override
    {
        return myKind == CollectionKind::SmartAlbum ? AssetCollectionType::SmartAlbum : AssetCollectionType::Album;
    }
    AssetCollectionSubtype assetCollectionSubtype() const override
    {
        switch (myKind) {
        case CollectionKind::SmartAlbum:
            return mySmartSubtype;
        case CollectionKind::SharedAlbum:
            return AssetCollectionSubtype::AlbumCloudShared;
        default:
            return AssetCollectionSubtype::AlbumRegular;
        }
    }
    CollectionKind collectionKind() const { return myKind; }
    AssetCollectionSubtype smartSubtype() const { return mySmartSubtype; }

private:
    QString myId;
    QString myTitle;
    CollectionKind myKind;
    AssetCollectionSubtype mySmartSubtype;
};

class SimCollectionList : public CollectionList
{
public:
    SimCollectionList(const QString& id, const QString& title) : myId(id), myTitle(title) {}
    QString localIdentifier() const override { return myId; }
    QString localizedTitle() const override { return myTitle; }
    CollectionListType collectionListType() const override { return CollectionListType::Folder; }

private:
    QString myId;
    QString myTitle;
};

// ---------------------------------------------------------------- state

// One version of the library. Committed versions are never changed again, so
// fetch results and changes can keep them without a lock.
struct State
{
    std::vector<std::shared_ptr<const SimAsset>> assets;  // library order
    QHash<QString, qsizetype> assetIndex;
    std::vector<ObjectPtr> collections;  // creation order
    QHash<QString, qsizetype> collectionIndex;
    QHash<QString, QString> parentOf;         // collection -> containing folder ("" at top level)
    QHash<QString, QStringList> albumAssets;  // album -> its assets in album order

    std::shared_ptr<const SimAsset> asset(const QString& id) const
    {
        const auto it = assetIndex.constFind(id);
        return it == assetIndex.cend() ? nullptr : assets[size_t(*it)];
    }
    ObjectPtr collection(const QString& id) const
    {
        const auto it = collectionIndex.constFind(id);
        return it == collectionIndex.cend() ? nullptr : collections[size_t(*it)];
    }
    void reindexAssets()
    {
        assetIndex.clear();
        for (size_t i = 0; i < assets.size(); ++i)
            assetIndex.insert(assets[i]->localIdentifier(), qsizetype(i));
    }
    void reindexCollections()
    {
        collectionIndex.clear();
        for (size_t i = 0; i < collections.size(); ++i)
            collectionIndex.insert(collections[i]->localIdentifier(), qsizetype(i));
    }
    void replaceCollection(const ObjectPtr& object)
    {
        const auto it = collectionIndex.constFind(object->localIdentifier());
        if (it != collectionIndex.cend())
            collections[size_t(*it)] = object;
    }
};

// ---------------------------------------------------------------- fetching

namespace {

class SimFetchResult : public FetchResult
{
public:
    using Query = std::function<std::vector<ObjectPtr>(const State&)>;
    SimFetchResult(Query query, std::vector<ObjectPtr> objects) : myQuery(std::move(query)), myObjects(std::move(objects)) {}
    qsizetype count() const override { return qsizetype(myObjects.size()); }
    ObjectPtr objectAtIndex(qsizetype index) const override
    {
        return index >= 0 && index < count() ? myObjects[size_t(index)] : ObjectPtr();
    }
    const Query& query() const { return myQuery; }
    const std::vector<ObjectPtr>& objects() const { return myObjects; }

private:
    Query myQuery;
    std::vector<ObjectPtr> myObjects;
};

QVariant valueOf(const ObjectPtr& object, const QString& key)
{
    if (key == QLatin1String("localIdentifier"))
        return object->localIdentifier();
    if (const auto asset = asAsset(object))
        return asset->valueForKey(key);
    if (const auto collection = asCollection(object)) {
        if (key == QLatin1String("localizedTitle") || key == QLatin1String("title"))
            return collection->localizedTitle();
    }
    return {};
}

// Compares two values of one key: <0, 0, >0. A missing value sorts first (as nil does).
int compareValues(const QVariant& a, const QVariant& b)
{
    if (!a.isValid() || !b.isValid())
        return int(a.isValid()) - int(b.isValid());
    if (a.typeId() == QMetaType::QDateTime && b.typeId() == QMetaType::QDateTime) {
        const qint64 x = a.toDateTime().toMSecsSinceEpoch();
        const qint64 y = b.toDateTime().toMSecsSinceEpoch();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    if (a.typeId() == QMetaType::QString || b.typeId() == QMetaType::QString)
        return a.toString().compare(b.toString());
    const double x = a.toDouble();
    const double y = b.toDouble();
    return x < y ? -1 : (x > y ? 1 : 0);
}

// NSPredicate over the formats of PhotoKit fetches: comparisons "key op %@"
// joined by AND. A format that cannot be read matches nothing.
class PredicateEvaluator
{
public:
    explicit PredicateEvaluator(const std::optional<Predicate>& predicate)
    {
        if (!predicate)
            return;
        myActive = true;
        const QStringList clauses = predicate->format.split(QStringLiteral(" AND "), Qt::SkipEmptyParts);
        int argument = 0;
        for (const QString& clause : clauses) {
            const QStringList parts = clause.simplified().split(QLatin1Char(' '));
            static const QStringList operators = {QStringLiteral("="), QStringLiteral("=="), QStringLiteral("!="),
                                                  QStringLiteral("<"), QStringLiteral("<="), QStringLiteral(">"),
                                                  QStringLiteral(">=")};
            if (parts.size() != 3 || parts[2] != QLatin1String("%@") || !operators.contains(parts[1])
                || argument >= predicate->arguments.size()) {
                qDebug() << "PhotoKit simulation: unreadable predicate" << predicate->format;
                myBroken = true;
                return;
            }
            myClauses.append({parts[0], parts[1], predicate->arguments[argument++]});
        }
    }
    bool matches(const ObjectPtr& object) const
    {
        if (!myActive)
            return true;
        if (myBroken)
            return false;
        for (const Clause& clause : myClauses) {
            const QVariant value = valueOf(object, clause.key);
            if (!value.isValid())
                return false;
            const int c = compareValues(value, clause.argument);
            const QString& op = clause.op;
            const bool ok = (op == QLatin1String("=") || op == QLatin1String("==")) ? c == 0
                : op == QLatin1String("!=")                                          ? c != 0
                : op == QLatin1String("<")                                           ? c < 0
                : op == QLatin1String("<=")                                          ? c <= 0
                : op == QLatin1String(">")                                           ? c > 0
                                                                                     : c >= 0;
            if (!ok)
                return false;
        }
        return true;
    }

private:
    struct Clause
    {
        QString key;
        QString op;
        QVariant argument;
    };
    bool myActive = false;
    bool myBroken = false;
    QList<Clause> myClauses;
};

void sortObjects(std::vector<ObjectPtr>& objects, const SortDescriptors& descriptors)
{
    if (descriptors.isEmpty())
        return;
    // Sort keys read once per object: comparing through valueForKey would dominate large fetches.
    struct Keyed
    {
        ObjectPtr object;
        QVariantList keys;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(objects.size());
    for (ObjectPtr& object : objects) {
        QVariantList keys;
        for (const SortDescriptor& descriptor : descriptors)
            keys.append(valueOf(object, descriptor.key));
        keyed.push_back({std::move(object), std::move(keys)});
    }
    std::stable_sort(keyed.begin(), keyed.end(), [&](const Keyed& a, const Keyed& b) {
        for (qsizetype i = 0; i < descriptors.size(); ++i) {
            const int c = compareValues(a.keys[i], b.keys[i]);
            if (c != 0)
                return descriptors[i].ascending ? c < 0 : c > 0;
        }
        return false;
    });
    for (size_t i = 0; i < keyed.size(); ++i)
        objects[i] = std::move(keyed[i].object);
}

// Fetch options applied to candidates. Asset fetches over the whole library leave
// out shared-album assets unless asked for; other fetches take all source types.
std::vector<ObjectPtr> applyOptions(std::vector<ObjectPtr> candidates, const std::optional<FetchOptions>& options,
                                    quint32 defaultSourceTypes)
{
    const quint32 sourceTypes = options && options->includeAssetSourceTypes != AssetSourceTypeNone
        ? options->includeAssetSourceTypes
        : defaultSourceTypes;
    const PredicateEvaluator predicate(options ? options->predicate : std::nullopt);
    std::vector<ObjectPtr> result;
    result.reserve(candidates.size());
    for (ObjectPtr& object : candidates) {
        if (object->kind() == ObjectKind::Asset
            && (static_cast<const SimAsset&>(*object).spec().sourceType & sourceTypes) == 0)
            continue;
        if (!predicate.matches(object))
            continue;
        result.push_back(std::move(object));
    }
    if (options)
        sortObjects(result, options->sortDescriptors);
    return result;
}

constexpr quint32 allSourceTypes = AssetSourceTypeUserLibrary | AssetSourceTypeCloudShared | AssetSourceTypeiTunesSynced;
constexpr quint32 librarySourceTypes = AssetSourceTypeUserLibrary | AssetSourceTypeiTunesSynced;

std::optional<FetchOptions> copyOptions(const FetchOptions* options)
{
    return options ? std::optional<FetchOptions>(*options) : std::nullopt;
}

std::vector<ObjectPtr> assetsOfAlbum(const State& state, const SimAssetCollection& album)
{
    std::vector<ObjectPtr> result;
    if (album.collectionKind() == CollectionKind::SmartAlbum
        && album.smartSubtype() == AssetCollectionSubtype::SmartAlbumFavorites) {
        for (const auto& asset : state.assets) {
            if (asset->isFavorite())
                result.push_back(asset);
        }
        return result;
    }
    for (const QString& id : state.albumAssets.value(album.localIdentifier())) {
        if (auto asset = state.asset(id))
            result.push_back(std::move(asset));
    }
    return result;
}

bool isUserCollection(const ObjectPtr& object)
{
    if (object->kind() == ObjectKind::CollectionList)
        return true;
    const auto* album = dynamic_cast<const SimAssetCollection*>(object.get());
    return album && album->collectionKind() == CollectionKind::UserAlbum;
}

// ---------------------------------------------------------------- changes

class SimChangeDetails : public FetchResultChangeDetails
{
public:
    FetchResultPtr before;
    FetchResultPtr after;
    bool incremental = true;
    std::shared_ptr<const ObjectArray> removed;
    std::shared_ptr<const ObjectArray> inserted;
    std::shared_ptr<const ObjectArray> changed;

    FetchResultPtr fetchResultBeforeChanges() const override { return before; }
    FetchResultPtr fetchResultAfterChanges() const override { return after; }
    bool hasIncrementalChanges() const override { return incremental; }
    std::shared_ptr<const ObjectEnumeration> removedObjects() const override { return removed; }
    std::shared_ptr<const ObjectEnumeration> insertedObjects() const override { return inserted; }
    std::shared_ptr<const ObjectEnumeration> changedObjects() const override { return changed; }
};

// A committed change: answers for any fetch result by evaluating its query
// again on the library as the change left it and diffing by local identifier.
class SimChange : public Change
{
public:
    SimChange(std::shared_ptr<const State> after, bool incremental) : myAfter(std::move(after)), myIncremental(incremental)
    {
    }

    FetchResultChangeDetailsPtr changeDetailsForFetchResult(const FetchResultPtr& fetchResult) const override
    {
        const auto* result = dynamic_cast<const SimFetchResult*>(fetchResult.get());
        if (!result)
            return {};
        {
            std::lock_guard<std::mutex> lock(myMutex);
            const auto it = myDetails.find(result);
            if (it != myDetails.end())
                return it->second;
        }
        FetchResultChangeDetailsPtr details = diff(fetchResult, *result);
        std::lock_guard<std::mutex> lock(myMutex);
        myKeepAlive.push_back(fetchResult);
        return myDetails.emplace(result, details).first->second;
    }

private:
    FetchResultChangeDetailsPtr diff(const FetchResultPtr& fetchResult, const SimFetchResult& result) const
    {
        std::vector<ObjectPtr> afterObjects = result.query()(*myAfter);
        const std::vector<ObjectPtr>& beforeObjects = result.objects();
        QHash<QString, const Object*> beforeIds;
        beforeIds.reserve(qsizetype(beforeObjects.size()));
        for (const ObjectPtr& object : beforeObjects)
            beforeIds.insert(object->localIdentifier(), object.get());
        QSet<QString> afterIds;
        afterIds.reserve(qsizetype(afterObjects.size()));
        std::vector<ObjectPtr> inserted;
        std::vector<ObjectPtr> changed;
        bool sameOrder = beforeObjects.size() == afterObjects.size();
        for (size_t i = 0; i < afterObjects.size(); ++i) {
            const ObjectPtr& object = afterObjects[i];
            const QString id = object->localIdentifier();
            afterIds.insert(id);
            const auto it = beforeIds.constFind(id);
            if (it == beforeIds.cend())
                inserted.push_back(object);
            else if (*it != object.get())
                changed.push_back(object);
            if (sameOrder && beforeObjects[i]->localIdentifier() != id)
                sameOrder = false;
        }
        std::vector<ObjectPtr> removed;
        for (const ObjectPtr& object : beforeObjects) {
            if (!afterIds.contains(object->localIdentifier()))
                removed.push_back(object);
        }
        if (removed.empty() && inserted.empty() && changed.empty() && sameOrder)
            return {};
        auto details = std::make_shared<SimChangeDetails>();
        details->before = fetchResult;
        details->after = std::make_shared<SimFetchResult>(result.query(), std::move(afterObjects));
        details->incremental = myIncremental;
        if (!myIncremental) {
            removed.clear();
            inserted.clear();
            changed.clear();
        }
        details->removed = std::make_shared<ObjectArray>(std::move(removed));
        details->inserted = std::make_shared<ObjectArray>(std::move(inserted));
        details->changed = std::make_shared<ObjectArray>(std::move(changed));
        return details;
    }

    std::shared_ptr<const State> myAfter;
    bool myIncremental;
    mutable std::mutex myMutex;
    mutable std::map<const SimFetchResult*, FetchResultChangeDetailsPtr> myDetails;
    mutable std::vector<FetchResultPtr> myKeepAlive;  // keeps the keys of myDetails from being reused
};

std::mutex sharedMutex;
std::shared_ptr<Library> sharedInstance;

} // namespace

// ---------------------------------------------------------------- queue

Queue::Queue() : myThread([this] { run(); }) {}

Queue::~Queue()
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myStopping = true;
    }
    myWake.notify_all();
    // The last owner may let go on the queue itself (from inside a task).
    if (isCurrentThread())
        myThread.detach();
    else
        myThread.join();
}

void Queue::post(std::function<void()> task)
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myTasks.push_back(std::move(task));
    }
    myWake.notify_one();
}

void Queue::waitIdle()
{
    if (isCurrentThread())
        return;
    std::unique_lock<std::mutex> lock(myMutex);
    myIdle.wait(lock, [this] { return myTasks.empty() && !myBusy; });
}

bool Queue::isCurrentThread() const { return std::this_thread::get_id() == myThread.get_id(); }

void Queue::run()
{
    std::unique_lock<std::mutex> lock(myMutex);
    for (;;) {
        myWake.wait(lock, [this] { return myStopping || !myTasks.empty(); });
        if (myTasks.empty())
            return;  // stopping, nothing left
        std::function<void()> task = std::move(myTasks.front());
        myTasks.pop_front();
        myBusy = true;
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
        myBusy = false;
        if (myTasks.empty())
            myIdle.notify_all();
    }
}

// ---------------------------------------------------------------- library

Library::Library()
    : myState(std::make_shared<State>()),
      myStatus(int(AuthorizationStatus::NotDetermined)),
      myAnswer(int(AuthorizationStatus::Authorized))
{
}

Library::~Library() = default;

std::shared_ptr<Library> Library::create() { return std::shared_ptr<Library>(new Library()); }

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
