// Packages that are broken or hostile: no database, databases that are none,
// pipes, devices, gigabytes of log, rows with nothing or nonsense in them,
// loops of folders, albums listing assets twice or ones that do not exist, an
// edit that is gone, a database replaced while it is read. Each gives an empty
// or partial library and at most one debug line per cause, and never a write
// into the package.

#include "OrvImageIOQt.h"
#include "OrvPhotosLibrary.h"
#include "OrvPhotosLibraryPackage.h"
#include "PhotosLibraryTestSupport.h"
#include "TestSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMutex>
#include <QRandomGenerator>

#include <atomic>
#include <thread>

#include <unistd.h>

using namespace OrvPhotoKit;
using namespace PhotosLibraryTest;

namespace {

// The backend's debug lines while it lives.
class DebugLines
{
public:
    DebugLines()
    {
        current() = this;
        myPrevious = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& message) {
            if (message.startsWith(QLatin1String("Photos library:"))) {
                QMutexLocker locker(&current()->myMutex);
                current()->myLines.append(message);
            } else if (current()->myPrevious) {
                current()->myPrevious(type, context, message);
            }
        });
    }
    ~DebugLines()
    {
        qInstallMessageHandler(myPrevious);
        current() = nullptr;
    }
    QStringList lines()
    {
        QMutexLocker locker(&myMutex);
        return myLines;
    }
    int count(const QString& part)
    {
        const QStringList all = lines();
        return int(std::count_if(all.cbegin(), all.cend(), [&](const QString& line) { return line.contains(part); }));
    }

private:
    static DebugLines*& current()
    {
        static DebugLines* lines = nullptr;
        return lines;
    }
    QMutex myMutex;
    QStringList myLines;
    QtMessageHandler myPrevious = nullptr;
};

QString refused(const QString& path)
{
    QString error;
    EXPECT_FALSE(OrvPhotosLibrary::openLibrary(path, &error)) << path.toStdString();
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(error.contains(QLatin1Char('\n')));
    return error;
}

class Hostile : public RealLibraryTest
{
protected:
    void SetUp() override
    {
        RealLibraryTest::SetUp();
        if (!copyLibrary(QStringList{QStringLiteral("database/Photos.sqlite")}))
            return;
    }
    // Opens the copy and checks that doing so wrote nothing into it.
    std::shared_ptr<OrvPhotosLibrary::Package> openUntouched()
    {
        const auto before = fingerprint(copy->path());
        const auto package = open(copy->path());
        EXPECT_EQ(fingerprint(copy->path()), before);
        return package;
    }
};

} // namespace

TEST(PhotosLibraryHostile, FoldersThatAreNoLibrary)
{
    QTemporaryDir dir;
    EXPECT_EQ(refused(dir.filePath(QStringLiteral("none.photoslibrary"))), QStringLiteral("no such folder"));
    ASSERT_TRUE(OrvTest::writeFile(dir.filePath(QStringLiteral("file.photoslibrary")), "x"));
    EXPECT_TRUE(refused(dir.filePath(QStringLiteral("file.photoslibrary"))).startsWith(QLatin1String("not a folder")));
    ASSERT_TRUE(QDir().mkpath(dir.filePath(QStringLiteral("empty.photoslibrary"))));
    EXPECT_TRUE(refused(dir.filePath(QStringLiteral("empty.photoslibrary"))).contains(QLatin1String("no database/Photos.sqlite")));
    ASSERT_TRUE(OrvTest::writeFile(dir.filePath(QStringLiteral("iphoto/AlbumData.xml")), "<plist/>"));
    EXPECT_TRUE(refused(dir.filePath(QStringLiteral("iphoto"))).contains(QLatin1String("iPhoto")));
    const QString locked = dir.filePath(QStringLiteral("locked.photoslibrary"));
    ASSERT_TRUE(QDir().mkpath(locked + QStringLiteral("/database")));
    ASSERT_TRUE(QFile::setPermissions(locked, QFileDevice::WriteOwner));
    if (::geteuid() != 0) {
        EXPECT_EQ(refused(locked), QStringLiteral("the folder cannot be read"));
    }
    QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

TEST(PhotosLibraryHostile, DatabasesThatAreNoDatabasesOrNoFiles)
{
    QTemporaryDir dir;
    const QString package = dir.filePath(QStringLiteral("Broken.photoslibrary"));
    const QString database = package + QStringLiteral("/database/Photos.sqlite");
    ASSERT_TRUE(OrvTest::writeFile(database, QByteArray()));
    EXPECT_TRUE(refused(package).contains(QLatin1String("no tables")));
    QByteArray noise(1 << 20, '\0');
    for (char& byte : noise)
        byte = char(QRandomGenerator::global()->generate());
    ASSERT_TRUE(OrvTest::writeFile(database, noise));
    EXPECT_TRUE(refused(package).contains(QLatin1String("cannot")));
    QFile::remove(database);
    ASSERT_TRUE(OrvTest::makeFifo(database));
    EXPECT_TRUE(refused(package).contains(QLatin1String("not a regular file")));
    QFile::remove(database);
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), database));
    EXPECT_TRUE(refused(package).contains(QLatin1String("not a regular file")));
    QFile::remove(database);
    ASSERT_TRUE(QDir().mkpath(database));
    EXPECT_TRUE(refused(package).contains(QLatin1String("not a regular file")));
}

