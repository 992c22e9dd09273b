#include "PhotoKitFixture.h"

#include "OrvExternalFotoImplDataPhotoKit.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetrieverInterfacePhotoKit.h"
#include "OrvFotoDate.h"
#include "OrvQtCompat.h"
#include "TestSupport.h"

using OrvPhotoKit::AuthorizationStatus;
using OrvPhotoKitSim::CollectionKind;

namespace {

const QString deniedText = QStringLiteral(
    "Zugriff auf Fotos Datenbank verweigert.\nÜberprüfen Sie die Datenschutz Systemeinstellungen.");

} // namespace

TEST(PhotoKitIdentifiers, LocalIdentifiersRoundTripExceptOwnUnderscores)
{
    EXPECT_EQ(OrvPhotoKitDatabase::fromLocalIdentifier(QStringLiteral("A1B2/L0/001")), QStringLiteral("A1B2_2FL0_2F001"));
    const QString nonAscii = QStringLiteral("Ä-ß/üÜ/L0/é 1~.x");
    const QString remote = OrvPhotoKitDatabase::fromLocalIdentifier(nonAscii);
    EXPECT_FALSE(remote.contains(QLatin1Char('%')));
    EXPECT_FALSE(remote.contains(QLatin1Char('/')));
    EXPECT_EQ(OrvPhotoKitDatabase::toLocalIdentifier(remote), nonAscii);
    // An underscore of its own survives encoding but is read back as an escape.
    const QString underscored = QStringLiteral("AB_CD/L0/001");
    EXPECT_NE(OrvPhotoKitDatabase::toLocalIdentifier(OrvPhotoKitDatabase::fromLocalIdentifier(underscored)), underscored);
    // Broken escapes give something, never a crash.
    EXPECT_EQ(OrvPhotoKitDatabase::toLocalIdentifier(QString()), QString());
    OrvPhotoKitDatabase::toLocalIdentifier(QStringLiteral("_Z_"));
    OrvPhotoKitDatabase::toLocalIdentifier(QStringLiteral("_C3"));
}

TEST_F(PhotoKitTest, TreeWithAccessAlreadyGranted)
{
    auto favourites = album(QStringLiteral("FAV"), QStringLiteral("Favoriten"));
    favourites.kind = CollectionKind::SmartAlbum;
    favourites.smartSubtype = OrvPhotoKit::AssetCollectionSubtype::SmartAlbumFavorites;
    library->addCollection(favourites);
    library->addAsset(asset(QStringLiteral("a/1"), QStringLiteral("2019-03-01T10:00:00Z")));
    library->addAsset(asset(QStringLiteral("a/2"), QStringLiteral("2021-06-01T10:00:00Z")));
    library->addAsset(asset(QStringLiteral("a/3"), QStringLiteral("2021-07-01T10:00:00Z")));
    library->addAsset(asset(QStringLiteral("a/4"), QString()));
    library->addCollection(album(QStringLiteral("U/1"), QStringLiteral("Urlaub"), {QStringLiteral("a/1")}));
    library->addCollection(folder(QStringLiteral("F/1"), QStringLiteral("Reisen")));

    EXPECT_TRUE(source().doLazyInit());
    // The whole first level is there when doLazyInit returns.
    EXPECT_EQ(topLevelNames(), (QStringList{QStringLiteral("Alle Fotos"), QStringLiteral("Favoriten"),
                                            QStringLiteral("Jahre"), QStringLiteral("Urlaub"), QStringLiteral("Reisen")}));
    EXPECT_FALSE(database->findAlbum(id(QStringLiteral("iCloud"))).isValid());
    QStringList years;
    for (const OrvExternalId& year : childIds(id(QStringLiteral("years"))))
        years.append(year.remoteId());
    EXPECT_EQ(years, (QStringList{QStringLiteral("2021"), QStringLiteral("2019")}));
    EXPECT_EQ(library->authorizationRequestCount(), 0);
    EXPECT_EQ(heard->loading, (QList<bool>{true, false}));
    EXPECT_TRUE(heard->addedOnMainThread.first());
    EXPECT_TRUE(logged(QStringLiteral("startFetch begin")));
    EXPECT_TRUE(logged(QStringLiteral("startFetch end")));

    const int albums = heard->added.size();
    EXPECT_TRUE(database->doLazyInit());
    EXPECT_EQ(heard->added.size(), albums);
    EXPECT_EQ(library->authorizationRequestCount(), 0);
}

