#include "OrvExternalFoto.h"
#include "OrvExternalMonthSynthesizer.h"
#include "OrvExternalPools.h"

#include <gtest/gtest.h>

#include <QSet>
#include <QThread>
#include <QTimeZone>

#include <atomic>
#include <thread>

namespace {

OrvExternalFoto foto(const QString& remoteId, const QDateTime& taken = {}, const OrvExternalFaceList& faces = {})
{
    return OrvExternalFoto(new OrvExternalFotoImplDataLocalDatabase(
        OrvExternalId(QStringLiteral("iphoto"), QStringLiteral("foto"), remoteId), remoteId + QStringLiteral(".jpg"),
        taken, QStringLiteral("/lib/") + remoteId + QStringLiteral(".jpg"),
        QStringLiteral("/lib/thumbs/") + remoteId + QStringLiteral(".jpg"), faces));
}

OrvExternalId albumId(const QString& remoteId) { return {QStringLiteral("iphoto"), QStringLiteral("album"), remoteId}; }
OrvExternalId fotoId(const QString& remoteId) { return {QStringLiteral("iphoto"), QStringLiteral("foto"), remoteId}; }

} // namespace

TEST(OrvExternalId, RoundTripsThroughItsUrlWithAwkwardRemoteIds)
{
    const QStringList remoteIds{
        QString(), QStringLiteral("123"), QStringLiteral("A1B2/L0/001"), QStringLiteral("with#hash"),
        QStringLiteral("per%cent%2F"), QStringLiteral("two  spaces "), QStringLiteral("Größe Ärger ñ 日本"),
        QStringLiteral("?query=1&x"), QStringLiteral("_2F_%_"), QStringLiteral("#"), QStringLiteral("a/b#c%d e")};
    for (const QString& remote : remoteIds) {
        for (const char* type : {"foto", "album", "iCloud", "year"}) {
            const OrvExternalId id(QStringLiteral("photokit"), QString::fromLatin1(type), remote);
            const QUrl url = id.toUrl();
            ASSERT_TRUE(url.isValid()) << qPrintable(remote);
            EXPECT_EQ(url.scheme(), QStringLiteral("photokit"));
            EXPECT_EQ(url.path(), QString::fromLatin1(type));
            const OrvExternalId back(url);
            EXPECT_EQ(back, id) << qPrintable(url.toString());
            EXPECT_EQ(back.remoteId(), remote);
            EXPECT_EQ(back.hash(), id.hash());
            // Through text as well, as ids travel in files and on the command line.
            EXPECT_EQ(OrvExternalId(QUrl(url.toString(QUrl::FullyEncoded))), id) << qPrintable(url.toString());
        }
    }
}

TEST(OrvExternalId, ValidityAndEquality)
{
    EXPECT_FALSE(OrvExternalId().isValid());
    EXPECT_FALSE(OrvExternalId(QString(), QStringLiteral("foto"), QStringLiteral("1")).isValid());
    EXPECT_FALSE(OrvExternalId(QStringLiteral("iphoto"), QString(), QStringLiteral("1")).isValid());
    EXPECT_TRUE(OrvExternalId(QStringLiteral("photokit"), QStringLiteral("all"), QString()).isValid());
    EXPECT_FALSE(OrvExternalId(QUrl()).isValid());
    EXPECT_FALSE(OrvExternalId(QUrl(QStringLiteral("no scheme"))).isValid());
    EXPECT_NE(fotoId(QStringLiteral("1")), albumId(QStringLiteral("1")));
    EXPECT_EQ(OrvExternalId().toUrl(), QUrl());
    QSet<OrvExternalId> set{fotoId(QStringLiteral("1")), fotoId(QStringLiteral("1")), albumId(QStringLiteral("1"))};
    EXPECT_EQ(set.size(), 2);
    const OrvExternalAccess access{OrvExternalUrlBuilder(QStringLiteral("aperture"))};
    EXPECT_EQ(access.buildFaceId(QStringLiteral("7")).toUrl().toString(), QStringLiteral("aperture:face#7"));
}

