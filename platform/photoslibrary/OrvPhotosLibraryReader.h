#pragma once

// The rows of a library's database that make what PhotoKit shows: the assets
// Photos shows in its library (not deleted, not hidden, no unpicked frame of a
// burst), the albums and folders, and which assets each album holds in which
// order. Values that make no sense (dates beyond year 9999, coordinates off the
// globe, negative sizes) read as absent; each such cause is counted for one
// debug line, not reported per row.

#include "OrvPhotosLibraryAsset.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

struct sqlite3;

namespace OrvPhotosLibrary {

class Schema;

// Kinds of ZGENERICALBUM rows (ZKIND) that this reader uses.
enum AlbumKind : int {
    UserAlbumKind = 2,
    SharedAlbumKind = 1505,
    ProjectAlbumKind = 1508,
    ProjectsRootKind = 3998,
    RootFolderKind = 3999,
    FolderKind = 4000,
};

struct AlbumRow
{
    qint64 primaryKey = 0;
    int kind = 0;
    QString title;
    QString uuid;
    std::optional<qint64> parent;
    qint64 position = 0;  // among its siblings
    int sortKey = 0;      // 0 as arranged, 1 by date, 5 by title
    bool ascending = true;
    bool operator==(const AlbumRow& other) const;
};

class Reader
{
public:
    // Causes of rows read in part, with how often each was met.
    using Problems = QMap<QString, int>;

    Reader(sqlite3* db, const Schema& schema, Problems* problems);

    // The assets Photos shows, by primary key (all when keys is null), in the
    // order of their primary keys (the order they came into the library).
    std::vector<std::shared_ptr<const Asset>> assets(const QList<qint64>* keys = nullptr);
    // Albums, folders and the roots they hang from, in sibling order.
    std::vector<AlbumRow> albums();
    // The assets of each album (all when keys is null) in the album's own order.
    // shown, when given, holds every asset that assets() reads now, in key order.
    QHash<qint64, QList<qint64>> members(const QHash<qint64, AlbumRow>& albums, const QList<qint64>* keys = nullptr,
                                         const std::vector<std::shared_ptr<const OrvPhotoKitModel::ModelAsset>>* shown = nullptr);
    // Albums that list any of the assets.
    QSet<qint64> albumsListing(const QList<qint64>& assetKeys);
    // The assets that rows of a table with a ZASSET column belong to.
    QSet<qint64> assetsOwning(const QString& table, const QList<qint64>& keys);

    // A statement that stopped midway (a database damaged or changed under it).
    bool failed() const { return !myError.isEmpty(); }
    QString error() const { return myError; }

    // Counts a cause of reading a row in part.
    void note(const QString& cause, int times = 1) { (*myProblems)[cause] += times; }

    // Key lists go into SQL as numbers, in slices small enough for any SQLite.
    static QList<QList<qint64>> slices(const QList<qint64>& keys);

private:
    QString assetSelect() const;
    QString visible(const QString& alias) const;
    QString attributesJoin() const;

    sqlite3* myDb;
    const Schema& mySchema;
    Problems* myProblems;
    QString myError;
};

} // namespace OrvPhotosLibrary
