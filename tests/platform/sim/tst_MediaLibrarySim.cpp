#include "sim/OrvMediaLibrarySimBackend.h"
#include "sim/OrvMediaLibrarySimWorkspace.h"
#include "sim/OrvPhotoKitSimDescription.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

using namespace OrvMediaLibrary;
using SimBackend = OrvMediaLibrarySim::Backend;
using OrvMediaLibrarySim::PhotosModel;

namespace {

const char sourcesContext = 0;

// Records notifications as the framework delivers them.
class Recorder : public KeyValueObserver
{
public:
    void observeValueForKeyPath(const QString& keyPath, const ObjectPtr& object, const KeyValueChange&,
                                const void* context) override
    {
        std::lock_guard<std::mutex> lock(mutex);
        heard.append({keyPath, object, context, QThread::currentThread() == QCoreApplication::instance()->thread()});
        if (onNotification)
            onNotification(object);
    }
    struct Entry
    {
        QString keyPath;
        ObjectPtr object;
        const void* context;
        bool onMainThread;
    };
    int count(const QString& keyPath)
    {
        std::lock_guard<std::mutex> lock(mutex);
        return int(std::count_if(heard.cbegin(), heard.cend(), [&](const Entry& e) { return e.keyPath == keyPath; }));
    }
    std::mutex mutex;
    QList<Entry> heard;
    std::function<void(const ObjectPtr&)> onNotification;
};

QStringList names(const QList<MediaGroupPtr>& groups)
{
    QStringList result;
    for (const MediaGroupPtr& group : groups)
        result.append(group->name());
    return result;
}

MediaGroupPtr child(const MediaGroupPtr& group, const QString& name)
{
    for (const MediaGroupPtr& candidate : group->childGroups()) {
        if (candidate->name() == name)
            return candidate;
    }
    return nullptr;
}

std::shared_ptr<const PhotosModel> modelOf(const QByteArray& json, QTemporaryDir& dir)
{
    const QString path = dir.filePath(QStringLiteral("library.json"));
    OrvTest::writeFile(path, json);
    const auto description = OrvPhotoKitSim::Description::read(path);
    return description ? PhotosModel::fromDescription(*description) : nullptr;
}

class MediaLibrarySim : public ::testing::Test
{
protected:
    void SetUp() override
    {
        backend = SimBackend::create();
        QString error;
        ASSERT_TRUE(backend->loadDescription(OrvTest::sourceDir() + QStringLiteral("/samples/photos/library.json"), &error))
            << error.toStdString();
    }
    void TearDown() override { backend->waitForQueue(); }

    // The Photos source with its root group loaded.
    MediaSourcePtr loadedSource(const MediaLibraryPtr& library)
    {
        library->mediaSources();
        backend->waitForQueue();
        const MediaSourcePtr source = library->mediaSources().value(QStringLiteral("com.apple.Photos"));
        if (source) {
            source->rootMediaGroup();
            backend->waitForQueue();
        }
        return source;
    }
    MediaLibraryPtr photosOnly()
    {
        return backend->createMediaLibrary(
            {{QStringLiteral("MLMediaLoadIncludeSourcesKey"), QStringList{QStringLiteral("com.apple.Photos")}}});
    }

    std::shared_ptr<SimBackend> backend;
    std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
};

} // namespace

