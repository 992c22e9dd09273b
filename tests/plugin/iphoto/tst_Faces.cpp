// Faces on fotos and the persons they belong to.

#include "IPhotoTestSupport.h"
#include "OrvIPhotoDatabaseParser.h"

#include <gtest/gtest.h>

#include <QRandomGenerator>

using namespace IPhotoTest;

namespace {

// The rectangle faceDetectorRegExp finds, flipped as the parser does; nullopt without a match.
std::optional<QRectF> byPattern(const QString& text)
{
    const QRegularExpressionMatch match = OrvIPhotoDatabaseParser(OrvExternalUrlBuilder()).faceDetectorRegExp().match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const double x = match.captured(1).toDouble();
    const double y = match.captured(2).toDouble();
    const double w = match.captured(3).toDouble();
    const double h = match.captured(4).toDouble();
    return QRectF(x, 1.0 - y - h, w, h);
}

std::optional<QRectF> byMatcher(const QString& text)
{
    QRectF rect(-7, -7, -7, -7);
    const QByteArray utf8 = text.toUtf8();
    if (!OrvIPhotoDatabaseParser::matchFaceRectangle(utf8, &rect))
        return std::nullopt;
    return rect;
}

QByteArray faceDict(const QByteArray& key, const QByteArray& rectangle)
{
    return "<dict>" + entry("face key", key, "integer") + entry("rectangle", rectangle) + "</dict>";
}

} // namespace

TEST(IPhotoFaces, PatternIsTheDocumentedOne)
{
    EXPECT_EQ(OrvIPhotoDatabaseParser(OrvExternalUrlBuilder()).faceDetectorRegExp().pattern(),
              QStringLiteral("\\{\\{\\s*(\\d+\\.\\d+),\\s*(\\d+\\.\\d+)\\s*\\}\\s*,\\s*\\{\\s*(\\d+\\.\\d+),\\s*(\\d+\\.\\d+)\\s*\\}\\}"));
}

TEST(IPhotoFaces, RectanglesFlipToTopLeft)
{
    EXPECT_EQ(byMatcher("{{0.25, 0.5}, {0.1, 0.15}}"), QRectF(0.25, 1.0 - 0.5 - 0.15, 0.1, 0.15));
    EXPECT_EQ(byMatcher("{{0.0, 0.0}, {1.0, 1.0}}"), QRectF(0, 0, 1, 1));
    EXPECT_EQ(byMatcher("{{0, 0}, {1, 1}}"), std::nullopt) << "numbers need a point";
    EXPECT_EQ(byMatcher("{ {0.1, 0.2}, {0.3, 0.4} }"), std::nullopt) << "outer braces must touch";
    EXPECT_EQ(byMatcher("{{0,1, 0.2}, {0.3, 0.4}}"), std::nullopt) << "decimal comma";
    EXPECT_EQ(byMatcher("{{-0.1, 0.2}, {0.3, 0.4}}"), std::nullopt) << "signs";
    EXPECT_EQ(byMatcher("{{1e-1, 0.2}, {0.3, 0.4}}"), std::nullopt) << "exponents";
    EXPECT_EQ(byMatcher("{{ 0.1,\t0.2 } ,\n{ 0.3,  0.4 }}"), QRectF(0.1, 1.0 - 0.2 - 0.4, 0.3, 0.4)) << "blanks where allowed";
    EXPECT_EQ(byMatcher("x {{0.1 , 0.2}, {0.3, 0.4}}"), std::nullopt) << "no blank before a comma";
    EXPECT_EQ(byMatcher("junk {{{0.1, 0.2}, {0.3, 0.4}}} more"), QRectF(0.1, 1.0 - 0.2 - 0.4, 0.3, 0.4)) << "found anywhere";
}

TEST(IPhotoFaces, RectangleKeyWithoutValue)
{
    // Found by fuzzing: a "rectangle" key closing its dict has no text at all.
    QRectF rect(1, 2, 3, 4);
    EXPECT_FALSE(OrvIPhotoDatabaseParser::matchFaceRectangle(QByteArrayView(), &rect));
    EXPECT_EQ(rect, QRectF(1, 2, 3, 4));
    const Snapshot result = parse(library("<key>Master Image List</key><dict>"
                                          + foto("1", "/a.jpg", "<key>Faces</key><array><dict><key>face key</key><string>1</string>"
                                                                "<key>rectangle</key></dict></array>")
                                          + "</dict>"));
    ASSERT_EQ(result.fotos.size(), 1);
    EXPECT_TRUE(result.fotos.first().endsWith("iphoto:face#1@0,0,0,0"));
}

