#include "sim/OrvPhotoKitSimLibrary.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QThread>

using namespace OrvPhotoKit;
using OrvPhotoKitSim::AssetSpec;
using OrvPhotoKitSim::CollectionKind;
using OrvPhotoKitSim::CollectionSpec;
using OrvPhotoKitSim::Library;

namespace {

AssetSpec asset(const QString& id, const QString& created, bool favorite = false,
                quint32 source = AssetSourceTypeUserLibrary)
{
    AssetSpec spec;
    spec.localIdentifier = id;
    if (!created.isEmpty())
        spec.creationDate = QDateTime::fromString(created, Qt::ISODate);
    spec.favorite = favorite;
    spec.sourceType = source;
    return spec;
}

CollectionSpec collection(const QString& id, CollectionKind kind, const QString& parent = QString(),
                          const QStringList& assets = {})
{
    CollectionSpec spec;
    spec.localIdentifier = id;
    spec.title = id.toUpper();
    spec.kind = kind;
    spec.parentFolder = parent;
    spec.assets = assets;
    return spec;
}

QStringList ids(const std::shared_ptr<const ObjectEnumeration>& objects)
{
    QStringList result;
    for (qsizetype i = 0; objects && i < objects->count(); ++i)
        result.append(objects->objectAtIndex(i)->localIdentifier());
    return result;
}

QStringList ids(const FetchResultPtr& result) { return ids(std::shared_ptr<const ObjectEnumeration>(result)); }

// Collects changes as PhotoKit delivers them.
class Observer : public PhotoLibraryChangeObserver
{
public:
    void photoLibraryDidChange(const ChangePtr& change) override
    {
        std::lock_guard<std::mutex> lock(mutex);
        changes.push_back(change);
        onQueue.push_back(QThread::currentThread() != QCoreApplication::instance()->thread());
    }
    std::mutex mutex;
    std::vector<ChangePtr> changes;
    std::vector<bool> onQueue;
};

class PhotoKitSim : public ::testing::Test
{
protected:
    void SetUp() override
    {
        library = Library::create();
        library->addAsset(asset(QStringLiteral("a"), QStringLiteral("2020-05-01T10:00:00Z")));
        library->addAsset(asset(QStringLiteral("b"), QStringLiteral("2021-01-01T00:00:00Z"), true));
        library->addAsset(asset(QStringLiteral("c"), QString()));
        library->addAsset(asset(QStringLiteral("s"), QStringLiteral("2019-01-01T10:00:00Z"), false, AssetSourceTypeCloudShared));
        library->addCollection(collection(QStringLiteral("f1"), CollectionKind::Folder));
        library->addCollection(collection(QStringLiteral("f2"), CollectionKind::Folder, QStringLiteral("f1")));
        library->addCollection(collection(QStringLiteral("u1"), CollectionKind::UserAlbum, QString(), {QStringLiteral("b"), QStringLiteral("a")}));
        library->addCollection(collection(QStringLiteral("u2"), CollectionKind::UserAlbum, QStringLiteral("f2"), {QStringLiteral("c")}));
        library->addCollection(collection(QStringLiteral("sh"), CollectionKind::SharedAlbum, QString(), {QStringLiteral("s")}));
        auto favourites = collection(QStringLiteral("fav"), CollectionKind::SmartAlbum);
        favourites.smartSubtype = AssetCollectionSubtype::SmartAlbumFavorites;
        library->addCollection(favourites);
    }

    std::shared_ptr<Library> library;
};

} // namespace

