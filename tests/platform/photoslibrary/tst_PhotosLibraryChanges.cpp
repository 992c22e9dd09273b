// Changes to a library while it is read, made by SQL on a copy of the real
// library as Photos makes them (rows, album contents and the history of both),
// reach an observer as PhotoKit's change details: from the library's history,
// and, where it keeps none, by comparing with what was read before.

#include "OrvPhotosLibraryPackage.h"
#include "PhotosLibraryTestSupport.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QThread>

#include <mutex>

using namespace OrvPhotoKit;
using namespace PhotosLibraryTest;

namespace {

const QString market = QStringLiteral("B6DB996D-8A0A-4983-AFBD-D206B7D38A23/L0/001");
const QString cliffs = QStringLiteral("EECD91FE-D716-48F2-A62C-A4D558ACD52E/L0/001");
const QString beach = QStringLiteral("1CD1B172-C94B-4093-A303-EE24FE7EEF60/L0/001");
const QString sideways = QStringLiteral("F8EFA39F-7D26-4DC2-82FE-CC9357F19F00/L0/001");
const QString added = QStringLiteral("0A0B0C0D-1111-4222-8333-444455556666/L0/001");

class Observer : public PhotoLibraryChangeObserver
{
public:
    void photoLibraryDidChange(const ChangePtr& change) override
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myChanges.push_back(change);
        myOffMain = myOffMain && QThread::currentThread() != QCoreApplication::instance()->thread();
    }
    int count()
    {
        std::lock_guard<std::mutex> lock(myMutex);
        return int(myChanges.size());
    }
    ChangePtr last()
    {
        std::lock_guard<std::mutex> lock(myMutex);
        return myChanges.empty() ? nullptr : myChanges.back();
    }
    bool offMain()
    {
        std::lock_guard<std::mutex> lock(myMutex);
        return myOffMain;
    }

private:
    std::mutex myMutex;
    std::vector<ChangePtr> myChanges;
    bool myOffMain = true;
};

enum class Source { History, Comparison };

class PackageChanges : public RealLibraryTest, public ::testing::WithParamInterface<Source>
{
protected:
    void SetUp() override
    {
        RealLibraryTest::SetUp();
        if (!copyLibrary(QStringList{QStringLiteral("database/Photos.sqlite")}))
            return;
        // Without the history, changes are found by comparing.
        if (GetParam() == Source::Comparison) {
            ASSERT_TRUE(copy->sql(QStringLiteral("DROP TABLE ACHANGE; DROP TABLE ATRANSACTION; DROP TABLE ATRANSACTIONSTRING;")));
        }
        QString error;
        package = open(copy->path(), &error);
        ASSERT_TRUE(package) << error.toStdString();
        package->registerChangeObserver(observer);
        FetchOptions options;
        options.sortDescriptors = {{QStringLiteral("creationDate"), false}};
        all = package->fetchAssetsWithOptions(&options);
        top = package->fetchTopLevelUserCollectionsWithOptions(nullptr);
        favourites = package->fetchAssetsInAssetCollection(
            asAssetCollection(package->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum,
                                                                     AssetCollectionSubtype::SmartAlbumFavorites, nullptr)
                                  ->firstObject()),
            nullptr);
        const auto albums = package->fetchAssetCollectionsWithType(AssetCollectionType::Album, AssetCollectionSubtype::Any, nullptr);
        for (qsizetype i = 0; i < albums->count(); ++i) {
            const auto album = asAssetCollection(albums->objectAtIndex(i));
            if (album->localizedTitle() == QLatin1String("Farmers Market"))
                farmersMarket = package->fetchAssetsInAssetCollection(album, nullptr);
            if (album->localizedTitle() == QLatin1String("San Juan Capistrano"))
                sanJuan = package->fetchAssetsInAssetCollection(album, nullptr);
        }
        ASSERT_TRUE(farmersMarket && sanJuan);
    }

    // One transaction as Photos commits it: the rows, and what the history says of them
    // (after what the same connection runs first).
    void commit(const QString& statements, const QList<std::tuple<int, QString, int>>& history, const QString& first = QString())
    {
        QString sql = first + QStringLiteral("BEGIN;") + statements;
        if (GetParam() == Source::History) {
            sql += QStringLiteral("INSERT INTO ATRANSACTION (Z_ENT, Z_OPT, ZTIMESTAMP) VALUES (16002, 1, 700000000);");
            for (const auto& [type, entity, key] : history)
                sql += QStringLiteral("INSERT INTO ACHANGE (Z_ENT, Z_OPT, ZCHANGETYPE, ZENTITY, ZENTITYPK, ZTRANSACTIONID) VALUES "
                                      "(16001, 1, %1, (SELECT Z_ENT FROM Z_PRIMARYKEY WHERE Z_NAME = '%2'), %3, "
                                      "(SELECT max(Z_PK) FROM ATRANSACTION));")
                           .arg(type)
                           .arg(entity)
                           .arg(key);
        }
        ASSERT_TRUE(copy->sql(sql + QStringLiteral("COMMIT;"), true));
    }
    // The change the watcher delivers once Photos stopped writing.
    ChangePtr awaitChange(int count = 1)
    {
        EXPECT_TRUE(OrvTest::waitFor([&] { return observer->count() >= count; }, 20000));
        return observer->last();
    }
    void expectSource()
    {
        // Following the history never reads the whole library; comparing does, once a look at least.
        if (GetParam() == Source::History) {
            EXPECT_EQ(package->fullReads(), 0);
        } else {
            EXPECT_GE(package->fullReads(), observer->count());
        }
        EXPECT_TRUE(observer->offMain());
    }

    std::shared_ptr<OrvPhotosLibrary::Package> package;
    std::shared_ptr<Observer> observer = std::make_shared<Observer>();
    FetchResultPtr all;
    FetchResultPtr top;
    FetchResultPtr favourites;
    FetchResultPtr farmersMarket;
    FetchResultPtr sanJuan;
};

