#include "../../platform/imageio/ImageIOTestSupport.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetrieverDataPhotoKit.h"
#include "OrvFotoRetrieverInterfacePhotoKit.h"
#include "OrvImageIO.h"
#include "OrvImageIOQt.h"
#include "PhotoKitFixture.h"
#include "TestSupport.h"
#include "sim/OrvPhotoKitSimImageManager.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>

using namespace OrvPhotoKit;
using OrvPhotoKitSim::ImageRequestRecord;

namespace {

class PhotoKitRetrievalTest : public PhotoKitTest
{
protected:
    void SetUp() override
    {
        PhotoKitTest::SetUp();
        OrvImageIOQt::install();
        OrvSingleton<OrvFotoCacheManager>::instance()->clear();
    }
    // An asset of one photo resource holding bytes, written here.
    OrvExternalId add(const QString& id, const QByteArray& bytes, const QString& name = QStringLiteral("IMG.JPG"),
                      bool inCloud = false)
    {
        OrvPhotoKitSim::AssetSpec spec = asset(id, QStringLiteral("2020-05-06T07:08:09Z"));
        spec.location = Location{Coordinate{47.37, 8.54}};
        OrvPhotoKitSim::ResourceSpec resource;
        resource.originalFilename = name;
        resource.filePath = dir.filePath(QString(id).replace(QLatin1Char('/'), QLatin1Char('_')) + QLatin1Char('-') + name);
        resource.inCloud = inCloud;
        OrvTest::writeFile(resource.filePath, bytes);
        spec.resources.append(resource);
        // The size Photos reports: the image as shown.
        const auto imageSource = OrvImageIO::sharedImageIO()->createImageSourceWithData(bytes, {});
        const auto properties = imageSource ? imageSource->copyPropertiesAtIndex(0, {}) : std::nullopt;
        if (properties) {
            const QSize stored(properties->pixelWidth, properties->pixelHeight);
            const QSize shown = properties->orientation >= 5 ? stored.transposed() : stored;
            spec.pixelWidth = shown.width();
            spec.pixelHeight = shown.height();
        }
        library->addAsset(spec);
        return fotoId(id);
    }
    OrvFoto foto(const OrvExternalId& id) { return OrvFoto(OrvFotoKeyExternalService(&source(), id)); }
    OrvPhotoKitLoader& loader() { return *source().loader(); }
    QList<ImageRequestRecord> requests() const { return library->imageManager()->requests(); }

    QTemporaryDir dir;
};

} // namespace

TEST_F(PhotoKitRetrievalTest, SizedImagesAreCachedAndAskedForInTheModeOfImmediately)
{
    const OrvExternalId id = add(QStringLiteral("S/1"), OrvTest::makeJpeg(400, 300));
    const QImage image = loader().requestImage(id, QSize(100, 100), false);
    EXPECT_EQ(image.size(), QSize(134, 100));  // covers the square
    const OrvDrawable cached = OrvSingleton<OrvFotoCacheManager>::instance()->drawable(foto(id), QSize(100, 100));
    EXPECT_EQ(cached.size(), image.size());
    loader().requestImage(id, QSize(50, 50), true);
    const auto asked = requests();
    ASSERT_EQ(asked.size(), 2);
    EXPECT_EQ(asked[0].options.deliveryMode, ImageRequestDeliveryMode::Opportunistic);
    EXPECT_EQ(asked[1].options.deliveryMode, ImageRequestDeliveryMode::HighQualityFormat);
    for (const ImageRequestRecord& request : asked) {
        EXPECT_TRUE(request.options.synchronous);
        EXPECT_TRUE(request.options.networkAccessAllowed);
        EXPECT_EQ(request.contentMode, ImageContentMode::AspectFill);
    }
}

