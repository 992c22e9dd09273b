#include "LoaderTestHelpers.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"

#include <gtest/gtest.h>

#include <QColorSpace>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include "OrvExiv2Compat.h"
#include "OrvQtCompat.h"

#include <algorithm>
#include <thread>
#include <vector>

using namespace OrvTest;

namespace {

const QFileInfo kName(QStringLiteral("test.jpg"));

// Whether the raw EXIF of the bytes holds the key, looked at with Exiv2 itself.
bool hasExifKey(const QByteArray& bytes, const char* key)
{
    auto image = OrvExiv2::openImage(bytes);
    image->readMetadata();
    const Exiv2::ExifData& exif = image->exifData();
    return exif.findKey(Exiv2::ExifKey(key)) != exif.end();
}

OrvFotoMetaData sampleRecord()
{
    OrvFotoMetaData m;
    m.setPictureTaken(OrvQt::local(QDate(2021, 8, 15), QTime(14, 3, 27, 250)));
    m.setAdobeRating(4);
    m.setGeoPosition(OrvGeoPosition(-33.856784, 151.215297));
    m.setCameraMake(QStringLiteral("Orv"));
    m.setCameraModel(QStringLiteral("Model X"));
    m.setCaption(QStringLiteral("Harbour at dusk"));
    m.setOrientation(6);
    return m;
}

// The JPEG with the record written into it.
QByteArray storeInto(const OrvFotoMetaData& record, const QByteArray& jpeg)
{
    QByteArray bytes = jpeg;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadWrite);
    EXPECT_TRUE(OrvNativeMetaDataExiv2(record).store(&buffer));
    return bytes;
}

// A JPEG's marker segments up to the scan, and the scan with all that follows as the last entry.
QList<QByteArray> jpegSegments(const QByteArray& jpeg)
{
    QList<QByteArray> segments;
    qsizetype at = 2;
    while (at + 4 <= jpeg.size() && uchar(jpeg[at]) == 0xFF) {
        if (uchar(jpeg[at + 1]) == 0xDA) {
            segments.append(jpeg.mid(at));
            return segments;
        }
        const qsizetype length = (uchar(jpeg[at + 2]) << 8) | uchar(jpeg[at + 3]);
        segments.append(jpeg.mid(at, 2 + length));
        at += 2 + length;
    }
    return {};
}

QByteArray segment(uchar marker, const QByteArray& payload)
{
    const qsizetype length = payload.size() + 2;
    return QByteArray("\xFF") + char(marker) + char(length >> 8) + char(length & 0xFF) + payload;
}

// What Exiv2 writes itself: EXIF and XMP, IPTC, the comment (which it ends with a NUL).
bool isMetadataSegment(const QByteArray& segment)
{
    const uchar marker = uchar(segment[1]);
    return marker == 0xE1 || marker == 0xED || marker == 0xFE;
}

// ---------------------------------------------------------------------------