QStringList changed(const ChangePtr& change, const FetchResultPtr& result, const char* which)
{
    const FetchResultChangeDetailsPtr details = change ? change->changeDetailsForFetchResult(result) : nullptr;
    if (!details)
        return {QStringLiteral("(no change)")};
    if (qstrcmp(which, "removed") == 0)
        return ids(details->removedObjects());
    if (qstrcmp(which, "inserted") == 0)
        return ids(details->insertedObjects());
    return ids(details->changedObjects());
}

} // namespace

TEST_P(PackageChanges, AnAssetAddedToTheLibraryAndAnAlbum)
{
    commit(QStringLiteral("INSERT INTO ZADDITIONALASSETATTRIBUTES (Z_PK, Z_ENT, Z_OPT, ZTIMEZONEOFFSET, ZORIGINALFILENAME, ZASSET) "
                          "VALUES (100, 1, 1, 3600, 'IMG_9000.JPG', 100);"
                          "INSERT INTO ZASSET (Z_PK, Z_ENT, Z_OPT, ZUUID, ZKIND, ZWIDTH, ZHEIGHT, ZDATECREATED, ZFAVORITE, ZHIDDEN, "
                          "ZTRASHEDSTATE, ZVISIBILITYSTATE, ZLATITUDE, ZLONGITUDE, ZDIRECTORY, ZFILENAME, ZADDITIONALATTRIBUTES) VALUES "
                          "(100, 3, 1, '0A0B0C0D-1111-4222-8333-444455556666', 0, 4000, 3000, 700000000, 0, 0, 0, 0, 48.1, 11.5, '0', "
                          "'0A0B0C0D-1111-4222-8333-444455556666.jpeg', 100);"
                          "INSERT INTO Z_28ASSETS (Z_28ALBUMS, Z_3ASSETS, Z_FOK_3ASSETS) VALUES (41, 100, 3072);"),
           {{0, QStringLiteral("Asset"), 100}, {0, QStringLiteral("AdditionalAssetAttributes"), 100}, {1, QStringLiteral("Album"), 41}});
    const ChangePtr change = awaitChange();
    EXPECT_EQ(changed(change, all, "inserted"), (QStringList{added}));
    EXPECT_EQ(changed(change, all, "removed"), QStringList());
    EXPECT_EQ(changed(change, farmersMarket, "inserted"), (QStringList{added}));
    EXPECT_EQ(changed(change, favourites, "inserted"), (QStringList{"(no change)"}));
    EXPECT_EQ(changed(change, top, "changed"), (QStringList{"(no change)"}));
    const auto details = change->changeDetailsForFetchResult(all);
    EXPECT_EQ(uuids(details->fetchResultAfterChanges()), (QStringList{"0A0B0C0D", "3A71DE26", "F8EFA39F", "EECD91FE", "B6DB996D", "1CD1B172"}));
    const auto asset = asAsset(details->fetchResultAfterChanges()->firstObject());
    EXPECT_EQ(asset->valueForKey(QStringLiteral("localCreationDate")).toDateTime(),
              asset->creationDate()->addSecs(3600).toUTC());
    expectSource();
}

