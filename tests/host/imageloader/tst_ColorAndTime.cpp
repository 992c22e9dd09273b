#include "LoaderTestHelpers.h"
#include "OrvCTime.h"
#include "OrvColorProfileConverter.h"
#include "OrvMediaLoader.h"
#include "OrvQtCompat.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QTemporaryDir>

using namespace OrvTest;

namespace {

const OrvColorProfileConverter& converter() { return *OrvColorProfileConverter::instance(); }

QImage filled(const QColor& color, const QColorSpace& space)
{
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(color);
    if (space.isValid())
        image.setColorSpace(space);
    return image;
}

TEST(ColorProfileConverter, DisplayP3IsConvertedToSrgb)
{
    const QColor orange(220, 120, 40);
    bool changed = false;
    const QImage result = converter().convert(filled(orange, QColorSpace::DisplayP3), OrvMetaData(), &changed);
    EXPECT_TRUE(changed);
    EXPECT_EQ(result.colorSpace(), QColorSpace(QColorSpace::SRgb));
    EXPECT_EQ(result.size(), QSize(8, 8));
    // P3 is wider: the same numbers mean a more saturated colour in sRGB.
    const QColor converted = result.pixelColor(4, 4);
    EXPECT_GT(converted.red(), orange.red());
    EXPECT_LT(converted.blue(), orange.blue());
}

TEST(ColorProfileConverter, TheImagesOwnSpaceWinsOverTheInfo)
{
    bool changed = true;
    const QImage srgb = filled(Qt::darkCyan, QColorSpace::SRgb);
    const QImage same = converter().convert(srgb, OrvMetaData(QColorSpace::DisplayP3), &changed);
    EXPECT_FALSE(changed);
    EXPECT_EQ(same.cacheKey(), srgb.cacheKey());  // not even copied

    // Without its own, the image takes the info's.
    const QImage bare = filled(Qt::darkCyan, QColorSpace());
    const QImage converted = converter().convert(bare, OrvMetaData(QColorSpace::AdobeRgb), &changed);
    EXPECT_TRUE(changed);
    EXPECT_EQ(converted.colorSpace(), QColorSpace(QColorSpace::SRgb));
    EXPECT_NE(converted.pixel(0, 0), bare.pixel(0, 0));
}

TEST(ColorProfileConverter, NothingToConvertFrom)
{
    bool changed = true;
    const QImage bare = filled(Qt::red, QColorSpace());
    EXPECT_EQ(converter().convert(bare, OrvMetaData(), &changed).cacheKey(), bare.cacheKey());
    EXPECT_FALSE(changed);
    EXPECT_TRUE(converter().convert(QImage(), OrvMetaData(QColorSpace::DisplayP3), &changed).isNull());
}

TEST(ColorProfileConverter, EmbeddedProfileTravelsFromTheFileToTheConversion)
{
    QImage source = filled(QColor(30, 160, 90), QColorSpace::DisplayP3);
    QByteArray png = encodeImage(source, "png");
    QBuffer buffer(&png);
    buffer.open(QIODevice::ReadOnly);
    OrvMetaData info;
    const QImage loaded = OrvMediaLoader::instance()->load(&buffer, QSize(4, 4), &info);
    ASSERT_FALSE(loaded.isNull());
    EXPECT_EQ(info.colorSpace(), QColorSpace(QColorSpace::DisplayP3));
    bool changed = false;
    converter().convert(loaded, info, &changed);
    EXPECT_TRUE(changed);
}

TEST(CTime, SetsModificationAndAccessTime)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("photo.jpg"));
    ASSERT_TRUE(writeFile(path, makeJpeg(8, 8)));

    for (const QDateTime& time : {OrvQt::utc(QDate(2001, 9, 8), QTime(7, 6, 5)),
                                  OrvQt::local(QDate(2019, 4, 2), QTime(12, 30, 15, 500))}) {
        ASSERT_TRUE(OrvCTime(time).writeTo(path));
        const QFileInfo info(path);
        EXPECT_EQ(info.lastModified().toMSecsSinceEpoch(), time.toMSecsSinceEpoch());
        EXPECT_EQ(info.lastRead().toMSecsSinceEpoch(), time.toMSecsSinceEpoch());
    }
}

TEST(CTime, RefusesInvalidTimesAndMissingFiles)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("photo.jpg"));
    ASSERT_TRUE(writeFile(path, "x"));
    const QDateTime before = QFileInfo(path).lastModified();
    EXPECT_FALSE(OrvCTime(QDateTime()).writeTo(path));
    EXPECT_EQ(QFileInfo(path).lastModified(), before);
    EXPECT_FALSE(OrvCTime(QDateTime::currentDateTime()).writeTo(dir.filePath(QStringLiteral("missing.jpg"))));
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("missing.jpg"))));
    const QString pipe = dir.filePath(QStringLiteral("pipe.jpg"));
    ASSERT_TRUE(makeFifo(pipe));
    EXPECT_FALSE(OrvCTime(QDateTime::currentDateTime()).writeTo(pipe));
}

} // namespace
