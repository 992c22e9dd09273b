// Libraries of other Photos versions, made from the real Photos 8 one by SQL
// with the differences between versions: Photos 5's asset table and entity
// numbers, Photos 10's renamed columns and numbers, a newer library with
// columns and tables gone or added. Each reads as the original does; a library
// of Photos 4 or earlier is refused by name.

#include "OrvImageIOQt.h"
#include "OrvPhotosLibrary.h"
#include "OrvPhotosLibraryPackage.h"
#include "PhotosLibraryTestSupport.h"
#include "TestSupport.h"

using namespace OrvPhotoKit;
using namespace PhotosLibraryTest;

namespace {

class Versions : public RealLibraryTest
{
protected:
    void SetUp() override
    {
        RealLibraryTest::SetUp();
        if (!copyLibrary(QStringList{QStringLiteral("database/Photos.sqlite"), QStringLiteral("resources/renders")}))
            return;
    }
    std::shared_ptr<OrvPhotosLibrary::Package> reopen()
    {
        QString error;
        const auto package = open(copy->path(), &error);
        EXPECT_TRUE(package) << error.toStdString();
        return package;
    }
    // What the library shows, in one line per part, to compare versions.
    static QStringList shown(const std::shared_ptr<OrvPhotosLibrary::Package>& package)
    {
        QStringList lines;
        lines.append(titles(package->fetchTopLevelUserCollectionsWithOptions(nullptr)).join(QLatin1Char(',')));
        const auto albums = package->fetchAssetCollectionsWithType(AssetCollectionType::Album, AssetCollectionSubtype::Any, nullptr);
        for (qsizetype i = 0; i < albums->count(); ++i) {
            const auto album = asAssetCollection(albums->objectAtIndex(i));
            lines.append(album->localizedTitle() + QLatin1Char(':')
                         + uuids(package->fetchAssetsInAssetCollection(album, nullptr)).join(QLatin1Char(',')));
        }
        const auto favourites = package->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum,
                                                                       AssetCollectionSubtype::SmartAlbumFavorites, nullptr);
        lines.append(QStringLiteral("favourites:")
                     + uuids(package->fetchAssetsInAssetCollection(asAssetCollection(favourites->firstObject()), nullptr)).join(QLatin1Char(',')));
        lines.append(QStringLiteral("all:") + uuids(package->fetchAssetsWithOptions(nullptr)).join(QLatin1Char(',')));
        const auto edited = package->fetchAssetsWithLocalIdentifiers({QStringLiteral("3A71DE26-EDEF-41D3-86C1-E8328DFC9FA0/L0/001")}, nullptr);
        QStringList resources;
        for (const auto& resource : package->assetResourcesForAsset(asAsset(edited->firstObject())))
            resources.append(resource->originalFilename());
        lines.append(QStringLiteral("edited:") + resources.join(QLatin1Char(',')));
        return lines;
    }
    static const QStringList& photos8()
    {
        static const QStringList lines = {
            "Empty Album,Farmers Market,Travel,Folder1", "Empty Album:", "Farmers Market:B6DB996D", "San Juan Capistrano:EECD91FE,F8EFA39F",
            "favourites:B6DB996D,EECD91FE", "all:B6DB996D,F8EFA39F,3A71DE26,EECD91FE,1CD1B172",
            "edited:IMG_0096.jpeg,FullSizeRender.jpg,Adjustments.plist"};
        return lines;
    }

};

} // namespace