TEST_P(PackageChanges, AnAssetDeletedLeavesTheLibraryItsAlbumsAndTheFavourites)
{
    commit(QStringLiteral("DELETE FROM Z_28ASSETS WHERE Z_3ASSETS = 4; DELETE FROM ZASSET WHERE Z_PK = 4;"),
           {{2, QStringLiteral("Asset"), 4}, {1, QStringLiteral("Album"), 39}});
    const ChangePtr change = awaitChange();
    EXPECT_EQ(changed(change, all, "removed"), (QStringList{cliffs}));
    EXPECT_EQ(changed(change, sanJuan, "removed"), (QStringList{cliffs}));
    EXPECT_EQ(changed(change, favourites, "removed"), (QStringList{cliffs}));
    EXPECT_EQ(changed(change, farmersMarket, "removed"), (QStringList{"(no change)"}));
    expectSource();
}

TEST_P(PackageChanges, AnEditAndAFavouriteChangeTheAssetsAndTheFavourites)
{
    commit(QStringLiteral("UPDATE ZASSET SET ZHASADJUSTMENTS = 1, ZADJUSTMENTTIMESTAMP = 700000000, Z_OPT = Z_OPT + 1 WHERE Z_PK = 2;"
                          "UPDATE ZASSET SET ZFAVORITE = 1, Z_OPT = Z_OPT + 1 WHERE Z_PK = 5;"),
           {{1, QStringLiteral("Asset"), 2}, {1, QStringLiteral("Asset"), 5}});
    const ChangePtr change = awaitChange();
    QStringList both = changed(change, all, "changed");
    std::sort(both.begin(), both.end());
    EXPECT_EQ(both, (QStringList{beach, sideways}));
    EXPECT_EQ(changed(change, all, "inserted"), QStringList());
    EXPECT_EQ(changed(change, favourites, "inserted"), (QStringList{beach}));
    EXPECT_EQ(changed(change, sanJuan, "changed"), (QStringList{sideways}));
    expectSource();
}

TEST_P(PackageChanges, AnAlbumRenamedIsAChangedCollection)
{
    commit(QStringLiteral("UPDATE ZGENERICALBUM SET ZTITLE = 'Market', Z_OPT = Z_OPT + 1 WHERE Z_PK = 41;"), {{1, QStringLiteral("Album"), 41}});
    const ChangePtr change = awaitChange();
    const auto details = change->changeDetailsForFetchResult(top);
    ASSERT_TRUE(details);
    EXPECT_EQ(ids(details->changedObjects()), (QStringList{"5DA3CED5-4AA2-43AE-8156-C214279B3D7D/L0/040"}));
    EXPECT_EQ(titles(details->fetchResultAfterChanges()), (QStringList{"Empty Album", "Market", "Travel", "Folder1"}));
    EXPECT_EQ(changed(change, farmersMarket, "changed"), (QStringList{"(no change)"}));
    expectSource();
}

TEST_P(PackageChanges, ABurstOfCommitsIsOneChange)
{
    for (int i = 0; i < 5; ++i)
        commit(QStringLiteral("UPDATE ZASSET SET ZFAVORITE = %1, Z_OPT = Z_OPT + 1 WHERE Z_PK = 5;").arg(i % 2 == 0 ? 1 : 0),
               {{1, QStringLiteral("Asset"), 5}});
    const ChangePtr change = awaitChange();
    EXPECT_EQ(changed(change, favourites, "inserted"), (QStringList{beach}));
    // Looking again finds nothing new: the burst was one change.
    package->refreshNow();
    EXPECT_EQ(observer->count(), 1);
    // A change that leaves everything as it was is none.
    commit(QStringLiteral("UPDATE ZASSET SET ZCURATIONSCORE = 0.5 WHERE Z_PK = 3;"), {{1, QStringLiteral("Moment"), 1}});
    package->refreshNow();
    EXPECT_EQ(observer->count(), 1);
}

