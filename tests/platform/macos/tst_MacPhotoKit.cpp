#include "OrvMacOSBackend.h"
#include "OrvPhotoKit.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>

#include <atomic>

using namespace OrvPhotoKit;

namespace {

PhotoLibraryPtr library()
{
    OrvMacOS::installPhotoKit();
    return sharedPhotoLibrary();
}

} // namespace

// What a Mac without access to Photos (a build machine) shows of PhotoKit: a library that
// answers, fetches that find nothing, requests that answer at once, and no exception anywhere.
TEST(MacPhotoKit, WithoutAccessFetchesFindNothingAndNothingIsThrown)
{
    const PhotoLibraryPtr photos = library();
    ASSERT_TRUE(photos);
    ASSERT_TRUE(photos->defaultManager());
    if (photos->authorizationStatus() == AuthorizationStatus::Authorized)
        GTEST_SKIP() << "this Mac gave the tests access to its Photos library";

    const FetchResultPtr none = photos->fetchAssetsWithLocalIdentifiers({QStringLiteral("no-such-asset/L0/001")}, nullptr);
    ASSERT_TRUE(none);
    EXPECT_EQ(none->count(), 0);
    EXPECT_FALSE(none->firstObject());
    EXPECT_FALSE(none->objectAtIndex(-1));

    // NSPredicate raises for a format it cannot read, PhotoKit for a key it does not fetch by.
    FetchOptions unreadable;
    unreadable.predicate = Predicate{QStringLiteral("creationDate >>> %@ (("), {QDateTime::currentDateTimeUtc()}};
    const FetchResultPtr refused = photos->fetchAssetsWithOptions(&unreadable);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->count(), 0);
    FetchOptions unknownKey;
    unknownKey.predicate = Predicate{QStringLiteral("orvNoSuchKey == %@"), {1}};
    unknownKey.sortDescriptors = {SortDescriptor{QStringLiteral("creationDate"), false}};
    unknownKey.includeAssetSourceTypes = AssetSourceTypeUserLibrary | AssetSourceTypeCloudShared;
    EXPECT_EQ(photos->fetchAssetsWithOptions(&unknownKey)->count(), 0);

    // Objects of no backend of PhotoKit find nothing.
    EXPECT_EQ(photos->fetchAssetsInAssetCollection(nullptr, nullptr)->count(), 0);
    EXPECT_EQ(photos->fetchCollectionsInCollectionList(nullptr, nullptr)->count(), 0);
    EXPECT_EQ(photos->fetchCollectionListsContainingCollection(nullptr, nullptr)->count(), 0);
    EXPECT_TRUE(photos->assetResourcesForAsset(nullptr).isEmpty());
}

TEST(MacPhotoKit, RequestsWithoutAnAssetAnswerAtOnce)
{
    const PhotoLibraryPtr photos = library();
    ASSERT_TRUE(photos);
    const ImageManagerPtr manager = photos->defaultManager();
    ImageRequestOptions options;
    options.synchronous = false;
    int images = 0;
    QVariantMap imageInfo;
    manager->requestImageForAsset(nullptr, QSizeF(100, 100), ImageContentMode::AspectFill, options,
                                  [&](const QImage& image, const QVariantMap& info) {
                                      ++images;
                                      EXPECT_TRUE(image.isNull());
                                      imageInfo = info;
                                  });
    EXPECT_EQ(images, 1);
    EXPECT_TRUE(imageInfo.contains(ImageErrorKey));
    int data = 0;
    manager->requestImageDataAndOrientationForAsset(nullptr, options,
                                                    [&](const QByteArray& bytes, const QString& uti, int, const QVariantMap&) {
                                                        ++data;
                                                        EXPECT_TRUE(bytes.isEmpty());
                                                        EXPECT_TRUE(uti.isEmpty());
                                                    });
    EXPECT_EQ(data, 1);
}

TEST(MacPhotoKit, AnAccessRequestIsAnsweredOffTheMainThread)
{
    const PhotoLibraryPtr photos = library();
    ASSERT_TRUE(photos);
    std::atomic<bool> answered{false};
    std::atomic<bool> onMainThread{false};
    std::atomic<int> status{-1};
    photos->requestAuthorization([&](AuthorizationStatus granted) {
        onMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
        status = int(granted);
        answered = true;
    });
    // A Mac that has never been asked shows the user a dialog; a build machine's answer comes
    // at once or not at all.
    if (!OrvTest::waitFor([&] { return answered.load(); }, 60000))
        GTEST_SKIP() << "nobody answered the system's question for access to Photos";
    EXPECT_FALSE(onMainThread.load());
    EXPECT_EQ(status.load(), int(photos->authorizationStatus()));
}