TEST_F(Versions, Photos5WithItsAssetTableAndEntityNumbers)
{
    ASSERT_TRUE(copy->sql(QStringLiteral(
        "ALTER TABLE ZASSET RENAME TO ZGENERICASSET;"
        "ALTER TABLE Z_28ASSETS RENAME TO Z_26ASSETS;"
        "ALTER TABLE Z_26ASSETS RENAME COLUMN Z_28ALBUMS TO Z_26ALBUMS;"
        "ALTER TABLE Z_26ASSETS RENAME COLUMN Z_3ASSETS TO Z_34ASSETS;"
        "ALTER TABLE Z_26ASSETS RENAME COLUMN Z_FOK_3ASSETS TO Z_FOK_34ASSETS;"
        // Album 26 (FileSystemVolume makes room), GenericAsset 34 declaring the relationship, Asset 35 below it.
        "UPDATE Z_PRIMARYKEY SET Z_ENT = 62 WHERE Z_NAME = 'Conversation';"
        "UPDATE Z_PRIMARYKEY SET Z_ENT = 63 WHERE Z_NAME = 'FetchingAlbum';"
        "UPDATE Z_PRIMARYKEY SET Z_ENT = 64 WHERE Z_NAME = 'FileSystemVolume';"
        "UPDATE Z_PRIMARYKEY SET Z_ENT = 26 WHERE Z_NAME = 'Album';"
        "UPDATE Z_PRIMARYKEY SET Z_SUPER = 26 WHERE Z_SUPER = 28;"
        "UPDATE Z_PRIMARYKEY SET Z_ENT = 35, Z_SUPER = 34 WHERE Z_NAME = 'Asset';"
        "INSERT INTO Z_PRIMARYKEY (Z_ENT, Z_NAME, Z_SUPER, Z_MAX) VALUES (34, 'GenericAsset', 0, 5);"
        "UPDATE ZGENERICASSET SET Z_ENT = 35;")));
    const auto package = reopen();
    ASSERT_TRUE(package);
    EXPECT_EQ(shown(package), photos8());

    // The history names assets by the new numbers.
    ASSERT_TRUE(copy->sql(QStringLiteral("INSERT INTO ATRANSACTION (Z_ENT, Z_OPT) VALUES (16002, 1);"
                                         "INSERT INTO ACHANGE (Z_ENT, Z_OPT, ZCHANGETYPE, ZENTITY, ZENTITYPK, ZTRANSACTIONID) "
                                         "VALUES (16001, 1, 1, 35, 5, (SELECT max(Z_PK) FROM ATRANSACTION));"
                                         "UPDATE ZGENERICASSET SET ZFAVORITE = 1 WHERE Z_PK = 5;")));
    package->refreshNow();
    EXPECT_EQ(package->fullReads(), 0);
    EXPECT_EQ(shown(package)[4], QStringLiteral("favourites:B6DB996D,EECD91FE,1CD1B172"));
}

TEST_F(Versions, Photos10WithItsRenamedColumnsAndEntityNumbers)
{
    ASSERT_TRUE(copy->sql(QStringLiteral(
        "ALTER TABLE ZASSET RENAME COLUMN ZHASADJUSTMENTS TO ZADJUSTMENTSSTATE;"
        "UPDATE ZASSET SET ZADJUSTMENTSSTATE = 2 WHERE ZADJUSTMENTSSTATE = 1;"
        "ALTER TABLE ZASSET ADD COLUMN ZTRASHEDREASON INTEGER;"
        "ALTER TABLE ZASSET ADD COLUMN ZISDETECTEDSCREENSHOT INTEGER;"
        "ALTER TABLE ZDETECTEDFACE RENAME COLUMN ZASSET TO ZASSETFORFACE;"
        "ALTER TABLE Z_28ASSETS RENAME TO Z_30ASSETS;"
        "ALTER TABLE Z_30ASSETS RENAME COLUMN Z_28ALBUMS TO Z_30ALBUMS;"
        "UPDATE Z_PRIMARYKEY SET Z_ENT = 65 WHERE Z_NAME = 'DuplicateAlbum';"
        "UPDATE Z_PRIMARYKEY SET Z_ENT = 30 WHERE Z_NAME = 'Album';"
        "UPDATE Z_PRIMARYKEY SET Z_SUPER = 30 WHERE Z_SUPER = 28;"
        "CREATE TABLE Z_29KEYASSETS (Z_29ALBUMSBEINGKEYASSET INTEGER, Z_3KEYASSETS INTEGER, PRIMARY KEY (Z_29ALBUMSBEINGKEYASSET, Z_3KEYASSETS));"
        "CREATE TABLE Z_31ASSETS (Z_31ALBUMS INTEGER, Z_3ASSETS INTEGER);")));
    const auto package = reopen();
    ASSERT_TRUE(package);
    EXPECT_EQ(shown(package), photos8());
}