TEST_F(PhotoKitRetrievalTest, AnInvalidSizeTriesTheFullImageThenTheLargestRenditionWithoutCaching)
{
    const OrvExternalId local = add(QStringLiteral("F/1"), OrvTest::makeJpeg(400, 300));
    EXPECT_EQ(loader().requestImage(local, QSize(-1, -1), false).size(), QSize(400, 300));
    auto asked = requests();
    ASSERT_EQ(asked.size(), 1);
    EXPECT_EQ(asked[0].kind, ImageRequestRecord::Data);
    EXPECT_EQ(asked[0].options.deliveryMode, ImageRequestDeliveryMode::HighQualityFormat);

    // The original cannot be downloaded: no full image, so the largest rendition there is (the local preview).
    library->imageManager()->setDownloadDelay(1);
    library->imageManager()->setDownloadsFail(true);
    library->imageManager()->clearRequests();
    const OrvExternalId cloud = add(QStringLiteral("F/2"), OrvTest::makeJpeg(800, 600), QStringLiteral("IMG.JPG"), true);
    const QImage preview = loader().requestImage(cloud, QSize(-1, -1), true);
    EXPECT_EQ(preview.size(), QSize(256, 192));
    asked = requests();
    ASSERT_EQ(asked.size(), 2);
    EXPECT_EQ(asked[0].kind, ImageRequestRecord::Data);
    EXPECT_EQ(asked[1].kind, ImageRequestRecord::Image);
    EXPECT_EQ(asked[1].targetSize, ImageManagerMaximumSize);
    EXPECT_TRUE(OrvSingleton<OrvFotoCacheManager>::instance()->drawable(foto(cloud), FOTO_CACHE_SIZE_FULL).isNull());
}

TEST_F(PhotoKitRetrievalTest, FullImagesOfHeicAndPngAreRecodedAndTheirMetadataCachedAndAnnounced)
{
    const QByteArray jpeg = OrvTest::jpegWithExif(80, 40, 6);
    const QByteArray heic = OrvTest::recoded(jpeg, QStringLiteral("public.heic"));
    const QByteArray png = OrvTest::recoded(jpeg, QStringLiteral("public.png"));
    ASSERT_FALSE(heic.isEmpty());
    ASSERT_FALSE(png.isEmpty());
    QList<OrvFoto> announced;
    QObject::connect(OrvSingleton<OrvFotoChangeDispatcher>::instance(), &OrvFotoChangeDispatcher::metadataAvailable,
                     &source(), [&](const OrvFoto& foto) { announced.append(foto); });
    for (const auto& [name, bytes] : {qMakePair(QStringLiteral("IMG.HEIC"), heic), qMakePair(QStringLiteral("IMG.PNG"), png),
                                      qMakePair(QStringLiteral("IMG.JPG"), jpeg)}) {
        const OrvExternalId id = add(QStringLiteral("R/") + name, bytes, name);
        const QImage full = loader().requestFullImage(id);
        // Turned exactly once: upright, the red mark where the shown photo has it.
        EXPECT_EQ(full.size(), QSize(40, 80)) << name.toStdString();
        EXPECT_EQ(OrvTest::redCorner(full), QStringLiteral("tr")) << name.toStdString();
        const OrvFotoMetaData cached = OrvSingleton<OrvFotoCacheManager>::instance()->metaData(foto(id));
        ASSERT_TRUE(cached.isValid()) << name.toStdString();
        EXPECT_EQ(cached.pictureTaken(), OrvTest::photoTaken()) << name.toStdString();
        EXPECT_NEAR(cached.geoPosition().latitude(), OrvTest::photoPlace().latitude(), 1e-4) << name.toStdString();
        EXPECT_EQ(cached.cameraMake(), QStringLiteral("Orv")) << name.toStdString();
        EXPECT_TRUE(announced.contains(foto(id))) << name.toStdString();
    }
}

