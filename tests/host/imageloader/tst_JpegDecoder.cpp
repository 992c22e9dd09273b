// The JPEG decoder against Qt's reader on random images, and on damage.

#include "OrvJpegDecoder.h"
#include "OrvUserFile.h"

#include "LoaderTestHelpers.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>

using namespace OrvTest;

namespace {

QImage randomImage(QRandomGenerator& random, bool gray)
{
    const int width = 1 + int(random.bounded(700));
    const int height = 1 + int(random.bounded(500));
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, width, height);
    gradient.setColorAt(0, QColor::fromRgb(random.generate()));
    gradient.setColorAt(1, QColor::fromRgb(random.generate()));
    painter.fillRect(image.rect(), gradient);
    for (int i = 0; i < 20; ++i)
        painter.fillRect(int(random.bounded(width)), int(random.bounded(height)), 1 + int(random.bounded(80)),
                         1 + int(random.bounded(80)), QColor::fromRgb(random.generate()));
    painter.end();
    return gray ? image.convertToFormat(QImage::Format_Grayscale8) : image;
}

QImage viaQt(const QByteArray& bytes, const QSize& scaled = QSize())
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(false);
    if (scaled.isValid())
        reader.setScaledSize(scaled);
    return reader.read();
}

double meanDifference(const QImage& a, const QImage& b)
{
    const QImage x = a.convertToFormat(QImage::Format_RGB32);
    const QImage y = b.convertToFormat(QImage::Format_RGB32);
    double sum = 0;
    for (int row = 0; row < x.height(); ++row) {
        const auto* p = reinterpret_cast<const QRgb*>(x.constScanLine(row));
        const auto* q = reinterpret_cast<const QRgb*>(y.constScanLine(row));
        for (int column = 0; column < x.width(); ++column)
            sum += std::abs(qRed(p[column]) - qRed(q[column])) + std::abs(qGreen(p[column]) - qGreen(q[column]))
                + std::abs(qBlue(p[column]) - qBlue(q[column]));
    }
    return sum / (3.0 * x.width() * x.height());
}

// A baseline JPEG's scan data starts after the SOS segment.
qsizetype scanStart(const QByteArray& jpeg)
{
    const qsizetype sos = jpeg.indexOf("\xFF\xDA");
    return sos < 0 ? -1 : sos + 2 + ((uchar(jpeg.at(sos + 2)) << 8) | uchar(jpeg.at(sos + 3)));
}

} // namespace

