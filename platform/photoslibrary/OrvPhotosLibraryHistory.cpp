#include "OrvPhotosLibraryHistory.h"

#include "OrvPhotosLibraryReader.h"
#include "OrvPhotosLibrarySchema.h"
#include "OrvPhotosLibraryStatement.h"

#include <QSet>

#include <algorithm>

namespace OrvPhotosLibrary {

namespace {

// ACHANGE.ZCHANGETYPE
constexpr qint64 deleted = 2;

QList<qint64> sorted(const QSet<qint64>& keys)
{
    QList<qint64> list(keys.cbegin(), keys.cend());
    std::sort(list.begin(), list.end());
    return list;
}

} // namespace

std::optional<qint64> History::token(sqlite3* db, const Schema& schema)
{
    if (!schema.hasHistory())
        return std::nullopt;
    Statement last(db, QStringLiteral("SELECT max(Z_PK) FROM ATRANSACTION"));
    if (!last.next())
        return std::nullopt;
    return last.integer(0, 0);
}

History::Changes History::since(sqlite3* db, const Schema& schema, qint64 token, Reader& reader)
{
    Changes changes;
    changes.token = token;
    if (!schema.hasHistory())
        return changes;
    {
        Statement range(db, QStringLiteral("SELECT min(Z_PK), max(Z_PK) FROM ATRANSACTION"));
        if (!range.next())
            return changes;
        const qint64 first = range.integer(0, 0);
        const qint64 last = range.integer(1, 0);
        if (last < token || (last > token && first > token + 1))
            return changes;  // started anew, or pruned past what was seen
        changes.token = last;
        if (last == token) {
            changes.complete = true;
            return changes;
        }
    }
    QSet<qint64> assets;
    QSet<qint64> deletedAssets;
    QSet<qint64> albums;
    QHash<QString, QList<qint64>> owned;  // rows of other tables that belong to an asset
    Statement rows(db, QStringLiteral("SELECT ZCHANGETYPE, ZENTITY, ZENTITYPK FROM ACHANGE WHERE ZTRANSACTIONID > ?1 "
                                      "AND ZTRANSACTIONID <= ?2"));
    rows.bind(1, token);
    rows.bind(2, changes.token);
    qint64 count = 0;
    QHash<int, QString> roots;
    while (rows.next()) {
        if (++count > longestHistory)
            return Changes{false, token, {}};
        const int entity = int(rows.integer(1, -1));
        auto root = roots.constFind(entity);
        if (root == roots.cend())
            root = roots.insert(entity, schema.rootEntityName(entity));
        const qint64 key = rows.integer(2);
        if (*root == QLatin1String("Asset") || *root == QLatin1String("GenericAsset")) {
            (rows.integer(0) == deleted ? deletedAssets : assets).insert(key);
        } else if (*root == QLatin1String("GenericAlbum")) {
            albums.insert(key);
        } else if (*root == QLatin1String("AdditionalAssetAttributes")) {
            owned[QStringLiteral("ZADDITIONALASSETATTRIBUTES")].append(key);
        } else if (*root == QLatin1String("InternalResource") && rows.integer(0) != deleted) {
            owned[QStringLiteral("ZINTERNALRESOURCE")].append(key);
        }
    }
    if (rows.failed())
        return Changes{false, token, {}};
    for (auto it = owned.cbegin(); it != owned.cend(); ++it)
        assets.unite(reader.assetsOwning(it.key(), it.value()));
    assets.subtract(deletedAssets);
    changes.touched.assets = sorted(assets);
    changes.touched.deletedAssets = sorted(deletedAssets);
    changes.touched.albums = sorted(albums);
    changes.complete = !reader.failed();
    return changes;
}

} // namespace OrvPhotosLibrary
