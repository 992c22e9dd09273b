#include "OrvMacOSBackend.h"
#include "OrvMediaLibrary.h"

#include <gtest/gtest.h>

using namespace OrvMediaLibrary;

namespace {

const QString frameworkBinary = QStringLiteral("/System/Library/Frameworks/MediaLibrary.framework/MediaLibrary");

class Recorder : public KeyValueObserver
{
public:
    void observeValueForKeyPath(const QString& keyPath, const ObjectPtr& object, const KeyValueChange& change,
                                const void* context) override
    {
        ++heard;
        lastKeyPath = keyPath;
        lastObject = object;
        lastKind = change.kind;
        lastContext = context;
    }
    int heard = 0;
    QString lastKeyPath;
    ObjectPtr lastObject;
    KeyValueChangeKind lastKind = KeyValueChangeKind::Removal;
    const void* lastContext = nullptr;
};

const char mediaSourcesContext = 0;

} // namespace

TEST(MacMediaLibrary, TheFrameworkLoadsAndNamesItsConstants)
{
    OrvMacOS::installMediaLibrary();
    EXPECT_FALSE(loadFramework(QStringLiteral("/System/Library/Frameworks/OrvNoSuch.framework/OrvNoSuch")));
    const auto framework = loadFramework(frameworkBinary);
    if (!framework)
        GTEST_SKIP() << "this macOS has no MediaLibrary";
    const std::optional<QString> includeSources = framework->stringConstant("MLMediaLoadIncludeSourcesKey");
    ASSERT_TRUE(includeSources);
    EXPECT_FALSE(includeSources->isEmpty());
    EXPECT_FALSE(framework->stringConstant("OrvNoSuchConstant"));
    EXPECT_FALSE(framework->stringConstant(nullptr));
    EXPECT_TRUE(classExists(QStringLiteral("MLMediaLibrary")));
    EXPECT_FALSE(classExists(QStringLiteral("OrvNoSuchClass")));
}

TEST(MacMediaLibrary, AnObservationHearsTheValueAtOnceAndEndsWhenRemoved)
{
    OrvMacOS::installMediaLibrary();
    const auto framework = loadFramework(frameworkBinary);
    if (!framework || !classExists(QStringLiteral("MLMediaLibrary")))
        GTEST_SKIP() << "this macOS has no MediaLibrary";
    QVariantMap options;
    if (const auto key = framework->stringConstant("MLMediaLoadIncludeSourcesKey"))
        options.insert(*key, QStringList{QStringLiteral("com.apple.Photos")});
    const MediaLibraryPtr library = createMediaLibrary(options);
    ASSERT_TRUE(library);
    const auto recorder = std::make_shared<Recorder>();
    library->addObserver(recorder, QStringLiteral("mediaSources"),
                         KeyValueObservingOptionNew | KeyValueObservingOptionInitial, &mediaSourcesContext);
    // The initial value comes inside addObserver, naming this library and this context.
    EXPECT_EQ(recorder->heard, 1);
    EXPECT_EQ(recorder->lastKeyPath, QStringLiteral("mediaSources"));
    EXPECT_EQ(recorder->lastObject.get(), library.get());
    EXPECT_EQ(recorder->lastKind, KeyValueChangeKind::Setting);
    EXPECT_EQ(recorder->lastContext, &mediaSourcesContext);
    library->mediaSources();
    library->removeObserver(recorder.get(), QStringLiteral("mediaSources"), &mediaSourcesContext);
    // Removing what is no longer there throws nothing.
    library->removeObserver(recorder.get(), QStringLiteral("mediaSources"), &mediaSourcesContext);
}

TEST(MacMediaLibrary, RunningApplicationsNameTheirProcesses)
{
    OrvMacOS::installMediaLibrary();
    for (const RunningApplication& application : runningApplications()) {
        EXPECT_GT(application.processIdentifier, 0) << application.localizedName.toStdString();
        EXPECT_FALSE(application.bundleIdentifier.contains(QLatin1Char(' ')));
    }
}

TEST(MacMediaLibrary, AccessToAFileItNeverHandedOutIsBalanced)
{
    OrvMacOS::installMediaLibrary();
    const QUrl url = QUrl::fromLocalFile(QStringLiteral("/tmp/orv-no-such-photo.jpg"));
    // A URL no library resolved has no security scope; stopping what never started harms nothing.
    const bool started = startAccessingSecurityScopedResource(url);
    if (started)
        stopAccessingSecurityScopedResource(url);
    stopAccessingSecurityScopedResource(QUrl());
    EXPECT_FALSE(startAccessingSecurityScopedResource(QUrl()));
}
