#include "OrvExternalDatabase.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetriever.h"
#include "OrvGenericUrlTreeModel.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <memory>
#include <thread>

namespace {

// A code no real source uses.
constexpr quint32 testSourceType = 1u << 20;

class TestDatabase : public OrvExternalDatabase
{
public:
    TestDatabase()
        : OrvExternalDatabase(OrvExternalService(QStringLiteral("testsource"), QStringLiteral("Test"), QIcon(), QIcon(),
                                                 QImage(), 0),
                              OrvFotoDatabaseType(testSourceType))
    {
    }
    OrvExternalId album(const QString& remoteId) const { return urlBuilder().build(QStringLiteral("album"), remoteId); }
    OrvExternalFoto foto(const QString& path) const
    {
        const OrvExternalId id = urlBuilder().build(QStringLiteral("foto"), QFileInfo(path).fileName());
        return OrvExternalFoto(new OrvExternalFotoImplDataLocalDatabase(id, QFileInfo(path).fileName(), QDateTime(),
                                                                        path, QString(), {}));
    }
};

OrvExternalAlbum makeAlbum(const OrvExternalId& id, const QString& name, const OrvExternalId& parent = {})
{
    OrvExternalAlbum album(id, name, {}, OrvExternalAlbumType::Regular);
    album.setParentAlbum(parent);
    return album;
}

} // namespace

TEST(OrvExternalDatabase, NotificationsKeepThePoolCurrentBeforeViewsHearOfThem)
{
    TestDatabase db;
    bool foundWhenNotified = false;
    QObject::connect(&db, &OrvExternalDatabase::albumAdded, [&](const OrvExternalAlbum& album, const QIcon&) {
        foundWhenNotified = db.findAlbum(album.id()).isValid();
    });
    emit db.albumAdded(makeAlbum(db.album(QStringLiteral("a")), QStringLiteral("A")), QIcon());
    EXPECT_TRUE(foundWhenNotified);

    const OrvExternalFoto f = db.foto(QStringLiteral("/x/one.jpg"));
    emit db.fotosInserted(OrvExternalFotoList({f}), db.album(QStringLiteral("a")));
    EXPECT_EQ(db.countFotos(), 1);
    EXPECT_TRUE(db.findExternalFoto(f.id()).isValid());
    EXPECT_TRUE(db.findFoto(f.id()).isValid());
    EXPECT_FALSE(db.findFoto(db.urlBuilder().build(QStringLiteral("foto"), QStringLiteral("nope"))).isValid());
    EXPECT_EQ(db.findAlbumWithFoto(f.id()), db.album(QStringLiteral("a")));
    EXPECT_EQ(db.findMostImportantPlaceFor(f.id()), db.album(QStringLiteral("a")));

    emit db.albumRenamed(db.findAlbum(db.album(QStringLiteral("a"))), QStringLiteral("Renamed"));
    EXPECT_EQ(db.findAlbum(db.album(QStringLiteral("a"))).name(), QStringLiteral("Renamed"));

    emit db.fotosRemoved({f.id()}, db.album(QStringLiteral("a")));
    EXPECT_TRUE(db.findAlbum(db.album(QStringLiteral("a"))).fotoIds().isEmpty());

    // With false the source removes the album itself.
    emit db.albumRemoved(db.findAlbum(db.album(QStringLiteral("a"))), false);
    EXPECT_TRUE(db.findAlbum(db.album(QStringLiteral("a"))).isValid());
    emit db.albumRemoved(db.findAlbum(db.album(QStringLiteral("a"))), true);
    EXPECT_FALSE(db.findAlbum(db.album(QStringLiteral("a"))).isValid());

    OrvExternalAlbumPool albums;
    albums.add(makeAlbum(db.album(QStringLiteral("b")), QStringLiteral("B")));
    emit db.dataPoolSet(OrvExternalDataPool(albums, OrvExternalFotoPool()));
    EXPECT_EQ(db.albums().size(), 1);
    EXPECT_EQ(db.countFotos(), 0);
}

