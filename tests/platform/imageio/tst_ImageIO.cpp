#include "ImageIOTestSupport.h"
#include "OrvImageIO.h"
#include "OrvImageIOQt.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImageWriter>
#include <QTemporaryDir>

using namespace OrvImageIO;

namespace {

class ImageIOTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        OrvImageIOQt::install();
        imageIO = sharedImageIO();
        ASSERT_TRUE(imageIO);
    }
    ImageSourcePtr source(const QByteArray& bytes, const QString& hint = QString())
    {
        SourceOptions options;
        options.typeIdentifierHint = hint;
        return imageIO->createImageSourceWithData(bytes, options);
    }
    static SourceOptions thumbnail(int maxPixelSize, bool transform)
    {
        SourceOptions options;
        options.thumbnailMaxPixelSize = maxPixelSize;
        options.createThumbnailWithTransform = transform;
        options.createThumbnailFromImageAlways = true;
        return options;
    }
    ImageIOPtr imageIO;
};

QByteArray png(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::green);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, "png").write(image);
    return bytes;
}

// The header of the HEIC declares a size its data does not have.
QByteArray withDeclaredSize(QByteArray heic, quint32 width, quint32 height)
{
    const qsizetype at = heic.indexOf("ispe");
    if (at < 0)
        return {};
    // "ispe", version and flags (4 bytes), then width and height, big-endian.
    for (int i = 0; i < 4; ++i) {
        heic[at + 8 + i] = char(width >> (24 - 8 * i));
        heic[at + 12 + i] = char(height >> (24 - 8 * i));
    }
    return heic;
}

} // namespace

TEST_F(ImageIOTest, TheTypeComesFromTheBytesNotFromTheHint)
{
    const QByteArray jpeg = OrvTest::makeJpeg(40, 30);
    const QByteArray heic = OrvTest::recoded(jpeg, QStringLiteral("public.heic"));
    ASSERT_FALSE(heic.isEmpty());
    EXPECT_EQ(source(jpeg, QStringLiteral("public.png"))->type(), QStringLiteral("public.jpeg"));
    EXPECT_EQ(source(heic, QStringLiteral("public.jpeg"))->type(), QStringLiteral("public.heic"));
    EXPECT_EQ(source(png(4, 4))->type(), QStringLiteral("public.png"));
    EXPECT_EQ(source(OrvTest::recoded(jpeg, QStringLiteral("public.tiff")))->type(), QStringLiteral("public.tiff"));
    // Bytes that say nothing: only a hint makes a source, and it has nothing in it.
    EXPECT_FALSE(source("just some text"));
    const ImageSourcePtr text = source("just some text, named a HEIC", QStringLiteral("public.heic"));
    ASSERT_TRUE(text);
    EXPECT_FALSE(text->copyPropertiesAtIndex(0, {}));
    EXPECT_TRUE(text->createImageAtIndex(0, {}).isNull());
    EXPECT_TRUE(text->createThumbnailAtIndex(0, thumbnail(64, true)).isNull());
}

TEST_F(ImageIOTest, PropertiesCarryExifGpsAndCameraThroughHeicAndBack)
{
    const QByteArray jpeg = OrvTest::jpegWithExif(64, 48);
    const auto properties = source(jpeg)->copyPropertiesAtIndex(0, {});
    ASSERT_TRUE(properties);
    EXPECT_EQ(properties->pixelWidth, 64);
    EXPECT_EQ(properties->pixelHeight, 48);
    EXPECT_EQ(properties->values.value(QStringLiteral("Exif.Photo.DateTimeOriginal")), QStringLiteral("2021:07:14 11:12:13"));
    EXPECT_EQ(properties->values.value(QStringLiteral("Exif.Image.Make")), QStringLiteral("Orv"));
    EXPECT_TRUE(properties->values.contains(QStringLiteral("Exif.GPSInfo.GPSLatitude")));

    for (const QString& type : {QStringLiteral("public.heic"), QStringLiteral("public.png"), QStringLiteral("public.tiff")}) {
        const QByteArray there = OrvTest::recoded(jpeg, type);
        ASSERT_FALSE(there.isEmpty()) << type.toStdString();
        const QByteArray back = OrvTest::recoded(there, QStringLiteral("public.jpeg"));
        const OrvFotoMetaData data = OrvTest::metaDataOf(back);
        ASSERT_TRUE(data.isValid()) << type.toStdString();
        EXPECT_EQ(data.pictureTaken(), OrvTest::photoTaken()) << type.toStdString();
        EXPECT_NEAR(data.geoPosition().latitude(), OrvTest::photoPlace().latitude(), 1e-4);
        EXPECT_NEAR(data.geoPosition().longitude(), OrvTest::photoPlace().longitude(), 1e-4);
        EXPECT_EQ(data.cameraModel(), QStringLiteral("Test 1"));
        EXPECT_EQ(data.preferredSize(), QSize(64, 48));
    }
}

