// The real Photos 8 library as PhotoKit shows it: the album tree in Photos'
// order, album contents in each album's order, the favourites, identifiers,
// dates, locations and sizes, and resources.

#include "OrvPhotosLibrary.h"
#include "OrvPhotosLibraryPackage.h"
#include "PhotosLibraryTestSupport.h"

#include <QLocale>

using namespace OrvPhotoKit;
using namespace PhotosLibraryTest;

namespace {

class RealLibrary : public RealLibraryTest
{
protected:
    void SetUp() override
    {
        RealLibraryTest::SetUp();
        if (library.isEmpty())
            return;
        QString error;
        package = open(library, &error);
        ASSERT_TRUE(package) << error.toStdString();
    }

    AssetCollectionPtr album(const QString& title)
    {
        const auto albums = package->fetchAssetCollectionsWithType(AssetCollectionType::Album, AssetCollectionSubtype::Any, nullptr);
        for (qsizetype i = 0; i < albums->count(); ++i) {
            const auto collection = asAssetCollection(albums->objectAtIndex(i));
            if (collection && collection->localizedTitle() == title)
                return collection;
        }
        return nullptr;
    }
    CollectionListPtr folder(const QString& title)
    {
        const auto folders = package->fetchCollectionListsWithType(CollectionListType::Folder, CollectionListSubtype::Any, nullptr);
        for (qsizetype i = 0; i < folders->count(); ++i) {
            if (folders->objectAtIndex(i) && asCollection(folders->objectAtIndex(i))->localizedTitle() == title)
                return asCollectionList(folders->objectAtIndex(i));
        }
        return nullptr;
    }
    AssetPtr asset(const QString& uuid)
    {
        const auto found = package->fetchAssetsWithLocalIdentifiers({uuid + QStringLiteral("/L0/001")}, nullptr);
        return found->count() == 1 ? asAsset(found->firstObject()) : nullptr;
    }

    std::shared_ptr<OrvPhotosLibrary::Package> package;
};

} // namespace

TEST_F(RealLibrary, AlbumTreeInPhotosOrderWithoutTheInternalAlbums)
{
    const auto top = package->fetchTopLevelUserCollectionsWithOptions(nullptr);
    EXPECT_EQ(titles(top), (QStringList{"Empty Album", "Farmers Market", "Travel", "Folder1"}));
    EXPECT_EQ(ids(top), (QStringList{"D55638ED-FFC9-45A8-B79E-B195174CB5E1/L0/040", "5DA3CED5-4AA2-43AE-8156-C214279B3D7D/L0/040",
                                     "3205FEEF-B22D-43D6-8D31-9A4D112B67E3/L0/020", "1FB9BF4B-3CF5-45DE-B4E7-C92047341196/L0/020"}));

    const auto travel = folder(QStringLiteral("Travel"));
    ASSERT_TRUE(travel);
    EXPECT_EQ(titles(package->fetchCollectionsInCollectionList(travel, nullptr)), (QStringList{"San Juan Capistrano"}));
    const auto folder1 = folder(QStringLiteral("Folder1"));
    ASSERT_TRUE(folder1);
    const auto inFolder1 = package->fetchCollectionsInCollectionList(folder1, nullptr);
    EXPECT_EQ(titles(inFolder1), (QStringList{"SubFolder1"}));
    const auto subFolder = asCollectionList(inFolder1->firstObject());
    ASSERT_TRUE(subFolder);
    EXPECT_EQ(package->fetchCollectionsInCollectionList(subFolder, nullptr)->count(), 0);
    EXPECT_EQ(ids(package->fetchCollectionListsContainingCollection(subFolder, nullptr)), (QStringList{folder1->localIdentifier()}));
    EXPECT_EQ(package->fetchCollectionListsContainingCollection(folder1, nullptr)->count(), 0);

    // Only the user's albums: none of the built-in smart albums, import sessions or progress albums.
    const auto albums = package->fetchAssetCollectionsWithType(AssetCollectionType::Album, AssetCollectionSubtype::Any, nullptr);
    EXPECT_EQ(titles(albums), (QStringList{"Empty Album", "Farmers Market", "San Juan Capistrano"}));
    EXPECT_EQ(package->fetchAssetCollectionsWithType(AssetCollectionType::Album, AssetCollectionSubtype::AlbumCloudShared, nullptr)->count(), 0);
    const auto folders = package->fetchCollectionListsWithType(CollectionListType::Folder, CollectionListSubtype::Any, nullptr);
    EXPECT_EQ(titles(folders), (QStringList{"Travel", "Folder1", "SubFolder1"}));
}