TEST_P(PackageChanges, CheckpointsBetweenLooksNeverMixTheDatabaseWithAnotherLog)
{
    // Favourites and titles as a fresh fetch finds them now.
    const auto now = [&] {
        package->refreshNow();
        QStringList favourite = ids(package->fetchAssetsInAssetCollection(
            asAssetCollection(package->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum,
                                                                     AssetCollectionSubtype::SmartAlbumFavorites, nullptr)
                                  ->firstObject()),
            nullptr));
        std::sort(favourite.begin(), favourite.end());
        return favourite + titles(package->fetchTopLevelUserCollectionsWithOptions(nullptr));
    };
    const QString alsoFavourite = QStringLiteral("B6DB996D-8A0A-4983-AFBD-D206B7D38A23/L0/001");
    commit(QStringLiteral("UPDATE ZASSET SET ZFAVORITE = 1, Z_OPT = Z_OPT + 1 WHERE Z_PK = 5;"), {{1, QStringLiteral("Asset"), 5}});
    EXPECT_EQ(now(), (QStringList{beach, alsoFavourite, cliffs, "Empty Album", "Farmers Market", "Travel", "Folder1"}));
    // A commit, then a checkpoint that writes both commits into the database file
    // while the log keeps its generation.
    commit(QStringLiteral("UPDATE ZASSET SET ZFAVORITE = 0, Z_OPT = Z_OPT + 1 WHERE Z_PK = 4;"), {{1, QStringLiteral("Asset"), 4}});
    ASSERT_TRUE(copy->sql(QStringLiteral("PRAGMA wal_checkpoint(PASSIVE);"), true));
    EXPECT_EQ(now(), (QStringList{beach, alsoFavourite, "Empty Album", "Farmers Market", "Travel", "Folder1"}));
    // A checkpoint that makes the next commit start the log anew: the database
    // file alone then holds the earlier ones.
    commit(QStringLiteral("UPDATE ZGENERICALBUM SET ZTITLE = 'Market', Z_OPT = Z_OPT + 1 WHERE Z_PK = 41;"), {{1, QStringLiteral("Album"), 41}},
           QStringLiteral("PRAGMA wal_checkpoint(RESTART);"));
    EXPECT_EQ(now(), (QStringList{beach, alsoFavourite, "Empty Album", "Market", "Travel", "Folder1"}));
    expectSource();
}

INSTANTIATE_TEST_SUITE_P(FromTheHistoryAndByComparison, PackageChanges, ::testing::Values(Source::History, Source::Comparison),
                         [](const ::testing::TestParamInfo<Source>& info) {
                             return info.param == Source::History ? std::string("History") : std::string("Comparison");
                         });

TEST_F(RealLibraryTest, HistoryPrunedPastWhatWasSeenIsReadWhole)
{
    PackageCopy copy(library, {QStringLiteral("database/Photos.sqlite")});
    const auto package = open(copy.path());
    ASSERT_TRUE(package);
    ASSERT_TRUE(copy.sql(QStringLiteral("INSERT INTO ATRANSACTION (Z_ENT, Z_OPT) VALUES (16002, 1);"
                                        "INSERT INTO ATRANSACTION (Z_ENT, Z_OPT) VALUES (16002, 1);"
                                        "INSERT INTO ACHANGE (Z_ENT, Z_OPT, ZCHANGETYPE, ZENTITY, ZENTITYPK, ZTRANSACTIONID) "
                                        "VALUES (16001, 1, 1, 3, 5, (SELECT max(Z_PK) FROM ATRANSACTION));"
                                        "UPDATE ZASSET SET ZFAVORITE = 1 WHERE Z_PK = 5;"
                                        "DELETE FROM ATRANSACTION WHERE Z_PK <= (SELECT max(Z_PK) - 1 FROM ATRANSACTION);")));
    package->refreshNow();
    EXPECT_EQ(package->fullReads(), 1);
    const auto favourites = package->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum, AssetCollectionSubtype::SmartAlbumFavorites, nullptr);
    EXPECT_EQ(uuids(package->fetchAssetsInAssetCollection(asAssetCollection(favourites->firstObject()), nullptr)),
              (QStringList{"B6DB996D", "EECD91FE", "1CD1B172"}));
}