TEST(IPhotoFaces, MatcherFindsWhatThePatternFinds)
{
    // The parser matches without compiling the pattern for every face; it must agree with it.
    QStringList texts{"{{0.25, 0.5}, {0.1, 0.15}}", "{{0.1, 0.2}, {0.3, 0.4}}{{0.5, 0.6}, {0.7, 0.8}}",
                      "{{{{0.1, 0.2}, {0.3, 0.4}}", "{{12.5, 0.2}, {0.3, 0.4}}", "{{0.1, 0.2}, {0.3, 0.4}",
                      "{{0.1, 0.2},{0.3,0.4}}", QString::fromUtf8("{{0.1,\u00a00.2}, {0.3, 0.4}}"),
                      QString::fromUtf8("{{٣.٣, 0.2}, {0.3, 0.4}}"), "{{0.1, 0.2}\v,\f{0.3, 0.4}}"};
    const QByteArray alphabet("{}{}{},,,  ..0123456789\t\n-e1x");
    QRandomGenerator random(7);
    const int seeds = int(texts.size());
    for (int i = 0; i < 6000; ++i) {
        QString text = texts.at(int(random.bounded(random.bounded(3) ? seeds : int(texts.size()))));
        const int edits = int(random.bounded(3));
        for (int e = 0; e < edits && !text.isEmpty(); ++e) {
            const int at = int(random.bounded(int(text.size())));
            if (random.bounded(2))
                text.remove(at, 1);
            else
                text.insert(at, QLatin1Char(alphabet.at(int(random.bounded(int(alphabet.size()))))));
        }
        texts.append(text);
    }
    int matched = 0;
    for (const QString& text : std::as_const(texts)) {
        const auto expected = byPattern(text);
        ASSERT_EQ(byMatcher(text), expected) << text.toStdString();
        matched += expected ? 1 : 0;
    }
    EXPECT_GT(matched, 600);
}

TEST(IPhotoFaces, FacesOfAFoto)
{
    const QByteArray bytes = library(
        "<key>Master Image List</key><dict>"
        + foto("1", "/a.jpg",
               "<key>Faces</key><array>" + faceDict("3", "{{0.25, 0.5}, {0.1, 0.15}}") + faceDict("9", "{{0, 0}, {1, 1}}")
                   + "<string>not a dict</string><dict>" + entry("rectangle", "{{0.1, 0.1}, {0.2, 0.2}}")
                   + entry("rectangle", "bad") + "</dict></array>")
        + "</dict>");
    OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
    parser.parseData(bytes);
    const OrvExternalFaceList faces = parser.fotos().find(OrvExternalId("iphoto", "foto", "1")).faces();
    ASSERT_EQ(faces.size(), 3) << "non-dict entries are skipped; faces without id or rectangle are kept";
    EXPECT_EQ(faces.at(0), OrvExternalFace(OrvExternalId("iphoto", "face", "3"), QRectF(0.25, 0.35, 0.1, 0.15)));
    EXPECT_EQ(faces.at(1), OrvExternalFace(OrvExternalId("iphoto", "face", "9"), QRectF(0, 0, 0, 0)));
    EXPECT_EQ(faces.at(2), OrvExternalFace(OrvExternalId(), QRectF(0.1, 0.7, 0.2, 0.2))) << "a later bad rectangle keeps the earlier";
}

TEST(IPhotoFaces, PersonsGetTheirFotos)
{
    const QByteArray persons = "<key>List of Faces</key><dict>"
                               "<key>3</key><dict>" + entry("name", "Ann") + entry("key", "3", "integer") + "</dict>"
                               "<key>4</key><dict>" + entry("name", "Bob") + entry("name", "Robert") + "</dict>"
                               "<key>5</key><dict>" + entry("email", "nobody") + "</dict>"
                               "</dict>";
    const QByteArray fotos = "<key>Master Image List</key><dict>"
        + foto("1", "/a.jpg", "<key>Faces</key><array>" + faceDict("3", "") + faceDict("3", "") + faceDict("77", "") + "</array>")
        + foto("2", "/b.jpg", "<key>Faces</key><array>" + faceDict("4", "") + faceDict("3", "") + "</array>")
        + foto("6", "/c.mov", "<key>Faces</key><array>" + faceDict("5", "") + "</array>", "Movie") + "</dict>";
    for (const QByteArray& body : {persons + fotos, fotos + persons}) {
        OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
        parser.parseData(library(body));
        const OrvExternalAlbumPool pool = parser.persons();
        ASSERT_EQ(pool.size(), 3);
        const OrvExternalAlbum ann = pool.find(OrvExternalId("iphoto", "face", "3"));
        EXPECT_EQ(ann.name(), QStringLiteral("Ann"));
        EXPECT_EQ(ann.type().code(), OrvExternalAlbumType::Person);
        EXPECT_EQ(ann.fotoIds(), (OrvExternalIdList{OrvExternalId("iphoto", "foto", "1"), OrvExternalId("iphoto", "foto", "2")}))
            << "two faces of Ann on one foto add it once";
        EXPECT_EQ(pool.find(OrvExternalId("iphoto", "face", "4")).name(), QStringLiteral("Robert"));
        const OrvExternalAlbum nobody = pool.find(OrvExternalId("iphoto", "face", "5"));
        EXPECT_TRUE(nobody.name().isEmpty());
        EXPECT_TRUE(nobody.fotoIds().isEmpty()) << "faces on movies do not count";
        EXPECT_FALSE(pool.contains(OrvExternalId("iphoto", "face", "77"))) << "unknown persons make no album";
        EXPECT_EQ(parser.fotos().find(OrvExternalId("iphoto", "foto", "1")).faces().size(), 3) << "the unknown face stays on the foto";
    }
}