TEST_F(PhotoKitSim, AssetFetchesHonourSourceTypesPredicatesAndSorting)
{
    EXPECT_EQ(ids(library->fetchAssetsWithOptions(nullptr)), (QStringList{"a", "b", "c"}));
    FetchOptions options;
    options.includeAssetSourceTypes = 7;
    EXPECT_EQ(ids(library->fetchAssetsWithOptions(&options)), (QStringList{"a", "b", "c", "s"}));

    options.sortDescriptors = {{QStringLiteral("creationDate"), true}};
    EXPECT_EQ(ids(library->fetchAssetsWithOptions(&options)), (QStringList{"c", "s", "a", "b"}));  // no date first
    options.sortDescriptors = {{QStringLiteral("favorite"), false}, {QStringLiteral("creationDate"), false}};
    EXPECT_EQ(ids(library->fetchAssetsWithOptions(&options)), (QStringList{"b", "a", "s", "c"}));

    // The year range is strict on both ends.
    options.sortDescriptors.clear();
    options.predicate = Predicate{QStringLiteral("creationDate > %@ AND creationDate < %@"),
                                  {QDateTime::fromString(QStringLiteral("2021-01-01T00:00:00Z"), Qt::ISODate),
                                   QDateTime::fromString(QStringLiteral("2022-01-01T00:00:00Z"), Qt::ISODate)}};
    EXPECT_TRUE(ids(library->fetchAssetsWithOptions(&options)).isEmpty());
    options.predicate->arguments[0] = QDateTime::fromString(QStringLiteral("2020-01-01T00:00:00Z"), Qt::ISODate);
    EXPECT_EQ(ids(library->fetchAssetsWithOptions(&options)), (QStringList{"a", "b"}));
    // Taking the start in, as a year does: "b" is the first instant of 2021.
    options.predicate->format = QStringLiteral("creationDate >= %@ AND creationDate < %@");
    options.predicate->arguments[0] = QDateTime::fromString(QStringLiteral("2021-01-01T00:00:00Z"), Qt::ISODate);
    EXPECT_EQ(ids(library->fetchAssetsWithOptions(&options)), (QStringList{"b"}));
    options.predicate->format = QStringLiteral("creationDate >= %@ AND creationDate <= %@");
    options.predicate->arguments = {QDateTime::fromString(QStringLiteral("2020-01-01T00:00:00Z"), Qt::ISODate),
                                    QDateTime::fromString(QStringLiteral("2021-01-01T00:00:00Z"), Qt::ISODate)};
    EXPECT_EQ(ids(library->fetchAssetsWithOptions(&options)), (QStringList{"a", "b"}));
    options.predicate->format = QStringLiteral("creationDate >= %@ AND creationDate < %@");
    EXPECT_EQ(ids(library->fetchAssetsWithOptions(&options)), (QStringList{"a"}));

    options.predicate = Predicate{QStringLiteral("localIdentifier = %@"), {QStringLiteral("b")}};
    EXPECT_EQ(ids(library->fetchAssetsWithOptions(&options)), (QStringList{"b"}));
    options.predicate = Predicate{QStringLiteral("localIdentifier LIKE whatever"), {}};
    EXPECT_TRUE(ids(library->fetchAssetsWithOptions(&options)).isEmpty());
    options.predicate = Predicate{QStringLiteral("localIdentifier = %@"), {}};
    EXPECT_TRUE(ids(library->fetchAssetsWithOptions(&options)).isEmpty());

    EXPECT_EQ(ids(library->fetchAssetsWithLocalIdentifiers({"c", "zz", "a"}, nullptr)), (QStringList{"c", "a"}));
}

TEST_F(PhotoKitSim, CollectionsFormTheFolderTree)
{
    EXPECT_EQ(ids(library->fetchTopLevelUserCollectionsWithOptions(nullptr)), (QStringList{"f1", "u1"}));
    EXPECT_EQ(ids(library->fetchAssetCollectionsWithType(AssetCollectionType::Album, AssetCollectionSubtype::AlbumCloudShared,
                                                         nullptr)),
              (QStringList{"sh"}));
    const auto favourites = library->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum,
                                                                   AssetCollectionSubtype::SmartAlbumFavorites, nullptr);
    ASSERT_EQ(favourites->count(), 1);
    EXPECT_EQ(ids(library->fetchAssetsInAssetCollection(asAssetCollection(favourites->firstObject()), nullptr)),
              (QStringList{"b"}));

    FetchOptions byId;
    byId.predicate = Predicate{QStringLiteral("localIdentifier = %@"), {QStringLiteral("f2")}};
    const auto f2 = library->fetchCollectionListsWithType(CollectionListType::Folder, CollectionListSubtype::Any, &byId);
    ASSERT_EQ(f2->count(), 1);
    const auto list = asCollectionList(f2->firstObject());
    ASSERT_TRUE(list);
    EXPECT_EQ(list->localizedTitle(), QStringLiteral("F2"));
    EXPECT_EQ(ids(library->fetchCollectionsInCollectionList(list, nullptr)), (QStringList{"u2"}));
    EXPECT_EQ(ids(library->fetchCollectionListsContainingCollection(list, nullptr)), (QStringList{"f1"}));
    EXPECT_EQ(library->fetchCollectionListsContainingCollection(nullptr, nullptr)->count(), 0);

    const auto u1 = asAssetCollection(library->fetchAssetCollectionsWithLocalIdentifiers({"u1"}, nullptr)->firstObject());
    ASSERT_TRUE(u1);
    EXPECT_EQ(ids(library->fetchAssetsInAssetCollection(u1, nullptr)), (QStringList{"b", "a"}));
    EXPECT_EQ(library->fetchAssetCollectionsWithLocalIdentifiers({"f1"}, nullptr)->count(), 0);  // a folder is no album
}