TEST_F(Hostile, ADatabaseCutShortGivesWhatItStillHoldsOrNothing)
{
    const QByteArray whole = OrvTest::readFile(copy->database());
    for (const qsizetype size : {qsizetype(100), qsizetype(4096), qsizetype(65536), whole.size() / 3, whole.size() - 4096}) {
        ASSERT_TRUE(OrvTest::writeFile(copy->database(), whole.left(size)));
        QString error;
        const auto package = OrvPhotosLibrary::openLibrary(copy->path(), &error);
        if (!package) {
            EXPECT_FALSE(error.isEmpty());
            continue;
        }
        EXPECT_LE(package->fetchAssetsWithOptions(nullptr)->count(), 5);
        package->fetchTopLevelUserCollectionsWithOptions(nullptr);
    }
}

TEST_F(Hostile, TheLogIsReadAsFarAsSQLiteWouldUseIt)
{
    // Two transactions that live only in the log, as Photos leaves them.
    ASSERT_TRUE(copy->sql(QStringLiteral("UPDATE ZASSET SET ZFAVORITE = 1 WHERE Z_PK = 5;"), true));
    const QString log = copy->database() + QStringLiteral("-wal");
    const qint64 first = QFileInfo(log).size();
    ASSERT_TRUE(copy->sql(QStringLiteral("UPDATE ZASSET SET ZFAVORITE = 1 WHERE Z_PK = 3;"), true));
    const QByteArray whole = OrvTest::readFile(log);
    ASSERT_GT(whole.size(), first);
    const auto favourites = [&] {
        const auto package = OrvPhotosLibrary::openLibrary(copy->path());
        if (!package)
            return QStringList{"(none)"};
        const auto smart = package->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum,
                                                                  AssetCollectionSubtype::SmartAlbumFavorites, nullptr);
        return uuids(package->fetchAssetsInAssetCollection(asAssetCollection(smart->firstObject()), nullptr));
    };
    EXPECT_EQ(favourites(), (QStringList{"B6DB996D", "3A71DE26", "EECD91FE", "1CD1B172"}));
    ASSERT_TRUE(OrvTest::writeFile(log, whole + QByteArray(1 << 20, '\x5a')));
    EXPECT_EQ(favourites(), (QStringList{"B6DB996D", "3A71DE26", "EECD91FE", "1CD1B172"}));
    // The second transaction torn: the first stands.
    ASSERT_TRUE(OrvTest::writeFile(log, whole.left(whole.size() - 100)));
    EXPECT_EQ(favourites(), (QStringList{"B6DB996D", "EECD91FE", "1CD1B172"}));
    // A frame of it damaged: the same.
    QByteArray damaged = whole;
    damaged[int(first) + 200] = char(damaged[int(first) + 200] ^ 0x55);
    ASSERT_TRUE(OrvTest::writeFile(log, damaged));
    EXPECT_EQ(favourites(), (QStringList{"B6DB996D", "EECD91FE", "1CD1B172"}));
    ASSERT_TRUE(OrvTest::writeFile(log, whole.left(32)));
    EXPECT_EQ(favourites(), (QStringList{"B6DB996D", "EECD91FE"}));
    ASSERT_TRUE(OrvTest::writeFile(log, QByteArray(whole.size(), '\0')));
    EXPECT_EQ(favourites(), (QStringList{"B6DB996D", "EECD91FE"}));
}

