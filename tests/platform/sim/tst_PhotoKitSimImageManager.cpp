#include "../imageio/ImageIOTestSupport.h"
#include "OrvImageIOQt.h"
#include "TestSupport.h"
#include "sim/OrvPhotoKitSimImageManager.h"
#include "sim/OrvPhotoKitSimLibrary.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>

using namespace OrvPhotoKit;
using namespace OrvPhotoKitSim;

namespace {

class SimImageManagerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        OrvImageIOQt::install();
        library = Library::create();
        manager = library->imageManager();
    }
    void TearDown() override { library->waitForQueue(); }

    // An asset whose resources are files written here: (name, type, bytes, in the cloud).
    struct File
    {
        QString name;
        AssetResourceType type;
        QByteArray bytes;
        bool inCloud = false;
    };
    AssetPtr add(const QString& id, const QList<File>& files, QSize size = QSize(80, 60))
    {
        AssetSpec spec;
        spec.localIdentifier = id;
        spec.pixelWidth = size.width();
        spec.pixelHeight = size.height();
        for (const File& file : files) {
            ResourceSpec resource;
            resource.originalFilename = file.name;
            resource.type = file.type;
            resource.inCloud = file.inCloud;
            if (!file.bytes.isNull()) {
                resource.filePath = dir.filePath(id + QLatin1Char('-') + file.name);
                OrvTest::writeFile(resource.filePath, file.bytes);
            }
            spec.resources.append(resource);
        }
        library->addAsset(spec);
        return asAsset(library->fetchAssetsWithLocalIdentifiers({id}, nullptr)->firstObject());
    }
    static ImageRequestOptions sync(bool network = true)
    {
        ImageRequestOptions options;
        options.synchronous = true;
        options.networkAccessAllowed = network;
        options.deliveryMode = ImageRequestDeliveryMode::HighQualityFormat;
        return options;
    }
    struct Image
    {
        QImage image;
        QVariantMap info;
        int calls = 0;
    };
    Image image(const AssetPtr& asset, QSizeF target, ImageContentMode mode = ImageContentMode::AspectFill,
                ImageRequestOptions options = sync())
    {
        Image result;
        manager->requestImageForAsset(asset, target, mode, options, [&](const QImage& image, const QVariantMap& info) {
            result.image = image;
            result.info = info;
            ++result.calls;
        });
        return result;
    }
    struct Data
    {
        QByteArray data;
        QString uti;
        int orientation = 0;
        int calls = 0;
    };
    Data data(const AssetPtr& asset, ImageRequestOptions options = sync())
    {
        Data result;
        manager->requestImageDataAndOrientationForAsset(asset, options,
                                                        [&](const QByteArray& bytes, const QString& uti, int orientation,
                                                            const QVariantMap&) {
                                                            result.data = bytes;
                                                            result.uti = uti;
                                                            result.orientation = orientation;
                                                            ++result.calls;
                                                        });
        return result;
    }

    QTemporaryDir dir;
    std::shared_ptr<Library> library;
    std::shared_ptr<SimImageManager> manager;
};

} // namespace

TEST(SimImageManagerSize, ContentModesCoverOrFitAndNeverEnlarge)
{
    const QSize photo(6000, 4000);
    EXPECT_EQ(SimImageManager::renderedSize(photo, QSizeF(256, 256), ImageContentMode::AspectFill), QSize(384, 256));
    EXPECT_EQ(SimImageManager::renderedSize(photo, QSizeF(256, 256), ImageContentMode::AspectFit), QSize(256, 171));
    EXPECT_EQ(SimImageManager::renderedSize(photo.transposed(), QSizeF(300, 100), ImageContentMode::AspectFill), QSize(300, 450));
    EXPECT_EQ(SimImageManager::renderedSize(photo, QSizeF(9000, 9000), ImageContentMode::AspectFill), photo);
    EXPECT_EQ(SimImageManager::renderedSize(photo, ImageManagerMaximumSize, ImageContentMode::AspectFill), photo);
}

