// Albums placed in the folders named for them: whatever the names, a tree.

#include "OrvAlbumNesting.h"

#include <gtest/gtest.h>

#include <QRandomGenerator>
#include <QSet>

namespace {

OrvExternalId albumId(const QString& key) { return {QStringLiteral("iphoto"), QStringLiteral("album"), key}; }

// Albums by key, each in the folder named after it ("" at the top), listed in this order.
OrvExternalAlbumPool pool(const QList<QPair<QString, QString>>& albums)
{
    OrvExternalAlbumPool result;
    for (const auto& [key, parent] : albums) {
        OrvExternalAlbum album(albumId(key), key, {}, OrvExternalAlbumType::Other);
        if (!parent.isEmpty())
            album.setParentAlbum(albumId(parent));
        result.add(album);
    }
    return result;
}

// Parent of each album, by its key ("" at the top), in the pool's order.
QStringList placement(const OrvExternalAlbumPool& pool)
{
    QStringList lines;
    for (const OrvExternalAlbum& album : pool.albums())
        lines.append(album.id().remoteId() + QLatin1String(" in ") + album.parentAlbum().remoteId());
    return lines;
}

} // namespace

TEST(OrvAlbumNesting, ParentsNamedBesideTheSourceWinAndWhatIsNoAlbumIsTheTop)
{
    // A child may come before its folder; a folder may hold folders, or nothing.
    const OrvExternalAlbumPool flat = pool({{"13", ""}, {"10", ""}, {"11", ""}, {"12", ""}, {"14", ""}, {"15", ""}, {"16", "15"}});
    const QHash<OrvExternalId, OrvExternalId> parents{{albumId("13"), albumId("12")}, {albumId("11"), albumId("10")},
                                                      {albumId("12"), albumId("10")}, {albumId("16"), albumId("99")}};
    const OrvExternalAlbumPool nested = OrvAlbumNesting::nested(flat, parents);
    EXPECT_EQ(placement(nested), (QStringList{"13 in 12", "10 in ", "11 in 10", "12 in 10", "14 in ", "15 in ", "16 in "}))
        << "a parent that is no album puts the album at the top, whatever it had";
    EXPECT_EQ(nested.children(albumId("10")), (OrvExternalIdList{albumId("11"), albumId("12")}));
    EXPECT_EQ(nested.children(OrvExternalId()), (OrvExternalIdList{albumId("10"), albumId("14"), albumId("15"), albumId("16")}));
    EXPECT_EQ(nested.albumTree(albumId("10")), (OrvExternalIdList{albumId("10"), albumId("11"), albumId("12"), albumId("13")}));
    // Unnamed albums keep their own parent; nothing named changes nothing.
    EXPECT_EQ(placement(OrvAlbumNesting::nested(pool({{"1", ""}, {"2", "1"}}), {})), (QStringList{"1 in ", "2 in 1"}));
    EXPECT_EQ(placement(OrvAlbumNesting::nested(flat, {})), placement(flat));
}

TEST(OrvAlbumNesting, CirclesOfParentsEndAtTheTop)
{
    EXPECT_EQ(placement(OrvAlbumNesting::nested(pool({{"1", "1"}}), {})), QStringList{"1 in "});
    // Followed from the first album, the parent that leads back is dropped.
    EXPECT_EQ(placement(OrvAlbumNesting::nested(pool({{"1", "2"}, {"2", "1"}}), {})), (QStringList{"1 in 2", "2 in "}));
    EXPECT_EQ(placement(OrvAlbumNesting::nested(pool({{"4", "1"}, {"1", "2"}, {"2", "3"}, {"3", "1"}}), {})),
              (QStringList{"4 in 1", "1 in 2", "2 in 3", "3 in "}));
}

