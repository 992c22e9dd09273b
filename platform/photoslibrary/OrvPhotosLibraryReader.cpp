#include "OrvPhotosLibraryReader.h"

#include "OrvPhotosLibrarySchema.h"
#include "OrvPhotosLibraryStatement.h"

#include <algorithm>
#include <cmath>

namespace OrvPhotosLibrary {

namespace {

const QString attributesTable = QStringLiteral("ZADDITIONALASSETATTRIBUTES");
const QString albumTable = QStringLiteral("ZGENERICALBUM");

// Core Data keeps dates as seconds since 2001-01-01 UTC.
constexpr double coreDataEpoch = 978307200.0;
// What a QDate can name and the plug-in can print: the years 1 to 9999.
constexpr double earliestSeconds = -62135596800.0;
constexpr double latestSeconds = 253402300799.0;
constexpr int largestTimeZoneOffset = 18 * 3600;
constexpr qint64 largestSide = 1 << 20;
// ZSAVEDASSETTYPE of an item of a shared album.
constexpr qint64 sharedAlbumItem = 4;
constexpr qsizetype sliceSize = 500;
// A count read from a library sizes a list no larger than this ahead (more grows as read).
constexpr qint64 maximumReserved = qint64(1) << 22;

QString keyList(const QList<qint64>& keys)
{
    QStringList numbers;
    numbers.reserve(keys.size());
    for (qint64 key : keys)
        numbers.append(QString::number(key));
    return numbers.join(QLatin1Char(','));
}

bool usableUuid(const QString& uuid)
{
    if (uuid.isEmpty() || uuid.size() > 64)
        return false;
    return std::all_of(uuid.cbegin(), uuid.cend(), [](QChar c) {
        return c.unicode() > 0x20 && c.unicode() < 0x7f && c != QLatin1Char('/');
    });
}

std::optional<qint64> milliseconds(const std::optional<double>& coreDataSeconds)
{
    if (!coreDataSeconds)
        return std::nullopt;
    const double unix = *coreDataSeconds + coreDataEpoch;
    if (!(unix >= earliestSeconds && unix <= latestSeconds))
        return std::nullopt;
    return qint64(std::llround(unix * 1000.0));
}

} // namespace

bool AlbumRow::operator==(const AlbumRow& other) const
{
    return primaryKey == other.primaryKey && kind == other.kind && title == other.title && uuid == other.uuid
        && parent == other.parent && position == other.position && sortKey == other.sortKey && ascending == other.ascending;
}

Reader::Reader(sqlite3* db, const Schema& schema, Problems* problems) : myDb(db), mySchema(schema), myProblems(problems) {}

QList<QList<qint64>> Reader::slices(const QList<qint64>& keys)
{
    QList<QList<qint64>> result;
    for (qsizetype i = 0; i < keys.size(); i += sliceSize)
        result.append(keys.mid(i, sliceSize));
    return result;
}

QString Reader::attributesJoin() const
{
    if (!mySchema.hasTable(attributesTable) || !mySchema.hasColumn(mySchema.assetTable(), QStringLiteral("ZADDITIONALATTRIBUTES")))
        return QString();
    return QStringLiteral(" LEFT JOIN ZADDITIONALASSETATTRIBUTES aa ON aa.Z_PK = a.ZADDITIONALATTRIBUTES");
}

QString Reader::visible(const QString& alias) const
{
    // The predicate Photos' own triggers use for "in the library".
    const QString table = mySchema.assetTable();
    return QStringLiteral("COALESCE(%1, 0) = 0 AND COALESCE(%2, 0) = 0 AND COALESCE(%3, 0) = 0")
        .arg(mySchema.column(alias, table, QStringLiteral("ZTRASHEDSTATE")),
             mySchema.column(alias, table, QStringLiteral("ZHIDDEN")),
             mySchema.column(alias, table, QStringLiteral("ZVISIBILITYSTATE")));
}

QString Reader::assetSelect() const
{
    const QString table = mySchema.assetTable();
    const bool attributes = !attributesJoin().isEmpty();
    const auto a = [&](const QStringList& columns) { return mySchema.column(QStringLiteral("a"), table, columns); };
    const QString offset = attributes ? mySchema.column(QStringLiteral("aa"), attributesTable, QStringLiteral("ZTIMEZONEOFFSET"))
                                      : QStringLiteral("NULL");
    return QStringLiteral("SELECT a.Z_PK, a.ZUUID, %1, %2, %3, %4, %5, %6, %7, %8, %9, %10, %11 FROM %12 a%13 WHERE %14")
        .arg(a({QStringLiteral("ZKIND")}), a({QStringLiteral("ZWIDTH")}), a({QStringLiteral("ZHEIGHT")}),
             a({QStringLiteral("ZFAVORITE")}), a({QStringLiteral("ZDATECREATED")}), offset, a({QStringLiteral("ZLATITUDE")}),
             a({QStringLiteral("ZLONGITUDE")}), a({QStringLiteral("ZSAVEDASSETTYPE")}),
             a({QStringLiteral("ZADJUSTMENTTIMESTAMP")}), a({QStringLiteral("ZHASADJUSTMENTS"), QStringLiteral("ZADJUSTMENTSSTATE")}),
             table, attributesJoin(), visible(QStringLiteral("a")));
}

std::vector<std::shared_ptr<const Asset>> Reader::assets(const QList<qint64>* keys)
{
    std::vector<std::shared_ptr<const Asset>> result;
    QStringList queries;
    if (!keys) {
        queries.append(assetSelect() + QStringLiteral(" ORDER BY a.Z_PK"));
    } else {
        for (const QList<qint64>& slice : slices(*keys))
            queries.append(assetSelect() + QStringLiteral(" AND a.Z_PK IN (%1) ORDER BY a.Z_PK").arg(keyList(slice)));
    }
    for (const QString& sql : std::as_const(queries)) {
        Statement rows(myDb, sql);
        while (rows.next()) {
            Asset::Row row;
            row.primaryKey = rows.integer(0);
            row.uuid = rows.text(1, Asset::suffixLength);
            if (!usableUuid(row.uuid)) {
                note(QStringLiteral("assets without a usable identifier left out"));
                continue;
            }
            const qint64 kind = rows.integer(2);
            row.mediaType = kind == 1 ? Asset::Video : Asset::Image;
            const qint64 width = rows.integer(3);
            const qint64 height = rows.integer(4);
            if (width < 0 || height < 0 || width > largestSide || height > largestSide)
                note(QStringLiteral("assets with a pixel size out of range read without one"));
            else {
                row.width = int(width);
                row.height = int(height);
            }
            row.favorite = rows.integer(5) != 0;
            const std::optional<double> created = rows.real(6);
            row.created = milliseconds(created);
            if (created && !row.created)
                note(QStringLiteral("assets with a creation date out of range read without one"));
            if (!rows.isNull(7)) {
                const qint64 offset = rows.integer(7, qint64(largestTimeZoneOffset) + 1);
                if (offset >= -largestTimeZoneOffset && offset <= largestTimeZoneOffset)
                    row.timeZoneOffset = int(offset);
                else
                    note(QStringLiteral("assets with a time zone offset out of range read without one"));
            }
            const std::optional<double> latitude = rows.real(8);
            const std::optional<double> longitude = rows.real(9);
            // -180/-180 is how Photos writes "no location".
            if (latitude && longitude && !(*latitude == -180.0 && *longitude == -180.0)) {
                if (*latitude >= -90.0 && *latitude <= 90.0 && *longitude >= -180.0 && *longitude <= 180.0)
                    row.location = OrvPhotoKit::Location{{*latitude, *longitude}};
                else
                    note(QStringLiteral("assets with a location off the globe read without one"));
            }
            if (rows.integer(10) == sharedAlbumItem)
                row.sourceType = OrvPhotoKit::AssetSourceTypeCloudShared;
            if (rows.integer(12) != 0) {
                const std::optional<double> adjusted = rows.real(11);
                row.adjusted = adjusted && *adjusted != 0 ? *adjusted : 1.0;
            }
            result.push_back(std::make_shared<const Asset>(std::move(row)));
        }
        if (rows.failed())
            myError = rows.error();
    }
    return result;
}

std::vector<AlbumRow> Reader::albums()
{
    std::vector<AlbumRow> result;
    if (!mySchema.hasTable(albumTable))
        return result;
    const auto g = [&](const QString& column) { return mySchema.column(QStringLiteral("g"), albumTable, column); };
    const QString sql =
        QStringLiteral("SELECT g.Z_PK, %1, %2, %3, %4, %5, %6, %7 FROM ZGENERICALBUM g WHERE COALESCE(%8, 0) = 0 "
                       "AND %1 IN (2, 1505, 1508, 3998, 3999, 4000) ORDER BY COALESCE(%4, 0), COALESCE(%5, 0), g.Z_PK")
            .arg(g(QStringLiteral("ZKIND")), g(QStringLiteral("ZTITLE")), g(QStringLiteral("ZUUID")),
                 g(QStringLiteral("ZPARENTFOLDER")), g(QStringLiteral("Z_FOK_PARENTFOLDER")),
                 g(QStringLiteral("ZCUSTOMSORTKEY")), g(QStringLiteral("ZCUSTOMSORTASCENDING")),
                 g(QStringLiteral("ZTRASHEDSTATE")));
    Statement rows(myDb, sql);
    while (rows.next()) {
        AlbumRow row;
        row.primaryKey = rows.integer(0);
        row.kind = int(rows.integer(1));
        row.title = rows.text(2);
        row.uuid = rows.text(3);
        if (!usableUuid(row.uuid)) {
            note(QStringLiteral("albums or folders without a usable identifier left out"));
            continue;
        }
        if (!rows.isNull(4))
            row.parent = rows.integer(4);
        row.position = rows.integer(5);
        row.sortKey = int(rows.integer(6));
        row.ascending = rows.integer(7, 1) != 0;
        result.push_back(row);
    }
    if (rows.failed())
        myError = rows.error();
    return result;
}

QHash<qint64, QList<qint64>> Reader::members(const QHash<qint64, AlbumRow>& albums, const QList<qint64>* keys,
                                             const std::vector<std::shared_ptr<const OrvPhotoKitModel::ModelAsset>>* shown)
{
    QHash<qint64, QList<qint64>> result;
    const Schema::AlbumAssets& join = mySchema.albumAssets();
    if (join.table.isEmpty())
        return result;
    const QString attributes = attributesJoin();
    const QString title = attributes.isEmpty() ? QStringLiteral("NULL")
                                               : mySchema.column(QStringLiteral("aa"), attributesTable, QStringLiteral("ZTITLE"));
    const QString order = join.order.isEmpty() ? QStringLiteral("0") : QStringLiteral("j.") + join.order;
    const QString select = QStringLiteral("SELECT j.%1, j.%2, %3, %4, %5 FROM %6 j JOIN %7 a ON a.Z_PK = j.%2%8 WHERE %9")
                               .arg(join.album, join.asset, order,
                                    mySchema.column(QStringLiteral("a"), mySchema.assetTable(), QStringLiteral("ZDATECREATED")),
                                    title, join.table, mySchema.assetTable(), attributes, visible(QStringLiteral("a")));
    // With the shown assets at hand only albums sorted by title need their
    // assets' rows: looking up every entry's asset row would cost most of
    // reading a library, and the dates are in the assets already read.
    const auto byTitle = [](const AlbumRow& album) { return album.sortKey == 5; };
    QList<qint64> titled;
    if (shown) {
        for (auto it = albums.cbegin(); it != albums.cend(); ++it) {
            if (byTitle(it.value()) && (!keys || keys->contains(it.key())))
                titled.append(it.key());
        }
        std::sort(titled.begin(), titled.end());
    }
    // The shown assets' keys and dates side by side: a lookup per album entry
    // stays in one block of memory instead of visiting asset after asset.
    struct Dated
    {
        qint64 key;
        std::optional<qint64> created;
    };
    std::vector<Dated> dated;
    if (shown) {
        dated.reserve(shown->size());
        for (const auto& asset : *shown) {
            const Asset& libraryAsset = static_cast<const Asset&>(*asset);
            dated.push_back({libraryAsset.primaryKey(), libraryAsset.created()});
        }
    }
    const auto shownAsset = [&dated](qint64 key) -> const Dated* {
        const auto it = std::lower_bound(dated.cbegin(), dated.cend(), key, [](const Dated& asset, qint64 wanted) { return asset.key < wanted; });
        return it != dated.cend() && it->key == key ? &*it : nullptr;
    };
    struct Query
    {
        QString sql;
        bool joined;
    };
    std::vector<Query> queries;
    if (!shown) {
        if (!keys) {
            queries.push_back({select, true});
        } else {
            for (const QList<qint64>& slice : slices(*keys))
                queries.push_back({select + QStringLiteral(" AND j.%1 IN (%2)").arg(join.album, keyList(slice)), true});
        }
    } else {
        const QString plain = QStringLiteral("SELECT j.%1, j.%2, %3, NULL, NULL FROM %4 j").arg(join.album, join.asset, order, join.table);
        if (!keys) {
            queries.push_back({plain, false});
        } else {
            for (const QList<qint64>& slice : slices(*keys))
                queries.push_back({plain + QStringLiteral(" WHERE j.%1 IN (%2)").arg(join.album, keyList(slice)), false});
        }
        for (const QList<qint64>& slice : slices(titled))
            queries.push_back({select + QStringLiteral(" AND j.%1 IN (%2)").arg(join.album, keyList(slice)), true});
    }

    // One list for all albums, put in album and then position order at once;
    // titles (only albums sorted by title need them) apart, so entries stay small.
    struct Entry
    {
        qint64 album;
        qint64 position;
        qint64 asset;
        std::optional<qint64> created;  // milliseconds since 1970
        qsizetype title;                // in titles; -1: none
    };
    std::vector<Entry> entries;
    if (!keys) {
        // Sized once: growing a list of a hundred thousand entries step by step costs more than counting them.
        Statement count(myDb, QStringLiteral("SELECT count(*) FROM %1").arg(join.table));
        if (count.next())
            entries.reserve(size_t(std::clamp<qint64>(count.integer(0), 0, maximumReserved)));
    }
    QStringList titles;
    for (const Query& query : queries) {
        Statement rows(myDb, query.sql);
        while (rows.next()) {
            const qint64 album = rows.integer(0);
            const auto known = albums.constFind(album);
            if (known == albums.cend())
                continue;
            if (query.joined) {
                titles.append(rows.text(4));
                entries.push_back({album, rows.integer(2), rows.integer(1), milliseconds(rows.real(3)), titles.size() - 1});
            } else if (!byTitle(known.value())) {
                const qint64 key = rows.integer(1);
                if (const Dated* asset = shownAsset(key))
                    entries.push_back({album, rows.integer(2), key, asset->created, -1});
            }
        }
        if (rows.failed())
            myError = rows.error();
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        if (a.album != b.album)
            return a.album < b.album;
        return a.position != b.position ? a.position < b.position : a.asset < b.asset;
    });
    std::vector<qint64> sortedKeys;
    for (auto first = entries.begin(); first != entries.end();) {
        const auto last = std::find_if(first, entries.end(), [&](const Entry& entry) { return entry.album != first->album; });
        const AlbumRow& album = albums[first->album];
        if (album.sortKey == 1 || album.sortKey == 5) {
            std::stable_sort(first, last, [&](const Entry& a, const Entry& b) {
                int c = 0;
                if (album.sortKey == 1)
                    c = a.created == b.created ? 0 : (!a.created || (b.created && *a.created < *b.created)) ? -1 : 1;
                else
                    c = (a.title < 0 ? QString() : titles.at(a.title)).compare(b.title < 0 ? QString() : titles.at(b.title), Qt::CaseInsensitive);
                return album.ascending ? c < 0 : c > 0;
            });
        }
        QList<qint64> ordered;
        ordered.reserve(last - first);
        for (auto it = first; it != last; ++it)
            ordered.append(it->asset);
        // An album that lists an asset twice shows it once, where it first appears.
        sortedKeys.assign(ordered.cbegin(), ordered.cend());
        std::sort(sortedKeys.begin(), sortedKeys.end());
        if (std::adjacent_find(sortedKeys.cbegin(), sortedKeys.cend()) != sortedKeys.cend()) {
            QSet<qint64> seen;
            const qsizetype listed = ordered.size();
            ordered.removeIf([&](qint64 key) {
                if (seen.contains(key))
                    return true;
                seen.insert(key);
                return false;
            });
            note(QStringLiteral("albums listing an asset twice show it once"), int(listed - ordered.size()));
        }
        result.insert(first->album, ordered);
        first = last;
    }
    return result;
}