TEST(NativeMetaDataExiv2, WritingBackKeepsEverythingElseByteForByte)
{
    // A JPEG with what the metadata writer does not own: an ICC profile, a comment, the scan.
    const QByteArray plain = makeJpeg(96, 64);
    const QByteArray icc = QColorSpace(QColorSpace::DisplayP3).iccProfile();
    ASSERT_FALSE(icc.isEmpty());
    const QByteArray original = plain.left(2) + segment(0xFE, "kept as it is") +
                                segment(0xE2, QByteArray("ICC_PROFILE\0\x01\x01", 14) + icc) + plain.mid(2);
    const QList<QByteArray> before = jpegSegments(original);
    ASSERT_GE(before.size(), 5);

    const QByteArray stored = storeInto(sampleRecord(), original);
    const QList<QByteArray> after = jpegSegments(stored);
    ASSERT_FALSE(after.isEmpty());
    QList<QByteArray> kept;
    for (const QByteArray& each : after) {
        if (!isMetadataSegment(each))
            kept.append(each);
    }
    QList<QByteArray> expected;
    for (const QByteArray& each : before) {
        if (!isMetadataSegment(each))
            expected.append(each);
    }
    // Exiv2 may move segments ahead of others; their bytes and the scan stay as they were.
    ASSERT_FALSE(kept.isEmpty());
    EXPECT_EQ(kept.last(), expected.last());
    std::sort(kept.begin(), kept.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(kept, expected);
    auto image = OrvExiv2::openImage(stored);
    image->readMetadata();
    EXPECT_EQ(OrvExiv2::iccProfile(*image), icc);
    EXPECT_EQ(QByteArray::fromStdString(image->comment()).replace('\0', ""), "kept as it is");
    EXPECT_EQ(OrvNativeMetaDataExiv2(kName, stored).metaData().caption(), QStringLiteral("Harbour at dusk"));

    // Writing the same record again changes nothing at all.
    EXPECT_EQ(storeInto(sampleRecord(), stored), stored);
}

TEST(NativeMetaDataExiv2, ReadsOrientationAndSizeFromBytes)
{
    const OrvNativeMetaDataExiv2 native(kName, makeJpeg(300, 200, 6));
    ASSERT_TRUE(native.isValid());
    EXPECT_EQ(native.exifOrientation(), 6);
    const OrvFotoMetaData m = native.metaData();
    EXPECT_TRUE(m.isValid());
    EXPECT_TRUE(m.testFlag(OrvFotoMetaDataFromFile));
    EXPECT_EQ(m.orientation(), 6);
    EXPECT_EQ(m.preferredSize(), QSize(200, 300));

    const OrvNativeMetaDataExiv2 plain(kName, makeJpeg(300, 200));
    EXPECT_EQ(plain.exifOrientation(), 1);
    EXPECT_EQ(plain.metaData().preferredSize(), QSize(300, 200));
    EXPECT_FALSE(plain.metaData().pictureTaken().isValid());
}

TEST(NativeMetaDataExiv2, RecordRoundTripsThroughAJpeg)
{
    const OrvFotoMetaData record = sampleRecord();
    const QByteArray bytes = storeInto(record, makeJpeg(320, 240));

    const OrvFotoMetaData back = OrvNativeMetaDataExiv2(kName, bytes).metaData();
    ASSERT_TRUE(back.isValid());
    EXPECT_EQ(back.pictureTaken(), record.pictureTaken());
    EXPECT_EQ(back.adobeRating(), 4);
    ASSERT_TRUE(back.geoPosition().isValid());
    EXPECT_NEAR(back.geoPosition().latitude(), -33.856784, 1e-7);
    EXPECT_NEAR(back.geoPosition().longitude(), 151.215297, 1e-7);
    EXPECT_EQ(back.cameraMake(), QStringLiteral("Orv"));
    EXPECT_EQ(back.cameraModel(), QStringLiteral("Model X"));
    EXPECT_EQ(back.caption(), QStringLiteral("Harbour at dusk"));
    EXPECT_EQ(back.orientation(), 6);
    EXPECT_EQ(back.preferredSize(), QSize(240, 320));

    // The picture survives and the loader honours the written orientation.
    QByteArray copy = bytes;
    QBuffer buffer(&copy);
    buffer.open(QIODevice::ReadOnly);
    EXPECT_EQ(OrvMediaLoader::instance()->load(&buffer, QSize()).size(), QSize(240, 320));
}

TEST(NativeMetaDataExiv2, DatesKeepOffsetsAndPositionsKeepHemispheres)
{
    struct Case
    {
        QDateTime taken;
        OrvGeoPosition position;
    };
    const Case cases[] = {
        {OrvQt::utc(QDate(2000, 1, 1), QTime(0, 0)), OrvGeoPosition(0.0, 0.0)},
        {OrvQt::withOffset(QDate(2023, 12, 31), QTime(23, 59, 59), 5 * 3600 + 1800), OrvGeoPosition(64.1466, -21.9426)},
        {OrvQt::withOffset(QDate(1999, 6, 30), QTime(6, 7, 8), -8 * 3600), OrvGeoPosition(-54.8019, -68.3030)},
        {OrvQt::local(QDate(2010, 2, 3), QTime(4, 5, 6, 7)), OrvGeoPosition(89.999999, 179.999999)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.taken.toString(Qt::ISODateWithMs).toStdString());
        OrvFotoMetaData record;
        record.setPictureTaken(c.taken);
        record.setGeoPosition(c.position);
        const OrvFotoMetaData back = OrvNativeMetaDataExiv2(kName, storeInto(record, makeJpeg(64, 48))).metaData();
        EXPECT_EQ(back.pictureTaken(), c.taken);
        EXPECT_EQ(back.pictureTaken().offsetFromUtc(), c.taken.offsetFromUtc());
        EXPECT_NEAR(back.geoPosition().latitude(), c.position.latitude(), 1e-7);
        EXPECT_NEAR(back.geoPosition().longitude(), c.position.longitude(), 1e-7);
    }
}

TEST(NativeMetaDataExiv2, RatingsIncludingRejected)
{
    for (int rating : {-1, 0, 1, 5}) {
        OrvFotoMetaData record;
        record.setAdobeRating(rating);
        EXPECT_EQ(OrvNativeMetaDataExiv2(kName, storeInto(record, makeJpeg(64, 48))).metaData().adobeRating(), rating);
    }
    // Orientation 1 is the default and is not written at all.
    OrvFotoMetaData upright;
    upright.setOrientation(1);
    EXPECT_FALSE(hasExifKey(storeInto(upright, makeJpeg(64, 48)), "Exif.Image.Orientation"));
}

TEST(NativeMetaDataExiv2, ClearedRotationIsGoneAfterStoring)
{
    const QByteArray original = makeJpeg(400, 300, 6);
    OrvNativeMetaDataExiv2 native(kName, original);
    ASSERT_EQ(native.exifOrientation(), 6);
    native.clearExifRotation();
    EXPECT_EQ(native.exifOrientation(), 1);
    EXPECT_EQ(native.metaData().preferredSize(), QSize(400, 300));

    // Re-encoded pixels (as an export would make them), then the metadata.
    QByteArray bytes = encodeImage(QImage(400, 300, QImage::Format_RGB32), "jpeg", 80);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadWrite);
    buffer.seek(100);
    ASSERT_TRUE(native.store(&buffer));
    EXPECT_TRUE(buffer.isOpen());
    EXPECT_EQ(buffer.openMode() & ~QIODevice::Unbuffered, QIODevice::ReadWrite);
    EXPECT_EQ(buffer.pos(), 0);
    EXPECT_TRUE(hasExifKey(original, "Exif.Image.Orientation"));
    EXPECT_FALSE(hasExifKey(bytes, "Exif.Image.Orientation"));
    EXPECT_EQ(OrvNativeMetaDataExiv2(kName, bytes).exifOrientation(), 1);
    EXPECT_EQ(OrvMediaLoader::instance()->load(&buffer, QSize()).size(), QSize(400, 300));
}

