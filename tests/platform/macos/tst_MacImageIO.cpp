#include "ImageIOTestSupport.h"
#include "OrvImageIO.h"
#include "OrvImageIOQt.h"
#include "OrvMacOSBackend.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdlib>

using namespace OrvImageIO;

namespace {

// Apple's ImageIO beside the backend the Linux builds run on: for the same bytes the two tell
// the same sizes, orientations and types.
struct Backends
{
    ImageIOPtr apple;
    ImageIOPtr qt;
};

Backends backends()
{
    OrvImageIOQt::install();
    const ImageIOPtr qt = sharedImageIO();
    OrvMacOS::installImageIO();
    return {sharedImageIO(), qt};
}

SourceOptions thumbnail(int maxPixelSize, bool transform)
{
    SourceOptions options;
    options.thumbnailMaxPixelSize = maxPixelSize;
    options.createThumbnailWithTransform = transform;
    options.createThumbnailFromImageAlways = true;
    return options;
}

} // namespace

TEST(MacImageIO, TheSamplesReadAsTheQtBackendReadsThem)
{
    const Backends io = backends();
    ASSERT_TRUE(io.apple);
    ASSERT_NE(io.apple, io.qt);
    const QDir samples(OrvTest::sourceDir() + QStringLiteral("/samples/photos/images"));
    const QStringList names = samples.entryList(QDir::Files, QDir::Name);
    ASSERT_FALSE(names.isEmpty());
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const ImageSourcePtr apple = io.apple->createImageSourceWithURL(samples.filePath(name), {});
        const ImageSourcePtr qt = io.qt->createImageSourceWithURL(samples.filePath(name), {});
        ASSERT_TRUE(apple);
        ASSERT_TRUE(qt);
        EXPECT_EQ(apple->type(), qt->type());
        const auto appleProperties = apple->copyPropertiesAtIndex(0, {});
        const auto qtProperties = qt->copyPropertiesAtIndex(0, {});
        ASSERT_TRUE(appleProperties);
        ASSERT_TRUE(qtProperties);
        EXPECT_EQ(appleProperties->pixelWidth, qtProperties->pixelWidth);
        EXPECT_EQ(appleProperties->pixelHeight, qtProperties->pixelHeight);
        EXPECT_EQ(appleProperties->orientation, qtProperties->orientation);
        // Scaled decoding may round the shorter side either way.
        const QImage appleThumbnail = apple->createThumbnailAtIndex(0, thumbnail(96, true));
        const QImage qtThumbnail = qt->createThumbnailAtIndex(0, thumbnail(96, true));
        EXPECT_EQ(qMax(appleThumbnail.width(), appleThumbnail.height()), 96);
        EXPECT_LE(std::abs(appleThumbnail.width() - qtThumbnail.width()), 1);
        EXPECT_LE(std::abs(appleThumbnail.height() - qtThumbnail.height()), 1);
    }
}

TEST(MacImageIO, OrientationIsAppliedOnlyWhereAsked)
{
    const ImageIOPtr apple = backends().apple;
    const ImageSourcePtr turned = apple->createImageSourceWithData(OrvTest::jpegWithExif(80, 40, 6), {});
    ASSERT_TRUE(turned);
    EXPECT_EQ(turned->type(), QStringLiteral("public.jpeg"));
    EXPECT_EQ(turned->copyPropertiesAtIndex(0, {})->orientation, 6);
    const QImage stored = turned->createImageAtIndex(0, {});
    EXPECT_EQ(stored.size(), QSize(80, 40));
    EXPECT_EQ(OrvTest::redCorner(stored), QStringLiteral("tl"));
    const QImage shown = turned->createThumbnailAtIndex(0, thumbnail(0, true));
    EXPECT_EQ(shown.size(), QSize(40, 80));
    EXPECT_EQ(OrvTest::redCorner(shown), QStringLiteral("tr"));
    EXPECT_EQ(turned->createThumbnailAtIndex(0, thumbnail(0, false)).size(), QSize(80, 40));
    EXPECT_EQ(turned->createThumbnailAtIndex(0, thumbnail(20, true)).size(), QSize(10, 20));
}

TEST(MacImageIO, RecodingThroughHeicKeepsWhatTheHostReads)
{
    backends();
    const QByteArray jpeg = OrvTest::jpegWithExif(64, 48);
    const QByteArray heic = OrvTest::recoded(jpeg, QStringLiteral("public.heic"));
    ASSERT_FALSE(heic.isEmpty());
    const QByteArray back = OrvTest::recoded(heic, QStringLiteral("public.jpeg"));
    ASSERT_FALSE(back.isEmpty());
    const OrvFotoMetaData metaData = OrvTest::metaDataOf(back);
    EXPECT_EQ(metaData.pictureTaken(), OrvTest::photoTaken());
    EXPECT_NEAR(metaData.geoPosition().latitude(), OrvTest::photoPlace().latitude(), 1e-4);
    EXPECT_NEAR(metaData.geoPosition().longitude(), OrvTest::photoPlace().longitude(), 1e-4);
    EXPECT_EQ(metaData.cameraMake(), QStringLiteral("Orv"));
    const auto properties = sharedImageIO()->createImageSourceWithData(back, {})->copyPropertiesAtIndex(0, {});
    ASSERT_TRUE(properties);
    EXPECT_EQ(QSize(properties->pixelWidth, properties->pixelHeight), QSize(64, 48));
    EXPECT_FALSE(properties->xmp.isEmpty());
    EXPECT_EQ(properties->values.value(QStringLiteral("Exif.Image.Make")), QStringLiteral("Orv"));
}