TEST_F(PhotoKitSim, ChangesAreDiffedAgainstEachFetchResult)
{
    auto observer = std::make_shared<Observer>();
    library->registerChangeObserver(observer);
    const auto all = library->fetchAssetsWithOptions(nullptr);
    const auto top = library->fetchTopLevelUserCollectionsWithOptions(nullptr);
    const auto u1 = library->fetchAssetsInAssetCollection(
        asAssetCollection(library->fetchAssetCollectionsWithLocalIdentifiers({"u1"}, nullptr)->firstObject()), nullptr);

    library->performChanges([&] {
        library->removeAsset(QStringLiteral("a"));
        library->addAsset(asset(QStringLiteral("d"), QStringLiteral("2023-01-01T10:00:00Z")));
        library->setFavorite(QStringLiteral("c"), true);
        library->renameCollection(QStringLiteral("f1"), QStringLiteral("Renamed"));
    });
    library->waitForQueue();
    ASSERT_EQ(observer->changes.size(), 1u);
    EXPECT_TRUE(observer->onQueue.front());
    const ChangePtr change = observer->changes.front();

    const auto details = change->changeDetailsForFetchResult(all);
    ASSERT_TRUE(details);
    EXPECT_TRUE(details->hasIncrementalChanges());
    EXPECT_EQ(ids(details->removedObjects()), (QStringList{"a"}));
    EXPECT_EQ(ids(details->insertedObjects()), (QStringList{"d"}));
    EXPECT_EQ(ids(details->changedObjects()), (QStringList{"c"}));
    EXPECT_EQ(details->fetchResultBeforeChanges(), all);
    EXPECT_EQ(ids(details->fetchResultAfterChanges()), (QStringList{"b", "c", "d"}));
    EXPECT_EQ(change->changeDetailsForFetchResult(all), details);  // asked twice, same answer

    const auto topDetails = change->changeDetailsForFetchResult(top);
    ASSERT_TRUE(topDetails);
    EXPECT_EQ(ids(topDetails->changedObjects()), (QStringList{"f1"}));
    EXPECT_EQ(asCollection(topDetails->changedObjects()->objectAtIndex(0))->localizedTitle(), QStringLiteral("Renamed"));

    EXPECT_EQ(ids(change->changeDetailsForFetchResult(u1)->removedObjects()), (QStringList{"a"}));

    // A result the change does not touch has no details.
    const auto shared = library->fetchAssetCollectionsWithType(AssetCollectionType::Album,
                                                               AssetCollectionSubtype::AlbumCloudShared, nullptr);
    EXPECT_FALSE(change->changeDetailsForFetchResult(shared));
    EXPECT_FALSE(change->changeDetailsForFetchResult(nullptr));

    // Without incremental details only the results before and after are told.
    library->performChanges([&] { library->removeAsset(QStringLiteral("b")); }, false);
    library->waitForQueue();
    ASSERT_EQ(observer->changes.size(), 2u);
    const auto whole = observer->changes.back()->changeDetailsForFetchResult(details->fetchResultAfterChanges());
    ASSERT_TRUE(whole);
    EXPECT_FALSE(whole->hasIncrementalChanges());
    EXPECT_EQ(ids(whole->fetchResultAfterChanges()), (QStringList{"c", "d"}));

    library->unregisterChangeObserver(observer.get());
    library->removeAsset(QStringLiteral("c"));
    library->waitForQueue();
    EXPECT_EQ(observer->changes.size(), 2u);
}

TEST_F(PhotoKitSim, RemovingAFolderTakesItsContentAndMovesKeepTheTreeSound)
{
    library->moveCollection(QStringLiteral("f1"), QStringLiteral("f2"));  // into its own child: refused
    EXPECT_EQ(ids(library->fetchTopLevelUserCollectionsWithOptions(nullptr)), (QStringList{"f1", "u1"}));
    library->moveCollection(QStringLiteral("u1"), QStringLiteral("f1"));
    EXPECT_EQ(ids(library->fetchTopLevelUserCollectionsWithOptions(nullptr)), (QStringList{"f1"}));
    library->removeCollection(QStringLiteral("f1"));
    EXPECT_TRUE(ids(library->fetchTopLevelUserCollectionsWithOptions(nullptr)).isEmpty());
    EXPECT_EQ(library->fetchAssetCollectionsWithLocalIdentifiers({"u1", "u2"}, nullptr)->count(), 0);
    EXPECT_EQ(library->fetchAssetsWithOptions(nullptr)->count(), 3);  // assets stay in the library
}

