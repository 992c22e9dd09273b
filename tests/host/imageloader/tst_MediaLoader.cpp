#include "LoaderTestHelpers.h"
#include "OrvMediaLoader.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QImageReader>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <zlib.h>
#include <thread>
#include <vector>

using namespace OrvTest;

namespace {

OrvMediaLoader* loader() { return OrvMediaLoader::instance(); }

QImage loadBytes(const QByteArray& bytes, const QSize& bounds)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return loader()->load(&buffer, bounds);
}

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

TEST(MediaLoaderFittedSize, KeepsAspectNeverEnlargesNeverVanishes)
{
    const struct
    {
        QSize source, bounds, expected;
    } cases[] = {
        {{6000, 4000}, {256, 256}, {256, 171}},
        {{4000, 6000}, {256, 256}, {171, 256}},
        {{6000, 4000}, {1024, 100}, {150, 100}},
        {{100, 50}, {256, 256}, {100, 50}},
        {{10000, 10}, {256, 256}, {256, 1}},
        {{10, 10000}, {256, 256}, {1, 256}},
        {{300, 200}, {QSize()}, {300, 200}},
        {{300, 200}, {0, 0}, {300, 200}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(OrvMediaLoader::fittedSize(c.source, c.bounds), c.expected) << c.source.width() << "x" << c.source.height();
}

TEST_F(MediaLoaderTest, ScaledJpegHasTheFittedSizeAndItsContent)
{
    const QString path = write(QStringLiteral("a.jpg"), makeJpeg(2400, 1600));
    const QImage image = loader()->load(path, QSize(256, 256));
    ASSERT_EQ(image.size(), QSize(256, 171));
    EXPECT_TRUE(isRed(corner(image, false, false)));
    EXPECT_TRUE(isBlue(corner(image, true, true)));
    EXPECT_EQ(image.format(), QImage::Format_RGB32);  // no widening on the way
    EXPECT_EQ(loader()->load(path, QSize()).size(), QSize(2400, 1600));
    EXPECT_EQ(loader()->load(path, QSize(5000, 5000)).size(), QSize(2400, 1600));
}

TEST_F(MediaLoaderTest, JpegIsDecodedAtReducedScaleNotScaledAfterwards)
{
    // Under an allocation limit far below the full picture only a decoder
    // that scales while decoding gets through.
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
    // Stored 1600x1200 with red top left.
    const struct
    {
        int orientation;
        QSize size;
        bool redRight, redBottom;
    } cases[] = {
        {1, {256, 192}, false, false},
        {3, {256, 192}, true, true},
        {6, {192, 256}, true, false},  // 90 degrees clockwise
        {8, {192, 256}, false, true},
        {5, {192, 256}, false, false}, // transposed
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.orientation);
        const QString path = write(QStringLiteral("o%1.jpg").arg(c.orientation), makeJpeg(1600, 1200, c.orientation));
        const QImage image = loader()->load(path, QSize(256, 256));
        ASSERT_EQ(image.size(), c.size);
        EXPECT_TRUE(isRed(corner(image, c.redRight, c.redBottom)));
        EXPECT_EQ(loader()->imageSize(path), c.orientation >= 5 ? QSize(1200, 1600) : QSize(1600, 1200));
    }
    // Rotated portrait into a landscape box: the height limits.
    EXPECT_EQ(loadBytes(makeJpeg(1600, 1200, 6), QSize(400, 100)).size(), QSize(75, 100));
}

TEST_F(MediaLoaderTest, ExtremeAspectRatiosTinyImagesAndOtherFormats)
{
    EXPECT_EQ(loadBytes(makeJpeg(3000, 16), QSize(256, 256)).size(), QSize(256, 1));
    EXPECT_EQ(loadBytes(makeJpeg(16, 3000, 6), QSize(256, 256)).size(), QSize(256, 1));
    EXPECT_EQ(loadBytes(makeJpeg(3, 2), QSize(256, 256)).size(), QSize(3, 2));
    QImage transparent(900, 300, QImage::Format_ARGB32);
    transparent.fill(Qt::transparent);
    const QImage png = loadBytes(encodeImage(transparent, "png"), QSize(300, 300));
    EXPECT_EQ(png.size(), QSize(300, 100));
    EXPECT_TRUE(png.hasAlphaChannel());
    // The content decides, not the suffix.
    const QString misnamed = write(QStringLiteral("png.jpg"), encodeImage(QImage(40, 30, QImage::Format_RGB32), "png"));
    EXPECT_EQ(loader()->load(misnamed, QSize(20, 20)).size(), QSize(20, 15));
}

TEST_F(MediaLoaderTest, MissingEmptyAndForeignInputGivesNull)
{
    EXPECT_TRUE(loader()->load(QString(), QSize()).isNull());
    EXPECT_TRUE(loader()->load(myDir.filePath(QStringLiteral("missing.jpg")), QSize(256, 256)).isNull());
    EXPECT_TRUE(loader()->load(write(QStringLiteral("empty.jpg"), QByteArray()), QSize(256, 256)).isNull());
    EXPECT_TRUE(loader()->load(write(QStringLiteral("text.jpg"), "hello, world\n"), QSize(256, 256)).isNull());
    EXPECT_TRUE(loader()->load(myDir.path(), QSize(256, 256)).isNull());
    EXPECT_FALSE(loader()->imageSize(write(QStringLiteral("text2.jpg"), "hello")).isValid());
    EXPECT_TRUE(loadBytes(QByteArray(), QSize()).isNull());
    EXPECT_TRUE(loader()->load(static_cast<QIODevice*>(nullptr), QSize()).isNull());
    // A FIFO nobody writes to must not block the caller.
    const QString fifo = myDir.filePath(QStringLiteral("fifo.jpg"));
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    EXPECT_TRUE(loader()->load(fifo, QSize(256, 256)).isNull());
    EXPECT_FALSE(loader()->imageSize(fifo).isValid());
}

TEST_F(MediaLoaderTest, TruncatedFilesGiveNull)
{
    const QByteArray jpeg = makeJpeg(64, 48, 6);
    ASSERT_FALSE(loadBytes(jpeg, QSize()).isNull());
    for (int length = 0; length < jpeg.size() - 1; length += 3)
        EXPECT_TRUE(loadBytes(jpeg.left(length), QSize(32, 32)).isNull()) << "cut at " << length << " of " << jpeg.size();

    const QByteArray big = makeJpeg(1200, 800);
    EXPECT_TRUE(loader()->load(write(QStringLiteral("half.jpg"), big.left(big.size() / 2)), QSize(256, 256)).isNull());
    // Bytes after the end marker are common (camera trailers) and harmless.
    EXPECT_FALSE(loader()->load(write(QStringLiteral("trailer.jpg"), big + QByteArray(5000, 'x')), QSize()).isNull());

    QImage noise(300, 200, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < noise.height(); ++y)
        random.fillRange(reinterpret_cast<quint32*>(noise.scanLine(y)), noise.width());
    const QByteArray png = encodeImage(noise, "png");
    EXPECT_TRUE(loadBytes(png.left(png.size() / 2), QSize(64, 64)).isNull());
    EXPECT_TRUE(loadBytes(png.left(png.size() - 20), QSize()).isNull());
}

TEST_F(MediaLoaderTest, DamagedBytesNeverCrash)
{
    // Whatever the decoder makes of it, it must come back (sanitizer builds check the memory).
    const QByteArray jpeg = makeJpeg(96, 64, 6);
    QRandomGenerator random(42);
    for (int round = 0; round < 300; ++round) {
        QByteArray damaged = jpeg;
        for (int i = 0, flips = 1 + random.bounded(8); i < flips; ++i)
            damaged[random.bounded(int(damaged.size()))] = char(random.bounded(256));
        loadBytes(damaged, round % 2 ? QSize(32, 32) : QSize());
    }
    // A header that promises a 65535x65535 picture.
    QByteArray huge = jpeg;
    const int sof = int(huge.indexOf("\xFF\xC0"));
    ASSERT_GT(sof, 0);
    huge.replace(sof + 5, 4, "\xFF\xFF\xFF\xFF");
    EXPECT_TRUE(loadBytes(huge, QSize()).isNull());
}

TEST_F(MediaLoaderTest, EncodeWritesDecodableImagesAndRefusesWhatItCannot)
{
    QImage image(320, 200, QImage::Format_RGB32);
    QRandomGenerator random(3);
    for (int y = 0; y < image.height(); ++y)
        random.fillRange(reinterpret_cast<quint32*>(image.scanLine(y)), image.width());

    QBuffer low, high;
    ASSERT_TRUE(loader()->encode(image, &low, OrvMediaFormat(QStringLiteral("jpg")), 10));
    ASSERT_TRUE(loader()->encode(OrvDrawable(image), &high, OrvMediaFormat(QStringLiteral("jpg")), 95));
    EXPECT_LT(low.data().size(), high.data().size());
    EXPECT_EQ(loadBytes(low.data(), QSize()).size(), image.size());

    QBuffer sink;
    sink.open(QIODevice::WriteOnly);
    EXPECT_FALSE(loader()->encode(image, &sink, OrvMediaFormat(QStringLiteral("raw"))));
    EXPECT_FALSE(loader()->encode(QImage(), &sink, OrvMediaFormat(QStringLiteral("png"))));
    EXPECT_FALSE(loader()->encode(image, nullptr, OrvMediaFormat(QStringLiteral("png"))));
    QBuffer readOnly;
    readOnly.open(QIODevice::ReadOnly);
    EXPECT_FALSE(loader()->encode(image, &readOnly, OrvMediaFormat(QStringLiteral("png"))));
    EXPECT_TRUE(sink.data().isEmpty());

    EXPECT_TRUE(loader()->isSupportedFormat(OrvMediaFormat(QStringLiteral("jpeg"))));
    EXPECT_FALSE(loader()->isSupportedFormat(OrvMediaFormat(QStringLiteral("nef"))));
    EXPECT_FALSE(loader()->isSupportedFormat(OrvMediaFormat()));
}

TEST_F(MediaLoaderTest, DrawablesAreFittedAndVideoFramesRefused)
{
    const QString path = write(QStringLiteral("d.jpg"), makeJpeg(640, 480, 8));
    EXPECT_EQ(loader()->loadDrawable(OrvMediaDescriptor(QFileInfo(path)), QSize(64, 64)).size(), QSize(48, 64));
    EXPECT_TRUE(loader()->loadDrawable(OrvMediaDescriptor(QFileInfo(path), OrvVideoFrameIndex(0)), QSize(64, 64)).isNull());
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
    EXPECT_TRUE(expected.back().isNull());

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
}

} // namespace