TEST(MacImageIO, PixelsAndTheirColourSpaceTravelThroughPng)
{
    const ImageIOPtr apple = backends().apple;
    QImage image(40, 30, QImage::Format_ARGB32);
    image.fill(QColor(200, 30, 20));
    image.setPixelColor(39, 29, QColor(10, 20, 220));
    QByteArray written;
    const ImageDestinationPtr destination = apple->createImageDestinationWithData(&written, QStringLiteral("public.png"), 1);
    ASSERT_TRUE(destination);
    destination->addImage(image, std::nullopt);
    ASSERT_TRUE(destination->finalize());
    ASSERT_TRUE(written.startsWith("\x89PNG"));
    const ImageSourcePtr source = apple->createImageSourceWithData(written, {});
    ASSERT_TRUE(source);
    const QImage read = source->createImageAtIndex(0, {});
    ASSERT_EQ(read.size(), image.size());
    EXPECT_EQ(read.pixelColor(0, 0).rgb(), QColor(200, 30, 20).rgb());
    EXPECT_EQ(read.pixelColor(39, 29).rgb(), QColor(10, 20, 220).rgb());
    EXPECT_TRUE(read.colorSpace().isValid());
}

TEST(MacImageIO, DeclaredGiantsAreDescribedButNotDecoded)
{
    const ImageIOPtr apple = backends().apple;
    // 60000 x 60000 declared: 3.6 gigapixels.
    const ImageSourcePtr source = apple->createImageSourceWithData(OrvTest::pngDeclaring(60000, 60000), {});
    ASSERT_TRUE(source);
    const auto properties = source->copyPropertiesAtIndex(0, {});
    ASSERT_TRUE(properties);
    EXPECT_EQ(properties->pixelWidth, 60000);
    EXPECT_TRUE(source->createImageAtIndex(0, {}).isNull());
    EXPECT_TRUE(source->createThumbnailAtIndex(0, thumbnail(256, true)).isNull());
    QByteArray copy;
    const ImageDestinationPtr destination = apple->createImageDestinationWithData(&copy, QStringLiteral("public.jpeg"), 1);
    ASSERT_TRUE(destination);
    destination->addImageFromSource(source, 0, std::nullopt);
    EXPECT_FALSE(destination->finalize());
    EXPECT_TRUE(copy.isEmpty());
}

TEST(MacImageIO, BytesThatAreNoImageGiveNoSource)
{
    const ImageIOPtr apple = backends().apple;
    EXPECT_FALSE(apple->createImageSourceWithData(QByteArray(), {}));
    EXPECT_FALSE(apple->createImageSourceWithData(QByteArray("not an image at all"), {}));
    SourceOptions hinted;
    hinted.typeIdentifierHint = QStringLiteral("public.jpeg");
    const ImageSourcePtr lying = apple->createImageSourceWithData(QByteArray(64, '\0'), hinted);
    if (lying) {
        EXPECT_TRUE(lying->createImageAtIndex(0, {}).isNull());
        EXPECT_FALSE(lying->copyPropertiesAtIndex(3, {}));
    }
}

TEST(MacImageIO, FilesAreReadThroughTheHostsOpener)
{
    const ImageIOPtr apple = backends().apple;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("photo.heic"));
    ASSERT_TRUE(OrvTest::writeFile(path, OrvTest::makeJpeg(120, 60)));
    const ImageSourcePtr file = apple->createImageSourceWithURL(path, {});
    ASSERT_TRUE(file);
    EXPECT_EQ(file->type(), QStringLiteral("public.jpeg"));
    EXPECT_EQ(file->createThumbnailAtIndex(0, thumbnail(60, true)).size(), QSize(60, 30));
    // A pipe is refused, never waited on.
    const QString pipe = dir.filePath(QStringLiteral("pipe.jpg"));
    ASSERT_TRUE(OrvTest::makeFifo(pipe));
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(apple->createImageSourceWithURL(pipe, {}));
    EXPECT_LT(timer.elapsed(), 30000);
    EXPECT_FALSE(apple->createImageSourceWithURL(dir.filePath(QStringLiteral("missing.jpg")), {}));
    EXPECT_FALSE(apple->createImageSourceWithURL(dir.path(), {}));
}

TEST(MacImageIO, DestinationsFailWithoutWritingAnything)
{
    const ImageIOPtr apple = backends().apple;
    QByteArray data("left over");
    EXPECT_FALSE(apple->createImageDestinationWithData(&data, QStringLiteral("org.orv.no-such-type"), 1));
    EXPECT_FALSE(apple->createImageDestinationWithData(&data, QStringLiteral("public.jpeg"), 0));
    EXPECT_FALSE(apple->createImageDestinationWithData(nullptr, QStringLiteral("public.jpeg"), 1));
    const ImageDestinationPtr empty = apple->createImageDestinationWithData(&data, QStringLiteral("public.jpeg"), 1);
    ASSERT_TRUE(empty);
    EXPECT_FALSE(empty->finalize());
    EXPECT_TRUE(data.isEmpty());
    EXPECT_FALSE(empty->finalize());
    const QStringList types = apple->copyTypeIdentifiers();
    EXPECT_TRUE(types.contains(QStringLiteral("public.jpeg")));
    EXPECT_TRUE(types.contains(QStringLiteral("public.png")));
    EXPECT_TRUE(types.contains(QStringLiteral("public.tiff")));
}