TEST_F(PhotoKitRetrievalTest, FilesComeAsDeliveredOrConvertedWithTheirProperties)
{
    const QByteArray heic = OrvTest::recoded(OrvTest::jpegWithExif(64, 48), QStringLiteral("public.heic"));
    const OrvExternalId id = add(QStringLiteral("B/1"), heic, QStringLiteral("IMG.HEIC"));
    EXPECT_EQ(loader().file(id, QStringLiteral("public.heic")), heic);
    // Empty: the bytes as stored, whatever their type.
    EXPECT_EQ(loader().file(id, QString()), heic);
    const QByteArray jpeg = loader().file(id, QStringLiteral("public.jpeg"));
    ASSERT_FALSE(jpeg.isEmpty());
    EXPECT_TRUE(jpeg.startsWith("\xFF\xD8"));
    const OrvFotoMetaData kept = OrvTest::metaDataOf(jpeg);
    EXPECT_EQ(kept.pictureTaken(), OrvTest::photoTaken());
    EXPECT_NEAR(kept.geoPosition().longitude(), OrvTest::photoPlace().longitude(), 1e-4);
    EXPECT_EQ(kept.cameraModel(), QStringLiteral("Test 1"));
    // A type nothing writes.
    EXPECT_TRUE(loader().file(id, QStringLiteral("com.compuserve.gif")).isEmpty());
    EXPECT_TRUE(logged(QStringLiteral("Failed to write image")));

    // Through the retriever: the format's type, and "as stored" for an invalid format.
    OrvFotoRetrieverDataPhotoKit retriever(id);
    EXPECT_EQ(retriever.file(OrvMediaFormat()), heic);
    EXPECT_TRUE(retriever.file(OrvMediaFormat(OrvMediaFormat::Png)).startsWith("\x89PNG"));
}

TEST_F(PhotoKitRetrievalTest, MissingAssetsGiveEmptyResultsAndTheirDebugLines)
{
    source();
    const OrvExternalId gone = fotoId(QStringLiteral("GONE/L0/001"));
    EXPECT_TRUE(loader().requestImage(gone, QSize(10, 10), false).isNull());
    LoggedLine line;
    ASSERT_TRUE(logged(QStringLiteral("Error: Asset with localIdentifier \"GONE/L0/001\" not found"), &line));
    EXPECT_EQ(line.function, QStringLiteral("-[OrvPhotoKitLoader requestImage:targetSize:immediately:]"));
    EXPECT_FALSE(loader().metaData(gone).isValid());
    EXPECT_TRUE(loader().requestFullImage(gone).isNull());
    EXPECT_TRUE(loader().file(gone, QStringLiteral("public.jpeg")).isEmpty());
    EXPECT_TRUE(requests().isEmpty());
    // Unknown ids of every shape, "/" and "#" in them included.
    for (const QString& remote : {QString(), QStringLiteral("_"), QStringLiteral("a#b"), QStringLiteral("x_2Fy/z"), QStringLiteral("%%")}) {
        const OrvExternalId odd(QStringLiteral("photokit"), QStringLiteral("foto"), remote);
        EXPECT_TRUE(source().drawable(odd, QSize(5, 5), true).isNull());
        EXPECT_TRUE(source().file(odd, OrvMediaFormat(OrvMediaFormat::Jpeg)).isEmpty());
    }
}