TEST(JpegDecoder, FullSizeEqualsQtsReaderAndScaledStaysClose)
{
    QRandomGenerator random(20261123);
    for (int round = 0; round < 60; ++round) {
        const bool gray = round % 5 == 0;
        const bool progressive = round % 3 == 0;
        const QImage image = randomImage(random, gray);
        const QByteArray bytes = encodeImage(image, "jpeg", 30 + int(random.bounded(70)), progressive);
        ASSERT_FALSE(bytes.isEmpty());
        SCOPED_TRACE(testing::Message() << "round " << round << " " << image.width() << "x" << image.height()
                                        << (gray ? " gray" : "") << (progressive ? " progressive" : ""));

        OrvJpegDecoder decoder(bytes);
        ASSERT_TRUE(decoder.readHeader());
        EXPECT_EQ(decoder.storedSize(), image.size());
        const QImage ours = decoder.read(QSize());
        const QImage theirs = viaQt(bytes);
        ASSERT_EQ(ours.size(), theirs.size());
        EXPECT_EQ(ours.format(), gray ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
        EXPECT_EQ(ours.convertToFormat(QImage::Format_RGB32), theirs.convertToFormat(QImage::Format_RGB32));

        // Sized: any eighth here, halves only in Qt, so the pixels differ a little.
        const QSize wanted(qMax(1, image.width() * (1 + int(random.bounded(7))) / 9),
                           qMax(1, image.height() * (1 + int(random.bounded(7))) / 9));
        OrvJpegDecoder sized(bytes);
        const QImage small = sized.read(wanted);
        ASSERT_EQ(small.size(), wanted);
        if (wanted.width() >= 8 && wanted.height() >= 8) {
            EXPECT_LT(meanDifference(small, viaQt(bytes, wanted)), 12.0);
        }
    }
}

TEST(JpegDecoder, CutOffOrBrokenDataIsRefusedHarmlessOdditiesAreNot)
{
    const QByteArray whole = makeJpeg(400, 300);
    ASSERT_FALSE(OrvJpegDecoder(whole).read(QSize()).isNull());
    const qsizetype scan = scanStart(whole);
    ASSERT_GT(scan, 0);

    // Cut anywhere after the header: refused whether read in full or scaled.
    for (const qsizetype cut : {scan + 10, whole.size() / 2, whole.size() - 40}) {
        const QByteArray truncated = whole.left(cut);
        EXPECT_TRUE(OrvJpegDecoder(truncated).read(QSize()).isNull()) << cut;
        EXPECT_TRUE(OrvJpegDecoder(truncated).read(QSize(50, 38)).isNull()) << cut;
    }
    // Only the end marker missing: every pixel is there.
    EXPECT_FALSE(OrvJpegDecoder(whole.left(whole.size() - 2)).read(QSize()).isNull());

    // Junk in the coded data.
    QByteArray broken = whole;
    for (qsizetype i = scan + 200; i < scan + 260 && i < broken.size() - 2; ++i)
        broken[i] = char(0xFF);
    EXPECT_TRUE(OrvJpegDecoder(broken).read(QSize()).isNull());

    // Stray bytes before the end marker, as some cameras write: accepted.
    QByteArray stray = whole;
    stray.insert(stray.size() - 2, QByteArray("\x00\x00\x00", 3));
    EXPECT_FALSE(OrvJpegDecoder(stray).read(QSize()).isNull());

    // A signature followed by nothing of use, however long.
    QByteArray zeros("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00", 20);
    zeros.append(QByteArray(24 * 1024 * 1024, '\0'));
    OrvJpegDecoder empty(zeros);
    EXPECT_FALSE(empty.readHeader());
    EXPECT_FALSE(empty.errorString().isEmpty());
    EXPECT_FALSE(OrvJpegDecoder(QByteArray("\xFF\xD8\xFF", 3)).readHeader());
    EXPECT_FALSE(OrvJpegDecoder(QByteArray()).readHeader());
}

TEST(JpegDecoder, ReadsFromAUserFileAsFromMemory)
{
    QTemporaryDir dir;
    const QByteArray bytes = makeJpeg(640, 480, 6);
    const QString path = dir.filePath(QStringLiteral("a.jpg"));
    ASSERT_TRUE(writeFile(path, bytes));
    OrvUserFile file(path, OrvUserFile::Image);
    ASSERT_TRUE(file.open());
    OrvJpegDecoder fromFile(&file);
    ASSERT_TRUE(fromFile.readHeader());
    EXPECT_EQ(fromFile.orientation(), 6);
    EXPECT_EQ(fromFile.read(QSize(160, 120)), OrvJpegDecoder(bytes).read(QSize(160, 120)));

    ASSERT_TRUE(writeFile(path, bytes.left(bytes.size() * 2 / 3)));
    OrvUserFile cut(path, OrvUserFile::Image);
    ASSERT_TRUE(cut.open());
    EXPECT_TRUE(OrvJpegDecoder(&cut).read(QSize()).isNull());
}

TEST(JpegDecoder, HonoursQtsAllocationLimit)
{
    const QByteArray bytes = makeJpeg(2400, 1600);
    const int previous = QImageReader::allocationLimit();
    QImageReader::setAllocationLimit(1);
    EXPECT_TRUE(OrvJpegDecoder(bytes).read(QSize()).isNull());
    EXPECT_EQ(OrvJpegDecoder(bytes).read(QSize(300, 200)).size(), QSize(300, 200)) << "decoded at an eighth";
    QImageReader::setAllocationLimit(previous);
}