TEST(OrvExternalDatabase, EveryPoolTheSourceSetsIsArrangedBeforeViewsSeeIt)
{
    TestDatabase db;
    OrvExternalAlbumPool flat;
    flat.add(makeAlbum(db.album(QStringLiteral("folder")), QStringLiteral("F")));
    flat.add(makeAlbum(db.album(QStringLiteral("inside")), QStringLiteral("I")));
    emit db.dataPoolSet(OrvExternalDataPool(flat, OrvExternalFotoPool()));
    int arranged = 0;
    // Set after a pool: that pool is arranged at once.
    db.setAlbumArrangement([&](const OrvExternalAlbumPool& albums) {
        ++arranged;
        OrvExternalAlbumPool result = albums;
        result.add(makeAlbum(db.album(QStringLiteral("inside")), QStringLiteral("I"), db.album(QStringLiteral("folder"))));
        return result;
    });
    EXPECT_EQ(arranged, 1);
    EXPECT_EQ(db.getExternalDataPoolConst().childAlbums(db.album(QStringLiteral("folder"))).size(), 1);

    // A new pool, set on a loading thread, is arranged before a view hears of it.
    int childrenSeen = -1;
    QObject::connect(&db, &OrvExternalDatabase::dataPoolSet, [&](const OrvExternalDataPool&) {
        childrenSeen = int(db.getExternalDataPoolConst().childAlbums(db.album(QStringLiteral("folder"))).size());
    });
    std::thread loader([&] { emit db.dataPoolSet(OrvExternalDataPool(flat, OrvExternalFotoPool())); });
    loader.join();
    EXPECT_EQ(arranged, 2);
    EXPECT_EQ(childrenSeen, 1);
    // No albums, nothing to arrange.
    emit db.dataPoolSet(OrvExternalDataPool());
    EXPECT_EQ(arranged, 2);
}

TEST(OrvGenericUrlTreeModel, FollowsTheSourceIncludingNotificationsFromOtherThreads)
{
    TestDatabase db;
    OrvGenericUrlTreeModel* model = db.treeModel();
    QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::Warning);
    const OrvExternalId folder = db.album(QStringLiteral("folder"));
    const OrvExternalId child = db.album(QStringLiteral("child"));
    emit db.albumAdded(makeAlbum(folder, QStringLiteral("Folder")), QIcon());
    emit db.albumAdded(makeAlbum(child, QStringLiteral("Child"), folder), QIcon());
    ASSERT_EQ(model->rowCount(), 1);
    const QModelIndex folderIndex = model->index(0, 0);
    EXPECT_EQ(folderIndex.data().toString(), QStringLiteral("Folder"));
    EXPECT_EQ(model->rowCount(folderIndex), 1);
    EXPECT_EQ(model->parent(model->index(0, 0, folderIndex)), folderIndex);
    EXPECT_EQ(model->indexForId(child).data(OrvGenericUrlTreeModel::UrlRole).toUrl(), child.toUrl());

    // A child announced before its parent ends up below it.
    const OrvExternalId late = db.album(QStringLiteral("late"));
    const OrvExternalId lateChild = db.album(QStringLiteral("latechild"));
    emit db.albumAdded(makeAlbum(lateChild, QStringLiteral("Late child"), late), QIcon());
    emit db.albumAdded(makeAlbum(late, QStringLiteral("Late")), QIcon());
    EXPECT_EQ(model->parent(model->indexForId(lateChild)), model->indexForId(late));

    // From a platform thread: delivered to the model's thread, the pool current at once.
    std::thread platform([&] {
        emit db.albumAdded(makeAlbum(db.album(QStringLiteral("remote")), QStringLiteral("Remote")), QIcon());
    });
    platform.join();
    EXPECT_TRUE(db.findAlbum(db.album(QStringLiteral("remote"))).isValid());
    EXPECT_TRUE(OrvTest::waitFor([&] { return model->indexForId(db.album(QStringLiteral("remote"))).isValid(); }));

    emit db.albumRenamed(db.findAlbum(child), QStringLiteral("Renamed"));
    EXPECT_EQ(model->indexForId(child).data().toString(), QStringLiteral("Renamed"));
    emit db.albumRemoved(db.findAlbum(folder), true);
    EXPECT_FALSE(model->indexForId(folder).isValid());
    EXPECT_FALSE(model->indexForId(child).isValid());
    EXPECT_EQ(model->rowCount(), 2);
}

TEST(OrvGroupModel, ShowsTheFotosOfTheChosenAlbumSorted)
{
    TestDatabase db;
    const OrvExternalId album = db.album(QStringLiteral("a"));
    emit db.albumAdded(makeAlbum(album, QStringLiteral("A")), QIcon());
    OrvGroupModelAbstract* model = db.groupModel();
    model->setAlbum(album);
    model->setAutoSortColumn(0);
    emit db.fotosInserted(OrvExternalFotoList({db.foto(QStringLiteral("/b.jpg")), db.foto(QStringLiteral("/a.jpg"))}), album);
    ASSERT_EQ(model->rowCount(), 2);
    EXPECT_EQ(model->index(0).data().toString(), QStringLiteral("a.jpg"));
    model->setAutoSortColumn(-1);
    EXPECT_EQ(model->index(0).data().toString(), QStringLiteral("b.jpg"));
}

