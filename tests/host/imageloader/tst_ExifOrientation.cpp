// Finding and setting the orientation inside JPEG and TIFF bytes, checked with Exiv2.

#include "OrvExifOrientation.h"
#include "OrvJpegDecoder.h"
#include "OrvNativeMetaData.h"

#include "LoaderTestHelpers.h"

#include <gtest/gtest.h>

#include <QRandomGenerator>

using namespace OrvTest;

namespace {

const QFileInfo kName(QStringLiteral("photo.jpg"));

QByteArray segment(char marker, const QByteArray& body)
{
    const int length = int(body.size()) + 2;
    return QByteArray("\xFF", 1) + marker + char(length >> 8) + char(length & 0xFF) + body;
}

// A TIFF structure with a directory of one dummy tag and the orientation, in either byte order.
QByteArray tiff(bool little, int orientation)
{
    const auto u16 = [little](int v) {
        const char bytes[2] = {char(little ? v & 0xFF : v >> 8), char(little ? v >> 8 : v & 0xFF)};
        return QByteArray(bytes, 2);
    };
    const auto u32 = [&](int v) { return little ? u16(v & 0xFFFF) + u16(v >> 16) : u16(v >> 16) + u16(v & 0xFFFF); };
    QByteArray t = little ? QByteArray("II") : QByteArray("MM");
    t += u16(42) + u32(8) + u16(2);
    t += u16(0x010F) + u16(2) + u32(4) + QByteArray("Cam\0", 4);   // Make
    t += u16(0x0112) + u16(3) + u32(1) + u16(orientation) + u16(0); // Orientation
    t += u32(0);
    return t;
}

QByteArray withApp1(const QByteArray& jpeg, const QByteArray& app1)
{
    QByteArray result = jpeg;
    result.insert(2, segment(char(0xE1), app1));
    return result;
}

QByteArray applied(QByteArray bytes, const QList<OrvExifOrientation::Patch>& patches)
{
    for (const auto& patch : patches)
        bytes.replace(patch.offset, patch.bytes.size(), patch.bytes);
    return bytes;
}

int differingBytes(const QByteArray& a, const QByteArray& b)
{
    int count = 0;
    for (qsizetype i = 0; i < qMin(a.size(), b.size()); ++i)
        count += a.at(i) != b.at(i);
    return count + int(qAbs(a.size() - b.size()));
}

} // namespace

TEST(ExifOrientation, FoundAndSetToUprightInBothByteOrdersAndInXmp)
{
    const QByteArray plain = makeJpeg(64, 48);
    const QByteArray xmpAttribute = "http://ns.adobe.com/xap/1.0/" + QByteArray(1, '\0')
        + "<x:xmpmeta><rdf:Description tiff:Orientation=\"8\" tiff:Make=\"Cam\"/></x:xmpmeta>";
    const QByteArray xmpElement = "http://ns.adobe.com/xap/1.0/" + QByteArray(1, '\0')
        + "<x:xmpmeta><rdf:Description><tiff:Orientation>3</tiff:Orientation></rdf:Description></x:xmpmeta>";
    for (const bool little : {true, false}) {
        for (const QByteArray& xmp : {QByteArray(), xmpAttribute, xmpElement}) {
            SCOPED_TRACE(testing::Message() << (little ? "II" : "MM") << " xmp " << xmp.size());
            QByteArray jpeg = withApp1(plain, "Exif" + QByteArray(2, '\0') + tiff(little, 6));
            if (!xmp.isEmpty())
                jpeg.insert(2, segment(char(0xE1), xmp));
            ASSERT_EQ(OrvNativeMetaDataExiv2(kName, jpeg).exifOrientation(), 6);
            OrvJpegDecoder decoder(jpeg);
            ASSERT_TRUE(decoder.readHeader());
            EXPECT_EQ(decoder.orientation(), 6);

            const OrvExifOrientation::Scan scan = OrvExifOrientation::scan(jpeg);
            EXPECT_TRUE(scan.complete);
            EXPECT_EQ(scan.orientation, 6);
            const QByteArray upright = applied(jpeg, scan.upright);
            EXPECT_EQ(differingBytes(jpeg, upright), xmp.isEmpty() ? 1 : 2) << "the value, nothing else";
            EXPECT_EQ(OrvNativeMetaDataExiv2(kName, upright).exifOrientation(), 1);
            EXPECT_TRUE(OrvExifOrientation::scan(upright).upright.isEmpty());
            EXPECT_EQ(OrvJpegDecoder(upright).read(QSize()), OrvJpegDecoder(jpeg).read(QSize())) << "same pixels";
        }
    }
    // A TIFF file carries its directory at the start.
    const QByteArray tiffFile = tiff(false, 5) + QByteArray(100, '\0');
    const OrvExifOrientation::Scan scan = OrvExifOrientation::scan(tiffFile);
    EXPECT_TRUE(scan.complete);
    EXPECT_EQ(scan.orientation, 5);
    EXPECT_EQ(OrvExifOrientation::fromTiff(applied(tiffFile, scan.upright).constData(), tiffFile.size()), 1);
}

TEST(ExifOrientation, NothingToDoOrNothingKnown)
{
    const QByteArray plain = makeJpeg(64, 48);
    const OrvExifOrientation::Scan none = OrvExifOrientation::scan(plain);
    EXPECT_TRUE(none.complete);
    EXPECT_EQ(none.orientation, 0);
    EXPECT_TRUE(none.upright.isEmpty());
    const OrvExifOrientation::Scan one = OrvExifOrientation::scan(makeJpeg(64, 48, 1));
    EXPECT_TRUE(one.upright.isEmpty());

    // Other formats, and a head that stops inside the segments: not known, so left to Exiv2.
    EXPECT_FALSE(OrvExifOrientation::scan(encodeImage(QImage(8, 8, QImage::Format_RGB32), "png")).complete);
    const QByteArray rotated = makeJpeg(64, 48, 6);
    EXPECT_FALSE(OrvExifOrientation::scan(rotated.left(20)).complete);
    EXPECT_FALSE(OrvExifOrientation::scan(QByteArray()).complete);
    EXPECT_FALSE(OrvExifOrientation::scan("\xFF\xD8\x00\x00").complete);
    EXPECT_EQ(OrvExifOrientation::fromTiff("II*\0\xFF\xFF\xFF\x7F", 8), 0);
}

TEST(ExifOrientation, DamagedHeadsNeverPatchOutsideThemselves)
{
    const QByteArray rotated = withApp1(makeJpeg(64, 48), "Exif" + QByteArray(2, '\0') + tiff(true, 6));
    QRandomGenerator random(11);
    for (int round = 0; round < 2000; ++round) {
        QByteArray head = rotated.left(qsizetype(random.bounded(int(rotated.size()))) + 1);
        for (int i = 0, flips = int(random.bounded(6)); i < flips && !head.isEmpty(); ++i)
            head[qsizetype(random.bounded(int(head.size())))] = char(random.bounded(256));
        for (const auto& patch : OrvExifOrientation::scan(head).upright)
            ASSERT_TRUE(patch.offset >= 0 && patch.offset + patch.bytes.size() <= head.size());
    }
}