TEST(NativeMetaDataExiv2, StoreKeepsTheBufferModeAndRefusesNonImages)
{
    const OrvNativeMetaDataExiv2 native(sampleRecord());

    // A write-only buffer must not be truncated by the swap.
    QBuffer writeOnly;
    writeOnly.open(QIODevice::WriteOnly);
    writeOnly.write(makeJpeg(64, 48));
    ASSERT_TRUE(native.store(&writeOnly));
    EXPECT_EQ(writeOnly.openMode() & ~QIODevice::Unbuffered, QIODevice::WriteOnly);
    EXPECT_EQ(writeOnly.pos(), 0);
    EXPECT_EQ(OrvNativeMetaDataExiv2(kName, writeOnly.data()).metaData().cameraModel(), QStringLiteral("Model X"));

    QBuffer closed;
    closed.setData(makeJpeg(64, 48));
    ASSERT_TRUE(native.store(&closed));
    EXPECT_FALSE(closed.isOpen());
    EXPECT_EQ(OrvNativeMetaDataExiv2(kName, closed.data()).exifOrientation(), 6);

    for (const QByteArray& junk : {QByteArray("not an image at all"), QByteArray(), makeJpeg(64, 48).left(2)}) {
        QByteArray bytes = junk;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadWrite);
        buffer.seek(bytes.size() / 2);
        const qint64 pos = buffer.pos();
        EXPECT_FALSE(native.store(&buffer));
        EXPECT_EQ(bytes, junk);
        EXPECT_EQ(buffer.pos(), pos);
    }
    EXPECT_FALSE(native.store(nullptr));

    // Nothing read, nothing to write.
    QBuffer image;
    image.setData(makeJpeg(64, 48));
    EXPECT_FALSE(OrvNativeMetaDataExiv2(kName, QByteArray("junk")).store(&image));
}