TEST_F(RealLibrary, AlbumContentsInTheAlbumsOrderAndTheComputedFavourites)
{
    EXPECT_EQ(uuids(package->fetchAssetsInAssetCollection(album(QStringLiteral("San Juan Capistrano")), nullptr)),
              (QStringList{"EECD91FE", "F8EFA39F"}));
    EXPECT_EQ(uuids(package->fetchAssetsInAssetCollection(album(QStringLiteral("Farmers Market")), nullptr)), (QStringList{"B6DB996D"}));
    EXPECT_EQ(package->fetchAssetsInAssetCollection(album(QStringLiteral("Empty Album")), nullptr)->count(), 0);

    const auto smart = package->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum, AssetCollectionSubtype::SmartAlbumFavorites, nullptr);
    ASSERT_EQ(smart->count(), 1);
    const auto favourites = asAssetCollection(smart->firstObject());
    EXPECT_TRUE(favourites->localIdentifier().endsWith(QLatin1String("/L0/040")));
    EXPECT_EQ(favourites->localizedTitle(), QLocale().language() == QLocale::German ? QStringLiteral("Favoriten") : QStringLiteral("Favorites"));
    EXPECT_EQ(uuids(package->fetchAssetsInAssetCollection(favourites, nullptr)), (QStringList{"B6DB996D", "EECD91FE"}));
    // The same identifier on every opening, and found by it.
    const auto again = open(library);
    EXPECT_EQ(ids(again->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum, AssetCollectionSubtype::SmartAlbumFavorites, nullptr)),
              (QStringList{favourites->localIdentifier()}));
    EXPECT_EQ(package->fetchAssetCollectionsWithLocalIdentifiers({favourites->localIdentifier()}, nullptr)->count(), 1);

    // Sorted by the fetch's descriptors, as the source asks: newest first; favourites first.
    FetchOptions options;
    options.sortDescriptors = {{QStringLiteral("creationDate"), false}};
    options.includeAssetSourceTypes = AssetSourceTypeUserLibrary | AssetSourceTypeCloudShared | AssetSourceTypeiTunesSynced;
    EXPECT_EQ(uuids(package->fetchAssetsWithOptions(&options)), (QStringList{"3A71DE26", "F8EFA39F", "EECD91FE", "B6DB996D", "1CD1B172"}));
    options.sortDescriptors = {{QStringLiteral("favorite"), false}, {QStringLiteral("creationDate"), true}};
    EXPECT_EQ(uuids(package->fetchAssetsWithOptions(&options)), (QStringList{"B6DB996D", "EECD91FE", "1CD1B172", "F8EFA39F", "3A71DE26"}));
    options.predicate = Predicate{QStringLiteral("creationDate > %@ AND creationDate < %@"),
                                  {QDateTime::fromString(QStringLiteral("2020-08-01T00:00:00Z"), Qt::ISODate),
                                   QDateTime::fromString(QStringLiteral("2020-09-01T00:00:00Z"), Qt::ISODate)}};
    EXPECT_EQ(uuids(package->fetchAssetsWithOptions(&options)), (QStringList{"EECD91FE", "F8EFA39F"}));
}