TEST(OrvGroupModel, AFolderFollowsWhatItsAlbumsReceive)
{
    TestDatabase db;
    const OrvExternalId folder = db.album(QStringLiteral("folder"));
    const OrvExternalId inner = db.album(QStringLiteral("inner"));
    const OrvExternalId beside = db.album(QStringLiteral("beside"));
    emit db.albumAdded(makeAlbum(folder, QStringLiteral("Folder")), QIcon());
    emit db.albumAdded(makeAlbum(inner, QStringLiteral("Inner"), folder), QIcon());
    emit db.albumAdded(makeAlbum(beside, QStringLiteral("Beside")), QIcon());
    OrvGroupModelAbstract* model = db.groupModel();
    model->setAutoSortColumn(0);
    model->setAlbum(folder);
    EXPECT_EQ(model->rowCount(), 0);
    // Fotos that arrive in an album inside the folder appear in it; elsewhere they do not.
    QSignalSpy resets(model, &QAbstractItemModel::modelReset);
    emit db.fotosInserted(OrvExternalFotoList({db.foto(QStringLiteral("/b.jpg")), db.foto(QStringLiteral("/a.jpg"))}), inner);
    ASSERT_EQ(model->rowCount(), 2);
    EXPECT_EQ(model->index(0).data().toString(), QStringLiteral("a.jpg"));
    const int before = int(resets.size());
    emit db.fotosInserted(OrvExternalFotoList({db.foto(QStringLiteral("/c.jpg"))}), beside);
    EXPECT_EQ(int(resets.size()), before) << "a change elsewhere leaves the folder alone";
    EXPECT_EQ(model->rowCount(), 2);
}

TEST(OrvExternalDatabase, DefaultRetrieverReadsTheLocalFile)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("big.jpg"));
    ASSERT_TRUE(OrvTest::writeFile(path, OrvTest::makeJpeg(800, 600, 6)));
    TestDatabase db;
    const OrvExternalFoto f = db.foto(path);
    emit db.fotosInserted(OrvExternalFotoList({f}), OrvExternalId());

    std::unique_ptr<OrvFotoRetrieverInterface> retriever(db.createRetrieverInterface(f.id()));
    ASSERT_TRUE(retriever);
    std::unique_ptr<OrvFotoRetrieverData> data(retriever->retrieve(QSize(100, 100)));
    const OrvFetchDrawableResult small = data->drawable(QSize(100, 100));
    ASSERT_TRUE(small.isValid());
    // Orientation 6: stored 800x600 shows as 600x800.
    EXPECT_EQ(small.drawable().size(), QSize(75, 100));
    EXPECT_EQ(data->file(OrvMediaFormat()).size(), QFileInfo(path).size());
    EXPECT_EQ(data->foto(), OrvFoto(OrvMediaDescriptor(QFileInfo(path))));

    std::unique_ptr<OrvFotoRetrieverMetaData> meta(retriever->retrieveMetaData());
    const OrvFotoMetaData metaData = meta->metaData();
    EXPECT_TRUE(metaData.isValid());
    EXPECT_EQ(metaData.orientation(), 6);

    std::unique_ptr<OrvFotoRetrieverInterface> copy(retriever->clone());
    EXPECT_TRUE(*copy == *retriever);
    EXPECT_EQ(copy->hash(), retriever->hash());
    EXPECT_FALSE(retriever->storeMetaData(metaData));

    // An id the source does not know gives nothing, and no crash.
    std::unique_ptr<OrvFotoRetrieverInterface> unknown(
        db.createRetrieverInterface(db.urlBuilder().build(QStringLiteral("foto"), QStringLiteral("gone"))));
    std::unique_ptr<OrvFotoRetrieverData> none(unknown->retrieve(QSize(10, 10)));
    EXPECT_FALSE(none->drawable(QSize(10, 10)).isValid());
    EXPECT_TRUE(none->file(OrvMediaFormat()).isEmpty());
    std::unique_ptr<OrvFotoRetrieverMetaData> noMeta(unknown->retrieveMetaData());
    EXPECT_FALSE(noMeta->metaData().isValid());
}