// Years are local and strict on both sides: local midnight of New Year belongs to neither
// year, the moments around it to theirs. (ctest runs this once more in a zone far from UTC.)
TEST_F(PhotoKitTest, MidnightOfNewYearIsInNoYearAndTheMomentsAroundItInTheirs)
{
    const QTime midnight(0, 0);
    const QTime lastMoment(23, 59, 59, 999);
    const struct
    {
        QString id;
        QDateTime created;
        QString year;
    } assets[] = {
        {QStringLiteral("y/1"), OrvQt::local(QDate(2020, 12, 31), lastMoment), QStringLiteral("2020")},
        {QStringLiteral("y/2"), OrvQt::local(QDate(2021, 1, 1), midnight), QString()},
        {QStringLiteral("y/3"), OrvQt::local(QDate(2021, 1, 1), QTime(0, 0, 1)), QStringLiteral("2021")},
        {QStringLiteral("y/4"), OrvQt::local(QDate(2021, 12, 31), lastMoment), QStringLiteral("2021")},
        {QStringLiteral("y/5"), OrvQt::local(QDate(2022, 1, 1), midnight), QString()},
        {QStringLiteral("y/6"), OrvQt::local(QDate(2022, 1, 1), QTime(0, 0, 0, 1)), QStringLiteral("2022")},
        // Many cameras' clock before it is set: in no year either.
        {QStringLiteral("y/7"), OrvQt::local(QDate(2000, 1, 1), midnight), QString()},
    };
    for (const auto& a : assets) {
        auto spec = asset(a.id, QString());
        spec.creationDate = a.created;
        library->addAsset(spec);
    }
    source().doLazyInit();
    QStringList years;
    for (const OrvExternalId& year : childIds(id(QStringLiteral("years"))))
        years.append(year.remoteId());
    EXPECT_EQ(years, (QStringList{QStringLiteral("2022"), QStringLiteral("2021"), QStringLiteral("2020"), QStringLiteral("2000")}));
    for (const QString& year : std::as_const(years)) {
        SCOPED_TRACE(year.toStdString());
        open(id(QStringLiteral("year"), year));
        QStringList expected;
        for (const auto& a : assets) {
            if (a.year == year)
                expected.append(a.id);
        }
        QStringList found;
        for (const OrvExternalFoto& foto : fotosOf(id(QStringLiteral("year"), year)))
            found.append(OrvPhotoKitDatabase::toLocalIdentifier(foto.id().remoteId()));
        found.sort();
        EXPECT_EQ(found, expected);
    }
}

TEST_F(PhotoKitTest, SharedAlbumsGetTheirOwnNode)
{
    auto sharedAsset = asset(QStringLiteral("s/1"), QStringLiteral("2020-01-05T10:00:00Z"));
    sharedAsset.sourceType = OrvPhotoKit::AssetSourceTypeCloudShared;
    library->addAsset(sharedAsset);
    auto shared = album(QStringLiteral("S/1"), QStringLiteral("Familie"), {QStringLiteral("s/1")});
    shared.kind = CollectionKind::SharedAlbum;
    library->addCollection(shared);

    source().doLazyInit();
    EXPECT_EQ(topLevelNames(), (QStringList{QStringLiteral("Alle Fotos"), QStringLiteral("Geteilte Alben"),
                                            QStringLiteral("Jahre")}));
    EXPECT_EQ(childIds(id(QStringLiteral("iCloud"))), (QList<OrvExternalId>{albumId(QStringLiteral("S/1"))}));
    // Shared assets are no part of the own library's years, but the shared album shows them.
    EXPECT_TRUE(childIds(id(QStringLiteral("years"))).isEmpty());
    open(albumId(QStringLiteral("S/1")));
    EXPECT_EQ(fotosOf(albumId(QStringLiteral("S/1"))).size(), 1);
}

