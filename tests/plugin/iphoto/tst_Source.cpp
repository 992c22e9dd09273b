// The iPhoto/Aperture source: where it finds its library, what it shows, and
// how it reacts to the application and to changes of the file.

#include "IPhotoTestSupport.h"
#include "OrvFileSystemWatcher.h"
#include "OrvFotoRetrieverInterfaceIPhoto.h"
#include "OrvGenericUrlTreeModel.h"
#include "OrvIPhotoDatabase.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>

using namespace IPhotoTest;

namespace {

// A source of its own (not one of the two process-wide ones) reading the preferences of application.
std::unique_ptr<OrvIPhotoDatabase> makeSource(const QString& application, const QString& fileName = QStringLiteral("AlbumData.xml"))
{
    return std::make_unique<OrvIPhotoDatabase>(application, QStringLiteral("Test"), QStringLiteral("/Applications/iPhoto.app"),
                                               fileName, QStringLiteral("Database/apdb/Library.apdb"), OrvFotoDatabaseType(OrvFotoDatabaseType::IPhoto));
}

QString writeLibrary(const Scratch& scratch, const QByteArray& fotos, const QByteArray& more = {})
{
    QDir().mkpath(scratch.path("lib"));
    return scratch.write("lib/AlbumData.xml", library("<key>Master Image List</key><dict>" + fotos + "</dict>" + more));
}

void setModified(const QString& path, const QDateTime& time)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(time, QFileDevice::FileModificationTime));
}

} // namespace

TEST(IPhotoSource, LibraryFromPreferences)
{
    const auto source = makeSource("prefs");
    const QString home = QDir::homePath();
    setPreferences("prefs", "~/Pictures/Lib/AlbumData.xml");
    EXPECT_EQ(source->standardAlbumDataFile().filePath(), home + "/Pictures/Lib/AlbumData.xml");
    setPreferences("prefs", "/Volumes/~/x~y/AlbumData.xml", "/ignored");
    EXPECT_EQ(source->standardAlbumDataFile().filePath(), "/Volumes/" + home + "/x" + home + "y/AlbumData.xml")
        << "every ~ is replaced, and the path wins over RootDirectory";
    setPreferences("prefs", QString(), "~/Pictures/iPhoto Library");
    EXPECT_EQ(source->standardAlbumDataFile().absoluteFilePath(), home + "/Pictures/iPhoto Library/AlbumData.xml");
    setPreferences("prefs", QString(), QString());
    EXPECT_EQ(source->standardAlbumDataFile().absoluteFilePath(), QDir::current().absoluteFilePath("AlbumData.xml"))
        << "neither key: the current directory";
    EXPECT_EQ(source->watchFile().absoluteFilePath(), QDir::current().absoluteFilePath("Database/apdb/Library.apdb"));

    const auto aperture = makeSource("prefs", "ApertureData.xml");
    setPreferences("prefs", QString(), "/Libraries/Aperture");
    EXPECT_EQ(aperture->standardAlbumDataFile().absoluteFilePath(), "/Libraries/Aperture/ApertureData.xml");
}

TEST(IPhotoSource, LibraryFilesThatAreNoFilesGiveAnEmptySource)
{
    Scratch scratch;
    QDir().mkpath(scratch.path("lib"));
    ASSERT_TRUE(OrvTest::makeFifo(scratch.path("lib/AlbumData.xml")));
    QFile::link(QStringLiteral("/dev/zero"), scratch.path("zero.xml"));
    for (const QString& file : {scratch.path("lib/AlbumData.xml"), scratch.path("zero.xml"), scratch.path("lib")}) {
        const auto source = makeSource(QStringLiteral("iphoto-hostile"));
        source->parseFile(QFileInfo(file));
        EXPECT_EQ(source->countFotos(), 0) << file.toStdString();
        EXPECT_FALSE(source->wantsToBeShown());
    }
}