// Changes followed through the history place just the assets they touched; what
// they give must be what fetching anew finds, whatever the changes were.
TEST_F(RealLibraryTest, ResultsAfterChangesAreWhatFetchingAnewFinds)
{
    PackageCopy copy(library, {QStringLiteral("database/Photos.sqlite")});
    // One album sorted by date, newest first: its members are read with their assets' rows.
    ASSERT_TRUE(copy.sql(QStringLiteral("UPDATE ZGENERICALBUM SET ZCUSTOMSORTKEY = 1, ZCUSTOMSORTASCENDING = 0 WHERE Z_PK = 41;")));
    const auto package = open(copy.path());
    ASSERT_TRUE(package);
    const auto observer = std::make_shared<Observer>();
    package->registerChangeObserver(observer);
    QList<FetchOptions> options(4);
    options[0].sortDescriptors = {{QStringLiteral("creationDate"), false}};
    options[1].sortDescriptors = {{QStringLiteral("favorite"), false}, {QStringLiteral("creationDate"), true}};
    options[2].predicate = Predicate{QStringLiteral("creationDate > %@ AND creationDate < %@"),
                                     {QDateTime::fromString(QStringLiteral("2020-08-01T00:00:00Z"), Qt::ISODate),
                                      QDateTime::fromString(QStringLiteral("2021-01-01T00:00:00Z"), Qt::ISODate)}};
    const auto fetchAll = [&](const std::shared_ptr<OrvPhotosLibrary::Package>& from) {
        QList<FetchResultPtr> results;
        for (const FetchOptions& option : options)
            results.append(from->fetchAssetsWithOptions(&option));
        const auto favouritesAlbum = asAssetCollection(
            from->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum, AssetCollectionSubtype::SmartAlbumFavorites, nullptr)
                ->firstObject());
        results.append(from->fetchAssetsInAssetCollection(favouritesAlbum, &options[0]));
        const auto albums = from->fetchAssetCollectionsWithType(AssetCollectionType::Album, AssetCollectionSubtype::Any, nullptr);
        for (qsizetype i = 0; i < albums->count(); ++i)
            results.append(from->fetchAssetsInAssetCollection(asAssetCollection(albums->objectAtIndex(i)), nullptr));
        return results;
    };
    QList<FetchResultPtr> followed = fetchAll(package);
    QRandomGenerator random(20);
    int next = 200;
    QList<int> keys{1, 2, 3, 4, 5};
    for (int round = 0; round < 16; ++round) {
        QString sql;
        QList<std::tuple<int, int>> history;  // change type, asset key
        for (int step = 0; step < 3; ++step) {
            const int key = keys.at(int(random.bounded(int(keys.size()))));
            switch (random.bounded(5)) {
            case 0:
                sql += QStringLiteral("UPDATE ZASSET SET ZFAVORITE = 1 - ZFAVORITE WHERE Z_PK = %1;").arg(key);
                history.append({1, key});
                break;
            case 1:
                sql += QStringLiteral("UPDATE ZASSET SET ZDATECREATED = %1 WHERE Z_PK = %2;").arg(610000000 + random.bounded(20000000)).arg(key);
                history.append({1, key});
                break;
            case 2:
                sql += QStringLiteral("UPDATE ZASSET SET ZHIDDEN = 1 - ZHIDDEN WHERE Z_PK = %1;").arg(key);
                history.append({1, key});
                break;
            case 3:
                sql += QStringLiteral("INSERT INTO ZASSET (Z_PK, Z_ENT, Z_OPT, ZUUID, ZKIND, ZDATECREATED, ZFAVORITE) VALUES "
                                      "(%1, 3, 1, '%1AAAAAA-0000-4000-8000-000000000000', 0, %2, %3);")
                           .arg(next)
                           .arg(610000000 + random.bounded(20000000))
                           .arg(random.bounded(2));
                history.append({0, next});
                keys.append(next++);
                break;
            default:
                if (keys.size() > 2) {
                    sql += QStringLiteral("DELETE FROM ZASSET WHERE Z_PK = %1;").arg(key);
                    history.append({2, key});
                    keys.removeAll(key);
                }
                break;
            }
        }
        sql += QStringLiteral("INSERT INTO ATRANSACTION (Z_ENT, Z_OPT) VALUES (16002, 1);");
        for (const auto& [type, key] : history)
            sql += QStringLiteral("INSERT INTO ACHANGE (Z_ENT, Z_OPT, ZCHANGETYPE, ZENTITY, ZENTITYPK, ZTRANSACTIONID) VALUES "
                                  "(16001, 1, %1, 3, %2, (SELECT max(Z_PK) FROM ATRANSACTION));")
                       .arg(type)
                       .arg(key);
        const int before = observer->count();
        ASSERT_TRUE(copy.sql(QStringLiteral("BEGIN;") + sql + QStringLiteral("COMMIT;"), true));
        package->refreshNow();
        package->waitForQueue();
        const ChangePtr change = observer->count() > before ? observer->last() : nullptr;
        const QList<FetchResultPtr> fresh = fetchAll(package);
        // The library read anew (every album whole) agrees with the one that followed the changes.
        const auto reopened = open(copy.path());
        ASSERT_TRUE(reopened);
        const QList<FetchResultPtr> read = fetchAll(reopened);
        ASSERT_EQ(read.size(), followed.size());
        for (qsizetype i = 0; i < followed.size(); ++i) {
            const auto details = change ? change->changeDetailsForFetchResult(followed[i]) : nullptr;
            if (details)
                followed[i] = details->fetchResultAfterChanges();
            EXPECT_EQ(ids(followed[i]), ids(fresh[i])) << "round " << round << ", result " << i;
            EXPECT_EQ(ids(read[i]), ids(fresh[i])) << "round " << round << ", result " << i << " read anew";
        }
    }
    EXPECT_EQ(package->fullReads(), 0);
}
