#include "MediaLibraryFixture.h"

#include "OrvPlatformIndependent.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace {

const QString bergen = QStringLiteral("ALB0-0000-0003/L0/040");

OrvExternalId parentOf(const OrvApplePhotosDatabase& database, const QString& group)
{
    return database.findAlbum(OrvMediaLibraryLoader::albumIdForGroup(group)).parentAlbum();
}

} // namespace

TEST_F(MediaLibraryTest, MirrorsTheGroupsAsAlbumsFromTheFrameworkThread)
{
    useSample();
    start();
    // In the library's order, each folder before what it holds; the all-photos group is not shown.
    EXPECT_EQ(albumNames(), (QStringList{QStringLiteral("Favoriten"), QStringLiteral("Familie"), QStringLiteral("Sommer 2021"),
                                         QStringLiteral("Reisen"), QStringLiteral("Rom"), QStringLiteral("Skandinavien"),
                                         QStringLiteral("Bergen")}));
    EXPECT_EQ(parentOf(*database, bergen), albumId(QStringLiteral("FLD0-0000-0002/L0/040")));
    EXPECT_EQ(parentOf(*database, QStringLiteral("FLD0-0000-0002/L0/040")), albumId(QStringLiteral("FLD0-0000-0001/L0/040")));
    EXPECT_FALSE(parentOf(*database, QStringLiteral("FLD0-0000-0001/L0/040")).isValid());
    for (const OrvExternalAlbum& album : database->albums())
        EXPECT_EQ(album.type(), OrvExternalAlbumType(OrvExternalAlbumType::Regular));
    EXPECT_EQ(heard().loading, (QList<bool>{true, false}));
    // Nothing is loaded before an album is opened.
    EXPECT_TRUE(backend->mediaObjectLoads().isEmpty());
    EXPECT_EQ(database->loader()->observedGroupCount(), 5);

    for (const OrvExternalAlbum& album : database->albums())
        database->fetchMore(album.url());
    settle();
    const OrvExternalFotoList fotos = fotosOf(bergen);
    ASSERT_EQ(fotos.size(), 2);
    EXPECT_EQ(fotos[0].id(), fotoId(QStringLiteral("A1B2C3D4-0005/L0/001")));
    EXPECT_EQ(fotos[0].name(), QStringLiteral("IMG_0005.JPG"));
    EXPECT_TRUE(QFileInfo(fotos[0].dataUrl(QSize(-1, -1)).toLocalFile()).isFile());
    EXPECT_EQ(fotosOf(QStringLiteral("FAV0-0000-0001/L0/040")).size(), 2);
    EXPECT_FALSE(backend->mediaObjectLoads().contains(QStringLiteral("allPhotosAlbum")));
    EXPECT_FALSE(database->findAlbum(albumId(QStringLiteral("allPhotosAlbum"))).isValid());
    // Every report came straight from the framework's thread.
    EXPECT_EQ(heard().onMainThread, 0);
    EXPECT_EQ(heard().offMainThread, 7 + 5);
    EXPECT_EQ(backend->loadedFrameworkImages(), 0);
}

TEST_F(MediaLibraryTest, NestedGroupsComeAfterTheirParentsEachOnce)
{
    useLibrary(R"({"collections": [
        {"id": "A", "kind": "folder", "title": "A", "children": [
          {"id": "B", "kind": "folder", "title": "B", "children": [
            {"id": "C", "kind": "folder", "title": "C", "children": [
              {"id": "D", "title": "D", "assets": ["p"]} ]} ]},
          {"id": "E", "title": "E"} ]} ],
      "assets": [{"id": "p", "resources": [{"file": "p.jpg"}]}]})",
               {QStringLiteral("p.jpg")});
    start();
    EXPECT_EQ(albumNames(), (QStringList{"A", "B", "C", "D", "E"}));
    EXPECT_EQ(parentOf(*database, QStringLiteral("D")), albumId(QStringLiteral("C")));
    EXPECT_EQ(parentOf(*database, QStringLiteral("C")), albumId(QStringLiteral("B")));
    EXPECT_EQ(parentOf(*database, QStringLiteral("B")), albumId(QStringLiteral("A")));
    // A second walk (a new root group) and an opened album find their albums: nothing is announced twice.
    backend->replaceRootGroup();
    settle();
    open(QStringLiteral("D"));
    EXPECT_EQ(albumNames().size(), 5);
    EXPECT_EQ(fotosOf(QStringLiteral("D")).size(), 1);
}