TEST_F(PhotoKitTest, OpeningNodesFetchesEachOnce)
{
    for (int i = 0; i < 5; ++i)
        library->addAsset(asset(QStringLiteral("x/%1").arg(i), QStringLiteral("202%1-02-02T10:00:00Z").arg(i % 2)));
    library->addCollection(album(QStringLiteral("U/1"), QStringLiteral("Urlaub"), {QStringLiteral("x/3"), QStringLiteral("x/1")}));
    source().doLazyInit();

    open(id(QStringLiteral("all")));
    open(id(QStringLiteral("all")));
    EXPECT_EQ(fetchesOf(id(QStringLiteral("all"))), 1);
    EXPECT_EQ(fotosOf(id(QStringLiteral("all"))).size(), 5);

    open(albumId(QStringLiteral("U/1")));
    database->markAlbumAsRequested(albumId(QStringLiteral("U/1")));
    EXPECT_EQ(fetchesOf(albumId(QStringLiteral("U/1"))), 1);
    EXPECT_EQ(fotosOf(albumId(QStringLiteral("U/1"))).size(), 2);

    open(id(QStringLiteral("year"), QStringLiteral("2021")));
    EXPECT_EQ(fotosOf(id(QStringLiteral("year"), QStringLiteral("2021"))).size(), 2);

    // Nothing to open: empty fragment, unknown types and ids, another service.
    const int before = heard->inserted.size();
    open(id(QStringLiteral("album")));
    open(id(QStringLiteral("album"), QStringLiteral("NOPE_2F1")));
    open(id(QStringLiteral("folder"), QStringLiteral("NOPE")));
    open(id(QStringLiteral("bogus"), QStringLiteral("x")));
    database->fetchMore(QUrl());
    database->fetchMore(QUrl(QStringLiteral("photokit:album#%%%")));
    EXPECT_EQ(heard->inserted.size(), before);
    EXPECT_TRUE(logged(QStringLiteral("Error: AssetCollection with localIdentifier \"NOPE/1\" not found")));
}

TEST_F(PhotoKitTest, AlbumsThatVanishBeforeOpeningStayEmpty)
{
    library->addCollection(album(QStringLiteral("U/1"), QStringLiteral("Urlaub")));
    source().doLazyInit();
    OrvPhotoKitSim::setSharedLibrary(nullptr);  // the source keeps its own reference
    library->removeCollection(QStringLiteral("U/1"));
    settle();
    open(albumId(QStringLiteral("U/1")));
    EXPECT_EQ(fetchesOf(albumId(QStringLiteral("U/1"))), 0);
    EXPECT_FALSE(database->findAlbum(albumId(QStringLiteral("U/1"))).isValid());
}

TEST_F(PhotoKitTest, NestedFoldersAreFetchedUpTheChain)
{
    library->addAsset(asset(QStringLiteral("n/1"), QStringLiteral("2020-01-01T12:00:00Z")));
    library->addCollection(folder(QStringLiteral("F/top"), QStringLiteral("Oben")));
    library->addCollection(folder(QStringLiteral("F/mid"), QStringLiteral("Mitte"), QStringLiteral("F/top")));
    library->addCollection(album(QStringLiteral("A/deep"), QStringLiteral("Tief"), {QStringLiteral("n/1")}, QStringLiteral("F/mid")));
    library->addCollection(album(QStringLiteral("A/sib"), QStringLiteral("Nachbar"), {}, QStringLiteral("F/mid")));
    library->addCollection(album(QStringLiteral("A/side"), QStringLiteral("Daneben"), {}, QStringLiteral("F/top")));
    source().doLazyInit();
    EXPECT_FALSE(database->findAlbum(albumId(QStringLiteral("A/side"))).isValid());

    // The host knows the deep album and its folder (say, from a saved project) before any folder was opened.
    OrvExternalAlbum mid(folderId(QStringLiteral("F/mid")), QStringLiteral("Mitte"), {}, OrvExternalAlbumType::Regular);
    mid.setParentAlbum(folderId(QStringLiteral("F/top")));
    database->albumAdded(mid);
    OrvExternalAlbum deep(albumId(QStringLiteral("A/deep")), QStringLiteral("Tief"), {}, OrvExternalAlbumType::Regular);
    deep.setParentAlbum(folderId(QStringLiteral("F/mid")));
    database->albumAdded(deep);
    open(albumId(QStringLiteral("A/deep")));

    EXPECT_EQ(fotosOf(albumId(QStringLiteral("A/deep"))).size(), 1);
    EXPECT_EQ(database->findAlbum(albumId(QStringLiteral("A/sib"))).parentAlbum(), folderId(QStringLiteral("F/mid")));
    EXPECT_EQ(database->findAlbum(albumId(QStringLiteral("A/side"))).parentAlbum(), folderId(QStringLiteral("F/top")));
    // Each folder once: opening them again adds nothing.
    const int albums = heard->added.size();
    open(folderId(QStringLiteral("F/top")));
    open(folderId(QStringLiteral("F/mid")));
    EXPECT_EQ(heard->added.size(), albums);
}