TEST(OrvFotoDatabaseFactory, RegistersBuildsAndReloadsControllers)
{
    TestDatabase db;
    OrvFotoDatabaseFactory* factory = OrvSingleton<OrvFotoDatabaseFactory>::instance();
    factory->clear();
    factory->registerDatabase(OrvFotoDatabaseType(testSourceType), &db);
    factory->registerDatabase(OrvFotoDatabaseType(testSourceType), &db);
    EXPECT_EQ(factory->databases().size(), 1);
    EXPECT_EQ(factory->databaseForService(QStringLiteral("testsource")), &db);

    OrvSingleton<OrvFotoBuilder>::instance()->addBuilder(&db);
    const OrvExternalId id = db.urlBuilder().build(QStringLiteral("foto"), QStringLiteral("x y"));
    EXPECT_EQ(OrvSingleton<OrvFotoBuilder>::instance()->buildFoto(id.toUrl()).externalId(), id);
    EXPECT_FALSE(OrvSingleton<OrvFotoBuilder>::instance()->buildFoto(QUrl(QStringLiteral("other:foto#1"))).isValid());

    OrvFotoSourceControllerRegistry* controllers = OrvSingleton<OrvFotoSourceControllerRegistry>::instance();
    QSignalSpy spy(controllers, &OrvFotoSourceControllerRegistry::controllersReloaded);
    controllers->reloadControllers();
    EXPECT_EQ(spy.size(), 1);
    ASSERT_EQ(controllers->controllers().size(), 1);
    EXPECT_EQ(controllers->controllers().first().database(), &db);

    factory->clear();
    OrvSingleton<OrvFotoBuilder>::instance()->clear();
}

TEST(OrvFotoListRegistry, ReadsFotoListFilesAndRejectsOthers)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("list.orvfotos"));
    OrvTest::writeFile(path, "#orv-fotolist 1\nname: Holiday\n# comment\n\nphotokit:foto#A_2FB\nfile:///tmp/x.jpg\nnot a url\n");
    OrvFotoListRegistryEntry entry = OrvSingleton<OrvFotoListRegistry>::instance()->entry(path);
    EXPECT_FALSE(entry.isLoaded());
    EXPECT_TRUE(entry.readListFromDisk());
    EXPECT_EQ(entry.name(), QStringLiteral("Holiday"));
    EXPECT_EQ(entry.fotoUrls().size(), 2);
    // The registry hands out the same entry for the same path.
    EXPECT_TRUE(OrvSingleton<OrvFotoListRegistry>::instance()->entry(path).isLoaded());

    const QString other = dir.filePath(QStringLiteral("other.txt"));
    OrvTest::writeFile(other, "hello\n");
    EXPECT_FALSE(OrvSingleton<OrvFotoListRegistry>::instance()->entry(other).readListFromDisk());
    EXPECT_FALSE(OrvSingleton<OrvFotoListRegistry>::instance()->entry(dir.filePath(QStringLiteral("missing"))).readListFromDisk());
    // A pipe blocks no one; a device is no endless list.
    const QString pipe = dir.filePath(QStringLiteral("pipe.orvfotos"));
    ASSERT_TRUE(OrvTest::makeFifo(pipe));
    EXPECT_FALSE(OrvSingleton<OrvFotoListRegistry>::instance()->entry(pipe).readListFromDisk());
    EXPECT_FALSE(OrvSingleton<OrvFotoListRegistry>::instance()->entry(QStringLiteral("/dev/zero")).readListFromDisk());
}

TEST(OrvFotoSafeContainer, GivesOneWritableTemporaryFolder)
{
    const QString dir = OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir();
    EXPECT_TRUE(QFileInfo(dir).isDir());
    EXPECT_TRUE(QFileInfo(dir).isWritable());
    EXPECT_EQ(OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir(), dir);
}

#include "OrvGUIWidgetsConfig.h"

TEST(OrvGUIWidgetsConfig, IconsAndImagesById)
{
    OrvGUIWidgetsConfig* config = OrvSingleton<OrvGUIWidgetsConfig>::instance();
    const QImage album = config->loadImageById(QStringLiteral("album"));
    ASSERT_FALSE(album.isNull());
    EXPECT_EQ(album.size(), QSize(16, 16));
    EXPECT_FALSE(config->loadIconById(QStringLiteral("camera")).isNull());
    const QImage dark = config->loadImageById(QStringLiteral("album"), 'd');
    EXPECT_LT(qGray(dark.pixel(1, 1)), qGray(album.convertToFormat(QImage::Format_ARGB32).pixel(1, 1)) + 1);
    EXPECT_TRUE(config->loadImageById(QStringLiteral("no-such-icon")).isNull());
    EXPECT_TRUE(config->loadIconById(QStringLiteral("../album")).isNull());
}
