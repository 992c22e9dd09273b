#include "PhotoKitFixture.h"

#include "OrvFotoCacheManager.h"
#include "TestSupport.h"

#include <QCoreApplication>

using OrvPhotoKitSim::CollectionKind;

// A library with a few assets, a user album, a folder and a shared album, opened "all" and the album.
class PhotoKitChangeTest : public PhotoKitTest
{
protected:
    void SetUp() override
    {
        PhotoKitTest::SetUp();
        for (int i = 1; i <= 4; ++i)
            library->addAsset(asset(QStringLiteral("c/%1").arg(i), QStringLiteral("2022-0%1-10T10:00:00Z").arg(i)));
        library->addCollection(album(QStringLiteral("U/1"), QStringLiteral("Urlaub"), {QStringLiteral("c/1"), QStringLiteral("c/2")}));
        library->addCollection(folder(QStringLiteral("F/1"), QStringLiteral("Reisen")));
        source().doLazyInit();
        open(id(QStringLiteral("all")));
        open(albumId(QStringLiteral("U/1")));
        ASSERT_EQ(fotosOf(id(QStringLiteral("all"))).size(), 4);
    }

    OrvFotoMetaData cachedMetaData(const QString& localIdentifier)
    {
        return OrvSingleton<OrvFotoCacheManager>::instance()->metaData(
            OrvFoto(OrvFotoKeyExternalService(database.get(), fotoId(localIdentifier))));
    }
};

TEST_F(PhotoKitChangeTest, RemovedAndInsertedAssetsReachTheirAlbumsOnTheMainThread)
{
    const int followed = database->loader()->observedFetchResultCount();
    EXPECT_EQ(followed, 3);  // top-level collections, "all", the album
    library->performChanges([&] {
        library->removeAsset(QStringLiteral("c/2"));
        library->addAsset(asset(QStringLiteral("c/9"), QStringLiteral("2022-09-10T10:00:00Z")), {QStringLiteral("U/1")});
    });
    library->waitForQueue();
    // Handled on the main queue, not on PhotoKit's.
    EXPECT_TRUE(heard->removed.isEmpty());
    ASSERT_TRUE(OrvTest::waitFor([&] { return heard->removed.size() == 2; }));
    settle();
    EXPECT_TRUE(heard->allOnMainThread);
    for (const auto& removal : heard->removed)
        EXPECT_EQ(removal.first, (QList<OrvExternalId>{fotoId(QStringLiteral("c/2"))}));
    QStringList inAlbum;
    for (const OrvExternalFoto& foto : fotosOf(albumId(QStringLiteral("U/1"))))
        inAlbum.append(OrvPhotoKitDatabase::toLocalIdentifier(foto.id().remoteId()));
    inAlbum.sort();
    EXPECT_EQ(inAlbum, (QStringList{QStringLiteral("c/1"), QStringLiteral("c/9")}));
    EXPECT_EQ(fotosOf(id(QStringLiteral("all"))).size(), 4);

    // The followed results were replaced by the results after the change, not added to them,
    // and a second change diffs against those.
    EXPECT_EQ(database->loader()->observedFetchResultCount(), followed);
    heard->removed.clear();
    library->removeAsset(QStringLiteral("c/9"));
    ASSERT_TRUE(OrvTest::waitFor([&] { return heard->removed.size() == 2; }));
}

TEST_F(PhotoKitChangeTest, EditedAssetsAreInvalidatedNotRemoved)
{
    ASSERT_TRUE(cachedMetaData(QStringLiteral("c/1")).isValid());
    ASSERT_TRUE(cachedMetaData(QStringLiteral("c/3")).isValid());
    library->setFavorite(QStringLiteral("c/1"), true);
    library->waitForQueue();
    ASSERT_TRUE(OrvTest::waitFor([&] { return !cachedMetaData(QStringLiteral("c/1")).isValid(); }));
    EXPECT_TRUE(cachedMetaData(QStringLiteral("c/3")).isValid());
    EXPECT_TRUE(heard->removed.isEmpty());
    EXPECT_EQ(heard->order.count(QStringLiteral("fotosInserted")), 2);  // the two openings only
}

TEST_F(PhotoKitChangeTest, RemovedCollectionsComeAfterTheirFotos)
{
    library->performChanges([&] {
        library->removeCollection(QStringLiteral("U/1"));
        library->removeCollection(QStringLiteral("F/1"));
        library->removeAsset(QStringLiteral("c/4"));
    });
    ASSERT_TRUE(OrvTest::waitFor([&] { return heard->albumsRemoved.size() == 2; }));
    settle();
    EXPECT_EQ(heard->albumsRemoved, (QList<OrvExternalId>{albumId(QStringLiteral("U/1")), folderId(QStringLiteral("F/1"))}));
    EXPECT_FALSE(database->findAlbum(albumId(QStringLiteral("U/1"))).isValid());
    EXPECT_FALSE(database->findAlbum(folderId(QStringLiteral("F/1"))).isValid());
    // Each followed result reports its fotos in one call: "all" lost c/4, the vanished album both of its own.
    QList<QList<OrvExternalId>> removals;
    for (const auto& removal : heard->removed)
        removals.append(removal.first);
    EXPECT_TRUE(removals.contains(QList<OrvExternalId>{fotoId(QStringLiteral("c/4"))}));
    // newest first, as the album was fetched
    EXPECT_TRUE(removals.contains((QList<OrvExternalId>{fotoId(QStringLiteral("c/2")), fotoId(QStringLiteral("c/1"))})));
    EXPECT_EQ(removals.size(), 2);
}

