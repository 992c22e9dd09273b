#include "LoaderTestHelpers.h"
#include "OrvMediaLoader.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <thread>
#include <vector>

using namespace OrvTest;

namespace {

OrvMediaLoader* loader() { return OrvMediaLoader::instance(); }

class MediaLoaderTest : public ::testing::Test
{
protected:
    QString write(const QString& name, const QByteArray& bytes)
    {
        const QString path = myDir.filePath(name);
        EXPECT_TRUE(writeFile(path, bytes));
        return path;
    }

    QTemporaryDir myDir;
};

// ---------------------------------------------------------------------------

TEST(MediaLoaderFittedSize, KeepsAspectNeverEnlargesNeverVanishes)
{
    struct Case
    {
        QSize source, bounds, expected;
    };
    const Case cases[] = {
        {{6000, 4000}, {256, 256}, {256, 171}},
        {{4000, 6000}, {256, 256}, {171, 256}},
        {{6000, 4000}, {1024, 100}, {150, 100}},
        {{256, 256}, {256, 256}, {256, 256}},
        {{100, 50}, {256, 256}, {100, 50}},      // no enlarging
        {{10000, 10}, {256, 256}, {256, 1}},     // rounds to nothing otherwise
        {{10, 10000}, {256, 256}, {1, 256}},
        {{300, 200}, {QSize()}, {300, 200}},     // no bounds: as is
        {{300, 200}, {0, 0}, {300, 200}},
        {{QSize()}, {256, 256}, {QSize()}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(OrvMediaLoader::fittedSize(c.source, c.bounds), c.expected)
            << c.source.width() << "x" << c.source.height() << " in " << c.bounds.width() << "x" << c.bounds.height();
    }
}

// ---------------------------------------------------------------------------

TEST_F(MediaLoaderTest, ScaledJpegHasTheFittedSizeAndItsContent)
{
    const QString path = write(QStringLiteral("a.jpg"), makeJpeg(2400, 1600));
    OrvMetaData info;
    const QImage image = loader()->load(path, QSize(256, 256), &info);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(256, 171));
    EXPECT_TRUE(isRed(corner(image, false, false)));
    EXPECT_TRUE(isBlue(corner(image, true, true)));
    // Decoding does not widen the pixels it got.
    EXPECT_EQ(image.format(), QImage::Format_RGB32);

    EXPECT_EQ(loader()->load(path, QSize()).size(), QSize(2400, 1600));
    EXPECT_EQ(loader()->load(path, QSize(5000, 5000)).size(), QSize(2400, 1600));
}

TEST_F(MediaLoaderTest, JpegIsDecodedAtReducedScaleNotScaledAfterwards)
{
    // Under an allocation limit far below the full 2400x1600 picture only a
    // decoder that scales while decoding gets through.
    const QString path = write(QStringLiteral("big.jpg"), makeJpeg(2400, 1600));
    const int previous = QImageReader::allocationLimit();
    QImageReader::setAllocationLimit(1);
    const QImage full = loader()->load(path, QSize());
    const QImage thumbnail = loader()->load(path, QSize(256, 256));
    QImageReader::setAllocationLimit(previous);
    EXPECT_TRUE(full.isNull());
    EXPECT_EQ(thumbnail.size(), QSize(256, 171));
}

TEST_F(MediaLoaderTest, ExifOrientationIsAppliedBeforeFitting)
{
    // Stored 1600x1200 with red top left; shown rotated.
    struct Case
    {
        int orientation;
        QSize size;
        bool redRight, redBottom;
    };
    const Case cases[] = {
        {1, {256, 192}, false, false},
        {3, {256, 192}, true, true},
        {6, {192, 256}, true, false},   // 90 degrees clockwise
        {8, {192, 256}, false, true},   // 90 degrees counter-clockwise
        {5, {192, 256}, false, false},  // transposed
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.orientation);
        const QString path = write(QStringLiteral("o%1.jpg").arg(c.orientation), makeJpeg(1600, 1200, c.orientation));
        const QImage image = loader()->load(path, QSize(256, 256));
        ASSERT_FALSE(image.isNull());
        EXPECT_EQ(image.size(), c.size);
        EXPECT_TRUE(isRed(corner(image, c.redRight, c.redBottom)));
        EXPECT_EQ(loader()->imageSize(path), c.orientation >= 5 ? QSize(1200, 1600) : QSize(1600, 1200));
    }
    // Rotated portrait into a landscape box: the height limits.
    const QString path = write(QStringLiteral("p.jpg"), makeJpeg(1600, 1200, 6));
    EXPECT_EQ(loader()->load(path, QSize(400, 100)).size(), QSize(75, 100));
}