TEST(OrvExternalFotoImplDataLocalDatabase, ServesThumbnailsUpToTheBoundAndTheImageBeyond)
{
    const OrvExternalFoto f = foto(QStringLiteral("IMG_1"));
    const int bound = OrvExternalFotoImplDataLocalDatabase::thumbnailBound;
    EXPECT_EQ(f.dataUrl(QSize(bound, bound)).toLocalFile(), QStringLiteral("/lib/thumbs/IMG_1.jpg"));
    EXPECT_EQ(f.dataUrl(QSize(64, 48)).toLocalFile(), QStringLiteral("/lib/thumbs/IMG_1.jpg"));
    EXPECT_EQ(f.dataUrl(QSize(bound + 1, 10)).toLocalFile(), QStringLiteral("/lib/IMG_1.jpg"));
    EXPECT_EQ(f.dataUrl(QSize(3000, 2000)).toLocalFile(), QStringLiteral("/lib/IMG_1.jpg"));
    EXPECT_EQ(f.dataUrl(QSize(-1, -1)).toLocalFile(), QStringLiteral("/lib/IMG_1.jpg"));
    EXPECT_EQ(f.fileFormat(), OrvMediaFormat(OrvMediaFormat::Jpeg));
    EXPECT_EQ(f.fileName(), QStringLiteral("IMG_1.jpg"));

    const OrvExternalFoto noThumb(new OrvExternalFotoImplDataLocalDatabase(
        fotoId(QStringLiteral("2")), QStringLiteral("2.png"), {}, QStringLiteral("/lib/2.png"), QString(), {}));
    EXPECT_EQ(noThumb.dataUrl(QSize(100, 100)).toLocalFile(), QStringLiteral("/lib/2.png"));
    EXPECT_FALSE(OrvExternalFoto().isValid());
    EXPECT_EQ(OrvExternalFoto().dataUrl(QSize(10, 10)), QUrl());
}

TEST(OrvExternalAlbumPool, KeepsTreeEdgesAndRemovesSubtrees)
{
    OrvExternalAlbumPool pool;
    OrvExternalAlbum folder(albumId(QStringLiteral("folder")), QStringLiteral("Folder"), {}, OrvExternalAlbumType::Folder);
    OrvExternalAlbum inner(albumId(QStringLiteral("inner")), QStringLiteral("Inner"), {}, OrvExternalAlbumType::Folder);
    inner.setParentAlbum(folder.id());
    OrvExternalAlbum leaf(albumId(QStringLiteral("leaf")), QStringLiteral("Leaf"), {fotoId(QStringLiteral("1"))},
                          OrvExternalAlbumType::Regular);
    OrvExternalAlbum top(albumId(QStringLiteral("top")), QStringLiteral("Top"), {}, OrvExternalAlbumType::Regular);
    pool.add(folder);
    pool.add(inner);
    pool.add(leaf);
    pool.add(top);
    pool.add(OrvExternalAlbum());  // invalid: ignored
    EXPECT_EQ(pool.size(), 4);
    EXPECT_EQ(pool.children(OrvExternalId()), (OrvExternalIdList{folder.id(), leaf.id(), top.id()}));

    pool.addKid(inner.id(), leaf.id());  // an album child becomes a sub-album
    EXPECT_EQ(pool.children(OrvExternalId()), (OrvExternalIdList{folder.id(), top.id()}));
    EXPECT_EQ(pool.children(inner.id()), OrvExternalIdList{leaf.id()});
    EXPECT_EQ(pool.find(leaf.id()).parentAlbum(), inner.id());

    pool.addKid(top.id(), fotoId(QStringLiteral("1")));  // a foto child joins the album once
    pool.addKid(top.id(), fotoId(QStringLiteral("1")));
    pool.addKid(top.id(), fotoId(QStringLiteral("2")));
    pool.addKid(albumId(QStringLiteral("unknown")), fotoId(QStringLiteral("3")));
    EXPECT_EQ(pool.find(top.id()).fotoIds(), (OrvExternalIdList{fotoId(QStringLiteral("1")), fotoId(QStringLiteral("2"))}));

    // Copies are independent values.
    const OrvExternalAlbumPool snapshot = pool;
    pool.remove(folder.id());
    EXPECT_EQ(pool.size(), 1);
    EXPECT_FALSE(pool.contains(leaf.id()));
    EXPECT_TRUE(pool.contains(top.id()));
    EXPECT_EQ(pool.children(OrvExternalId()), OrvExternalIdList{top.id()});
    EXPECT_EQ(snapshot.size(), 4);
    EXPECT_TRUE(snapshot.contains(leaf.id()));

    EXPECT_TRUE(pool.rename(top.id(), QStringLiteral("Renamed")));
    EXPECT_EQ(pool.find(top.id()).name(), QStringLiteral("Renamed"));
    EXPECT_FALSE(pool.rename(folder.id(), QStringLiteral("gone")));
}

