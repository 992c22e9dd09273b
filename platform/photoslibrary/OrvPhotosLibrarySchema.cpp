#include "OrvPhotosLibrarySchema.h"

#include "OrvPhotosLibraryStatement.h"

#include <QDebug>
#include <QRegularExpression>

namespace OrvPhotosLibrary {

namespace {

const QString attributesTable = QStringLiteral("ZADDITIONALASSETATTRIBUTES");
const QString albumTable = QStringLiteral("ZGENERICALBUM");
const QString resourceTable = QStringLiteral("ZINTERNALRESOURCE");
const QString changeTable = QStringLiteral("ACHANGE");
const QString transactionTable = QStringLiteral("ATRANSACTION");

} // namespace

std::optional<Schema> Schema::discover(sqlite3* db, QString* error)
{
    Schema schema;
    QSet<QString> tables;
    {
        Statement names(db, QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'"));
        while (names.next())
            tables.insert(names.text(0).toUpper());
        if (names.failed()) {
            *error = QStringLiteral("database/Photos.sqlite cannot be read: ") + names.error();
            return std::nullopt;
        }
    }
    if (!tables.contains(QStringLiteral("Z_PRIMARYKEY"))) {
        *error = tables.isEmpty() ? QStringLiteral("database/Photos.sqlite holds no tables")
                                  : QStringLiteral("database/Photos.sqlite is no Core Data store (no Z_PRIMARYKEY table)");
        return std::nullopt;
    }
    if (tables.contains(QStringLiteral("ZASSET")))
        schema.myAssetTable = QStringLiteral("ZASSET");
    else if (tables.contains(QStringLiteral("ZGENERICASSET")))
        schema.myAssetTable = QStringLiteral("ZGENERICASSET");
    else {
        *error = QStringLiteral("database/Photos.sqlite has neither ZASSET nor ZGENERICASSET: no Photos 5 or later library");
        return std::nullopt;
    }
    if (!schema.readColumns(db, schema.myAssetTable) || !schema.hasColumn(schema.myAssetTable, QStringLiteral("ZUUID"))) {
        *error = QStringLiteral("database/Photos.sqlite: the table ") + schema.myAssetTable + QStringLiteral(" has no ZUUID column");
        return std::nullopt;
    }
    for (const QString& table : {attributesTable, albumTable, resourceTable, changeTable, transactionTable,
                                 QStringLiteral("Z_METADATA"), QStringLiteral("ZFILESYSTEMBOOKMARK"),
                                 QStringLiteral("ZFILESYSTEMVOLUME")}) {
        if (tables.contains(table))
            schema.readColumns(db, table);
    }

    Statement entities(db, QStringLiteral("SELECT Z_ENT, Z_NAME, Z_SUPER FROM Z_PRIMARYKEY"));
    while (entities.next()) {
        const int entity = int(entities.integer(0, -1));
        if (entity < 0)
            continue;
        schema.myEntityNames.insert(entity, entities.text(1));
        schema.myEntitySupers.insert(entity, int(entities.integer(2, 0)));
    }
    schema.findAlbumAssets(db);

    schema.myHasHistory = schema.hasColumn(changeTable, QStringLiteral("ZTRANSACTIONID"))
        && schema.hasColumn(changeTable, QStringLiteral("ZENTITY")) && schema.hasColumn(changeTable, QStringLiteral("ZENTITYPK"))
        && schema.hasColumn(changeTable, QStringLiteral("ZCHANGETYPE")) && schema.hasTable(transactionTable);
    if (schema.hasColumn(QStringLiteral("Z_METADATA"), QStringLiteral("Z_UUID"))) {
        Statement metadata(db, QStringLiteral("SELECT Z_UUID FROM Z_METADATA LIMIT 1"));
        if (metadata.next())
            schema.myStoreUuid = metadata.text(0);
    }
    return schema;
}

bool Schema::readColumns(sqlite3* db, const QString& table)
{
    Statement info(db, QStringLiteral("SELECT name FROM pragma_table_info(?1)"));
    info.bind(1, table);
    QSet<QString> columns;
    while (info.next())
        columns.insert(info.text(0).toUpper());
    if (columns.isEmpty())
        return false;
    myColumns.insert(table.toUpper(), columns);
    return true;
}

bool Schema::hasColumn(const QString& table, const QString& column) const
{
    const auto it = myColumns.constFind(table.toUpper());
    return it != myColumns.cend() && it->contains(column.toUpper());
}

QString Schema::column(const QString& alias, const QString& table, const QStringList& columns) const
{
    for (const QString& name : columns) {
        if (hasColumn(table, name) && Statement::isPlainName(name))
            return alias + QLatin1Char('.') + name;
    }
    return QStringLiteral("NULL");
}

QString Schema::rootEntityName(int entity) const
{
    // Bounded: a library whose entities form a loop gives up after a few steps.
    for (int step = 0; step < 16; ++step) {
        const int super = myEntitySupers.value(entity, 0);
        if (super == 0 || super == entity || !myEntitySupers.contains(super))
            return myEntityNames.value(entity);
        entity = super;
    }
    return QString();
}

void Schema::findAlbumAssets(sqlite3* db)
{
    // Z_<album>ASSETS (Z_<album>ALBUMS, Z_<asset>ASSETS, Z_FOK_<asset>ASSETS), named
    // after the entity that declares the relationship; found by its shape.
    static const QRegularExpression joinName(QStringLiteral("^Z_(\\d+)ASSETS$"));
    static const QRegularExpression assetColumn(QStringLiteral("^Z_(\\d+)ASSETS$"));
    static const QRegularExpression orderColumn(QStringLiteral("^Z_FOK_(\\d+)ASSETS$"));
    Statement names(db, QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' AND name GLOB 'Z_[0-9]*ASSETS'"));
    QStringList candidates;
    while (names.next())
        candidates.append(names.text(0).toUpper());
    for (const QString& table : std::as_const(candidates)) {
        const QRegularExpressionMatch match = joinName.match(table);
        if (!match.hasMatch())
            continue;
        const int entity = match.captured(1).toInt();
        // The album side is an album entity (Album in every version so far).
        if (!myEntityNames.value(entity).endsWith(QLatin1String("Album")))
            continue;
        if (!readColumns(db, table))
            continue;
        const QString albumColumn = QStringLiteral("Z_%1ALBUMS").arg(entity);
        if (!hasColumn(table, albumColumn))
            continue;
        AlbumAssets found{table, albumColumn, QString(), QString()};
        for (const QString& column : myColumns.value(table)) {
            if (assetColumn.match(column).hasMatch())
                found.asset = column;
            else if (orderColumn.match(column).hasMatch())
                found.order = column;
        }
        if (found.asset.isEmpty())
            continue;
        // The library's own Album entity wins over any other album-named one.
        if (myAlbumAssets.table.isEmpty() || myEntityNames.value(entity) == QLatin1String("Album"))
            myAlbumAssets = found;
    }
    if (myAlbumAssets.table.isEmpty())
        qDebug() << "Photos library: no table of album contents found; albums show empty";
}

} // namespace OrvPhotosLibrary