QSet<qint64> Reader::albumsListing(const QList<qint64>& assetKeys)
{
    QSet<qint64> result;
    const Schema::AlbumAssets& join = mySchema.albumAssets();
    if (join.table.isEmpty())
        return result;
    for (const QList<qint64>& slice : slices(assetKeys)) {
        Statement rows(myDb, QStringLiteral("SELECT DISTINCT %1 FROM %2 WHERE %3 IN (%4)")
                                 .arg(join.album, join.table, join.asset, keyList(slice)));
        while (rows.next())
            result.insert(rows.integer(0));
        if (rows.failed())
            myError = rows.error();
    }
    return result;
}

QSet<qint64> Reader::assetsOwning(const QString& table, const QList<qint64>& keys)
{
    QSet<qint64> result;
    QString sql;
    if (mySchema.hasColumn(table, QStringLiteral("ZASSET")) && Statement::isPlainName(table))
        sql = QStringLiteral("SELECT DISTINCT ZASSET FROM %1 WHERE Z_PK IN (%2)").arg(table);
    else if (table == attributesTable && mySchema.hasColumn(mySchema.assetTable(), QStringLiteral("ZADDITIONALATTRIBUTES")))
        sql = QStringLiteral("SELECT Z_PK FROM %1 WHERE ZADDITIONALATTRIBUTES IN (%2)").arg(mySchema.assetTable());
    else
        return result;
    for (const QList<qint64>& slice : slices(keys)) {
        Statement rows(myDb, sql.arg(keyList(slice)));
        while (rows.next()) {
            if (!rows.isNull(0))
                result.insert(rows.integer(0));
        }
        if (rows.failed())
            myError = rows.error();
    }
    return result;
}

} // namespace OrvPhotosLibrary