TEST_F(MediaLibraryTest, AnAlbumIsFetchedOnce)
{
    useSample();
    source().loader()->fetchMore(albumId(bergen).toUrl());  // before the tree is there: nothing to fetch
    start();
    EXPECT_TRUE(backend->mediaObjectLoads().isEmpty());
    open(bergen);
    open(bergen);
    source().fetchMore(albumId(bergen).toUrl());
    source().fetchMore(albumId(bergen).toUrl());
    settle();
    EXPECT_EQ(insertionsInto(bergen), 1);
    EXPECT_EQ(backend->mediaObjectLoads(), QStringList{bergen});
    EXPECT_EQ(fotosOf(bergen).size(), 2);
    // Folders are albums too, without fotos; unknown URLs change nothing.
    open(QStringLiteral("FLD0-0000-0001/L0/040"));
    source().fetchMore(QUrl(QStringLiteral("applephotos:album#nothing")));
    source().fetchMore(QUrl());
    settle();
    EXPECT_EQ(heard().inserted.size(), 1);
}

TEST_F(MediaLibraryTest, ImagesOnlyLeavesMoviesOut)
{
    useLibrary(R"({"collections": [
        {"id": "V", "title": "Videos", "assets": ["m1", "m2"]},
        {"id": "M", "title": "Mixed", "assets": ["m1", "p"]},
        {"id": "W", "title": "Videos again", "assets": ["m2"]} ],
      "assets": [
        {"id": "m1", "resources": [{"type": "video", "file": "m1.mov"}]},
        {"id": "m2", "resources": [{"type": "video", "file": "m2.mov"}]},
        {"id": "p", "resources": [{"type": "photo", "file": "p.jpg"}, {"type": "pairedVideo", "file": "p.mov"}]} ]})",
               {QStringLiteral("p.jpg")});
    OrvSingleton<OrvPlatformIndependent>::instance()->setImagesOnly(true);
    start();
    open(QStringLiteral("V"));
    open(QStringLiteral("M"));
    EXPECT_EQ(insertionsInto(QStringLiteral("V")), 0);
    ASSERT_EQ(fotosOf(QStringLiteral("M")).size(), 1);
    EXPECT_EQ(fotosOf(QStringLiteral("M")).first().id(), fotoId(QStringLiteral("p")));
    OrvSingleton<OrvPlatformIndependent>::instance()->setImagesOnly(false);
    open(QStringLiteral("W"));
    EXPECT_EQ(fotosOf(QStringLiteral("W")).size(), 1);
}

TEST_F(MediaLibraryTest, MediaSourcesThatStayEmptyAreGivenUpAfterAHundredReports)
{
    useSample();
    backend->setEmptyMediaSourceReports(-1);
    start();
    EXPECT_FALSE(database->loader()->isObservingMediaSources());
    // The initial report counts too: the hundredth report from the framework is the last one heard.
    EXPECT_EQ(backend->mediaSourceReports(), OrvMediaLibraryLoader::maxEmptyReports);
    EXPECT_TRUE(database->albums().isEmpty());
    EXPECT_EQ(heard().loading, QList<bool>{true});
    // Given up for good: opening albums later starts nothing.
    backend->setEmptyMediaSourceReports(0);
    database->fetchMore(albumId(bergen).toUrl());
    settle();
    EXPECT_EQ(backend->mediaSourceReports(), OrvMediaLibraryLoader::maxEmptyReports);
}

TEST_F(MediaLibraryTest, MediaSourcesThatComeLateAreWaitedFor)
{
    useSample();
    backend->setEmptyMediaSourceReports(60);
    start();
    EXPECT_TRUE(database->loader()->isObservingMediaSources());
    EXPECT_EQ(albumNames().size(), 7);
    EXPECT_EQ(backend->mediaSourceReports(), 61);
}

TEST_F(MediaLibraryTest, WithoutMediaLibraryTheSourceStaysEmptyAndLoading)
{
    useSample();
    backend->setFrameworkInstalled(false);
    start();
    EXPECT_TRUE(database->wantsToBeShown());
    EXPECT_TRUE(database->albums().isEmpty());
    EXPECT_EQ(heard().loading, QList<bool>{true});
    EXPECT_EQ(backend->mediaSourceReports(), 0);
    EXPECT_FALSE(database->urlForMediaObject(fotoId(QStringLiteral("A1B2C3D4-0005/L0/001"))).isValid());
    // Without any backend the same.
    OrvMediaLibrary::setBackend(nullptr);
    OrvApplePhotosDatabase other;
    EXPECT_TRUE(other.doLazyInit());
    EXPECT_TRUE(other.albums().isEmpty());
}