TEST(NativeMetaDataExiv2, ReadsFilesLikeBytes)
{
    QTemporaryDir dir;
    const QByteArray bytes = storeInto(sampleRecord(), makeJpeg(120, 80));
    const QString path = dir.filePath(QStringLiteral("with exif.jpg"));
    ASSERT_TRUE(writeFile(path, bytes));
    const OrvFotoMetaData fromFile = OrvNativeMetaDataExiv2(QFileInfo(path)).metaData();
    EXPECT_EQ(fromFile.caption(), QStringLiteral("Harbour at dusk"));
    EXPECT_EQ(fromFile, OrvNativeMetaDataExiv2(QFileInfo(path), bytes).metaData());
    EXPECT_FALSE(OrvNativeMetaDataExiv2(QFileInfo(dir.filePath(QStringLiteral("missing.jpg")))).isValid());
    // Relative names must not be taken for URLs.
    EXPECT_FALSE(OrvNativeMetaDataExiv2(QFileInfo(QStringLiteral("http://example.invalid/a.jpg"))).isValid());
    // Exiv2 reads through the host's opener: pipes and devices are refused, not waited on.
    const QString pipe = dir.filePath(QStringLiteral("pipe.jpg"));
    ASSERT_TRUE(makeFifo(pipe));
    EXPECT_FALSE(OrvNativeMetaDataExiv2(QFileInfo(pipe)).isValid());
    EXPECT_FALSE(OrvNativeMetaDataExiv2(QFileInfo(QStringLiteral("/dev/zero"))).isValid());
}

TEST(NativeMetaDataExiv2, HostileInputGivesAnInvalidOrHarmlessRecord)
{
    EXPECT_FALSE(OrvNativeMetaDataExiv2(kName, QByteArray()).isValid());
    EXPECT_FALSE(OrvNativeMetaDataExiv2(kName, QByteArray("GIF89a")).metaData().isValid());

    // Damage inside the EXIF block: counts, offsets and types go wild.
    const QByteArray jpeg = storeInto(sampleRecord(), makeJpeg(64, 48));
    const int app1 = jpeg.indexOf("Exif");
    ASSERT_GT(app1, 0);
    QRandomGenerator random(11);
    for (int round = 0; round < 300; ++round) {
        QByteArray damaged = jpeg;
        for (int i = 0; i < 4; ++i)
            damaged[app1 + 6 + random.bounded(400)] = char(random.bounded(256));
        OrvNativeMetaDataExiv2 native(kName, damaged);
        const OrvFotoMetaData m = native.metaData();
        EXPECT_GE(m.orientation(), 1);
        EXPECT_LE(m.orientation(), 8);
        EXPECT_LE(m.adobeRating(), 5);
        native.clearExifRotation();
        QBuffer target;
        target.setData(makeJpeg(32, 32));
        native.store(&target);
    }
}

TEST(NativeMetaDataExiv2, ConcurrentReadsAndWrites)
{
    const QByteArray source = storeInto(sampleRecord(), makeJpeg(200, 100));
    const OrvFotoMetaData expected = OrvNativeMetaDataExiv2(kName, source).metaData();
    std::vector<int> failures(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 30; ++i) {
                OrvFotoMetaData record = sampleRecord();
                record.setAdobeRating(-1);  // goes through XMP
                QBuffer buffer;
                buffer.setData(source);
                if (!OrvNativeMetaDataExiv2(record).store(&buffer))
                    ++failures[size_t(t)];
                const OrvNativeMetaDataExiv2 back(kName, buffer.data());
                if (back.metaData().adobeRating() != -1 || OrvNativeMetaDataExiv2(kName, source).metaData() != expected)
                    ++failures[size_t(t)];
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int t = 0; t < 4; ++t)
        EXPECT_EQ(failures[size_t(t)], 0) << "thread " << t;
}

} // namespace