TEST_F(MediaLibrarySim, PropertiesLoadOnFirstReadAndAreAnnouncedOnTheFrameworkThread)
{
    const MediaLibraryPtr library = photosOnly();
    library->addObserver(recorder, QStringLiteral("mediaSources"), KeyValueObservingOptionNew | KeyValueObservingOptionInitial,
                         &sourcesContext);
    // The initial value at once, on this thread: nothing loaded yet.
    ASSERT_EQ(recorder->heard.size(), 1);
    EXPECT_TRUE(recorder->heard[0].onMainThread);
    EXPECT_TRUE(library->mediaSources().isEmpty());
    backend->waitForQueue();
    ASSERT_EQ(recorder->heard.size(), 2);
    EXPECT_FALSE(recorder->heard[1].onMainThread);
    EXPECT_EQ(recorder->heard[1].context, &sourcesContext);
    const MediaSourcePtr source = library->mediaSources().value(QStringLiteral("com.apple.Photos"));
    ASSERT_TRUE(source);

    source->addObserver(recorder, QStringLiteral("rootMediaGroup"), KeyValueObservingOptionNew, nullptr);
    EXPECT_FALSE(source->mediaGroupForIdentifier(QStringLiteral("ALB0-0000-0003/L0/040")));
    EXPECT_FALSE(source->rootMediaGroup());
    backend->waitForQueue();
    const MediaGroupPtr root = source->rootMediaGroup();
    ASSERT_TRUE(root);
    EXPECT_EQ(recorder->count(QStringLiteral("rootMediaGroup")), 1);
    EXPECT_FALSE(root->parent());
    // The all-photos group first, then the library's albums and folders in its order.
    EXPECT_EQ(names(root->childGroups()), (QStringList{QStringLiteral("Fotos"), QStringLiteral("Favoriten"),
                                                        QStringLiteral("Familie"), QStringLiteral("Sommer 2021"),
                                                        QStringLiteral("Reisen")}));
    EXPECT_EQ(root->childGroups().first()->typeIdentifier(), QStringLiteral("com.apple.Photos.AllPhotosAlbum"));
    const MediaGroupPtr bergen = child(child(child(root, QStringLiteral("Reisen")), QStringLiteral("Skandinavien")),
                                       QStringLiteral("Bergen"));
    ASSERT_TRUE(bergen);
    EXPECT_EQ(bergen->parent()->parent()->name(), QStringLiteral("Reisen"));
    EXPECT_EQ(source->mediaGroupForIdentifier(QStringLiteral("ALB0-0000-0003/L0/040")), bergen);

    bergen->addObserver(recorder, QStringLiteral("mediaObjects"), KeyValueObservingOptionNew, nullptr);
    EXPECT_TRUE(bergen->mediaObjects().isEmpty());
    bergen->mediaObjects();
    backend->waitForQueue();
    const QList<MediaObjectPtr> objects = bergen->mediaObjects();
    ASSERT_EQ(objects.size(), 2);
    EXPECT_EQ(objects[0]->identifier(), QStringLiteral("A1B2C3D4-0005/L0/001"));
    EXPECT_EQ(objects[0]->name(), QStringLiteral("IMG_0005.JPG"));
    EXPECT_EQ(objects[0]->mediaType(), MediaType::Image);
    ASSERT_TRUE(objects[0]->url());
    EXPECT_TRUE(QFileInfo(objects[0]->url()->toLocalFile()).isFile());
    // Loaded once, announced once, however often it is read.
    backend->waitForQueue();
    EXPECT_EQ(recorder->count(QStringLiteral("mediaObjects")), 1);
    EXPECT_EQ(backend->mediaObjectLoads(), QStringList{QStringLiteral("ALB0-0000-0003/L0/040")});
    for (const auto& entry : std::as_const(recorder->heard).mid(1))
        EXPECT_FALSE(entry.onMainThread) << entry.keyPath.toStdString();
    library->removeObserver(recorder.get(), QStringLiteral("mediaSources"), &sourcesContext);
    EXPECT_EQ(backend->unmatchedObserverRemovals(), 0);
}

TEST_F(MediaLibrarySim, LoadOptionsChooseTheSources)
{
    EXPECT_TRUE(loadedSource(photosOnly()));
    EXPECT_TRUE(loadedSource(backend->createMediaLibrary({})));
    const MediaLibraryPtr iTunesOnly = backend->createMediaLibrary(
        {{QStringLiteral("MLMediaLoadIncludeSourcesKey"), QStringList{QStringLiteral("com.apple.iTunes")}}});
    EXPECT_FALSE(loadedSource(iTunesOnly));
}