TEST_F(MediaLoaderTest, ExtremeAspectRatiosAndTinyImages)
{
    const QString wide = write(QStringLiteral("wide.jpg"), makeJpeg(3000, 16));
    EXPECT_EQ(loader()->load(wide, QSize(256, 256)).size(), QSize(256, 1));
    const QString tall = write(QStringLiteral("tall.jpg"), makeJpeg(16, 3000, 6));
    EXPECT_EQ(loader()->load(tall, QSize(256, 256)).size(), QSize(256, 1));
    const QString tiny = write(QStringLiteral("tiny.jpg"), makeJpeg(3, 2));
    EXPECT_EQ(loader()->load(tiny, QSize(256, 256)).size(), QSize(3, 2));
    const QString one = write(QStringLiteral("one.png"), encodeImage(QImage(1, 1, QImage::Format_RGB32), "png"));
    EXPECT_EQ(loader()->load(one, QSize(1, 1)).size(), QSize(1, 1));
}

TEST_F(MediaLoaderTest, FormatsWithoutScaledDecodingAreFittedToo)
{
    QImage source(900, 300, QImage::Format_ARGB32);
    source.fill(Qt::transparent);
    const QString png = write(QStringLiteral("a.png"), encodeImage(source, "png"));
    const QImage image = loader()->load(png, QSize(300, 300));
    EXPECT_EQ(image.size(), QSize(300, 100));
    EXPECT_TRUE(image.hasAlphaChannel());
}

TEST_F(MediaLoaderTest, TheContentDecidesTheFormatNotTheSuffix)
{
    const QString misnamed = write(QStringLiteral("really-a-png.jpg"), encodeImage(QImage(40, 30, QImage::Format_RGB32), "png"));
    EXPECT_EQ(loader()->load(misnamed, QSize(20, 20)).size(), QSize(20, 15));
    const QString noSuffix = write(QStringLiteral("jpeg-without-suffix"), makeJpeg(40, 30));
    EXPECT_EQ(loader()->load(noSuffix, QSize()).size(), QSize(40, 30));
}

TEST_F(MediaLoaderTest, LoadsFromDevices)
{
    QByteArray bytes = makeJpeg(800, 600, 6);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    OrvMetaData info;
    EXPECT_EQ(loader()->load(&buffer, QSize(100, 100), &info).size(), QSize(75, 100));

    QFile file(write(QStringLiteral("d.jpg"), bytes));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(loader()->load(&file, QSize(100, 100)).size(), QSize(75, 100));

    EXPECT_TRUE(loader()->load(static_cast<QIODevice*>(nullptr), QSize()).isNull());
    QBuffer writeOnly;
    writeOnly.open(QIODevice::WriteOnly);
    EXPECT_TRUE(loader()->load(&writeOnly, QSize()).isNull());
}

// ---------------------------------------------------------------------------
// Bad input

TEST_F(MediaLoaderTest, MissingEmptyAndForeignFilesGiveNull)
{
    EXPECT_TRUE(loader()->load(QString(), QSize()).isNull());
    EXPECT_TRUE(loader()->load(myDir.filePath(QStringLiteral("missing.jpg")), QSize(256, 256)).isNull());
    EXPECT_TRUE(loader()->load(write(QStringLiteral("empty.jpg"), QByteArray()), QSize(256, 256)).isNull());
    EXPECT_TRUE(loader()->load(write(QStringLiteral("text.jpg"), "hello, world\n"), QSize(256, 256)).isNull());
    EXPECT_TRUE(loader()->load(myDir.path(), QSize(256, 256)).isNull());
    EXPECT_FALSE(loader()->imageSize(myDir.filePath(QStringLiteral("missing.jpg"))).isValid());
    EXPECT_FALSE(loader()->imageSize(write(QStringLiteral("text2.jpg"), "hello")).isValid());

    QByteArray none;
    QBuffer empty(&none);
    empty.open(QIODevice::ReadOnly);
    EXPECT_TRUE(loader()->load(&empty, QSize(256, 256)).isNull());
}