TEST(OrvExternalDataPool, FotosInSeveralAlbumsAndRemoval)
{
    OrvExternalFotoPool fotos;
    fotos.add(foto(QStringLiteral("1")));
    fotos.add(foto(QStringLiteral("2")));
    fotos.add(foto(QStringLiteral("1")));  // replaces, keeps one
    fotos.add(OrvExternalFoto());
    EXPECT_EQ(fotos.size(), 2);

    OrvExternalAlbumPool albums;
    albums.add(OrvExternalAlbum(albumId(QStringLiteral("a")), QStringLiteral("A"),
                                {fotoId(QStringLiteral("1")), fotoId(QStringLiteral("2")), fotoId(QStringLiteral("movie"))},
                                OrvExternalAlbumType::Regular));
    albums.add(OrvExternalAlbum(albumId(QStringLiteral("b")), QStringLiteral("B"), {fotoId(QStringLiteral("1"))},
                                OrvExternalAlbumType::Regular));
    OrvExternalDataPool pool(albums, fotos);

    // Ids without a foto (a movie left out) are skipped, order is kept.
    const OrvExternalFotoList inA = pool.fotosInAlbum(albumId(QStringLiteral("a")));
    ASSERT_EQ(inA.size(), 2);
    EXPECT_EQ(inA.at(0).id(), fotoId(QStringLiteral("1")));
    EXPECT_EQ(pool.fotosInAlbum(albumId(QStringLiteral("b"))).size(), 1);

    pool.removeFotoFromAlbum(fotoId(QStringLiteral("1")), albumId(QStringLiteral("a")));
    EXPECT_EQ(pool.fotosInAlbum(albumId(QStringLiteral("a"))).size(), 1);
    EXPECT_EQ(pool.fotosInAlbum(albumId(QStringLiteral("b"))).size(), 1);
    EXPECT_TRUE(pool.findFoto(fotoId(QStringLiteral("1"))).isValid());

    pool.insertFotos(OrvExternalFotoList({foto(QStringLiteral("3")), foto(QStringLiteral("1"))}), albumId(QStringLiteral("b")));
    EXPECT_EQ(pool.countFotos(), 3);
    EXPECT_EQ(pool.findAlbum(albumId(QStringLiteral("b"))).fotoIds(),
              (OrvExternalIdList{fotoId(QStringLiteral("1")), fotoId(QStringLiteral("3"))}));

    pool.removeAlbum(albumId(QStringLiteral("a")));
    EXPECT_FALSE(pool.findAlbum(albumId(QStringLiteral("a"))).isValid());
    EXPECT_TRUE(pool.fotosInAlbum(albumId(QStringLiteral("a"))).isEmpty());
    EXPECT_TRUE(pool.fotosInAlbum(albumId(QStringLiteral("nothing"))).isEmpty());
}