TEST_F(Versions, ANewerLibraryWithColumnsAndTablesGoneOrAdded)
{
    // Photos' triggers name the tables rebuilt here.
    ASSERT_TRUE(copy->sql(copy->value(QStringLiteral("SELECT group_concat('DROP TRIGGER \"' || name || '\";', '') FROM sqlite_master "
                                                     "WHERE type = 'trigger'"))));
    ASSERT_TRUE(copy->sql(QStringLiteral(
        // Tables rebuilt with some columns only; one table gone, others added.
        "ALTER TABLE ZASSET RENAME TO ZASSET_OLD;"
        "CREATE TABLE ZASSET AS SELECT Z_PK, Z_ENT, Z_OPT, ZUUID, ZKIND, ZWIDTH, ZHEIGHT, ZDATECREATED, ZTRASHEDSTATE, ZDIRECTORY, "
        "ZFILENAME, ZADDITIONALATTRIBUTES, 7 AS ZSOMETHINGNEW FROM ZASSET_OLD;"
        "DROP TABLE ZASSET_OLD;"
        "DROP TABLE ZADDITIONALASSETATTRIBUTES;"
        "ALTER TABLE Z_28ASSETS RENAME TO Z_28ASSETS_OLD;"
        "CREATE TABLE Z_28ASSETS AS SELECT Z_28ALBUMS, Z_3ASSETS FROM Z_28ASSETS_OLD;"
        "DROP TABLE Z_28ASSETS_OLD;"
        "ALTER TABLE ZGENERICALBUM RENAME TO ZGENERICALBUM_OLD;"
        "CREATE TABLE ZGENERICALBUM AS SELECT Z_PK, Z_ENT, ZKIND, ZTITLE, ZUUID, ZPARENTFOLDER, Z_FOK_PARENTFOLDER FROM ZGENERICALBUM_OLD;"
        "DROP TABLE ZGENERICALBUM_OLD;"
        "CREATE TABLE ZSOMETHINGNEW (Z_PK INTEGER PRIMARY KEY, ZASSET INTEGER);"
        "INSERT INTO Z_PRIMARYKEY (Z_ENT, Z_NAME, Z_SUPER, Z_MAX) VALUES (70, 'SomethingNew', 0, 0);")));
    const auto package = reopen();
    ASSERT_TRUE(package);
    QStringList expected = photos8();
    expected[3] = QStringLiteral("San Juan Capistrano:F8EFA39F,EECD91FE");  // no sort key, no positions: as the rows come
    expected[4] = QStringLiteral("favourites:");
    expected[6] = QStringLiteral("edited:3A71DE26-EDEF-41D3-86C1-E8328DFC9FA0.jpeg");  // no edit state, no original name
    EXPECT_EQ(shown(package), expected);
    const auto all = package->fetchAssetsWithOptions(nullptr);
    for (qsizetype i = 0; i < all->count(); ++i) {
        const auto asset = asAsset(all->objectAtIndex(i));
        EXPECT_FALSE(asset->location());
        EXPECT_FALSE(asset->valueForKey(QStringLiteral("localCreationDate")).isValid());
        EXPECT_TRUE(asset->creationDate());
    }
}

TEST(PhotosLibraryVersions, Photos4OrEarlierIsRefusedSayingWhatWasFound)
{
    QTemporaryDir dir;
    const QString package = dir.filePath(QStringLiteral("Old.photoslibrary"));
    ASSERT_TRUE(OrvTest::writeFile(package + QStringLiteral("/database/photos.db"), QByteArray("SQLite format 3\0", 16)));
    QString error;
    EXPECT_FALSE(OrvPhotosLibrary::openLibrary(package, &error));
    EXPECT_TRUE(error.contains(QLatin1String("Photos 4 or earlier"))) << error.toStdString();
    EXPECT_TRUE(error.contains(QLatin1String("database/photos.db"))) << error.toStdString();
    EXPECT_FALSE(error.contains(QLatin1Char('\n')));
}