TEST_F(MediaLibrarySim, DescriptionBecomesGroupsAndObjects)
{
    QTemporaryDir dir;
    // A folder that holds itself through its child, an album and an asset
    // listed twice, identifiers with escapes and letters beyond ASCII, a movie,
    // an asset without files and a cloud-shared one.
    const auto model = modelOf(R"({
      "collections": [
        { "id": "F%1/#ä", "kind": "folder", "title": "Loop", "children": [
            { "id": "G", "kind": "folder", "title": "Inner", "children": [
                { "id": "F%1/#ä", "kind": "folder", "title": "Again" } ] } ] },
        { "id": "A", "title": "First", "assets": ["m", "p"] },
        { "id": "A", "title": "Second", "assets": ["p", "x"] },
        { "id": "FAV", "kind": "smartAlbum", "subtype": "favorites", "title": "Favoriten" } ],
      "assets": [
        { "id": "p", "resources": [ { "name": "P.JPG", "file": "p.jpg" } ] },
        { "id": "m", "resources": [ { "name": "M.MOV", "type": "video", "file": "m.mov" } ] },
        { "id": "x" },
        { "id": "s", "source": "cloudShared", "resources": [ { "file": "s.jpg" } ] },
        { "id": "p", "favorite": true, "resources": [ { "name": "P2.JPG", "file": "p2.jpg" } ] } ] })",
                               dir);
    ASSERT_TRUE(model);
    const PhotosModel::Group& loop = model->groups[size_t(model->groupIndex.value(QStringLiteral("F%1/#ä")))];
    const int inner = model->groupIndex.value(QStringLiteral("G"));
    EXPECT_EQ(loop.name, QStringLiteral("Loop"));
    EXPECT_EQ(loop.parent, PhotosModel::rootIndex);
    EXPECT_EQ(loop.children, QList<int>{inner});
    EXPECT_EQ(model->groups[size_t(inner)].children, QList<int>{model->groupIndex.value(QStringLiteral("F%1/#ä"))});

    const auto objectsOf = [&](const QString& group) {
        QStringList ids;
        for (const int index : model->groups[size_t(model->groupIndex.value(group))].objects)
            ids.append(model->objects[size_t(index)].identifier);
        return ids;
    };
    EXPECT_EQ(model->groups[size_t(model->groupIndex.value(QStringLiteral("A")))].name, QStringLiteral("First"));
    EXPECT_EQ(objectsOf(QStringLiteral("A")), (QStringList{"m", "p", "x"}));
    EXPECT_EQ(objectsOf(QStringLiteral("allPhotosAlbum")), (QStringList{"p", "m", "x"}));
    EXPECT_EQ(objectsOf(QStringLiteral("FAV")), QStringList{"p"});

    const auto object = [&](const QString& id) { return model->objects[size_t(model->objectIndex.value(id))]; };
    EXPECT_EQ(object(QStringLiteral("p")).name, QStringLiteral("P2.JPG"));  // the later listing wins
    EXPECT_EQ(object(QStringLiteral("m")).mediaType, MediaType::Movie);
    EXPECT_EQ(object(QStringLiteral("m")).url->toLocalFile(), dir.filePath(QStringLiteral("m.mov")));
    EXPECT_FALSE(object(QStringLiteral("x")).url);

    // The cycle is there for whoever walks the groups; the objects stay collectable (LeakSanitizer).
    backend->setPhotosLibrary(model);
    const MediaSourcePtr source = loadedSource(photosOnly());
    ASSERT_TRUE(source);
    const MediaGroupPtr folder = source->mediaGroupForIdentifier(QStringLiteral("F%1/#ä"));
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->childGroups().first()->childGroups().first(), folder);
    EXPECT_EQ(source->mediaObjectForIdentifier(QStringLiteral("m"))->mediaType(), MediaType::Movie);
    EXPECT_FALSE(source->mediaObjectForIdentifier(QStringLiteral("unknown")));
}

TEST_F(MediaLibrarySim, EmptyMediaSourcesAreReportedAgainWhileObserved)
{
    backend->setEmptyMediaSourceReports(3);
    const MediaLibraryPtr library = photosOnly();
    library->addObserver(recorder, QStringLiteral("mediaSources"), KeyValueObservingOptionNew, &sourcesContext);
    library->mediaSources();
    backend->waitForQueue();
    EXPECT_EQ(recorder->count(QStringLiteral("mediaSources")), 4);
    EXPECT_EQ(library->mediaSources().size(), 1);

    // Never arriving: the reports go on until the observer leaves.
    backend->setEmptyMediaSourceReports(-1);
    const MediaLibraryPtr never = photosOnly();
    auto leaver = std::make_shared<Recorder>();
    int seen = 0;
    leaver->onNotification = [&](const ObjectPtr& object) {
        if (++seen == 20)
            object->removeObserver(leaver.get(), QStringLiteral("mediaSources"), nullptr);
    };
    never->addObserver(leaver, QStringLiteral("mediaSources"), KeyValueObservingOptionNew, nullptr);
    const int before = backend->mediaSourceReports();
    never->mediaSources();
    backend->waitForQueue();
    EXPECT_EQ(seen, 20);
    EXPECT_EQ(backend->mediaSourceReports() - before, 20);
    EXPECT_TRUE(never->mediaSources().isEmpty());
}