TEST_F(MediaLoaderTest, EveryTruncationOfAJpegGivesNull)
{
    const QByteArray jpeg = makeJpeg(64, 48, 6);
    ASSERT_FALSE(loader()->load(write(QStringLiteral("whole.jpg"), jpeg), QSize()).isNull());
    for (int length = 0; length < jpeg.size() - 1; length += 3) {
        const QByteArray cut = jpeg.left(length);
        QBuffer buffer;
        buffer.setData(cut);
        buffer.open(QIODevice::ReadOnly);
        EXPECT_TRUE(loader()->load(&buffer, QSize(32, 32)).isNull()) << "cut at " << length << " of " << jpeg.size();
    }
    // Large file through the path, cut in the middle of the picture data.
    const QByteArray big = makeJpeg(1200, 800);
    EXPECT_TRUE(loader()->load(write(QStringLiteral("half.jpg"), big.left(big.size() / 2)), QSize(256, 256)).isNull());
    EXPECT_TRUE(loader()->load(write(QStringLiteral("half2.jpg"), big.left(big.size() / 2)), QSize()).isNull());
    // Bytes after the end marker are common (camera trailers) and harmless.
    EXPECT_FALSE(loader()->load(write(QStringLiteral("trailer.jpg"), big + QByteArray(5000, 'x')), QSize(256, 256)).isNull());
}

TEST_F(MediaLoaderTest, TruncatedPngGivesNull)
{
    QImage source(300, 200, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < source.height(); ++y)
        for (int x = 0; x < source.width(); ++x)
            source.setPixel(x, y, random.generate());
    const QByteArray png = encodeImage(source, "png");
    for (int length : {8, 30, int(png.size() / 3), int(png.size() / 2), int(png.size() - 20)}) {
        EXPECT_TRUE(loader()->load(write(QStringLiteral("cut%1.png").arg(length), png.left(length)), QSize(64, 64)).isNull())
            << "cut at " << length;
    }
}

TEST_F(MediaLoaderTest, DamagedBytesNeverCrash)
{
    // Whatever the decoder makes of it, it must come back (sanitizer builds check the memory).
    const QByteArray jpeg = makeJpeg(96, 64, 6);
    QRandomGenerator random(42);
    for (int round = 0; round < 300; ++round) {
        QByteArray damaged = jpeg;
        const int flips = 1 + int(random.bounded(8));
        for (int i = 0; i < flips; ++i)
            damaged[int(random.bounded(damaged.size()))] = char(random.bounded(256));
        QBuffer buffer;
        buffer.setData(damaged);
        buffer.open(QIODevice::ReadOnly);
        const QImage image = loader()->load(&buffer, round % 2 ? QSize(32, 32) : QSize());
        if (!image.isNull())
            EXPECT_LE(image.width() * image.height(), 1 << 26);
    }
    // A header that promises an enormous picture.
    QByteArray huge = jpeg;
    const int sof = huge.indexOf("\xFF\xC0");
    ASSERT_GT(sof, 0);
    huge[sof + 5] = char(0xFF);
    huge[sof + 6] = char(0xFF);
    huge[sof + 7] = char(0xFF);
    huge[sof + 8] = char(0xFF);
    EXPECT_TRUE(loader()->load(write(QStringLiteral("huge.jpg"), huge), QSize()).isNull());
}

// ---------------------------------------------------------------------------