TEST_F(RealLibrary, AssetsWithIdentifiersDatesLocationsAndSizesAsPhotosKeepsThem)
{
    EXPECT_EQ(uuids(package->fetchAssetsWithOptions(nullptr)), (QStringList{"B6DB996D", "F8EFA39F", "3A71DE26", "EECD91FE", "1CD1B172"}));
    const AssetPtr market = asset(QStringLiteral("B6DB996D-8A0A-4983-AFBD-D206B7D38A23"));
    ASSERT_TRUE(market);
    EXPECT_EQ(market->creationDate()->toUTC(), QDateTime::fromString(QStringLiteral("2020-07-18T19:00:20.192Z"), Qt::ISODateWithMs));
    // The local date is the wall-clock time at GMT-0700, written as UTC.
    EXPECT_EQ(market->valueForKey(QStringLiteral("localCreationDate")).toDateTime(),
              QDateTime::fromString(QStringLiteral("2020-07-18T12:00:20.192Z"), Qt::ISODateWithMs));
    ASSERT_TRUE(market->location());
    EXPECT_DOUBLE_EQ(market->location()->coordinate.latitude, 33.82677);
    EXPECT_DOUBLE_EQ(market->location()->coordinate.longitude, -118.32748333);
    EXPECT_EQ(QSize(market->pixelWidth(), market->pixelHeight()), QSize(4032, 3024));
    EXPECT_TRUE(market->isFavorite());
    EXPECT_EQ(market->valueForKey(QStringLiteral("mediaType")).toInt(), 1);

    // Stored on its side (EXIF orientation 6): its size is as displayed.
    const AssetPtr upright = asset(QStringLiteral("F8EFA39F-7D26-4DC2-82FE-CC9357F19F00"));
    ASSERT_TRUE(upright);
    EXPECT_EQ(QSize(upright->pixelWidth(), upright->pixelHeight()), QSize(3024, 4032));
    EXPECT_FALSE(upright->isFavorite());

    // -180/-180 is no location; the zone given by name has its offset too.
    const AssetPtr edited = asset(QStringLiteral("3A71DE26-EDEF-41D3-86C1-E8328DFC9FA0"));
    ASSERT_TRUE(edited);
    EXPECT_FALSE(edited->location());
    EXPECT_EQ(edited->valueForKey(QStringLiteral("localCreationDate")).toDateTime(),
              QDateTime::fromString(QStringLiteral("2020-09-07T07:27:40.195Z"), Qt::ISODateWithMs));
    EXPECT_FALSE(asset(QStringLiteral("3A71DE26-EDEF-41D3-86C1-E8328DFC9FA0/L0/001")));
}

TEST_F(RealLibrary, ResourcesCarryTheOriginalNamesAndTheEdit)
{
    const auto fileNames = [&](const QString& uuid) {
        QStringList names;
        for (const auto& resource : package->assetResourcesForAsset(asset(uuid)))
            names.append(resource->originalFilename() + QLatin1Char(':') + QString::number(int(resource->type())));
        return names;
    };
    EXPECT_EQ(fileNames(QStringLiteral("B6DB996D-8A0A-4983-AFBD-D206B7D38A23")), (QStringList{"IMG_2510.JPG:1"}));
    EXPECT_EQ(fileNames(QStringLiteral("3A71DE26-EDEF-41D3-86C1-E8328DFC9FA0")),
              (QStringList{"IMG_0096.jpeg:1", "FullSizeRender.jpg:5", "Adjustments.plist:7"}));
    EXPECT_TRUE(package->assetResourcesForAsset(nullptr).isEmpty());
}

TEST_F(RealLibrary, AnAssetThatIsOnlyInTheWriteAheadLogIsSeen)
{
    const QString single = realLibrary(QStringLiteral("photos8-macos-13.0.1-single.photoslibrary"));
    ASSERT_FALSE(single.isEmpty());
    QString error;
    const auto lib = OrvPhotosLibrary::openLibrary(single, &error);
    ASSERT_TRUE(lib) << error.toStdString();
    EXPECT_EQ(ids(lib->fetchAssetsWithOptions(nullptr)), (QStringList{"9B96223D-4B1A-4BE8-ABD9-47476BEBFFAB/L0/001"}));
    EXPECT_EQ(lib->fetchTopLevelUserCollectionsWithOptions(nullptr)->count(), 0);
    EXPECT_EQ(lib->authorizationStatus(), AuthorizationStatus::Authorized);
}

TEST_F(RealLibrary, InstalledItIsWhatThePlugInFinds)
{
    const auto lib = OrvPhotosLibrary::openLibrary(library);
    ASSERT_TRUE(lib);
    OrvPhotosLibrary::install(lib);
    EXPECT_EQ(sharedPhotoLibrary(), lib);
    OrvPhotoKit::setSharedPhotoLibraryProvider(nullptr);
}