TEST(IPhotoSource, ShownOnlyWithFotos)
{
    Scratch scratch;
    setPreferences("shown", writeLibrary(scratch, foto("1", "/nowhere/a.jpg")));
    EXPECT_TRUE(makeSource("shown")->wantsToBeShown()) << "a foto whose file is missing still counts";
    setPreferences("shown", writeLibrary(scratch, foto("1", "/a.mov", {}, "Movie")));
    EXPECT_FALSE(makeSource("shown")->wantsToBeShown());
    setPreferences("shown", scratch.path("missing/AlbumData.xml"));
    EXPECT_FALSE(makeSource("shown")->wantsToBeShown());
    setPreferences("shown", scratch.write("empty.xml", QByteArray()));
    EXPECT_FALSE(makeSource("shown")->wantsToBeShown());
}

TEST(IPhotoSource, PoolAndTree)
{
    setPreferences("pool", fixture().iphotoLibrary);
    const auto source = makeSource("pool");
    EXPECT_EQ(source->countFotos(), 2);
    const OrvExternalAlbumList albums = source->albums();
    // 4 albums, 1 person, 2 months (2010-07 and 2010-10), in that order.
    ASSERT_EQ(albums.size(), 7);
    EXPECT_EQ(albums.at(0).name(), QStringLiteral("Zoo"));
    EXPECT_EQ(albums.at(4).type().code(), OrvExternalAlbumType::Person);
    EXPECT_EQ(albums.at(4).fotoIds(), OrvExternalIdList{OrvExternalId("pool", "foto", "1")});
    EXPECT_EQ(albums.at(5).type().code(), OrvExternalAlbumType::Month);
    EXPECT_EQ(source->allRegularAlbums(), (QStringList{"apples", "Zoo"}));
    EXPECT_EQ(source->albumByVisibleName("Trip"), OrvExternalId("pool", "album", "12"));
    EXPECT_FALSE(source->albumByVisibleName("trip").isValid());
    OrvGenericUrlTreeModel* tree = source->treeModel();
    EXPECT_EQ(tree->rowCount(), 7);
    EXPECT_EQ(source->download(OrvExternalId("pool", "foto", "1"), QSize(100, 100)).filePath(), QString());
    const std::unique_ptr<OrvFotoRetrieverInterface> retriever(source->createRetrieverInterface(OrvExternalId("pool", "foto", "1")));
    EXPECT_NE(dynamic_cast<OrvFotoRetrieverInterfaceIPhoto*>(retriever.get()), nullptr);
}

TEST(IPhotoSource, FileNameHintAndUrlMapping)
{
    Scratch scratch;
    setPreferences("hint", writeLibrary(scratch, foto("1", "/a/b/IMG_1.2.JPG", entry("ThumbPath", "/t/thumb_1.jpg"))));
    const auto source = makeSource("hint");
    const OrvExternalId id("hint", "foto", "1");
    EXPECT_EQ(source->filenameHint(id, QSize(3000, 2000)), QStringLiteral("IMG_1"));
    EXPECT_EQ(source->filenameHint(id, QSize(100, 100)), QStringLiteral("thumb_1"));
    EXPECT_EQ(source->filenameHint(OrvExternalId("hint", "foto", "9"), QSize(100, 100)), QString());
    EXPECT_EQ(source->transformFileSystemUrlToExternalDatabaseUrlIfPossible(QUrl::fromLocalFile("/a/b/IMG_1.2.JPG")), id.toUrl());
    const QUrl thumb = QUrl::fromLocalFile("/t/thumb_1.jpg");
    EXPECT_EQ(source->transformFileSystemUrlToExternalDatabaseUrlIfPossible(thumb), thumb) << "only the full image maps";
}

TEST(IPhotoSource, AppIsRunningBy61Seconds)
{
    Scratch scratch;
    const QString xml = writeLibrary(scratch, foto("1", "/a.jpg"));
    setPreferences("running", xml);
    const auto source = makeSource("running");
    EXPECT_FALSE(source->appIsRunning()) << "no database file";
    QDir().mkpath(scratch.path("lib/Database/apdb"));
    const QString database = scratch.write("lib/Database/apdb/Library.apdb", "db");
    const QDateTime base = QDateTime::currentDateTime().addDays(-1);
    setModified(xml, base);
    for (int seconds : {0, 60, -60}) {
        setModified(database, base.addSecs(seconds));
        EXPECT_FALSE(source->appIsRunning()) << seconds;
    }
    for (int seconds : {61, -61, 3600}) {
        setModified(database, base.addSecs(seconds));
        EXPECT_TRUE(source->appIsRunning()) << seconds;
    }
    setPreferences("running", scratch.path("lib/Missing.xml"));
    EXPECT_FALSE(source->appIsRunning()) << "no library file";
}