TEST_F(SimImageManagerTest, ImagesShowTheRenditionOrientedAndCoveringTheTarget)
{
    const AssetPtr turned = add(QStringLiteral("turned"), {{QStringLiteral("IMG.JPG"), AssetResourceType::Photo,
                                                            OrvTest::makeJpeg(800, 400, 6)}},
                                QSize(400, 800));
    const Image small = image(turned, QSizeF(100, 100));
    EXPECT_EQ(small.calls, 1);  // synchronous: called before the request returned
    EXPECT_EQ(small.image.size(), QSize(100, 200));
    EXPECT_EQ(OrvTest::redCorner(small.image), QStringLiteral("tr"));
    EXPECT_FALSE(small.info.value(ImageResultIsDegradedKey).toBool());
    EXPECT_EQ(image(turned, ImageManagerMaximumSize).image.size(), QSize(400, 800));

    // An edited photo shows its full-size render, whichever comes first.
    const AssetPtr edited = add(QStringLiteral("edited"), {{QStringLiteral("IMG.HEIC"), AssetResourceType::Photo, OrvTest::makeJpeg(80, 60)},
                                                           {QStringLiteral("FullSizeRender.jpg"), AssetResourceType::FullSizePhoto,
                                                            OrvTest::makeJpeg(60, 80)}});
    EXPECT_EQ(image(edited, ImageManagerMaximumSize).image.size(), QSize(60, 80));
    EXPECT_EQ(data(edited).data.size(), OrvTest::makeJpeg(60, 80).size());
}

TEST_F(SimImageManagerTest, DataComesUnchangedWithTheTypeOfItsBytes)
{
    const QByteArray jpeg = OrvTest::makeJpeg(80, 60, 8);
    const AssetPtr misnamed = add(QStringLiteral("misnamed"), {{QStringLiteral("IMG.HEIC"), AssetResourceType::Photo, jpeg}});
    const Data delivered = data(misnamed);
    EXPECT_EQ(delivered.calls, 1);
    EXPECT_EQ(delivered.data, jpeg);
    EXPECT_EQ(delivered.uti, QStringLiteral("public.jpeg"));
    EXPECT_EQ(delivered.orientation, 8);
    const QByteArray heic = OrvTest::recoded(OrvTest::makeJpeg(80, 60), QStringLiteral("public.heic"));
    EXPECT_EQ(data(add(QStringLiteral("heic"), {{QStringLiteral("IMG.jpg"), AssetResourceType::Photo, heic}})).uti,
              QStringLiteral("public.heic"));
}

TEST_F(SimImageManagerTest, MissingAndBrokenResourcesGiveNothing)
{
    const QList<QPair<QString, QList<File>>> broken = {
        {QStringLiteral("none"), {}},
        {QStringLiteral("movie only"), {{QStringLiteral("IMG.MOV"), AssetResourceType::PairedVideo, QByteArray("mov")}}},
        {QStringLiteral("no file"), {{QStringLiteral("IMG.JPG"), AssetResourceType::Photo, QByteArray()}}},
        {QStringLiteral("empty"), {{QStringLiteral("IMG.JPG"), AssetResourceType::Photo, QByteArray("")}}},
        {QStringLiteral("text"), {{QStringLiteral("IMG.HEIC"), AssetResourceType::Photo, QByteArray("a HEIC that is text")}}},
        {QStringLiteral("cut"), {{QStringLiteral("IMG.JPG"), AssetResourceType::Photo, OrvTest::makeJpeg(400, 300).left(900)}}},
    };
    for (const auto& [id, files] : broken) {
        const AssetPtr asset = add(id, files);
        const Image shown = image(asset, QSizeF(50, 50));
        EXPECT_EQ(shown.calls, 1) << id.toStdString();
        EXPECT_TRUE(shown.image.isNull()) << id.toStdString();
        const Data delivered = data(asset);
        EXPECT_EQ(delivered.calls, 1) << id.toStdString();
        // A cut-off JPEG is still handed over as it is; what is no image is not.
        if (id != QLatin1String("cut")) {
            EXPECT_TRUE(delivered.data.isEmpty()) << id.toStdString();
            EXPECT_TRUE(delivered.uti.isEmpty()) << id.toStdString();
        }
    }
    // A file that vanished after the library was read.
    const AssetPtr gone = add(QStringLiteral("gone"), {{QStringLiteral("IMG.JPG"), AssetResourceType::Photo, OrvTest::makeJpeg(8, 8)}});
    QFile::remove(dir.filePath(QStringLiteral("gone-IMG.JPG")));
    EXPECT_TRUE(image(gone, QSizeF(8, 8)).image.isNull());
    EXPECT_TRUE(data(gone).data.isEmpty());
}

