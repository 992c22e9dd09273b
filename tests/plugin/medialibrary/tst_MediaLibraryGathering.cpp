// How long the source says it is still gathering, and a whole-library wait
// (OrvSourceSettler) that goes by it: a library that takes its time to load
// is listed whole, however long the framework takes.

#include "MediaLibraryFixture.h"

#include "OrvSourceSettler.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <atomic>

namespace {

const QString bergen = QStringLiteral("ALB0-0000-0003/L0/040");

// Holds the framework's thread (as a slow disk or a busy machine would) until released.
class HeldFramework
{
public:
    HeldFramework()
    {
        OrvMediaLibrarySim::Backend::post([released = myReleased, entered = myEntered] {
            entered->store(true);
            while (!released->load())
                QThread::msleep(1);
        });
    }
    ~HeldFramework() { release(); }
    void release() { myReleased->store(true); }
    // Whether the framework got as far as the hold: everything posted before it is done.
    bool isHolding() const { return myEntered->load(); }

private:
    std::shared_ptr<std::atomic<bool>> myReleased = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<std::atomic<bool>> myEntered = std::make_shared<std::atomic<bool>>(false);
};

} // namespace

TEST_F(MediaLibraryTest, GatheringLastsUntilTheTreeIsWalkedAndEveryAlbumAskedForHasCome)
{
    useLibrary(R"({"collections": [
        {"id": "A", "kind": "folder", "title": "A", "children": [
          {"id": "D", "title": "D", "assets": ["p"]},
          {"id": "E", "title": "E"} ]} ],
      "assets": [{"id": "p", "resources": [{"file": "p.jpg"}]}]})",
               {QStringLiteral("p.jpg")});
    EXPECT_FALSE(source().isStillGatheringFotos()) << "not started";
    {
        auto first = std::make_unique<HeldFramework>();
        EXPECT_TRUE(database->doLazyInit());
        QCoreApplication::processEvents();
        EXPECT_TRUE(database->isStillGatheringFotos()) << "the media sources are still loading";
        // The media sources come, and with them a first report of a root group not loaded yet.
        HeldFramework second;
        first.reset();
        ASSERT_TRUE(OrvTest::waitFor([&] { return second.isHolding(); }));
        EXPECT_GT(backend->mediaSourceReports(), 0);
        EXPECT_TRUE(database->isStillGatheringFotos()) << "the root group is still loading";
        EXPECT_TRUE(database->albums().isEmpty());
    }
    settle();
    EXPECT_EQ(albumNames(), (QStringList{"A", "D", "E"}));
    EXPECT_FALSE(database->isStillGatheringFotos());

    // Asked for: an album with photos, one without, a folder (whose objects no one observes).
    {
        HeldFramework held;
        for (const QString& group : {QStringLiteral("D"), QStringLiteral("E"), QStringLiteral("A")})
            database->fetchMore(albumId(group).toUrl());
        EXPECT_TRUE(database->isStillGatheringFotos());
    }
    settle();
    EXPECT_EQ(fotosOf(QStringLiteral("D")).size(), 1);
    EXPECT_FALSE(database->isStillGatheringFotos()) << "an empty album comes too, and a folder is waited for by no one";
}

TEST_F(MediaLibraryTest, AWholeLibraryWaitListsALibraryThatLoadsSlowly)
{
    useSample();
    HeldFramework held;
    // Released long after the quiet time that would end a wait that does not listen to the source.
    const OrvSourceSettler::Bounds bounds;
    QTimer::singleShot(3 * bounds.quietMs, [&held] { held.release(); });
    OrvSourceSettler settler({&source()});
    EXPECT_TRUE(settler.settle(bounds));
    EXPECT_EQ(albumNames().size(), 7);
    EXPECT_EQ(fotosOf(bergen).size(), 2) << "every album opened, its content in";
    EXPECT_FALSE(database->isStillGatheringFotos());
}

TEST_F(MediaLibraryTest, AWholeLibraryWaitGivesUpOnASourceThatSaysNothingMore)
{
    useSample();
    HeldFramework held;
    OrvSourceSettler::Bounds bounds;
    bounds.stallMs = 3 * bounds.quietMs;
    OrvSourceSettler settler({&source()});
    EXPECT_FALSE(settler.settle(bounds));
    EXPECT_TRUE(database->isStillGatheringFotos());
    EXPECT_TRUE(database->albums().isEmpty());
}