TEST_F(PhotoKitRetrievalTest, MetadataIsWhatPhotoKitKnows)
{
    const OrvExternalId id = add(QStringLiteral("M/1"), QByteArray("not even an image"));
    const OrvFotoMetaData data = loader().metaData(id);
    ASSERT_TRUE(data.isValid());
    EXPECT_EQ(data.pictureTaken(), utc(QStringLiteral("2020-05-06T07:08:09Z")));
    EXPECT_EQ(data.preferredSize(), QSize(40, 30));
    EXPECT_NEAR(data.geoPosition().latitude(), 47.37, 1e-9);
    EXPECT_TRUE(requests().isEmpty());  // nothing read from the file
    // Taken where the clock said 09:08: the metadata carries the zone, as the foto does.
    OrvPhotoKitSim::AssetSpec placed = asset(QStringLiteral("M/3"), QString());
    placed.creationDate = utc(QStringLiteral("2020-05-06T07:08:09Z"));
    placed.localCreationDate = utc(QStringLiteral("2020-05-06T09:08:09Z"));
    library->addAsset(placed);
    const QDateTime zoned = loader().metaData(fotoId(QStringLiteral("M/3"))).pictureTaken();
    EXPECT_EQ(zoned, utc(QStringLiteral("2020-05-06T07:08:09Z")));
    EXPECT_EQ(zoned.offsetFromUtc(), 7200);
    EXPECT_EQ(zoned.time(), QTime(9, 8, 9));
    library->addAsset(asset(QStringLiteral("M/2"), QString()));
    const OrvFotoMetaData bare = loader().metaData(fotoId(QStringLiteral("M/2")));
    EXPECT_FALSE(bare.pictureTaken().isValid());
    EXPECT_FALSE(bare.geoPosition().isValid());
    EXPECT_EQ(bare.preferredSize(), QSize(40, 30));
}

TEST_F(PhotoKitRetrievalTest, TheMainThreadKeepsItsEventLoopTurningForAHandlerThatComesLater)
{
    library->imageManager()->setDownloadDelay(50);
    const OrvExternalId cloud = add(QStringLiteral("C/1"), OrvTest::makeJpeg(300, 200), QStringLiteral("IMG.JPG"), true);
    // The download completes on the main queue: only a caller that runs the event loop sees it.
    const QImage image = source().drawable(cloud, QSize(60, 60), false).image();
    EXPECT_EQ(image.size(), QSize(90, 60));
    EXPECT_FALSE(loader().requestFullImage(cloud).isNull());
    EXPECT_FALSE(loader().file(cloud, QStringLiteral("public.png")).isEmpty());
    for (const ImageRequestRecord& request : requests())
        EXPECT_TRUE(request.onMainThread);
}

TEST_F(PhotoKitRetrievalTest, RetrieversOnSeveralThreadsWhileTheMainThreadWaits)
{
    library->imageManager()->setDownloadDelay(5);
    QList<OrvExternalId> ids;
    for (int i = 0; i < 6; ++i)
        ids.append(add(QStringLiteral("T/%1").arg(i), OrvTest::jpegWithExif(96, 64), QStringLiteral("IMG.JPG"), i % 3 == 0));
    source();
    // Retrievers reach the process's source; it is made on the main thread, as the host makes it.
    OrvSingleton<OrvPhotoKitDatabase>::instance();
    std::atomic<int> finished{0};
    std::atomic<int> delivered{0};
    QList<QThread*> workers;
    for (int t = 0; t < 3; ++t) {
        workers.append(QThread::create([&, t] {
            for (int round = 0; round < 3; ++round) {
                for (const OrvExternalId& id : std::as_const(ids)) {
                    std::unique_ptr<OrvFotoRetrieverInterface> retriever(source().createRetrieverInterface(id));
                    std::unique_ptr<OrvFotoRetrieverData> data(retriever->retrieve(QSize(32, 32)));
                    delivered += data->drawable(QSize(32 + t, 32)).isValid() ? 1 : 0;
                    delivered += data->file(OrvMediaFormat(OrvMediaFormat::Jpeg)).isEmpty() ? 0 : 1;
                    std::unique_ptr<OrvFotoRetrieverMetaData> meta(retriever->retrieveMetaData());
                    delivered += meta->metaData().isValid() ? 1 : 0;
                }
            }
            ++finished;
        }));
        workers.last()->start();
    }
    // Meanwhile the main thread waits for its own requests, running the event loop the downloads need.
    while (finished.load() < 3) {
        EXPECT_FALSE(loader().requestImage(ids.first(), QSize(20, 20), false).isNull());
        QCoreApplication::processEvents();
    }
    for (QThread* worker : workers) {
        worker->wait();
        delete worker;
    }
    EXPECT_EQ(delivered.load(), 3 * 3 * 6 * 3);
}