TEST_F(Hostile, AGigabyteOfLogCostsNothing)
{
    QTemporaryDir temporary;
    const QByteArray previous = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    QFile log(copy->database() + QStringLiteral("-wal"));
    ASSERT_TRUE(log.open(QIODevice::WriteOnly) && log.resize(qint64(1) << 30));
    log.close();
    const QStringList files = QDir(copy->path() + QStringLiteral("/database")).entryList(QDir::Files);
    const QDateTime modified = QFileInfo(log).lastModified();
    auto package = open(copy->path());
    ASSERT_TRUE(package);
    EXPECT_EQ(QDir(copy->path() + QStringLiteral("/database")).entryList(QDir::Files), files);
    EXPECT_EQ(QFileInfo(log).lastModified(), modified);
    EXPECT_EQ(QFileInfo(log).size(), qint64(1) << 30);
    EXPECT_EQ(package->fetchAssetsWithOptions(nullptr)->count(), 5);
    // The private copy holds the database, and nothing of the log.
    qint64 copied = 0;
    QDirIterator it(temporary.path(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        copied += QFileInfo(it.next()).size();
    EXPECT_LT(copied, qint64(8) << 20);
    // The private copy goes with the library.
    package.reset();
    EXPECT_TRUE(QDir(temporary.path()).isEmpty());
    if (previous.isEmpty())
        qunsetenv("TMPDIR");
    else
        qputenv("TMPDIR", previous);
}

TEST_F(Hostile, RowsWithNothingOrNonsenseAreReadInPartOneLineACause)
{
    ASSERT_TRUE(copy->sql(QStringLiteral(
        "UPDATE ZASSET SET ZDATECREATED = 1e300 WHERE Z_PK = 1;"
        "UPDATE ZASSET SET ZDATECREATED = 'yesterday', ZWIDTH = NULL, ZHEIGHT = NULL WHERE Z_PK = 2;"
        "UPDATE ZASSET SET ZUUID = NULL WHERE Z_PK = 3;"
        "UPDATE ZASSET SET ZLATITUDE = 1000, ZLONGITUDE = -999, ZWIDTH = -5, ZHEIGHT = 1e15 WHERE Z_PK = 4;"
        "UPDATE ZASSET SET ZUUID = '../../../etc/passwd' WHERE Z_PK = 5;"
        "UPDATE ZADDITIONALASSETATTRIBUTES SET ZTIMEZONEOFFSET = 1e12;"
        "UPDATE ZGENERICALBUM SET ZTITLE = NULL WHERE Z_PK = 41;"
        "UPDATE ZGENERICALBUM SET ZKIND = NULL WHERE Z_PK = 45;")));
    DebugLines lines;
    const auto package = openUntouched();
    ASSERT_TRUE(package);
    const auto all = package->fetchAssetsWithOptions(nullptr);
    EXPECT_EQ(uuids(all), (QStringList{"B6DB996D", "F8EFA39F", "EECD91FE"}));
    const auto first = asAsset(all->objectAtIndex(0));
    EXPECT_FALSE(first->creationDate());
    EXPECT_FALSE(first->valueForKey(QStringLiteral("localCreationDate")).isValid());
    const auto second = asAsset(all->objectAtIndex(1));
    EXPECT_FALSE(second->creationDate());
    EXPECT_EQ(second->pixelWidth(), 0);
    const auto third = asAsset(all->objectAtIndex(2));
    EXPECT_FALSE(third->location());
    EXPECT_EQ(QSize(third->pixelWidth(), third->pixelHeight()), QSize(0, 0));
    EXPECT_EQ(titles(package->fetchTopLevelUserCollectionsWithOptions(nullptr)), (QStringList{"", "Travel", "Folder1"}));
    EXPECT_EQ(lines.count(QStringLiteral("without a usable identifier")), 1);
    EXPECT_EQ(lines.count(QStringLiteral("creation date out of range")), 1);
    EXPECT_EQ(lines.count(QStringLiteral("off the globe")), 1);
    EXPECT_EQ(lines.count(QStringLiteral("time zone offset out of range")), 1);
    // Read again after a change: no cause is told twice.
    ASSERT_TRUE(copy->sql(QStringLiteral("UPDATE ZASSET SET ZFAVORITE = 1 WHERE Z_PK = 4;")));
    package->refreshNow();
    EXPECT_EQ(package->fetchAssetsWithOptions(nullptr)->count(), 3);
    EXPECT_EQ(lines.count(QStringLiteral("off the globe")), 1);
    EXPECT_EQ(lines.count(QStringLiteral("without a usable identifier")), 1);
}

TEST_F(Hostile, FolderLoopsAndAlbumsListingAssetsTwiceOrNone)
{
    ASSERT_TRUE(copy->sql(QStringLiteral(
        "UPDATE ZGENERICALBUM SET ZPARENTFOLDER = 43 WHERE Z_PK = 42;"   // Folder1 in SubFolder1, which is in Folder1
        "UPDATE ZGENERICALBUM SET ZPARENTFOLDER = 777 WHERE Z_PK = 45;"  // a folder that is not there
        "DROP INDEX RADAR_22158684_INDEX; DROP INDEX RADAR_10322662_INDEX;"
        "DROP INDEX Z_26ASSETS_Z_34ASSETS_INDEX; DROP INDEX Z_26ASSETS_Z_3ASSETS_INDEX;"
        "ALTER TABLE Z_28ASSETS RENAME TO Z_28ASSETS_OLD;"
        "CREATE TABLE Z_28ASSETS (Z_28ALBUMS INTEGER, Z_3ASSETS INTEGER, Z_FOK_3ASSETS INTEGER);"
        "INSERT INTO Z_28ASSETS SELECT * FROM Z_28ASSETS_OLD; DROP TABLE Z_28ASSETS_OLD;"
        "INSERT INTO Z_28ASSETS VALUES (41, 1, 4096), (41, 999, 5000), (39, 4, 9999), (41, NULL, NULL);")));
    DebugLines lines;
    const auto package = openUntouched();
    ASSERT_TRUE(package);
    EXPECT_EQ(titles(package->fetchTopLevelUserCollectionsWithOptions(nullptr)), (QStringList{"Farmers Market", "Travel", "Empty Album"}));
    EXPECT_EQ(titles(package->fetchCollectionListsWithType(CollectionListType::Folder, CollectionListSubtype::Any, nullptr)),
              (QStringList{"Travel"}));
    const auto albums = package->fetchAssetCollectionsWithType(AssetCollectionType::Album, AssetCollectionSubtype::Any, nullptr);
    QStringList contents;
    for (qsizetype i = 0; i < albums->count(); ++i)
        contents.append(uuids(package->fetchAssetsInAssetCollection(asAssetCollection(albums->objectAtIndex(i)), nullptr)).join(QLatin1Char(',')));
    EXPECT_EQ(contents, (QStringList{"B6DB996D", "EECD91FE,F8EFA39F", ""}));
    EXPECT_EQ(lines.count(QStringLiteral("loop of folders")), 1);
    EXPECT_EQ(lines.count(QStringLiteral("listing an asset twice")), 1);
}

TEST_F(Hostile, TablesThatAreMissing)
{
    ASSERT_TRUE(copy->sql(QStringLiteral("DROP TABLE Z_28ASSETS;")));
    auto package = openUntouched();
    ASSERT_TRUE(package);
    EXPECT_EQ(package->fetchAssetsWithOptions(nullptr)->count(), 5);
    const auto albums = package->fetchAssetCollectionsWithType(AssetCollectionType::Album, AssetCollectionSubtype::Any, nullptr);
    ASSERT_EQ(albums->count(), 3);
    EXPECT_EQ(package->fetchAssetsInAssetCollection(asAssetCollection(albums->objectAtIndex(1)), nullptr)->count(), 0);
    ASSERT_TRUE(copy->sql(QStringLiteral("DROP TABLE ZGENERICALBUM;")));
    package = openUntouched();
    ASSERT_TRUE(package);
    EXPECT_EQ(package->fetchAssetsWithOptions(nullptr)->count(), 5);
    EXPECT_EQ(package->fetchTopLevelUserCollectionsWithOptions(nullptr)->count(), 0);
    ASSERT_TRUE(copy->sql(QStringLiteral("DROP TABLE ZASSET;")));
    EXPECT_TRUE(refused(copy->path()).contains(QLatin1String("neither ZASSET nor ZGENERICASSET")));
    ASSERT_TRUE(copy->sql(QStringLiteral("DROP TABLE Z_PRIMARYKEY;")));
    EXPECT_TRUE(refused(copy->path()).contains(QLatin1String("Z_PRIMARYKEY")));
}

TEST_F(Hostile, AnEditThatIsGoneIsAnErrorWhileTheRenditionsStillShow)
{
    PackageCopy withFiles(library, {QStringLiteral("database/Photos.sqlite"), QStringLiteral("resources/derivatives/masters/3")});
    const auto package = open(withFiles.path());
    ASSERT_TRUE(package);
    const auto edited = package->fetchAssetsWithLocalIdentifiers({QStringLiteral("3A71DE26-EDEF-41D3-86C1-E8328DFC9FA0/L0/001")}, nullptr);
    ImageRequestOptions options;
    options.synchronous = true;
    QImage image;
    QVariantMap info;
    const auto handler = [&](const QImage& result, const QVariantMap& details) {
        image = result;
        info = details;
    };
    package->defaultManager()->requestImageForAsset(asAsset(edited->firstObject()), ImageManagerMaximumSize,
                                                    ImageContentMode::AspectFill, options, handler);
    EXPECT_TRUE(image.isNull());
    EXPECT_EQ(info.value(ImageErrorKey).toString(), QStringLiteral("the edited version is missing"));
    package->defaultManager()->requestImageForAsset(asAsset(edited->firstObject()), QSizeF(100, 100),
                                                    ImageContentMode::AspectFill, options, handler);
    EXPECT_FALSE(image.isNull());
}

TEST_F(Hostile, ADatabaseReplacedWhileItIsReadIsSeenBeforeOrAfterNeverMixed)
{
    // Two databases without a log to put in place in turn: this library's and the single photo's.
    PackageCopy single(realLibrary(QStringLiteral("photos8-macos-13.0.1-single.photoslibrary")), {QStringLiteral("database/Photos.sqlite")});
    ASSERT_TRUE(single.sql(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE);")));
    QFile::remove(single.database() + QStringLiteral("-wal"));
    QFile::remove(copy->database() + QStringLiteral("-wal"));
    const QString five = copy->path() + QStringLiteral("/five");
    const QString one = copy->path() + QStringLiteral("/one");
    ASSERT_TRUE(QFile::copy(copy->database(), five) && QFile::copy(single.database(), one));

    const auto package = open(copy->path());
    ASSERT_TRUE(package);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 40; ++i) {
            const QString next = copy->database() + QStringLiteral(".next");
            QFile::remove(next);
            QFile::copy(i % 2 == 0 ? one : five, next);
            ::rename(QFile::encodeName(next).constData(), QFile::encodeName(copy->database()).constData());
        }
        done = true;
    });
    while (!done) {
        package->refreshNow();
        const qsizetype count = package->fetchAssetsWithOptions(nullptr)->count();
        EXPECT_TRUE(count == 5 || count == 1) << count;
    }
    writer.join();
    package->refreshNow();
    EXPECT_EQ(package->fetchAssetsWithOptions(nullptr)->count(), 5);

    // A database that is none now: what was read stays, and the reason is told once.
    DebugLines lines;
    ASSERT_TRUE(OrvTest::writeFile(copy->database(), QByteArray(8192, 'x')));
    package->refreshNow();
    ASSERT_TRUE(OrvTest::writeFile(copy->database(), QByteArray(8192, 'y')));
    package->refreshNow();
    EXPECT_EQ(package->fetchAssetsWithOptions(nullptr)->count(), 5);
    EXPECT_EQ(lines.lines().size(), 1) << lines.lines().join(QLatin1Char('\n')).toStdString();
}