TEST_F(PhotoKitTest, OpeningAFolderAnnouncesItsContent)
{
    library->addCollection(folder(QStringLiteral("F/top"), QStringLiteral("Oben")));
    library->addCollection(folder(QStringLiteral("F/mid"), QStringLiteral("Mitte"), QStringLiteral("F/top")));
    library->addCollection(album(QStringLiteral("A/deep"), QStringLiteral("Tief"), {}, QStringLiteral("F/mid")));
    source().doLazyInit();
    open(folderId(QStringLiteral("F/top")));
    EXPECT_EQ(childIds(folderId(QStringLiteral("F/top"))), QList<OrvExternalId>{folderId(QStringLiteral("F/mid"))});
    EXPECT_TRUE(childIds(folderId(QStringLiteral("F/mid"))).isEmpty());  // fetched when opened
    open(folderId(QStringLiteral("F/mid")));
    EXPECT_EQ(childIds(folderId(QStringLiteral("F/mid"))), QList<OrvExternalId>{albumId(QStringLiteral("A/deep"))});
}

TEST_F(PhotoKitTest, AccessAskedAndGrantedFetchesOnTheAuthorizationQueue)
{
    library->setAuthorizationStatus(AuthorizationStatus::NotDetermined);
    library->setAuthorizationAnswer(AuthorizationStatus::Authorized);
    library->addAsset(asset(QStringLiteral("g/1"), QStringLiteral("2018-01-01T12:00:00Z")));
    library->addCollection(album(QStringLiteral("U/1"), QStringLiteral("Urlaub"), {QStringLiteral("g/1")}));

    // Opened before access: waits in the backlog.
    source().loader()->fetchMore(albumId(QStringLiteral("U/1")).toUrl());
    EXPECT_EQ(fetchesOf(albumId(QStringLiteral("U/1"))), 0);

    EXPECT_TRUE(database->doLazyInit());
    settle();
    EXPECT_EQ(library->authorizationRequestCount(), 1);
    LoggedLine begin;
    ASSERT_TRUE(logged(QStringLiteral("startFetch begin"), &begin));
    EXPECT_FALSE(begin.onMainThread);
    EXPECT_EQ(begin.function, QStringLiteral("-[OrvPhotoKitLoader startFetch]"));
    EXPECT_FALSE(heard->addedOnMainThread.first());
    EXPECT_EQ(fetchesOf(albumId(QStringLiteral("U/1"))), 1);
    EXPECT_NE(database->service().placeholderText(), deniedText);
}

class PhotoKitAccessRefused : public PhotoKitTest, public ::testing::WithParamInterface<std::pair<AuthorizationStatus, const char*>>
{
};