TEST_F(ImageIOTest, OrientationIsAppliedOnlyWhereAskedAndHeicIsWrittenUpright)
{
    const QByteArray jpeg = OrvTest::jpegWithExif(80, 40, 6);
    const ImageSourcePtr turned = source(jpeg);
    EXPECT_EQ(turned->copyPropertiesAtIndex(0, {})->orientation, 6);
    const QImage stored = turned->createImageAtIndex(0, {});
    EXPECT_EQ(stored.size(), QSize(80, 40));
    EXPECT_EQ(OrvTest::redCorner(stored), QStringLiteral("tl"));
    const QImage shown = turned->createThumbnailAtIndex(0, thumbnail(0, true));
    EXPECT_EQ(shown.size(), QSize(40, 80));
    EXPECT_EQ(OrvTest::redCorner(shown), QStringLiteral("tr"));
    EXPECT_EQ(turned->createThumbnailAtIndex(0, thumbnail(0, false)).size(), QSize(80, 40));

    // HEIC keeps no EXIF orientation: the pixels are turned once, the tag goes.
    const QByteArray heic = OrvTest::recoded(jpeg, QStringLiteral("public.heic"));
    const auto heicProperties = source(heic)->copyPropertiesAtIndex(0, {});
    ASSERT_TRUE(heicProperties);
    EXPECT_EQ(heicProperties->orientation, 1);
    EXPECT_EQ(QSize(heicProperties->pixelWidth, heicProperties->pixelHeight), QSize(40, 80));
    const QByteArray back = OrvTest::recoded(heic, QStringLiteral("public.jpeg"));
    const QImage upright = source(back)->createThumbnailAtIndex(0, thumbnail(0, true));
    EXPECT_EQ(upright.size(), QSize(40, 80));
    EXPECT_EQ(OrvTest::redCorner(upright), QStringLiteral("tr"));
    EXPECT_EQ(OrvTest::metaDataOf(back).orientation(), 1);
}

TEST_F(ImageIOTest, ThumbnailsAreBoundedOnTheirLongerSide)
{
    const ImageSourcePtr jpeg = source(OrvTest::makeJpeg(1600, 1200));
    EXPECT_EQ(jpeg->createThumbnailAtIndex(0, thumbnail(200, true)).size(), QSize(200, 150));
    const ImageSourcePtr heic = source(OrvTest::recoded(OrvTest::makeJpeg(320, 160), QStringLiteral("public.heic")));
    EXPECT_EQ(heic->createThumbnailAtIndex(0, thumbnail(100, true)).size(), QSize(100, 50));
    // Never enlarged.
    EXPECT_EQ(heic->createThumbnailAtIndex(0, thumbnail(1000, true)).size(), QSize(320, 160));
}

TEST_F(ImageIOTest, DamagedAndHostileImagesGiveNothing)
{
    const QByteArray heic = OrvTest::recoded(OrvTest::makeJpeg(64, 64), QStringLiteral("public.heic"));
    ASSERT_FALSE(heic.isEmpty());
    // A decompression bomb: 30000 x 30000 declared, refused before anything is allocated.
    const ImageSourcePtr bomb = source(withDeclaredSize(heic, 30000, 30000));
    ASSERT_TRUE(bomb);
    EXPECT_TRUE(bomb->createImageAtIndex(0, {}).isNull());
    EXPECT_TRUE(bomb->createThumbnailAtIndex(0, thumbnail(256, true)).isNull());
    EXPECT_TRUE(source(OrvTest::pngDeclaring(60000, 60000))->createImageAtIndex(0, {}).isNull());
    for (const qsizetype cut : {qsizetype(12), heic.size() / 3, heic.size() - 10}) {
        const ImageSourcePtr truncated = source(heic.left(cut), QStringLiteral("public.heic"));
        if (truncated) {
            EXPECT_TRUE(truncated->createImageAtIndex(0, {}).isNull()) << cut;
        }
    }
    const QByteArray jpeg = OrvTest::makeJpeg(200, 100);
    EXPECT_TRUE(source(jpeg.left(jpeg.size() / 2))->createThumbnailAtIndex(0, thumbnail(50, true)).isNull());
}

TEST_F(ImageIOTest, DestinationsFailWithoutWritingAnything)
{
    QByteArray data("left over");
    EXPECT_FALSE(imageIO->createImageDestinationWithData(&data, QStringLiteral("com.compuserve.gif"), 1));
    EXPECT_FALSE(imageIO->createImageDestinationWithData(&data, QStringLiteral("public.jpeg"), 0));
    const auto destination = imageIO->createImageDestinationWithData(&data, QStringLiteral("public.jpeg"), 1);
    ASSERT_TRUE(destination);
    // Nothing added, or an image that cannot be decoded: finalize fails and leaves no bytes.
    EXPECT_FALSE(destination->finalize());
    EXPECT_TRUE(data.isEmpty());
    QByteArray other;
    const auto broken = imageIO->createImageDestinationWithData(&other, QStringLiteral("public.png"), 1);
    broken->addImageFromSource(source("not an image", QStringLiteral("public.jpeg")), 0, std::nullopt);
    EXPECT_FALSE(broken->finalize());
    EXPECT_TRUE(other.isEmpty());
    EXPECT_TRUE(imageIO->copyTypeIdentifiers().contains(QStringLiteral("public.heic")));
    EXPECT_TRUE(imageIO->copyTypeIdentifiers().contains(QStringLiteral("public.tiff")));
}

TEST_F(ImageIOTest, FileSourcesReadThroughTheHostsOpener)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("photo.heic"));
    ASSERT_TRUE(OrvTest::writeFile(path, OrvTest::makeJpeg(120, 60)));
    const ImageSourcePtr file = imageIO->createImageSourceWithURL(path, {});
    ASSERT_TRUE(file);
    EXPECT_EQ(file->type(), QStringLiteral("public.jpeg"));
    EXPECT_EQ(file->createThumbnailAtIndex(0, thumbnail(60, true)).size(), QSize(60, 30));
    const QString pipe = dir.filePath(QStringLiteral("pipe.jpg"));
    ASSERT_TRUE(OrvTest::makeFifo(pipe));
    EXPECT_FALSE(imageIO->createImageSourceWithURL(pipe, {}));
    EXPECT_FALSE(imageIO->createImageSourceWithURL(dir.filePath(QStringLiteral("missing.jpg")), {}));
}