TEST_F(MediaLibrarySim, ReplacingTheRootGroupAnnouncesANewOne)
{
    const MediaSourcePtr source = loadedSource(photosOnly());
    ASSERT_TRUE(source);
    const MediaGroupPtr before = source->rootMediaGroup();
    source->addObserver(recorder, QStringLiteral("rootMediaGroup"), KeyValueObservingOptionNew, nullptr);
    QTemporaryDir dir;
    backend->setPhotosLibrary(modelOf(R"({"collections": [{"id": "N", "title": "Neu"}]})", dir));
    backend->replaceRootGroup();
    backend->waitForQueue();
    EXPECT_EQ(recorder->count(QStringLiteral("rootMediaGroup")), 1);
    const MediaGroupPtr after = source->rootMediaGroup();
    EXPECT_NE(after, before);
    EXPECT_EQ(names(after->childGroups()), (QStringList{QStringLiteral("Fotos"), QStringLiteral("Neu")}));
    EXPECT_TRUE(source->mediaGroupForIdentifier(QStringLiteral("N")));
    EXPECT_FALSE(source->mediaGroupForIdentifier(QStringLiteral("ALB0-0000-0003/L0/040")));
}

TEST_F(MediaLibrarySim, FrameworkAndPlatformCalls)
{
    {
        const auto framework = backend->loadFramework(QString::fromLatin1(SimBackend::frameworkPath));
        ASSERT_TRUE(framework);
        EXPECT_EQ(backend->loadedFrameworkImages(), 1);
        EXPECT_EQ(framework->stringConstant("MLPhotosAllPhotosAlbumTypeIdentifier"),
                  QStringLiteral("com.apple.Photos.AllPhotosAlbum"));
        EXPECT_FALSE(framework->stringConstant("MLNoSuchConstant"));
        EXPECT_FALSE(backend->loadFramework(QStringLiteral("/System/Library/Frameworks/Other.framework/Other")));
    }
    EXPECT_EQ(backend->loadedFrameworkImages(), 0);
    EXPECT_TRUE(backend->classExists(QStringLiteral("MLMediaLibrary")));
    backend->setFrameworkInstalled(false);
    EXPECT_FALSE(backend->loadFramework(QString::fromLatin1(SimBackend::frameworkPath)));
    EXPECT_FALSE(backend->classExists(QStringLiteral("MLMediaLibrary")));
    EXPECT_FALSE(backend->createMediaLibrary({}));
    backend->setFrameworkInstalled(true);

    const QUrl url = QUrl::fromLocalFile(QStringLiteral("/tmp/a.jpg"));
    EXPECT_TRUE(backend->startAccessingSecurityScopedResource(url));
    backend->startAccessingSecurityScopedResource(url);
    backend->stopAccessingSecurityScopedResource(url);
    EXPECT_EQ(backend->unbalancedSecurityScopedURLs(), 1);
    backend->stopAccessingSecurityScopedResource(url);
    EXPECT_EQ(backend->unbalancedSecurityScopedURLs(), 0);
    EXPECT_EQ(backend->securityScopedStarts(), 2);
    EXPECT_EQ(backend->securityScopedStops(), 2);

    const int removalsBefore = backend->unmatchedObserverRemovals();
    photosOnly()->removeObserver(recorder.get(), QStringLiteral("mediaSources"), nullptr);
    EXPECT_EQ(backend->unmatchedObserverRemovals(), removalsBefore + 1);
}

TEST(MediaLibrarySimWorkspace, RunningApplicationsComeFromTheProcessTable)
{
    const QList<RunningApplication> applications = OrvMediaLibrarySim::Workspace::runningApplications();
    const QString self = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    const auto us = std::find_if(applications.cbegin(), applications.cend(), [](const RunningApplication& application) {
        return application.processIdentifier == QCoreApplication::applicationPid();
    });
    ASSERT_NE(us, applications.cend());
    EXPECT_EQ(us->bundleIdentifier, self);
    EXPECT_TRUE(self.startsWith(us->localizedName));
    EXPECT_GT(applications.size(), 1);
    EXPECT_TRUE(OrvMediaLibrarySim::Workspace::runningApplications(QStringLiteral("/nonexistent")).isEmpty());
}