TEST_F(PhotoKitSim, AuthorizationIsAnsweredOnTheQueue)
{
    library->setAuthorizationAnswer(AuthorizationStatus::Denied);
    std::atomic<int> answer{-1};
    std::atomic<bool> onQueue{false};
    library->requestAuthorization([&](AuthorizationStatus status) {
        answer = int(status);
        onQueue = library->isQueueThread();
    });
    library->waitForQueue();
    EXPECT_EQ(answer.load(), int(AuthorizationStatus::Denied));
    EXPECT_TRUE(onQueue.load());
    EXPECT_EQ(library->authorizationStatus(), AuthorizationStatus::Denied);
    // Asked again, the user is not asked: the answer stands.
    library->setAuthorizationAnswer(AuthorizationStatus::Authorized);
    library->requestAuthorization([&](AuthorizationStatus status) { answer = int(status); });
    library->waitForQueue();
    EXPECT_EQ(answer.load(), int(AuthorizationStatus::Denied));
    EXPECT_EQ(library->authorizationRequestCount(), 2);
}

TEST(PhotoKitSimDescription, LoadsTheSampleLibrary)
{
    QString error;
    const auto library = Library::loadDescription(OrvTest::sourceDir() + QStringLiteral("/samples/photos/library.json"), &error);
    ASSERT_TRUE(library) << error.toStdString();
    EXPECT_EQ(library->authorizationStatus(), AuthorizationStatus::Authorized);
    EXPECT_GE(library->assetCount(), 6);
    const auto assets = library->fetchAssetsWithOptions(nullptr);
    for (qsizetype i = 0; i < assets->count(); ++i) {
        const auto item = asAsset(assets->objectAtIndex(i));
        EXPECT_GT(item->pixelWidth(), 0) << item->localIdentifier().toStdString();
        for (const auto& resource : library->assetResourcesForAsset(item)) {
            if (resource->type() == AssetResourceType::Photo) {
                EXPECT_TRUE(QFileInfo::exists(Library::resourceFilePath(resource))) << item->localIdentifier().toStdString();
            }
        }
    }
}

TEST(PhotoKitSimDescription, RejectsBrokenFiles)
{
    QTemporaryDir dir;
    const QList<QByteArray> broken = {
        "", "[1,2]", "{\"assets\": [ {\"id\": \"x\", \"creationDate\": \"not a date\"} ]}",
        "{\"assets\": [ {\"creationDate\": \"2020-01-01T00:00:00Z\"} ]}",
        "{\"collections\": [ {\"id\": \"x\", \"kind\": \"planet\"} ]}",
        "{\"collections\": [ {\"id\": \"x\", \"kind\": \"folder\", \"children\": [3]} ]}",
        "{\"authorization\": {\"status\": \"maybe\"}}", "{\"assets\": [ {\"id\": \"x\", \"location\": [1]} ]}",
        "{\"assets\": 7", QByteArray(4096, '{')};
    for (const QByteArray& text : broken) {
        const QString path = dir.filePath(QStringLiteral("library.json"));
        ASSERT_TRUE(OrvTest::writeFile(path, text));
        QString error;
        EXPECT_FALSE(Library::loadDescription(path, &error)) << text.left(60).toStdString();
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_FALSE(Library::loadDescription(dir.filePath(QStringLiteral("missing.json"))));
    const QString pipe = dir.filePath(QStringLiteral("pipe.json"));
    ASSERT_TRUE(OrvTest::makeFifo(pipe));
    for (const QString& path : {pipe, QStringLiteral("/dev/zero"), dir.path()}) {
        QString error;
        EXPECT_FALSE(Library::loadDescription(path, &error)) << path.toStdString();
        EXPECT_EQ(error, QStringLiteral("not a regular file"));
    }
}

TEST(PhotoKitSimDescription, ResourceFilesThatAreNoFilesGiveNoSize)
{
    QTemporaryDir dir;
    ASSERT_TRUE(OrvTest::makeFifo(dir.filePath(QStringLiteral("pipe.jpg"))));
    QFile::link(QStringLiteral("/dev/zero"), dir.filePath(QStringLiteral("zero.jpg")));
    const QString path = dir.filePath(QStringLiteral("library.json"));
    ASSERT_TRUE(OrvTest::writeFile(path, R"({"assets": [
        {"id": "A", "creationDate": "2020-01-01T00:00:00Z", "resources": [{"type": "photo", "file": "pipe.jpg"}]},
        {"id": "B", "creationDate": "2020-01-01T00:00:00Z", "resources": [{"type": "photo", "file": "zero.jpg"}]}]})"));
    const auto library = Library::loadDescription(path);
    ASSERT_TRUE(library);
    const auto assets = library->fetchAssetsWithOptions(nullptr);
    ASSERT_EQ(assets->count(), 2);
    for (qsizetype i = 0; i < assets->count(); ++i)
        EXPECT_EQ(OrvPhotoKit::asAsset(assets->objectAtIndex(i))->pixelWidth(), 0);
}