TEST(IPhotoSource, RunningAppReportedOnce)
{
    Scratch scratch;
    const QString xml = writeLibrary(scratch, foto("1", "/a.jpg"));
    setPreferences("report", xml);
    QDir().mkpath(scratch.path("lib/Database/apdb"));
    const QString database = scratch.write("lib/Database/apdb/Library.apdb", "db");
    const QDateTime base = QDateTime::currentDateTime().addDays(-1);
    setModified(xml, base);
    setModified(database, base.addSecs(120));
    const auto source = makeSource("report");
    EXPECT_FALSE(source->parseStandardFile(false));
    EXPECT_TRUE(source->parseStandardFile(true));
    EXPECT_FALSE(source->parseStandardFile(true));
    EXPECT_FALSE(source->parseStandardFile(false));
    const auto other = makeSource("report");
    setModified(database, base.addSecs(30));
    EXPECT_FALSE(other->parseStandardFile(true)) << "not running";
    setModified(database, base.addSecs(-90));
    EXPECT_TRUE(other->parseStandardFile(true));
}

TEST(IPhotoSource, ChangedFileIsNotReReadUntilAsked)
{
    Scratch scratch;
    const QString xml = writeLibrary(scratch, foto("1", "/a.jpg"));
    setPreferences("changes", xml);
    const auto source = makeSource("changes");
    ASSERT_EQ(source->countFotos(), 1);
    writeLibrary(scratch, foto("1", "/a.jpg") + foto("2", "/b.jpg"));
    emit OrvSingleton<OrvFileSystemWatcher>::instance()->filesChanged(QList<QString>{xml});
    QCoreApplication::processEvents();
    EXPECT_EQ(source->countFotos(), 1);
    EXPECT_EQ(source->readChangedFiles({xml, "x"}), (QList<QString>{xml, "x"}));
    source->parseStandardFile(false);
    EXPECT_EQ(source->countFotos(), 2);
    // A library that turns bad empties the source.
    scratch.write("lib/AlbumData.xml", "<plist><dict>");
    source->parseStandardFile(false);
    EXPECT_EQ(source->countFotos(), 0);
    EXPECT_FALSE(source->wantsToBeShown());
}

TEST(IPhotoSource, ProcessWideInstances)
{
    OrvIPhotoDatabase* iphoto = OrvIPhotoDatabase::instance();
    OrvIPhotoDatabase* aperture = OrvIPhotoDatabase::apertureInstance();
    ASSERT_NE(iphoto, nullptr);
    ASSERT_NE(aperture, nullptr);
    EXPECT_NE(iphoto, aperture);
    EXPECT_EQ(OrvIPhotoDatabase::instance(), iphoto);
    EXPECT_EQ(iphoto->serviceId(), QStringLiteral("iphoto"));
    EXPECT_EQ(iphoto->databaseType().code(), OrvFotoDatabaseType::IPhoto);
    EXPECT_EQ(iphoto->externalName(), QStringLiteral("iPhoto"));
    EXPECT_EQ(iphoto->service().treeHints(), 12u);
    EXPECT_EQ(aperture->serviceId(), QStringLiteral("aperture"));
    EXPECT_EQ(aperture->databaseType().code(), OrvFotoDatabaseType::Aperture);
    EXPECT_EQ(iphoto->countFotos(), 2);
    EXPECT_EQ(aperture->countFotos(), 1) << "found through RootDirectory";
    EXPECT_EQ(aperture->watchFile().filePath(), QFileInfo(fixture().apertureLibrary).absolutePath() + "/./Database/apdb/Library.apdb");
    EXPECT_EQ(iphoto->watchFile().filePath(), QFileInfo(fixture().iphotoLibrary).absolutePath() + "/Database/apdb/Library.apdb");
}