TEST(OrvExternalDataPool, AFolderHoldsTheFotosOfItsAlbums)
{
    OrvExternalFotoPool fotos;
    for (const char* key : {"1", "2", "3", "4"})
        fotos.add(foto(QString::fromLatin1(key)));
    const auto album = [](const char* key, const OrvExternalIdList& ids, const char* parent) {
        OrvExternalAlbum made(albumId(QString::fromLatin1(key)), QString::fromLatin1(key), ids, OrvExternalAlbumType::Regular);
        if (*parent)
            made.setParentAlbum(albumId(QString::fromLatin1(parent)));
        return made;
    };
    OrvExternalAlbumPool albums;
    albums.add(album("trips", {}, ""));
    albums.add(album("lake", {fotoId("2"), fotoId("1"), fotoId("gone")}, "trips"));
    albums.add(album("summer", {fotoId("4")}, "trips"));
    albums.add(album("beach", {fotoId("1"), fotoId("3")}, "summer"));
    albums.add(album("empty", {}, ""));
    albums.add(album("other", {fotoId("4")}, ""));
    // Circles a source got wrong are walked once round.
    albums.add(album("round", {fotoId("1")}, "about"));
    albums.add(album("about", {fotoId("2")}, "round"));
    OrvExternalDataPool pool(albums, fotos);

    const auto keys = [&pool](const char* key) {
        QStringList found;
        for (const OrvExternalFoto& each : pool.fotosInAlbumTree(albumId(QString::fromLatin1(key))))
            found.append(each.id().remoteId());
        return found;
    };
    EXPECT_EQ(keys("trips"), (QStringList{"2", "1", "4", "3"})) << "depth first in album order, each foto once";
    EXPECT_EQ(keys("summer"), (QStringList{"4", "1", "3"}));
    EXPECT_EQ(keys("lake"), (QStringList{"2", "1"})) << "an album without sub-albums: its own fotos";
    EXPECT_TRUE(keys("empty").isEmpty());
    EXPECT_TRUE(keys("nothing").isEmpty());
    EXPECT_EQ(keys("round"), (QStringList{"1", "2"}));

    EXPECT_EQ(pool.albumTree(albumId("trips")), (OrvExternalIdList{albumId("trips"), albumId("lake"), albumId("summer"), albumId("beach")}));
    EXPECT_EQ(pool.albumTree(albumId("round")), (OrvExternalIdList{albumId("round"), albumId("about")}));
    EXPECT_TRUE(pool.albumTree(albumId("nothing")).isEmpty());

    EXPECT_TRUE(pool.isInAlbumTree(albumId("beach"), albumId("trips")));
    EXPECT_TRUE(pool.isInAlbumTree(albumId("trips"), albumId("trips")));
    EXPECT_FALSE(pool.isInAlbumTree(albumId("trips"), albumId("beach")));
    EXPECT_FALSE(pool.isInAlbumTree(albumId("other"), albumId("trips")));
    EXPECT_FALSE(pool.isInAlbumTree(albumId("round"), albumId("trips")));
    EXPECT_FALSE(pool.isInAlbumTree(albumId("nothing"), albumId("trips")));
    EXPECT_FALSE(pool.isInAlbumTree(OrvExternalId(), OrvExternalId()));
}

TEST(OrvExternalDataPool, ReadersAndWritersOnSeveralThreads)
{
    OrvExternalDataPool pool;
    pool.addAlbum(OrvExternalAlbum(albumId(QStringLiteral("all")), QStringLiteral("All"), {}, OrvExternalAlbumType::AllFotos));
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 2000; ++i)
            pool.insertFotos(OrvExternalFotoList({foto(QString::number(i))}), albumId(QStringLiteral("all")));
        done = true;
    });
    int lastSeen = 0;
    while (!done) {
        const int count = pool.fotosInAlbum(albumId(QStringLiteral("all"))).size();
        EXPECT_GE(count, lastSeen);
        lastSeen = count;
        const OrvExternalDataPool copy = pool;
        EXPECT_LE(copy.countFotos(), 2000);
    }
    writer.join();
    EXPECT_EQ(pool.fotosInAlbum(albumId(QStringLiteral("all"))).size(), 2000);
}

