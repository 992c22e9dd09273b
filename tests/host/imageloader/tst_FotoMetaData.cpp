#include "OrvFotoMetaData.h"
#include "OrvNativeMetaData.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

OrvFacePosition face(const QString& id, const QRectF& rect) { return OrvFacePosition{id, id.toUpper(), rect}; }

void expectRectNear(const QRectF& actual, const QRectF& expected)
{
    EXPECT_NEAR(actual.x(), expected.x(), 1e-9);
    EXPECT_NEAR(actual.y(), expected.y(), 1e-9);
    EXPECT_NEAR(actual.width(), expected.width(), 1e-9);
    EXPECT_NEAR(actual.height(), expected.height(), 1e-9);
}

TEST(FotoMetaData, DefaultIsInvalidAndEveryKindOfSetterMakesItValid)
{
    const OrvFotoMetaData empty;
    EXPECT_FALSE(empty.isValid());
    EXPECT_EQ(empty.orientation(), 1);
    EXPECT_EQ(empty.adobeRating(), 0);
    EXPECT_FALSE(empty.geoPosition().isValid());
    EXPECT_EQ(empty, OrvFotoMetaData());

    const std::function<void(OrvFotoMetaData&)> setters[] = {
        [](OrvFotoMetaData& m) { m.setPictureTaken(QDateTime(QDate(2020, 1, 2), QTime(3, 4))); },
        [](OrvFotoMetaData& m) { m.setPreferredSize(QSize(10, 20)); },
        [](OrvFotoMetaData& m) { m.setGeoPosition(OrvGeoPosition(1, 2)); },
        [](OrvFotoMetaData& m) { m.setAdobeRating(3); },
        [](OrvFotoMetaData& m) { m.setOrientation(6); },
        [](OrvFotoMetaData& m) { m.setCameraMake(QStringLiteral("Make")); },
        [](OrvFotoMetaData& m) { m.setCaption(QStringLiteral("Caption")); },
        [](OrvFotoMetaData& m) { m.updateFaces(QSize(), {}); },
    };
    for (const auto& set : setters) {
        OrvFotoMetaData m;
        set(m);
        EXPECT_TRUE(m.isValid());
        EXPECT_NE(m, empty);
    }
}

TEST(FotoMetaData, CopiesAreIndependent)
{
    OrvFotoMetaData a;
    a.setCaption(QStringLiteral("first"));
    OrvFotoMetaData b = a;
    EXPECT_EQ(a, b);
    b.setCaption(QStringLiteral("second"));
    b.setFlag(OrvFotoMetaDataEdited, true);
    EXPECT_EQ(a.caption(), QStringLiteral("first"));
    EXPECT_FALSE(a.testFlag(OrvFotoMetaDataEdited));
    EXPECT_NE(a, b);

    // Records made by default share nothing a setter could leak into.
    OrvFotoMetaData c;
    c.setAdobeRating(5);
    EXPECT_EQ(OrvFotoMetaData().adobeRating(), 0);
    EXPECT_FALSE(OrvFotoMetaData().isValid());
}

TEST(FotoMetaData, OutOfRangeValuesAreClamped)
{
    OrvFotoMetaData m;
    m.setAdobeRating(9);
    EXPECT_EQ(m.adobeRating(), 5);
    m.setAdobeRating(-7);
    EXPECT_EQ(m.adobeRating(), -1);
    m.setOrientation(0);
    EXPECT_EQ(m.orientation(), 1);
    m.setOrientation(9);
    EXPECT_EQ(m.orientation(), 1);
    m.setOrientation(8);
    EXPECT_EQ(m.orientation(), 8);
}

TEST(FotoMetaData, FlagsSetAndClearIndividually)
{
    OrvFotoMetaData m;
    m.setFlag(OrvFotoMetaDataFromFile | OrvFotoMetaDataLibraryAuthoritative, true);
    EXPECT_TRUE(m.testFlag(OrvFotoMetaDataFromFile));
    EXPECT_TRUE(m.testFlag(OrvFotoMetaDataLibraryAuthoritative));
    m.setFlag(OrvFotoMetaDataFromFile, false);
    EXPECT_FALSE(m.testFlag(OrvFotoMetaDataFromFile));
    EXPECT_TRUE(m.testFlag(OrvFotoMetaDataLibraryAuthoritative));
    EXPECT_EQ(m.flags(), OrvFotoMetaDataFlags(OrvFotoMetaDataLibraryAuthoritative));
    EXPECT_FALSE(m.testFlag(OrvFotoMetaDataNoFlag));
}