TEST_P(PhotoKitAccessRefused, ShowsThePlaceholderAndServesNothing)
{
    library->setAuthorizationStatus(AuthorizationStatus::NotDetermined);
    library->setAuthorizationAnswer(GetParam().first);
    library->addAsset(asset(QStringLiteral("d/1"), QStringLiteral("2018-01-01T12:00:00Z")));

    source().doLazyInit();
    settle();
    LoggedLine line;
    ASSERT_TRUE(logged(QString::fromLatin1(GetParam().second), &line));
    EXPECT_EQ(line.function, QStringLiteral("-[OrvPhotoKitLoader startObserving]_block_invoke"));
    EXPECT_FALSE(line.onMainThread);
    EXPECT_EQ(database->service().placeholderText(), deniedText);
    EXPECT_FALSE(logged(QStringLiteral("startFetch begin")));
    open(id(QStringLiteral("all")));
    settle();
    EXPECT_EQ(database->countFotos(), 0);
    EXPECT_TRUE(heard->added.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Statuses, PhotoKitAccessRefused,
                         ::testing::Values(std::make_pair(AuthorizationStatus::Denied, "PHAuthorizationStatusDenied"),
                                           std::make_pair(AuthorizationStatus::Restricted, "PHAuthorizationStatusRestricted"),
                                           std::make_pair(AuthorizationStatus::NotDetermined,
                                                          "PHAuthorizationStatusNotDetermined")));

TEST_F(PhotoKitTest, SortOptionIsAppliedOnceThenFrozen)
{
    auto& db = source();
    EXPECT_TRUE(db.isSelfSorter());
    ASSERT_EQ(db.loader()->sortDescriptors().size(), 1);
    EXPECT_FALSE(db.loader()->sortDescriptors().first().ascending);

    db.setSortOption(OrvFotoSortNone, true);
    EXPECT_TRUE(db.isSelfSorter());
    EXPECT_FALSE(db.loader()->sortDescriptors().first().ascending);

    db.setSortOption(OrvFotoSortByDate, true);
    db.setSortOption(OrvFotoSortByDate, true);
    EXPECT_TRUE(db.isSelfSorter());
    EXPECT_TRUE(db.loader()->sortDescriptors().first().ascending);

    db.setSortOption(OrvFotoSortByDate, false);
    EXPECT_FALSE(db.isSelfSorter());
    EXPECT_TRUE(db.loader()->sortDescriptors().first().ascending);
    db.setSortOption(OrvFotoSortByDate, true);
    db.setSortOption(OrvFotoSortNone, false);
    EXPECT_FALSE(db.isSelfSorter());
}

TEST_F(PhotoKitTest, FavouritesFirstSortsTheNextFetch)
{
    library->addAsset(asset(QStringLiteral("o/1"), QStringLiteral("2020-01-01T12:00:00Z")));
    library->addAsset(asset(QStringLiteral("o/2"), QStringLiteral("2020-02-01T12:00:00Z"), true));
    library->addAsset(asset(QStringLiteral("o/3"), QStringLiteral("2020-03-01T12:00:00Z")));
    source().setSortOption(OrvFotoSortByFavoriteAndDate, true);
    const auto descriptors = database->loader()->sortDescriptors();
    ASSERT_EQ(descriptors.size(), 2);
    EXPECT_EQ(descriptors[0].key, QStringLiteral("favorite"));
    EXPECT_FALSE(descriptors[0].ascending);
    database->doLazyInit();
    open(id(QStringLiteral("all")));
    QStringList order;
    for (const OrvExternalFoto& foto : fotosOf(id(QStringLiteral("all"))))
        order.append(OrvPhotoKitDatabase::toLocalIdentifier(foto.id().remoteId()));
    EXPECT_EQ(order, (QStringList{QStringLiteral("o/2"), QStringLiteral("o/1"), QStringLiteral("o/3")}));
}

TEST_F(PhotoKitTest, FotoDataFollowsTheAsset)
{
    auto placed = asset(QStringLiteral("p/1"), QStringLiteral("2021-05-03T12:25:01Z"), true);
    placed.localCreationDate = utc(QStringLiteral("2021-05-03T14:25:01Z"));  // taken at UTC+2
    placed.location = OrvPhotoKit::Location{{48.1, 11.5}};
    placed.pixelWidth = 4032;
    placed.pixelHeight = 3024;
    library->addAsset(placed);
    auto west = asset(QStringLiteral("p/2"), QStringLiteral("2021-05-03T12:00:00Z"));
    west.localCreationDate = utc(QStringLiteral("2021-05-02T19:00:01Z"));  // d = -61199: the band's edge
    library->addAsset(west);
    auto tooFar = asset(QStringLiteral("p/3"), QStringLiteral("2021-05-03T12:00:00Z"));
    tooFar.localCreationDate = utc(QStringLiteral("2021-05-04T05:00:00Z"));  // d = 61200: ignored
    library->addAsset(tooFar);
    library->addAsset(asset(QStringLiteral("9F1C0D2E-0004/L0/001"), QString()));
    auto band = asset(QStringLiteral("p/5"), QStringLiteral("2021-05-03T12:00:00Z"));
    band.localCreationDate = utc(QStringLiteral("2021-05-04T04:30:00Z"));  // d = 59400: within reach, but no fixed zone
    library->addAsset(band);
    auto lastZone = asset(QStringLiteral("p/6"), QStringLiteral("2021-05-03T12:00:00Z"));
    lastZone.localCreationDate = utc(QStringLiteral("2021-05-04T04:00:00Z"));  // d = 57600: the last fixed zone
    library->addAsset(lastZone);

    source().doLazyInit();
    open(id(QStringLiteral("all")));
    const OrvExternalDataPool& pool = database->getExternalDataPoolConst();

    const OrvExternalFoto foto = pool.findFoto(fotoId(QStringLiteral("p/1")));
    ASSERT_TRUE(foto.isValid());
    EXPECT_EQ(foto.name(), QStringLiteral("2021-05-03T142501.jpg"));
    EXPECT_EQ(foto.taken().offsetFromUtc(), 7200);
    EXPECT_EQ(foto.taken().toMSecsSinceEpoch(), utc(QStringLiteral("2021-05-03T12:25:01Z")).toMSecsSinceEpoch());
    EXPECT_EQ(foto.size(), QSize(4032, 3024));
    EXPECT_EQ(foto.position(), OrvGeoPosition(48.1, 11.5));
    EXPECT_EQ(foto.fileFormat(), OrvMediaFormat(OrvMediaFormat::Jpeg));
    EXPECT_EQ(foto.adobeRating(), 5);
    EXPECT_TRUE(foto.dataUrl(QSize(100, 100)).isEmpty());

    const OrvFotoMetaData meta = OrvSingleton<OrvFotoCacheManager>::instance()->metaData(
        OrvFoto(OrvFotoKeyExternalService(database.get(), foto.id())));
    ASSERT_TRUE(meta.isValid());
    EXPECT_EQ(meta.adobeRating(), 5);
    EXPECT_EQ(meta.preferredSize(), QSize(4032, 3024));
    EXPECT_EQ(meta.pictureTaken().toMSecsSinceEpoch(), foto.taken().toMSecsSinceEpoch());
    EXPECT_EQ(meta.geoPosition(), OrvGeoPosition(48.1, 11.5));

    EXPECT_EQ(pool.findFoto(fotoId(QStringLiteral("p/2"))).name(), QStringLiteral("2021-05-03T120000.jpg"));
    EXPECT_EQ(pool.findFoto(fotoId(QStringLiteral("p/3"))).name(), QStringLiteral("2021-05-03T120000.jpg"));
    EXPECT_EQ(pool.findFoto(fotoId(QStringLiteral("p/3"))).taken().offsetFromUtc(), 0);
    EXPECT_FALSE(pool.findFoto(fotoId(QStringLiteral("p/3"))).position().isValid());

    // Without a date: a random moment in the first 49.7 days of 1970 (UTC), named and stored as
    // taken then; the host program shows it as no date.
    const OrvExternalFoto undated = pool.findFoto(fotoId(QStringLiteral("9F1C0D2E-0004/L0/001")));
    EXPECT_GE(undated.taken().toMSecsSinceEpoch(), 0);
    EXPECT_LE(undated.taken().toMSecsSinceEpoch(), qint64(0xffffffff));
    EXPECT_TRUE(OrvFotoDate::isStandIn(undated.taken()));
    EXPECT_EQ(undated.name(), undated.taken().toString(QStringLiteral("yyyy-MM-dd'T'HHmmss'.jpg'")));
    EXPECT_EQ(OrvSingleton<OrvFotoCacheManager>::instance()
                  ->metaData(OrvFoto(OrvFotoKeyExternalService(database.get(), undated.id())))
                  .pictureTaken(),
              undated.taken());

    // Beyond the fixed zones (more than 16 hours) no zone can be given: the instant stays as it was.
    const OrvExternalFoto banded = pool.findFoto(fotoId(QStringLiteral("p/5")));
    EXPECT_EQ(banded.name(), QStringLiteral("2021-05-03T120000.jpg"));
    EXPECT_EQ(banded.taken().toMSecsSinceEpoch(), utc(QStringLiteral("2021-05-03T12:00:00Z")).toMSecsSinceEpoch());
    const OrvExternalFoto sixteen = pool.findFoto(fotoId(QStringLiteral("p/6")));
    EXPECT_EQ(sixteen.taken().offsetFromUtc(), 57600);
    EXPECT_EQ(sixteen.name(), QStringLiteral("2021-05-04T040000.jpg"));
}

TEST_F(PhotoKitTest, SourceAnswers)
{
    auto& db = source();
    const OrvExternalId unknown = fotoId(QStringLiteral("nowhere/1"));
    EXPECT_EQ(db.findMostImportantPlaceFor(unknown), id(QStringLiteral("all")));
    EXPECT_TRUE(db.findMostImportantPlaceFor(unknown).remoteId().isEmpty());
    EXPECT_EQ(db.convertableFileFormats(unknown), OrvMediaFormatList{OrvMediaFormat(OrvMediaFormat::Jpeg)});
    EXPECT_TRUE(db.wantsToBeShown());
    EXPECT_EQ(db.service().serviceId(), QStringLiteral("photokit"));
    EXPECT_EQ(db.databaseType(), OrvFotoDatabaseType(OrvFotoDatabaseType::PhotoKit));
    EXPECT_EQ(db.service().placeholderText(), QStringLiteral("<b>Fotos werden geladen</b>"));
    EXPECT_TRUE(db.drawable(unknown, QSize(10, 10), true).isNull());
    EXPECT_TRUE(db.file(unknown, OrvMediaFormat(OrvMediaFormat::Jpeg)).isEmpty());
    EXPECT_FALSE(db.metaData(unknown).isValid());

    std::unique_ptr<OrvFotoRetrieverInterface> first(db.createRetrieverInterface(unknown));
    std::unique_ptr<OrvFotoRetrieverInterface> second(first->clone());
    std::unique_ptr<OrvFotoRetrieverInterface> other(db.createRetrieverInterface(fotoId(QStringLiteral("x"))));
    EXPECT_TRUE(*first == *second);
    EXPECT_EQ(first->hash(), second->hash());
    EXPECT_FALSE(*first == *other);
    std::unique_ptr<OrvFotoRetrieverInterface> local(static_cast<OrvExternalDatabase&>(db).OrvExternalDatabase::createRetrieverInterface(unknown));
    EXPECT_FALSE(*first == *local);
}

TEST_F(PhotoKitTest, ProjectsJoinTheTopLevel)
{
    library->addCollection(folder(QStringLiteral("F/1"), QStringLiteral("Ordner")));
    library->addCollection(album(QStringLiteral("P/1"), QStringLiteral("Kalender"), {}, QStringLiteral("F/1")));
    source().doLazyInit();
    EXPECT_EQ(database->addProject(QStringLiteral("P/1")), albumId(QStringLiteral("P/1")));
    EXPECT_EQ(database->findAlbum(albumId(QStringLiteral("P/1"))).parentAlbum(), id(QStringLiteral("projects")));
    EXPECT_EQ(topLevelNames().last(), QStringLiteral("Projekt"));
    EXPECT_FALSE(database->addProject(QStringLiteral("P/none")).isValid());
}

struct FileNameCase
{
    QStringList resources;
    const char* expected;
};

class PhotoKitFileName : public PhotoKitTest, public ::testing::WithParamInterface<FileNameCase>
{
};

TEST_P(PhotoKitFileName, ComesFromTheFirstPlainResource)
{
    auto spec = asset(QStringLiteral("f/1"), QStringLiteral("2020-01-01T10:00:00Z"));
    for (const QString& name : GetParam().resources)
        spec.resources.append({name, OrvPhotoKit::AssetResourceType::Photo, QString()});
    library->addAsset(spec);
    const OrvExternalFotoImplDataPhotoKit foto(fotoId(QStringLiteral("f/1")), QStringLiteral("base.jpg"), QDateTime(),
                                               QSize(), OrvGeoPosition());
    EXPECT_EQ(foto.fileName(), QString::fromUtf8(GetParam().expected));
    EXPECT_EQ(foto.fileNameFast(), QStringLiteral("base.jpg"));
    // Found once, kept for the object's life.
    library->updateAsset(asset(QStringLiteral("f/1"), QStringLiteral("2020-01-01T10:00:00Z")));
    EXPECT_EQ(foto.fileName(), QString::fromUtf8(GetParam().expected));
    std::unique_ptr<OrvExternalFotoImplData> copy(foto.clone());
    EXPECT_EQ(copy->fileName(), QString::fromUtf8(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Resources, PhotoKitFileName,
    ::testing::Values(FileNameCase{{QStringLiteral("IMG_0001.HEIC"), QStringLiteral("FullSizeRender.jpg")}, "IMG_0001.HEIC"},
                      FileNameCase{{QStringLiteral("FullSizeRender.jpg"), QStringLiteral("IMG_0001.HEIC")}, "IMG_0001.HEIC"},
                      FileNameCase{{QStringLiteral("IMG_0002.mov"), QStringLiteral("IMG_0002.JPG")}, "IMG_0002.JPG"},
                      FileNameCase{{QStringLiteral("FullSizeRender.jpg")}, "FullSizeRender.jpg"},
                      FileNameCase{{QStringLiteral("fullsizerender.jpg"), QStringLiteral("x.jpg")}, "fullsizerender.jpg"},
                      FileNameCase{{}, "base.jpg"}));

TEST_F(PhotoKitTest, FileNameOfAVanishedAssetIsTheBaseName)
{
    const OrvExternalFotoImplDataPhotoKit foto(fotoId(QStringLiteral("gone")), QStringLiteral("n.jpg"), QDateTime(), QSize(),
                                               OrvGeoPosition());
    EXPECT_TRUE(foto.detectFileName().isEmpty());
    EXPECT_EQ(foto.fileName(), QStringLiteral("n.jpg"));
}

TEST_F(PhotoKitTest, TheSampleLibraryOpensCompletely)
{
    QString error;
    library = OrvPhotoKitSim::Library::loadDescription(OrvTest::sourceDir() + QStringLiteral("/samples/photos/library.json"),
                                                       &error);
    ASSERT_TRUE(library) << error.toStdString();
    OrvPhotoKitSim::setSharedLibrary(library);
    source().doLazyInit();
    // Open every album until nothing new appears, as a browser whose user clicks everything would.
    QSet<OrvExternalId> opened;
    for (bool more = true; more;) {
        more = false;
        for (const OrvExternalAlbum& node : database->albums()) {
            if (!opened.contains(node.id())) {
                opened.insert(node.id());
                database->fetchMore(node.url());
                more = true;
            }
        }
    }
    EXPECT_EQ(topLevelNames(), (QStringList{QStringLiteral("Alle Fotos"), QStringLiteral("Favoriten"),
                                            QStringLiteral("Geteilte Alben"), QStringLiteral("Jahre"),
                                            QStringLiteral("Sommer 2021"), QStringLiteral("Reisen")}));
    EXPECT_EQ(fotosOf(id(QStringLiteral("all"))).size(), 7);  // the shared asset lives in its shared album only
    EXPECT_EQ(fotosOf(albumId(QStringLiteral("FAV0-0000-0001/L0/040"))).size(), 2);
    EXPECT_EQ(fotosOf(albumId(QStringLiteral("SHR0-0000-0001/L0/040"))).size(), 1);
    EXPECT_EQ(fotosOf(albumId(QStringLiteral("ALB0-0000-0003/L0/040"))).size(), 2);
    EXPECT_EQ(database->findAlbum(albumId(QStringLiteral("ALB0-0000-0003/L0/040"))).parentAlbum(),
              folderId(QStringLiteral("FLD0-0000-0002/L0/040")));
    EXPECT_EQ(database->findAlbum(folderId(QStringLiteral("FLD0-0000-0002/L0/040"))).parentAlbum(),
              folderId(QStringLiteral("FLD0-0000-0001/L0/040")));
    const OrvExternalFoto rome = database->findExternalFoto(fotoId(QStringLiteral("A1B2C3D4-0004/L0/001")));
    EXPECT_EQ(rome.name(), QStringLiteral("2022-04-02T120000.jpg"));
    EXPECT_EQ(rome.fileName(), QStringLiteral("IMG_0004.JPG"));
    EXPECT_EQ(rome.size(), QSize(160, 120));
    const OrvExternalFoto live = database->findExternalFoto(fotoId(QStringLiteral("A1B2C3D4-0003/L0/001")));
    EXPECT_EQ(live.fileName(), QStringLiteral("IMG_0003.JPG"));
    const OrvExternalFoto west = database->findExternalFoto(fotoId(QStringLiteral("A1B2C3D4-0006/L0/001")));
    EXPECT_EQ(west.taken().offsetFromUtc(), -7 * 3600);
}

TEST_F(PhotoKitTest, AnAlbumWithAnUnderscoreOfItsOwnCannotBeOpened)
{
    // The remote id keeps the underscore, reading it back takes it for an escape: the album shows, stays empty.
    library->addAsset(asset(QStringLiteral("u/1"), QStringLiteral("2020-01-01T10:00:00Z")));
    library->addCollection(album(QStringLiteral("MY_ALBUM/L0/040"), QStringLiteral("Mit Strich"), {QStringLiteral("u/1")}));
    source().doLazyInit();
    const OrvExternalId underscored = albumId(QStringLiteral("MY_ALBUM/L0/040"));
    EXPECT_EQ(underscored.remoteId(), QStringLiteral("MY_ALBUM_2FL0_2F040"));
    EXPECT_TRUE(database->findAlbum(underscored).isValid());
    open(underscored);
    EXPECT_EQ(fetchesOf(underscored), 0);
    EXPECT_TRUE(heard->inserted.isEmpty());
}

TEST(PhotoKitRetrievers, AnswerEmptyForFotosTheSourceCannotDeliver)
{
    OrvPhotoKitDatabase* source = OrvSingleton<OrvPhotoKitDatabase>::instance();
    ASSERT_EQ(source, OrvSingleton<OrvPhotoKitDatabase>::instance());
    const OrvExternalId unknown(QStringLiteral("photokit"), QStringLiteral("foto"), QStringLiteral("NOT_2FTHERE"));
    std::unique_ptr<OrvFotoRetrieverInterface> retriever(source->createRetrieverInterface(unknown));
    const auto* photoKit = dynamic_cast<OrvFotoRetrieverInterfacePhotoKit*>(retriever.get());
    ASSERT_TRUE(photoKit);
    EXPECT_FALSE(photoKit->databaseFoto().isValid());
    std::unique_ptr<OrvFotoRetrieverData> data(retriever->retrieve(QSize(100, 100)));
    EXPECT_FALSE(data->drawable(QSize(100, 100)).isValid());
    EXPECT_FALSE(data->foto().isValid());
    EXPECT_TRUE(data->file(OrvMediaFormat(OrvMediaFormat::Jpeg)).isEmpty());
    std::unique_ptr<OrvFotoRetrieverMetaData> meta(retriever->retrieveMetaData());
    EXPECT_FALSE(meta->metaData().isValid());
    EXPECT_FALSE(retriever->storeMetaData(OrvFotoMetaData()));
}