TEST(OrvExternalMonthSynthesizer, OneAlbumPerCalendarMonthNewestFirst)
{
    const QTimeZone zone(3600);
    const OrvExternalFotoList fotos({
        foto(QStringLiteral("a"), QDateTime(QDate(2021, 5, 31), QTime(23, 30), zone)),
        foto(QStringLiteral("b"), QDateTime(QDate(2021, 5, 1), QTime(0, 0), zone)),
        foto(QStringLiteral("c"), QDateTime(QDate(2020, 12, 24), QTime(18, 0), zone)),
        foto(QStringLiteral("d")),  // no date
        foto(QStringLiteral("e"), QDateTime(QDate(2021, 6, 1), QTime(0, 0), zone)),
        // Midnight of New Year opens the year's first month; the moment before is the old year's.
        foto(QStringLiteral("f"), QDateTime(QDate(2021, 1, 1), QTime(0, 0), zone)),
        foto(QStringLiteral("g"), QDateTime(QDate(2020, 12, 31), QTime(23, 59, 59, 999), zone)),
    });
    const OrvExternalAlbumList months = OrvExternalMonthSynthesizer(fotos).synthetiseMonthAlbums();
    ASSERT_EQ(months.size(), 4);
    EXPECT_EQ(months.at(0).id(), OrvExternalId(QStringLiteral("iphoto"), QStringLiteral("month"), QStringLiteral("2021-06")));
    EXPECT_EQ(months.at(1).id().remoteId(), QStringLiteral("2021-05"));
    EXPECT_EQ(months.at(1).fotoIds(), (OrvExternalIdList{fotoId(QStringLiteral("b")), fotoId(QStringLiteral("a"))}));
    EXPECT_EQ(months.at(2).id().remoteId(), QStringLiteral("2021-01"));
    EXPECT_EQ(months.at(2).fotoIds(), OrvExternalIdList{fotoId(QStringLiteral("f"))});
    EXPECT_EQ(months.at(3).id().remoteId(), QStringLiteral("2020-12"));
    EXPECT_EQ(months.at(3).fotoIds(), (OrvExternalIdList{fotoId(QStringLiteral("c")), fotoId(QStringLiteral("g"))}));
    EXPECT_TRUE(months.at(1).name().endsWith(QStringLiteral("2021")));
    EXPECT_EQ(months.at(3).type(), OrvExternalAlbumType(OrvExternalAlbumType::Month));
    EXPECT_TRUE(OrvExternalMonthSynthesizer(OrvExternalFotoList()).synthetiseMonthAlbums().isEmpty());
}

TEST(OrvExternalAlbumList, SortsFindsAndFilters)
{
    OrvExternalAlbumList list({
        OrvExternalAlbum(albumId(QStringLiteral("1")), QStringLiteral("album 10"), {}, OrvExternalAlbumType::Regular),
        OrvExternalAlbum(albumId(QStringLiteral("2")), QStringLiteral("Album 9"), {}, OrvExternalAlbumType::Regular),
        OrvExternalAlbum(albumId(QStringLiteral("3")), QStringLiteral("Event"), {}, OrvExternalAlbumType::Event),
    });
    EXPECT_EQ(list.albumNamesSorted(), (QStringList{"Album 9", "album 10", "Event"}));
    EXPECT_EQ(list.findAlbumIdByVisibleName(QStringLiteral("Event")), albumId(QStringLiteral("3")));
    EXPECT_FALSE(list.findAlbumIdByVisibleName(QStringLiteral("event")).isValid());
    EXPECT_EQ(list.filter(OrvExternalAlbumType::Regular, true).size(), 2);
    EXPECT_EQ(list.filter(OrvExternalAlbumType::Regular, false).size(), 1);
}