TEST_F(SimImageManagerTest, CloudOriginalsNeedTheNetwork)
{
    manager->setDownloadDelay(30);
    const AssetPtr cloud = add(QStringLiteral("cloud"), {{QStringLiteral("IMG.JPG"), AssetResourceType::Photo,
                                                          OrvTest::makeJpeg(800, 600), true}},
                               QSize(800, 600));
    // Without network access: nothing, and the reason.
    const Image offline = image(cloud, QSizeF(100, 100), ImageContentMode::AspectFill, sync(false));
    EXPECT_EQ(offline.calls, 1);
    EXPECT_TRUE(offline.image.isNull());
    EXPECT_TRUE(offline.info.value(ImageResultIsInCloudKey).toBool());
    EXPECT_TRUE(data(cloud, sync(false)).data.isEmpty());

    // From another thread a synchronous request waits for the download, which finishes on the main queue.
    std::atomic<bool> done{false};
    Image downloaded;
    QThread* worker = QThread::create([&] {
        downloaded = image(cloud, QSizeF(100, 100));
        done = true;
    });
    worker->start();
    ASSERT_TRUE(OrvTest::waitFor([&] { return done.load(); }));
    worker->wait();
    delete worker;
    EXPECT_EQ(downloaded.calls, 1);
    EXPECT_EQ(downloaded.image.size(), QSize(134, 100));

    // On the main thread the request returns first; the handler comes with the event loop.
    Image later;
    manager->requestImageForAsset(cloud, QSizeF(100, 100), ImageContentMode::AspectFill, sync(),
                                  [&](const QImage& image, const QVariantMap&) {
                                      later.image = image;
                                      ++later.calls;
                                  });
    EXPECT_EQ(later.calls, 0);
    ASSERT_TRUE(OrvTest::waitFor([&] { return later.calls == 1; }));
    EXPECT_FALSE(later.image.isNull());

    // A failing download: no data; images get the small local preview, marked degraded.
    manager->setDownloadsFail(true);
    Data failed;
    QVariantMap previewInfo;
    QImage preview;
    QThread* again = QThread::create([&] {
        failed = data(cloud);
        manager->requestImageForAsset(cloud, ImageManagerMaximumSize, ImageContentMode::AspectFill, sync(),
                                      [&](const QImage& image, const QVariantMap& info) {
                                          preview = image;
                                          previewInfo = info;
                                      });
        done = false;
    });
    again->start();
    ASSERT_TRUE(OrvTest::waitFor([&] { return !done.load(); }));
    again->wait();
    delete again;
    EXPECT_EQ(failed.calls, 1);
    EXPECT_TRUE(failed.data.isEmpty());
    EXPECT_EQ(preview.size(), QSize(256, 192));
    EXPECT_TRUE(previewInfo.value(ImageResultIsDegradedKey).toBool());
}

TEST_F(SimImageManagerTest, AsynchronousOpportunisticRequestsDeliverTwiceOnTheMainQueue)
{
    const AssetPtr asset = add(QStringLiteral("a"), {{QStringLiteral("IMG.JPG"), AssetResourceType::Photo, OrvTest::makeJpeg(800, 600)}},
                               QSize(800, 600));
    ImageRequestOptions options;
    QList<QPair<QSize, bool>> results;
    bool onMain = true;
    manager->requestImageForAsset(asset, QSizeF(200, 200), ImageContentMode::AspectFill, options,
                                  [&](const QImage& image, const QVariantMap& info) {
                                      results.append({image.size(), info.value(ImageResultIsDegradedKey).toBool()});
                                      onMain = onMain && QThread::currentThread() == QCoreApplication::instance()->thread();
                                  });
    EXPECT_TRUE(results.isEmpty());
    ASSERT_TRUE(OrvTest::waitFor([&] { return results.size() == 2; }));
    EXPECT_TRUE(results[0].second);
    EXPECT_FALSE(results[1].second);
    EXPECT_EQ(results[1].first, QSize(267, 200));  // the smallest that covers 200 x 200
    EXPECT_LT(results[0].first.width(), results[1].first.width());
    EXPECT_TRUE(onMain);
    const QList<ImageRequestRecord> requests = manager->requests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests[0].options.deliveryMode, ImageRequestDeliveryMode::Opportunistic);
    EXPECT_EQ(requests[0].targetSize, QSizeF(200, 200));
}