TEST_F(MediaLibraryTest, ANewRootGroupIsWalkedAgain)
{
    useSample();
    start();
    open(bergen);
    useLibrary(R"({"collections": [
        {"id": "FLD0-0000-0001/L0/040", "kind": "folder", "title": "Reisen", "children": [
          {"id": "ALB0-0000-0003/L0/040", "title": "Bergen", "assets": ["n"]} ]},
        {"id": "NEW", "title": "Neu", "assets": ["n"]} ],
      "assets": [{"id": "n", "resources": [{"file": "n.jpg"}]}]})",
               {QStringLiteral("n.jpg")});
    backend->replaceRootGroup();
    settle();
    EXPECT_EQ(albumNames().last(), QStringLiteral("Neu"));
    EXPECT_EQ(albumNames().count(QStringLiteral("Reisen")), 1);
    // The groups of the old root are no longer observed (TearDown checks the removals matched).
    EXPECT_EQ(database->loader()->observedGroupCount(), 2);
    open(QStringLiteral("NEW"));
    EXPECT_EQ(fotosOf(QStringLiteral("NEW")).size(), 1);
    // A recorded album is fetched from the new root's group of the same identifier.
    open(QStringLiteral("ALB0-0000-0002/L0/040"));
    EXPECT_EQ(insertionsInto(QStringLiteral("ALB0-0000-0002/L0/040")), 0);
}

TEST_F(MediaLibraryTest, BrokenLibrariesGiveWhatTheyCanAndNeverHang)
{
    // A folder inside its own child, an album listed twice, identifiers with
    // escapes, a fragment mark and letters beyond ASCII, an asset listed twice.
    useLibrary(R"({"collections": [
        {"id": "L", "kind": "folder", "title": "Loop", "children": [
          {"id": "I", "kind": "folder", "title": "Inner", "children": [
            {"id": "L", "kind": "folder", "title": "Loop again"},
            {"id": "a%b/c#ä", "title": "Odd", "assets": ["p%1/2#ö", "q"]} ]} ]},
        {"id": "T", "title": "Twice", "assets": ["q"]},
        {"id": "T", "title": "Twice again", "assets": ["p%1/2#ö"]} ],
      "assets": [
        {"id": "p%1/2#ö", "resources": [{"name": "Ö.JPG", "file": "p.jpg"}]},
        {"id": "q", "resources": [{"file": "q.jpg"}]},
        {"id": "q", "resources": [{"file": "q2.jpg"}]} ]})",
               {QStringLiteral("p.jpg"), QStringLiteral("q2.jpg")});
    start();
    EXPECT_EQ(albumNames(), (QStringList{"Loop", "Inner", "Odd", "Twice"}));
    const OrvExternalId odd = albumId(QStringLiteral("a%b/c#ä"));
    EXPECT_EQ(odd.remoteId(), QStringLiteral("a%25b%2Fc%23%C3%A4"));
    // The album's URL survives the way through text and back.
    database->fetchMore(QUrl(odd.toUrl().toString(QUrl::FullyEncoded)));
    open(QStringLiteral("T"));
    const OrvExternalFotoList fotos = fotosOf(QStringLiteral("a%b/c#ä"));
    ASSERT_EQ(fotos.size(), 2);
    EXPECT_EQ(fotos[0].id(), fotoId(QStringLiteral("p%1/2#ö")));
    EXPECT_EQ(fotos[0].name(), QStringLiteral("Ö.JPG"));
    EXPECT_EQ(fotos[1].dataUrl(QSize(-1, -1)).toLocalFile(), dir.filePath(QStringLiteral("q2.jpg")));
    EXPECT_EQ(database->urlForMediaObject(fotos[0].id()).toLocalFile(), dir.filePath(QStringLiteral("p.jpg")));
    EXPECT_EQ(fotosOf(QStringLiteral("T")).size(), 2);
    EXPECT_EQ(database->countFotos(), 2);
}

TEST_F(MediaLibraryTest, RunningApplicationsAreFoundByBundleIdentifierInAnyCase)
{
    const QString self = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    EXPECT_TRUE(isThisMacAppRunning(self.toUpper()));
    EXPECT_FALSE(isThisMacAppRunning(QStringLiteral("com.example.not-running")));
    OrvMediaLibrary::setBackend(nullptr);
    EXPECT_FALSE(isThisMacAppRunning(self));
}