TEST_F(MediaLoaderTest, EncodeWritesDecodableImagesAndRefusesWhatItCannot)
{
    QImage image(320, 200, QImage::Format_RGB32);
    QRandomGenerator random(3);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, random.generate());

    QByteArray low, high;
    QBuffer lowBuffer(&low), highBuffer(&high);
    ASSERT_TRUE(loader()->encode(image, &lowBuffer, OrvMediaFormat(QStringLiteral("jpg")), 10));
    ASSERT_TRUE(loader()->encode(OrvDrawable(image), &highBuffer, OrvMediaFormat(QStringLiteral("jpg")), 95));
    EXPECT_LT(low.size(), high.size());
    EXPECT_TRUE(low.startsWith("\xFF\xD8"));
    lowBuffer.close();
    ASSERT_TRUE(lowBuffer.open(QIODevice::ReadOnly));
    EXPECT_EQ(loader()->load(&lowBuffer, QSize()).size(), image.size());

    QBuffer png;
    png.open(QIODevice::WriteOnly);
    ASSERT_TRUE(loader()->encode(image, &png, OrvMediaFormat(QStringLiteral("png"))));
    EXPECT_TRUE(png.data().startsWith("\x89PNG"));

    QBuffer sink;
    sink.open(QIODevice::WriteOnly);
    EXPECT_FALSE(loader()->encode(image, &sink, OrvMediaFormat(QStringLiteral("raw"))));
    EXPECT_FALSE(loader()->encode(image, &sink, OrvMediaFormat()));
    EXPECT_FALSE(loader()->encode(QImage(), &sink, OrvMediaFormat(QStringLiteral("png"))));
    EXPECT_FALSE(loader()->encode(image, nullptr, OrvMediaFormat(QStringLiteral("png"))));
    QBuffer readOnly;
    readOnly.open(QIODevice::ReadOnly);
    EXPECT_FALSE(loader()->encode(image, &readOnly, OrvMediaFormat(QStringLiteral("png"))));
    EXPECT_TRUE(sink.data().isEmpty());
}

TEST(MediaLoader, SupportedFormatsFollowTheInstalledReaders)
{
    EXPECT_TRUE(loader()->isSupportedFormat(OrvMediaFormat(QStringLiteral("jpeg"))));
    EXPECT_TRUE(loader()->isSupportedFormat(OrvMediaFormat(QStringLiteral("png"))));
    EXPECT_FALSE(loader()->isSupportedFormat(OrvMediaFormat(QStringLiteral("mov"))));
    EXPECT_FALSE(loader()->isSupportedFormat(OrvMediaFormat(QStringLiteral("nef"))));
    EXPECT_FALSE(loader()->isSupportedFormat(OrvMediaFormat()));
    EXPECT_EQ(loader()->isSupportedFormat(OrvMediaFormat(QStringLiteral("tiff"))),
              QImageReader::supportedImageFormats().contains("tiff"));
}

TEST_F(MediaLoaderTest, DrawablesAreFittedAndVideoFramesRefused)
{
    const QString path = write(QStringLiteral("d.jpg"), makeJpeg(640, 480, 8));
    const OrvDrawable drawable = loader()->loadDrawable(OrvMediaDescriptor(QFileInfo(path)), QSize(64, 64));
    ASSERT_FALSE(drawable.isNull());
    EXPECT_EQ(drawable.size(), QSize(48, 64));
    EXPECT_EQ(drawable.byteCount(), drawable.image().sizeInBytes());
    EXPECT_TRUE(loader()->loadDrawable(OrvMediaDescriptor(QFileInfo(path), OrvVideoFrameIndex(0)), QSize(64, 64)).isNull());
    EXPECT_TRUE(loader()->loadDrawable(OrvMediaDescriptor(), QSize(64, 64)).isNull());
}

TEST_F(MediaLoaderTest, ConcurrentDecodingGivesTheSameResults)
{
    QStringList paths;
    for (int i = 0; i < 6; ++i)
        paths << write(QStringLiteral("c%1.jpg").arg(i), makeJpeg(900 + 37 * i, 700 - 23 * i, 1 + i % 8));
    paths << write(QStringLiteral("c.png"), encodeImage(QImage(500, 400, QImage::Format_RGB32), "png"));
    paths << write(QStringLiteral("bad.jpg"), makeJpeg(900, 700).left(3000));

    std::vector<QImage> expected;
    for (const QString& path : paths)
        expected.push_back(loader()->load(path, QSize(160, 160)));

    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 5; ++round) {
                for (int i = 0; i < paths.size(); ++i) {
                    const int index = (i + t) % int(paths.size());
                    if (loader()->load(paths[index], QSize(160, 160)) != expected[size_t(index)])
                        ++mismatches[size_t(t)];
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int t = 0; t < 4; ++t)
        EXPECT_EQ(mismatches[size_t(t)], 0) << "thread " << t;
    EXPECT_TRUE(expected.back().isNull());
}

} // namespace
