#include "OrvFotoMetaData.h"
#include "OrvNativeMetaData.h"
#include "OrvQtCompat.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

OrvFacePosition face(const char* id, const QRectF& rect) { return {QString::fromLatin1(id), QString(), rect}; }

void expectRectNear(const QRectF& actual, const QRectF& expected)
{
    EXPECT_NEAR(actual.x(), expected.x(), 1e-9);
    EXPECT_NEAR(actual.y(), expected.y(), 1e-9);
    EXPECT_NEAR(actual.width(), expected.width(), 1e-9);
    EXPECT_NEAR(actual.height(), expected.height(), 1e-9);
}

TEST(FotoMetaData, ValidOnceSetAndCopiesAreIndependent)
{
    OrvFotoMetaData a;
    EXPECT_FALSE(a.isValid());
    EXPECT_EQ(a.orientation(), 1);
    a.setCaption(QStringLiteral("first"));
    EXPECT_TRUE(a.isValid());

    OrvFotoMetaData b = a;
    EXPECT_EQ(a, b);
    b.setCaption(QStringLiteral("second"));
    b.setFlag(OrvFotoMetaDataEdited, true);
    EXPECT_EQ(a.caption(), QStringLiteral("first"));
    EXPECT_FALSE(a.testFlag(OrvFotoMetaDataEdited));
    EXPECT_NE(a, b);
    // Default records share their data; a setter must not leak into the others.
    EXPECT_FALSE(OrvFotoMetaData().isValid());
    EXPECT_TRUE(OrvFotoMetaData().caption().isEmpty());

    b.setAdobeRating(9);
    b.setOrientation(0);
    EXPECT_EQ(b.adobeRating(), 5);
    EXPECT_EQ(b.orientation(), 1);
}

TEST(FotoMetaDataFaces, PixelRectanglesBecomeFractionsAndFractionsStay)
{
    OrvFotoMetaData m;
    m.updateFaces(QSize(4000, 3000), {face("a", QRectF(1000, 750, 400, 300))});
    ASSERT_EQ(m.faces().size(), 1);
    expectRectNear(m.faces()[0].rect, QRectF(0.25, 0.25, 0.1, 0.1));

    const OrvFacePositions fractions{face("a", QRectF(0.1, 0.2, 0.3, 0.4)), face("b", QRectF(0.5, 0.5, 0.5, 0.5))};
    m.updateFaces(QSize(4000, 3000), fractions);
    EXPECT_EQ(m.faces(), fractions);
    m.updateFaces(QSize(), fractions);
    EXPECT_EQ(m.faces(), fractions);
}

TEST(FotoMetaDataFaces, BoxesAreClippedToTheImageAndBadNumbersDropped)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    OrvFotoMetaData m;
    m.updateFaces(QSize(), {face("edge", QRectF(0.8, -0.1, 0.4, 0.3)), face("flipped", QRectF(0.5, 0.5, -0.25, -0.25)),
                            face("nan", QRectF(nan, 0, 0.1, 0.1))});
    ASSERT_EQ(m.faces().size(), 3);
    expectRectNear(m.faces()[0].rect, QRectF(0.8, 0.0, 0.2, 0.2));
    expectRectNear(m.faces()[1].rect, QRectF(0.25, 0.25, 0.25, 0.25));
    EXPECT_TRUE(m.faces()[2].rect.isNull());
}

TEST(FotoMetaData, ByteCountFollowsTheContent)
{
    OrvFotoMetaData m;
    const qint64 empty = m.byteCount();
    m.setCaption(QString(1000, QLatin1Char('x')));
    EXPECT_GE(m.byteCount(), empty + 2000);
}

TEST(NativeMetaDataGeneric, GivesAValidRecordWithWhatWasSet)
{
    OrvNativeMetaDataGeneric native;
    EXPECT_TRUE(native.metaData().isValid());
    const QDateTime taken = OrvQt::utc(QDate(2019, 7, 14), QTime(18, 30));
    native.setPictureTaken(taken);
    native.setAdobeRating(4);
    native.setGeoPosition(OrvGeoPosition(48.85, 2.35));
    native.setPreferredSize(QSize(4032, 3024));

    const OrvFotoMetaData m(native);
    EXPECT_EQ(m.pictureTaken(), taken);
    EXPECT_EQ(m.adobeRating(), 4);
    EXPECT_EQ(m.geoPosition(), OrvGeoPosition(48.85, 2.35));
    EXPECT_EQ(m.preferredSize(), QSize(4032, 3024));
}

} // namespace