TEST_F(PhotoKitChangeTest, AlbumsOpenedWhileAChangeIsHandledStayFollowed)
{
    // A host that opens an album as soon as it hears of it: fetchMore from inside the notification.
    OrvExternalDatabase* base = database.get();
    QObject::connect(
        base, &OrvExternalDatabase::albumAdded, base,
        [this](const OrvExternalAlbum& added, const QIcon&) { database->fetchMore(added.id().toUrl()); },
        Qt::DirectConnection);
    const int followed = database->loader()->observedFetchResultCount();
    library->addCollection(album(QStringLiteral("U/2"), QStringLiteral("Neu"), {QStringLiteral("c/3")}));
    ASSERT_TRUE(OrvTest::waitFor([&] { return fetchesOf(albumId(QStringLiteral("U/2"))) == 1; }));
    settle();
    EXPECT_EQ(database->loader()->observedFetchResultCount(), followed + 1);

    // The album opened during the change hears of the next one.
    library->addAssetsToAlbum(QStringLiteral("U/2"), {QStringLiteral("c/4")});
    ASSERT_TRUE(OrvTest::waitFor([&] { return fetchesOf(albumId(QStringLiteral("U/2"))) == 2; }));
    EXPECT_EQ(fotosOf(albumId(QStringLiteral("U/2"))).size(), 2);
}

TEST_F(PhotoKitChangeTest, RefreshReportsEveryFollowedResultAgain)
{
    library->addCollection(album(QStringLiteral("U/2"), QStringLiteral("Neu")));
    ASSERT_TRUE(OrvTest::waitFor([&] { return database->findAlbum(albumId(QStringLiteral("U/2"))).isValid(); }));
    settle();
    heard->order.clear();
    database->refresh();
    // reload: for every recorded result, removed first, then added again.
    EXPECT_EQ(heard->order.first(), QStringLiteral("albumRemoved"));
    EXPECT_TRUE(heard->order.contains(QStringLiteral("fotosRemoved")));
    EXPECT_TRUE(heard->order.contains(QStringLiteral("fotosInserted")));
    EXPECT_EQ(fotosOf(id(QStringLiteral("all"))).size(), 4);
    EXPECT_EQ(fotosOf(albumId(QStringLiteral("U/1"))).size(), 2);
    EXPECT_TRUE(database->findAlbum(albumId(QStringLiteral("U/2"))).isValid());
}

TEST_F(PhotoKitChangeTest, RenamedAndAddedCollections)
{
    library->renameCollection(QStringLiteral("U/1"), QStringLiteral("Sommer"));
    ASSERT_TRUE(OrvTest::waitFor([&] { return heard->renamed.size() == 1; }));
    EXPECT_EQ(heard->renamed.first().second, QStringLiteral("Sommer"));
    EXPECT_EQ(database->findAlbum(albumId(QStringLiteral("U/1"))).name(), QStringLiteral("Sommer"));

    library->addCollection(folder(QStringLiteral("F/2"), QStringLiteral("Neu")));
    ASSERT_TRUE(OrvTest::waitFor([&] { return database->findAlbum(folderId(QStringLiteral("F/2"))).isValid(); }));
    EXPECT_FALSE(database->findAlbum(folderId(QStringLiteral("F/2"))).parentAlbum().isValid());

    // Moving an album into a folder takes it off the top level.
    library->moveCollection(QStringLiteral("U/1"), QStringLiteral("F/2"));
    ASSERT_TRUE(OrvTest::waitFor([&] { return !database->findAlbum(albumId(QStringLiteral("U/1"))).isValid(); }));
    open(folderId(QStringLiteral("F/2")));
    EXPECT_EQ(database->findAlbum(albumId(QStringLiteral("U/1"))).parentAlbum(), folderId(QStringLiteral("F/2")));
}

TEST_F(PhotoKitChangeTest, ChangesWithoutDetailsReloadTheAlbum)
{
    ASSERT_TRUE(cachedMetaData(QStringLiteral("c/1")).isValid());
    library->performChanges(
        [&] {
            library->setFavorite(QStringLiteral("c/1"), true);
            library->removeAsset(QStringLiteral("c/2"));
        },
        false);
    ASSERT_TRUE(OrvTest::waitFor([&] { return logged(QStringLiteral("Reloading Apple Photos Database")); }));
    settle();
    // Everything of the album went and came back; nothing was invalidated.
    ASSERT_FALSE(heard->removed.isEmpty());
    EXPECT_EQ(heard->removed.last().first.size(), 2);
    EXPECT_EQ(fotosOf(albumId(QStringLiteral("U/1"))).size(), 1);
    EXPECT_EQ(fotosOf(id(QStringLiteral("all"))).size(), 3);
    EXPECT_TRUE(cachedMetaData(QStringLiteral("c/1")).isValid());
    EXPECT_EQ(cachedMetaData(QStringLiteral("c/1")).adobeRating(), 5);
}

TEST_F(PhotoKitChangeTest, ChangesAfterTheSourceIsGoneAreDropped)
{
    library->removeAsset(QStringLiteral("c/1"));
    library->waitForQueue();
    database.reset();  // the queued handling finds no database
    QCoreApplication::processEvents();
    library->removeAsset(QStringLiteral("c/3"));
    settle();
    SUCCEED();
}