namespace {

// A PNG whose header declares width x height pixels of 8-bit gray, with a few
// real rows of data (a decoder that believes the header would allocate it all).
// A complete, valid all-black gray PNG of width x height, compressed row by row.
QByteArray blackPng(quint32 width, quint32 height)
{
    const auto be32 = [](QByteArray& out, quint32 value) {
        for (int shift = 24; shift >= 0; shift -= 8)
            out.append(char(value >> shift));
    };
    const auto chunk = [&](QByteArray& out, const char* type, const QByteArray& data) {
        be32(out, quint32(data.size()));
        const QByteArray typed = QByteArray(type, 4) + data;
        out.append(typed);
        be32(out, quint32(crc32(0, reinterpret_cast<const Bytef*>(typed.constData()), uInt(typed.size()))));
    };
    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    QByteArray header;
    be32(header, width);
    be32(header, height);
    header.append("\x08\x00\x00\x00\x00", 5);
    chunk(png, "IHDR", header);
    z_stream stream{};
    deflateInit(&stream, 1);
    const QByteArray row(qsizetype(width) + 1, '\0');
    QByteArray compressed;
    char out[1 << 16];
    for (quint32 y = 0; y < height; ++y) {
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(row.constData()));
        stream.avail_in = uInt(row.size());
        do {
            stream.next_out = reinterpret_cast<Bytef*>(out);
            stream.avail_out = sizeof out;
            deflate(&stream, y + 1 == height ? Z_FINISH : Z_NO_FLUSH);
            compressed.append(out, qsizetype(sizeof out - stream.avail_out));
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    chunk(png, "IDAT", compressed);
    chunk(png, "IEND", QByteArray());
    return png;
}

} // namespace

TEST_F(MediaLoaderTest, BigRealPhotosDecodeBombsAreRefusedBeforeAllocating)
{
    // 54 megapixels, above Qt's default allocation limit of 128 MB.
    const QString medium = write(QStringLiteral("medium-format.jpg"), makeJpeg(9000, 6000, 1, 70));
    const QImage full = loader()->load(medium, QSize());
    EXPECT_EQ(full.size(), QSize(9000, 6000));
    EXPECT_TRUE(isRed(corner(full, false, false)));
    EXPECT_EQ(loader()->load(medium, QSize(900, 900)).size(), QSize(900, 600));
    EXPECT_TRUE(loader()->isIntact(medium));

    // 3.6 gigapixels promised: refused from the header, sized or not, in little memory.
    const QString bomb = write(QStringLiteral("bomb.png"), pngDeclaring(60000, 60000));
    const bool measured = resetPeakMemory();
    const qint64 before = peakMemoryKiB();
    EXPECT_TRUE(loader()->load(bomb, QSize(256, 256)).isNull());
    EXPECT_TRUE(loader()->load(bomb, QSize()).isNull());
    const QString jpegBomb = write(QStringLiteral("bomb.jpg"), jpegDeclaring(60000, 60000));
    EXPECT_TRUE(loader()->load(jpegBomb, QSize(256, 256)).isNull());
    if (measured) {
        EXPECT_LT(peakMemoryKiB() - before, 256 * 1024) << "KiB above the start";
    }
    // A genuine image just above the bound (20001 x 20001) is refused too, though
    // Qt would decode it: the bound is the loader's, not an accident of memory.
    const QString above = write(QStringLiteral("above.png"), blackPng(20001, 20001));
    EXPECT_TRUE(loader()->load(above, QSize(256, 256)).isNull());
    EXPECT_TRUE(loader()->load(above, QSize()).isNull());
}

TEST_F(MediaLoaderTest, EveryPathRefusesTheSameDamagedImages)
{
    const QByteArray whole = makeJpeg(1200, 800, 6);
    const QString truncated = write(QStringLiteral("third.jpg"), whole.left(whole.size() / 3));
    const QString intact = write(QStringLiteral("whole.jpg"), whole);
    for (const QSize& size : {QSize(), QSize(256, 256), QSize(1, 1)}) {
        EXPECT_TRUE(loader()->load(truncated, size).isNull()) << size.width();
        EXPECT_TRUE(loader()->load(truncated, size, nullptr, OrvMediaLoader::KeepStored).isNull()) << size.width();
        EXPECT_FALSE(loader()->load(intact, size).isNull()) << size.width();
    }
    EXPECT_FALSE(loader()->isIntact(truncated));
    EXPECT_TRUE(loader()->isIntact(intact));
    // Stored pixels keep their orientation; shown ones are turned.
    EXPECT_EQ(loader()->load(intact, QSize(), nullptr, OrvMediaLoader::KeepStored).size(), QSize(1200, 800));
    EXPECT_EQ(loader()->load(intact, QSize()).size(), QSize(800, 1200));

    const QByteArray png = encodeImage(QImage(300, 200, QImage::Format_RGB32), "png");
    EXPECT_FALSE(loader()->isIntact(write(QStringLiteral("cut.png"), png.left(png.size() - 12))));
    EXPECT_TRUE(loader()->isIntact(write(QStringLiteral("trailer.png"), png + "junk")));
    // Formats it cannot judge, and no image at all, are copied as they are.
    EXPECT_TRUE(loader()->isIntact(write(QStringLiteral("movie.mov"), QByteArray(5000, 'm'))));
    EXPECT_FALSE(loader()->isIntact(QStringLiteral("/dev/zero")));
    EXPECT_TRUE(loader()->load(QStringLiteral("/dev/zero"), QSize(256, 256)).isNull());
}

// The cheap end check against the decoder: both accept every whole file,
// both refuse every file cut off before its end, whatever the layout.
TEST_F(MediaLoaderTest, TheEndCheckAgreesWithTheDecoderOnWholeAndCutOffFiles)
{
    const QImage picture = QImage::fromData(makeJpeg(640, 480, 6, 85)).convertToFormat(QImage::Format_RGB32);
    const QByteArray progressive = encodeImage(picture, "jpeg", 85, true);
    const QByteArray baseline = makeJpeg(640, 480, 6, 85);
    // An APP segment full of 0xFF and a made-up end marker, stray bytes and
    // padding before a marker, a video behind the picture (motion photos).
    const QByteArray app = QByteArray("\xFF\xE9\x00\x0A", 4) + QByteArray("\xFF\xD9\xFF\xFF\xD9\xFF", 6);
    QByteArray oddities = baseline;
    oddities.insert(2, app);
    oddities.insert(oddities.indexOf("\xFF\xDB"), QByteArray("\x00\x17\xFF\xFF", 4));
    const QByteArray motion = baseline + QByteArray(50000, '\x00') + "ftypmp42" + QByteArray(1000, '\xFF');

    int files = 0;
    for (const QByteArray& whole : {baseline, progressive, oddities, motion}) {
        SCOPED_TRACE(++files);
        const QString path = write(QStringLiteral("whole.jpg"), whole);
        EXPECT_TRUE(OrvMediaLoader::isComplete(path));
        EXPECT_TRUE(loader()->isIntact(path));
        const qsizetype end = whole.lastIndexOf("\xFF\xD9", files == 4 ? baseline.size() : -1) + 2;
        const qsizetype step = end / 97 + 1;
        // From the three bytes that make a file a JPEG on.
        for (qsizetype cut = 3; cut < end; cut += cut + 3 >= end ? 1 : step) {
            const QString part = write(QStringLiteral("part.jpg"), whole.left(cut));
            EXPECT_FALSE(OrvMediaLoader::isComplete(part)) << cut;
            EXPECT_FALSE(loader()->isIntact(part)) << cut;
        }
    }
    EXPECT_FALSE(OrvMediaLoader::isComplete(QStringLiteral("/dev/zero")));
    EXPECT_TRUE(OrvMediaLoader::isComplete(write(QStringLiteral("movie.mov"), QByteArray(5000, 'm'))));
}