TEST(OrvAlbumNesting, NestingIsBounded)
{
    const int deep = 3 * OrvAlbumNesting::maxDepth;
    OrvExternalAlbumPool chain;
    for (int i = 0; i < deep; ++i) {
        OrvExternalAlbum album(albumId(QString::number(i)), QStringLiteral("A"), {}, OrvExternalAlbumType::Other);
        if (i > 0)
            album.setParentAlbum(albumId(QString::number(i - 1)));
        chain.add(album);
    }
    const OrvExternalAlbumPool placed = OrvAlbumNesting::nested(chain, {});
    const int cut = OrvAlbumNesting::maxDepth + 1;
    EXPECT_FALSE(placed.find(albumId(QString::number(cut))).parentAlbum().isValid()) << "too deep: to the top";
    EXPECT_EQ(placed.find(albumId(QString::number(cut + 1))).parentAlbum(), albumId(QString::number(cut)))
        << "with what it holds";
    EXPECT_EQ(placed.find(albumId(QString::number(cut - 1))).parentAlbum(), albumId(QString::number(cut - 2)));

    // A long chain listed from its deep end: placed at all (each album once, not once per level).
    OrvExternalAlbumPool reversed;
    const int many = 100000;
    for (int i = many - 1; i >= 0; --i) {
        OrvExternalAlbum album(albumId(QString::number(i)), QStringLiteral("A"), {}, OrvExternalAlbumType::Other);
        album.setParentAlbum(albumId(QString::number(i - 1)));
        reversed.add(album);
    }
    EXPECT_EQ(OrvAlbumNesting::nested(reversed, {}).children(OrvExternalId()).size(), many / cut + 1);
}

TEST(OrvAlbumNesting, KeepsEveryParentThatMakesATree)
{
    const int maxDepth = OrvAlbumNesting::maxDepth;
    for (quint32 seed = 1; seed <= 400; ++seed) {
        QRandomGenerator random(seed);
        const int count = 1 + int(random.bounded(60));
        OrvExternalAlbumPool raw;
        for (int i = 0; i < count; ++i) {
            OrvExternalAlbum album(albumId(QString::number(i)), QString::number(i), {}, OrvExternalAlbumType::Other);
            // Mostly a parent listed before, sometimes one after, itself, a missing one or none.
            const int kind = int(random.bounded(10));
            const int parent = kind < 5 ? (i > 0 ? int(random.bounded(i)) : -1)
                : kind < 8               ? int(random.bounded(count))
                : kind < 9               ? count + 5
                                         : -1;
            if (parent >= 0)
                album.setParentAlbum(albumId(QString::number(parent)));
            raw.add(album);
        }
        // Long chains now and then, to reach the depth bound.
        if (seed % 10 == 0) {
            for (int i = 1; i < count; ++i) {
                OrvExternalAlbum album = raw.find(albumId(QString::number(i)));
                album.setParentAlbum(albumId(QString::number(i - 1)));
                raw.add(album);
            }
        }
        const OrvExternalAlbumPool placed = OrvAlbumNesting::nested(raw, {});
        ASSERT_EQ(placed.size(), raw.size()) << seed;
        for (int i = 0; i < count; ++i) {
            const OrvExternalAlbum before = raw.albums().at(i);
            const OrvExternalAlbum after = placed.albums().at(i);
            ASSERT_EQ(after.id(), before.id()) << "order stays, seed " << seed;
            // A parent is the library's, or none.
            if (after.parentAlbum().isValid()) {
                EXPECT_EQ(after.parentAlbum(), before.parentAlbum()) << seed;
                EXPECT_TRUE(placed.contains(after.parentAlbum())) << seed;
            }
            // Up from every album: the top within the bound.
            int depth = 0;
            for (OrvExternalId at = after.parentAlbum(); at.isValid() && depth <= maxDepth + 1; at = placed.find(at).parentAlbum())
                ++depth;
            EXPECT_LE(depth, maxDepth) << "seed " << seed << " album " << i;
            // A chain of the library's parents that reaches the top within the bound is kept whole.
            int rawDepth = 0;
            OrvExternalId at = before.id();
            QSet<OrvExternalId> seen;
            bool reachesTop = true;
            while (raw.contains(raw.find(at).parentAlbum()) && raw.find(at).parentAlbum() != at) {
                if (seen.contains(at) || ++rawDepth > maxDepth) {
                    reachesTop = false;
                    break;
                }
                seen.insert(at);
                at = raw.find(at).parentAlbum();
            }
            if (reachesTop && raw.contains(before.parentAlbum()) && before.parentAlbum() != before.id()) {
                EXPECT_EQ(after.parentAlbum(), before.parentAlbum()) << "seed " << seed << " album " << i;
            }
        }
    }
}
