#pragma once

// What a library's database holds, as it tells it: Photos renumbers its
// entities with every release, renamed its asset table (ZGENERICASSET until
// Photos 5, ZASSET since), names join tables after entity numbers and adds,
// moves and drops columns. Nothing of that is assumed: the entities come from
// Z_PRIMARYKEY, the tables and columns from SQLite itself, and a column a
// version lacks reads as NULL.

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

struct sqlite3;

namespace OrvPhotosLibrary {

class Schema
{
public:
    // The join table of albums and their assets, with the position of each asset.
    struct AlbumAssets
    {
        QString table;  // empty: the library has none that could be found
        QString album;
        QString asset;
        QString order;  // empty: no positions kept
    };

    // Nothing, and one line in error, when the database is no Photos 5 or later library.
    static std::optional<Schema> discover(sqlite3* db, QString* error);

    QString assetTable() const { return myAssetTable; }
    bool hasTable(const QString& table) const { return myColumns.contains(table); }
    bool hasColumn(const QString& table, const QString& column) const;
    // "alias.COLUMN" for the first of the columns the table has, else NULL.
    QString column(const QString& alias, const QString& table, const QStringList& columns) const;
    QString column(const QString& alias, const QString& table, const QString& column) const
    {
        return this->column(alias, table, QStringList{column});
    }
    const AlbumAssets& albumAssets() const { return myAlbumAssets; }

    // The entity's name and that of the entity whose table holds it (its root).
    QString entityName(int entity) const { return myEntityNames.value(entity); }
    QString rootEntityName(int entity) const;
    // Core Data's persistent history is there to read.
    bool hasHistory() const { return myHasHistory; }
    // The store's own identity: another library, or one rebuilt, has another.
    QString storeUuid() const { return myStoreUuid; }

private:
    bool readColumns(sqlite3* db, const QString& table);
    void findAlbumAssets(sqlite3* db);

    QString myAssetTable;
    QHash<QString, QSet<QString>> myColumns;  // upper-case table -> upper-case columns
    QHash<int, QString> myEntityNames;
    QHash<int, int> myEntitySupers;
    AlbumAssets myAlbumAssets;
    bool myHasHistory = false;
    QString myStoreUuid;
};

} // namespace OrvPhotosLibrary
