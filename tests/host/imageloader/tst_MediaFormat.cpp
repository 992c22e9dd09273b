#include "OrvMediaFormat.h"

#include <gtest/gtest.h>

#include <QSet>

namespace {

struct Expected
{
    OrvMediaFormat::Code code;
    const char* name;
    const char* suffix;
    const char* qtFormat;
    const char* uti;
};

// Other code stores and compares these strings; they must not drift.
const Expected kAll[] = {
    {OrvMediaFormat::Jpeg, "jpeg", "jpg", "jpeg", "public.jpeg"},
    {OrvMediaFormat::Png, "png", "png", "png", "public.png"},
    {OrvMediaFormat::Tiff, "tiff", "tif", "tiff", "public.tiff"},
    {OrvMediaFormat::Gif, "gif", "gif", "gif", "com.compuserve.gif"},
    {OrvMediaFormat::Bmp, "bmp", "bmp", "bmp", "com.microsoft.bmp"},
    {OrvMediaFormat::Heic, "heic", "heic", "heic", "public.heic"},
    {OrvMediaFormat::Webp, "webp", "webp", "webp", "org.webmproject.webp"},
    {OrvMediaFormat::Psd, "psd", "psd", "psd", "com.adobe.photoshop-image"},
    {OrvMediaFormat::Raw, "raw", "dng", "", "public.camera-raw-image"},
    {OrvMediaFormat::Mov, "mov", "mov", "", "com.apple.quicktime-movie"},
    {OrvMediaFormat::Mp4, "mp4", "mp4", "", "public.mpeg-4"},
    {OrvMediaFormat::Avi, "avi", "avi", "", "public.avi"},
};

TEST(MediaFormat, EveryFormatRoundTripsThroughNameSuffixAndUti)
{
    for (const Expected& e : kAll) {
        SCOPED_TRACE(e.name);
        const OrvMediaFormat format{quint32(e.code)};
        EXPECT_EQ(format.name(), QLatin1String(e.name));
        EXPECT_EQ(format.suffix(), QLatin1String(e.suffix));
        EXPECT_EQ(format.qtFormat(), QByteArray(e.qtFormat));
        EXPECT_EQ(format.toUti(), QLatin1String(e.uti));

        EXPECT_EQ(OrvMediaFormat(format.name()), format);
        EXPECT_EQ(OrvMediaFormat(format.suffix()), format);
        EXPECT_EQ(OrvMediaFormat(format.name().toUpper()), format);
        EXPECT_EQ(OrvMediaFormat(QFileInfo(QStringLiteral("/photos/IMG_0001.") + format.suffix().toUpper())), format);
        EXPECT_EQ(OrvMediaFormat::fromUti(format.toUti()), format);
        EXPECT_EQ(OrvMediaFormat::fromUti(format.toUti().toUpper()), format);
    }
}

TEST(MediaFormat, AliasesAndCameraRawSuffixes)
{
    const std::pair<const char*, OrvMediaFormat::Code> cases[] = {
        {"JPG", OrvMediaFormat::Jpeg}, {"Jpeg", OrvMediaFormat::Jpeg}, {"jpe", OrvMediaFormat::Jpeg},
        {"TIF", OrvMediaFormat::Tiff}, {"heif", OrvMediaFormat::Heic}, {"HEIC", OrvMediaFormat::Heic},
        {"cr2", OrvMediaFormat::Raw},  {"NEF", OrvMediaFormat::Raw},   {"arw", OrvMediaFormat::Raw},
        {"dng", OrvMediaFormat::Raw},  {"raf", OrvMediaFormat::Raw},   {"raw", OrvMediaFormat::Raw},
        {"m4v", OrvMediaFormat::Mp4},  {"MOV", OrvMediaFormat::Mov},   {"avi", OrvMediaFormat::Avi},
    };
    for (const auto& c : cases)
        EXPECT_EQ(OrvMediaFormat(QString::fromLatin1(c.first)).code(), quint32(c.second)) << c.first;
}

TEST(MediaFormat, UnknownInputIsInvalid)
{
    for (const char* name : {"", "txt", "original", "jpeg2000", ".jpg", "j p g"})
        EXPECT_FALSE(OrvMediaFormat(QString::fromLatin1(name)).isValid()) << name;
    EXPECT_FALSE(OrvMediaFormat(QFileInfo(QStringLiteral("/photos/README"))).isValid());
    EXPECT_FALSE(OrvMediaFormat(QFileInfo(QStringLiteral("/photos/archive.jpg.gz"))).isValid());
    EXPECT_FALSE(OrvMediaFormat::fromUti(QString()).isValid());
    EXPECT_FALSE(OrvMediaFormat::fromUti(QStringLiteral("public.plain-text")).isValid());

    const OrvMediaFormat invalid;
    EXPECT_TRUE(invalid.name().isEmpty());
    EXPECT_TRUE(invalid.toUti().isEmpty());
    EXPECT_TRUE(invalid.qtFormat().isEmpty());
    // Bits outside the known codes are dropped.
    EXPECT_FALSE(OrvMediaFormat(quint32(1u << 30)).isValid());
}

TEST(MediaFormat, UtisOtherSourcesUse)
{
    EXPECT_EQ(OrvMediaFormat::fromUti(QStringLiteral("public.heif")).code(), quint32(OrvMediaFormat::Heic));
    EXPECT_EQ(OrvMediaFormat::fromUti(QStringLiteral("com.canon.cr2-raw-image")).code(), quint32(OrvMediaFormat::Raw));
    EXPECT_EQ(OrvMediaFormat::fromUti(QStringLiteral("com.apple.m4v-video")).code(), quint32(OrvMediaFormat::Mp4));
}

TEST(MediaFormat, CategoriesAndCombinedCodes)
{
    EXPECT_TRUE(OrvMediaFormat(QStringLiteral("jpg")).isImage());
    EXPECT_FALSE(OrvMediaFormat(QStringLiteral("jpg")).isVideo());
    EXPECT_TRUE(OrvMediaFormat(QStringLiteral("mp4")).isVideo());
    EXPECT_FALSE(OrvMediaFormat(QStringLiteral("mp4")).isImage());

    // A set of formats has no single name to give.
    const OrvMediaFormat any(quint32(OrvMediaFormat::AnyImage));
    EXPECT_TRUE(any.isValid());
    EXPECT_TRUE(any.name().isEmpty());
    EXPECT_TRUE(any.qtFormat().isEmpty());

    const QSet<OrvMediaFormat> set{OrvMediaFormat(QStringLiteral("jpg")), OrvMediaFormat(QStringLiteral("JPEG")),
                                   OrvMediaFormat(QStringLiteral("png"))};
    EXPECT_EQ(set.size(), 2);
}

} // namespace