TEST(FotoMetaDataFaces, PixelRectanglesBecomeFractionsOfTheImage)
{
    OrvFotoMetaData m;
    m.updateFaces(QSize(4000, 3000), {face(QStringLiteral("a"), QRectF(1000, 750, 400, 300)),
                                      face(QStringLiteral("b"), QRectF(0, 0, 0.5, 0.5))});
    ASSERT_EQ(m.faces().size(), 2);
    expectRectNear(m.faces()[0].rect, QRectF(0.25, 0.25, 0.1, 0.1));
    // One pixel box means all are pixels.
    expectRectNear(m.faces()[1].rect, QRectF(0, 0, 0.5 / 4000, 0.5 / 3000));
    EXPECT_EQ(m.faces()[0].name, QStringLiteral("A"));
}

TEST(FotoMetaDataFaces, FractionsStayFractions)
{
    OrvFotoMetaData m;
    const OrvFacePositions fractions{face(QStringLiteral("a"), QRectF(0.1, 0.2, 0.3, 0.4)),
                                     face(QStringLiteral("b"), QRectF(0.5, 0.5, 0.5, 0.5))};
    m.updateFaces(QSize(4000, 3000), fractions);
    EXPECT_EQ(m.faces(), fractions);
    m.updateFaces(QSize(), fractions);
    EXPECT_EQ(m.faces(), fractions);
}

TEST(FotoMetaDataFaces, BoxesAreClippedToTheImageAndBadNumbersDropped)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    OrvFotoMetaData m;
    m.updateFaces(QSize(), {face(QStringLiteral("edge"), QRectF(0.8, -0.1, 0.4, 0.3)),
                            face(QStringLiteral("flipped"), QRectF(0.5, 0.5, -0.25, -0.25)),
                            face(QStringLiteral("nan"), QRectF(nan, 0, 0.1, 0.1))});
    ASSERT_EQ(m.faces().size(), 3);
    expectRectNear(m.faces()[0].rect, QRectF(0.8, 0.0, 0.2, 0.2));
    expectRectNear(m.faces()[1].rect, QRectF(0.25, 0.25, 0.25, 0.25));
    EXPECT_TRUE(m.faces()[2].rect.isNull());
    EXPECT_EQ(m.faces()[2].personId, QStringLiteral("nan"));
}

TEST(FotoMetaData, ByteCountFollowsTheContent)
{
    OrvFotoMetaData m;
    const qint64 empty = m.byteCount();
    EXPECT_GT(empty, 0);
    m.setCaption(QString(1000, QLatin1Char('x')));
    const qint64 withCaption = m.byteCount();
    EXPECT_GE(withCaption, empty + 2000);
    OrvFacePositions faces;
    for (int i = 0; i < 10; ++i)
        faces << face(QStringLiteral("person-%1").arg(i), QRectF(0, 0, 0.1, 0.1));
    m.updateFaces(QSize(), faces);
    EXPECT_GT(m.byteCount(), withCaption + 10 * qint64(sizeof(OrvFacePosition)));
}

TEST(NativeMetaDataGeneric, GivesAValidRecordWithWhatWasSet)
{
    OrvNativeMetaDataGeneric native;
    EXPECT_TRUE(native.metaData().isValid());
    const QDateTime taken(QDate(2019, 7, 14), QTime(18, 30), Qt::UTC);
    native.setPictureTaken(taken);
    native.setAdobeRating(4);
    native.setGeoPosition(OrvGeoPosition(48.85, 2.35));
    native.setPreferredSize(QSize(4032, 3024));

    const OrvFotoMetaData m(native);
    EXPECT_TRUE(m.isValid());
    EXPECT_EQ(m.pictureTaken(), taken);
    EXPECT_EQ(m.adobeRating(), 4);
    EXPECT_EQ(m.geoPosition(), OrvGeoPosition(48.85, 2.35));
    EXPECT_EQ(m.preferredSize(), QSize(4032, 3024));
    EXPECT_EQ(m, native.metaData());
}

} // namespace
