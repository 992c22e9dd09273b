#include "OrvMediaFormat.h"

#include <gtest/gtest.h>

namespace {

TEST(MediaFormat, EveryFormatRoundTripsThroughNameSuffixAndUti)
{
    // Other code stores and compares these strings; they must not drift.
    const struct
    {
        OrvMediaFormat::Code code;
        const char *name, *suffix, *qtFormat, *uti;
    } all[] = {
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
    for (const auto& e : all) {
        SCOPED_TRACE(e.name);
        const OrvMediaFormat format{quint32(e.code)};
        EXPECT_EQ(format.name(), QLatin1String(e.name));
        EXPECT_EQ(format.suffix(), QLatin1String(e.suffix));
        EXPECT_EQ(format.qtFormat(), QByteArray(e.qtFormat));
        EXPECT_EQ(format.toUti(), QLatin1String(e.uti));
        EXPECT_EQ(OrvMediaFormat(format.name().toUpper()), format);
        EXPECT_EQ(OrvMediaFormat(QFileInfo(QStringLiteral("/photos/IMG_1.") + format.suffix().toUpper())), format);
        EXPECT_EQ(OrvMediaFormat::fromUti(format.toUti()), format);
        EXPECT_NE(format.isImage(), format.isVideo());
    }
}

TEST(MediaFormat, AliasesCameraRawAndForeignUtis)
{
    const std::pair<const char*, OrvMediaFormat::Code> names[] = {
        {"JPG", OrvMediaFormat::Jpeg}, {"jpe", OrvMediaFormat::Jpeg}, {"TIF", OrvMediaFormat::Tiff},
        {"heif", OrvMediaFormat::Heic}, {"cr2", OrvMediaFormat::Raw}, {"NEF", OrvMediaFormat::Raw},
        {"arw", OrvMediaFormat::Raw},  {"dng", OrvMediaFormat::Raw},  {"m4v", OrvMediaFormat::Mp4},
    };
    for (const auto& n : names)
        EXPECT_EQ(OrvMediaFormat(QString::fromLatin1(n.first)).code(), quint32(n.second)) << n.first;
    EXPECT_EQ(OrvMediaFormat::fromUti(QStringLiteral("public.heif")).code(), quint32(OrvMediaFormat::Heic));
    EXPECT_EQ(OrvMediaFormat::fromUti(QStringLiteral("com.canon.cr2-raw-image")).code(), quint32(OrvMediaFormat::Raw));
}

TEST(MediaFormat, UnknownInputIsInvalid)
{
    for (const char* name : {"", "txt", "original", "jpeg2000", ".jpg"})
        EXPECT_FALSE(OrvMediaFormat(QString::fromLatin1(name)).isValid()) << name;
    EXPECT_FALSE(OrvMediaFormat(QFileInfo(QStringLiteral("/photos/README"))).isValid());
    EXPECT_FALSE(OrvMediaFormat(QFileInfo(QStringLiteral("/photos/a.jpg.gz"))).isValid());
    EXPECT_FALSE(OrvMediaFormat::fromUti(QStringLiteral("public.plain-text")).isValid());
    EXPECT_TRUE(OrvMediaFormat().toUti().isEmpty());
    EXPECT_FALSE(OrvMediaFormat(quint32(1u << 30)).isValid());
    // A set of formats has no single name or reader.
    const OrvMediaFormat any{quint32(OrvMediaFormat::AnyImage)};
    EXPECT_TRUE(any.isImage());
    EXPECT_TRUE(any.name().isEmpty());
    EXPECT_TRUE(any.qtFormat().isEmpty());
}

} // namespace
