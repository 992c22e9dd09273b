// The library reader: albums, fotos, dates, ratings and the odd corners of
// the file format, checked directly and against a plain DOM walk.

#include "IPhotoTestSupport.h"
#include "OrvIPhotoDatabaseParser.h"
#include "OrvQtCompat.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QRandomGenerator>
#include <QSet>

using namespace IPhotoTest;

namespace {

OrvExternalFotoPool fotosOf(const QByteArray& bytes)
{
    OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
    parser.parseData(bytes);
    return parser.fotos();
}

OrvExternalAlbumPool albumsOf(const QByteArray& bytes)
{
    OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
    parser.parseData(bytes);
    return parser.albums();
}

OrvExternalFoto onlyFoto(const QByteArray& fotoDictBody)
{
    const OrvExternalFotoPool pool = fotosOf(library("<key>Master Image List</key><dict><key>7</key><dict>" + fotoDictBody + "</dict></dict>"));
    return pool.size() == 1 ? pool.fotos().first() : OrvExternalFoto();
}

quint32 typeOfAlbum(const QByteArray& albumDictBody)
{
    const OrvExternalAlbumPool pool = albumsOf(library("<key>List of Albums</key><array><dict>" + albumDictBody + "</dict></array>"));
    return pool.size() == 1 ? pool.albums().first().type().code() : 99999;
}

} // namespace

TEST(IPhotoParserAlbums, TypeRules)
{
    const QByteArray id = entry("AlbumId", "1", "integer");
    using Type = OrvExternalAlbumType;
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Regular")), Type::Regular);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Smart")), Type::Regular);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Event")), Type::Event);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "1")), Type::Regular);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "2")), Type::Regular);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "3")), Type::Special);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "4")), Type::Regular);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "5")), Type::Other);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Special Roll")), Type::Special);
    // The rule is "ends with Month": iPhoto's type text of "Last 12 Months" is "Special Month".
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Last 12 Months")), Type::Other);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Special Month")), Type::Special);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Flagged Event Photos")), Type::Special);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "month")), Type::Other) << "case-sensitive";
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Months ago")), Type::Other) << "Month only counts at the end";
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "regular")), Type::Other);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Folder")), Type::Other);
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "")), Type::Untitled);
    EXPECT_EQ(typeOfAlbum(id), Type::Special) << "no Album Type key at all";
    EXPECT_EQ(typeOfAlbum(id + "<key>Album Type</key>"), Type::Untitled) << "a key without value reads as empty text";
    EXPECT_EQ(typeOfAlbum(id + entry("Album Type", "Event") + entry("Album Type", "Regular")), Type::Regular)
        << "later key wins";
}

TEST(IPhotoParserAlbums, IdsNamesAndKeyLists)
{
    const OrvExternalAlbumPool pool = albumsOf(library(
        "<key>List of Albums</key><array>" + album("5", "Holidays", "Regular", {"1", "2", "1"})
        + album("6", "Second", "Regular", {"2"}) + "<dict>" + entry("AlbumName", "no id") + "</dict>"
        + "<dict>" + entry("AlbumId", "8", "integer") + entry("AlbumId", "9", "integer") + entry("AlbumName", "a")
        + entry("AlbumName", "b") + "<key>KeyList</key><array><string>1</string></array>"
        + "<key>KeyList</key><array><string>3</string></array></dict>" + "</array>"));
    ASSERT_EQ(pool.size(), 3) << "the album without AlbumId is dropped";
    const OrvExternalAlbum holidays = pool.find(OrvExternalId("iphoto", "album", "5"));
    EXPECT_EQ(holidays.name(), QStringLiteral("Holidays"));
    EXPECT_EQ(holidays.fotoIds(), (OrvExternalIdList{OrvExternalId("iphoto", "foto", "1"), OrvExternalId("iphoto", "foto", "2"),
                                                     OrvExternalId("iphoto", "foto", "1")}))
        << "duplicates stay";
    const OrvExternalAlbum twice = pool.find(OrvExternalId("iphoto", "album", "9"));
    EXPECT_TRUE(twice.isValid());
    EXPECT_FALSE(pool.contains(OrvExternalId("iphoto", "album", "8")));
    EXPECT_EQ(twice.name(), QStringLiteral("b"));
    EXPECT_EQ(twice.fotoIds().size(), 2) << "a second KeyList appends";
}

TEST(IPhotoParserAlbums, MovieKeysStayInKeyLists)
{
    const QByteArray bytes = library("<key>List of Albums</key><array>" + album("1", "A", "Regular", {"10", "11"})
                                     + "</array><key>Master Image List</key><dict>" + foto("10", "/p/a.jpg")
                                     + foto("11", "/p/b.mov", {}, "Movie") + "</dict>");
    OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
    parser.parseData(bytes);
    EXPECT_EQ(parser.fotos().size(), 1);
    EXPECT_FALSE(parser.fotos().contains(OrvExternalId("iphoto", "foto", "11")));
    EXPECT_EQ(parser.albums().albums().first().fotoIds().size(), 2);
}

TEST(IPhotoParserAlbums, FoldersAreAlbumsOfTheirOwnAndParentsAreNotRead)
{
    // Which album sits in which folder is the host's business: the reader lists every album flat.
    const QByteArray parented = album("11", "Lake", "Regular", {"1"});
    QByteArray inFolder = parented;
    inFolder.insert(inFolder.lastIndexOf("</dict>"), entry("Parent", "10", "integer"));
    const QByteArray bytes = library("<key>Master Image List</key><dict>" + foto("1", "/a.jpg")
                                     + "</dict><key>List of Albums</key><array>" + album("10", "Holidays", "Folder", {})
                                     + inFolder + "</array>");
    const OrvExternalAlbumPool pool = albumsOf(bytes);
    ASSERT_EQ(pool.size(), 2);
    for (const OrvExternalAlbum& each : pool.albums())
        EXPECT_FALSE(each.parentAlbum().isValid()) << qPrintable(each.name());
    EXPECT_EQ(pool.children(OrvExternalId()).size(), 2);
    EXPECT_EQ(pool.find(OrvExternalId("iphoto", "album", "10")).type().code(), quint32(OrvExternalAlbumType::Other));
    EXPECT_EQ(parse(bytes), parseWithDom(bytes));
    EXPECT_EQ(parse(bytes).albums.last(), QStringLiteral("iphoto:album#11|Lake|1|iphoto:foto#1"));
    EXPECT_EQ(parse(library("<key>List of Albums</key><array>" + parented + "</array>")).albums, parse(library("<key>List of Albums</key><array>" + inFolder + "</array>")).albums);
}

TEST(IPhotoParserFotos, MediaTypeMustBeExactlyImage)
{
    EXPECT_TRUE(onlyFoto(entry("MediaType", "Image")).isValid());
    EXPECT_FALSE(onlyFoto(entry("MediaType", "image")).isValid());
    EXPECT_FALSE(onlyFoto(entry("MediaType", " Image")).isValid());
    EXPECT_FALSE(onlyFoto(entry("MediaType", "Movie")).isValid());
    EXPECT_FALSE(onlyFoto(entry("ImagePath", "/a.jpg")).isValid()) << "no MediaType at all";
    EXPECT_FALSE(onlyFoto(entry("MediaType", "Image") + entry("MediaType", "Movie")).isValid()) << "later key wins";
    EXPECT_TRUE(onlyFoto(entry("MediaType", "Movie") + entry("MediaType", "Image")).isValid());
    EXPECT_FALSE(onlyFoto(entry("MediaType", "Image") + "<key>MediaType</key>").isValid()) << "key without value";
}

TEST(IPhotoParserFotos, FilesNameAndThumbnail)
{
    const OrvExternalFoto foto =
        onlyFoto(entry("MediaType", "Image") + entry("ImagePath", "/lib/Masters/IMG_0001.JPG") + entry("ThumbPath", "/lib/Thumbs/1.jpg"));
    ASSERT_TRUE(foto.isValid());
    EXPECT_EQ(foto.id(), OrvExternalId("iphoto", "foto", "7"));
    EXPECT_EQ(foto.name(), QStringLiteral("IMG_0001.JPG"));
    EXPECT_EQ(foto.dataUrl(QSize(3000, 2000)), QUrl::fromLocalFile("/lib/Masters/IMG_0001.JPG"));
    EXPECT_EQ(foto.dataUrl(QSize(200, 200)), QUrl::fromLocalFile("/lib/Thumbs/1.jpg"));
    // Texts are taken as they stand: no trimming, no "~".
    const OrvExternalFoto raw = onlyFoto(entry("MediaType", "Image") + entry("ImagePath", " ~/x.jpg"));
    EXPECT_EQ(raw.name(), QStringLiteral("x.jpg"));
    EXPECT_EQ(dynamic_cast<const OrvExternalFotoImplDataLocalDatabase*>(raw.data())->imagePath(), QStringLiteral(" ~/x.jpg"));
}

TEST(IPhotoParserFotos, RatingsTruncate)
{
    auto ratingOf = [](const QByteArray& text) { return onlyFoto(entry("MediaType", "Image") + entry("Rating", text, "integer")).adobeRating(); };
    EXPECT_EQ(ratingOf("3.0"), 3);
    EXPECT_EQ(ratingOf("4.7"), 4);
    EXPECT_EQ(ratingOf("-1.9"), -1);
    EXPECT_EQ(ratingOf("five"), 0);
    EXPECT_EQ(ratingOf(""), 0);
    EXPECT_EQ(ratingOf("1e300"), 0) << "out of range";
    EXPECT_EQ(ratingOf("nan"), 0);
    EXPECT_EQ(ratingOf(" 2 "), 2);
}

TEST(IPhotoParserFotos, DatesCountFromLocalMidnight2001)
{
    for (const char* zone : {"UTC", "Europe/Berlin", "America/Los_Angeles", "Asia/Kolkata"}) {
        const OrvTest::TimeZone timeZone(zone);
        auto dateOf = [](const QByteArray& text) {
            return onlyFoto(entry("MediaType", "Image") + entry("DateAsTimerInterval", text, "real")).taken();
        };
        const QDateTime midnight = dateOf("0");
        EXPECT_EQ(midnight.timeSpec(), Qt::LocalTime) << zone;
        EXPECT_EQ(midnight.date(), QDate(2001, 1, 1)) << zone;
        EXPECT_EQ(midnight.time(), QTime(0, 0, 0)) << zone;
        EXPECT_EQ(dateOf("86399.9").time(), QTime(23, 59, 59)) << zone;
        EXPECT_EQ(dateOf("-0.9"), midnight) << "toward zero";
        EXPECT_EQ(dateOf("-1.5"), midnight.addSecs(-1)) << zone;
        EXPECT_EQ(dateOf("not a number"), midnight) << zone;
        // Far into summer time: still the epoch plus the seconds.
        EXPECT_EQ(dateOf("420000000"), OrvIPhotoDatabaseParser::iPhotoEpoch().addSecs(420000000)) << zone;
        EXPECT_FALSE(dateOf("1e20").isValid());
    }
    EXPECT_FALSE(onlyFoto(entry("MediaType", "Image")).taken().isValid()) << "no date key: no date";
}

TEST(IPhotoParserAlbums, MidnightOfNewYearOpensTheNewYearsFirstMonth)
{
    for (const char* zone : {"UTC", "Pacific/Kiritimati", "America/Adak"}) {
        const OrvTest::TimeZone timeZone(zone);
        const QDateTime epoch = OrvIPhotoDatabaseParser::iPhotoEpoch();
        auto at = [&](const QDateTime& moment) {
            return entry("DateAsTimerInterval", QByteArray::number(epoch.secsTo(moment)), "real");
        };
        const QDateTime newYear = OrvQt::local(QDate(2021, 1, 1), QTime(0, 0));
        const QByteArray fotos = foto("1", "/a.jpg", at(newYear)) + foto("2", "/b.jpg", at(newYear.addSecs(-1)))
            + foto("3", "/c.jpg", at(OrvQt::local(QDate(2000, 1, 1), QTime(0, 0))));
        OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
        parser.parseData(library("<key>Master Image List</key><dict>" + fotos + "</dict>"));
        QStringList months;
        for (const OrvExternalAlbum& album : parser.dataPool().albums()) {
            QStringList keys;
            for (const OrvExternalId& id : album.fotoIds())
                keys.append(id.remoteId());
            months.append(album.id().remoteId() + QLatin1Char(':') + keys.join(QLatin1Char(',')));
        }
        EXPECT_EQ(months, (QStringList{QStringLiteral("2021-01:1"), QStringLiteral("2020-12:2"), QStringLiteral("2000-01:3")}))
            << zone;
    }
}

TEST(IPhotoParserFotos, DatesEqualEpochAddSecsAcrossTransitions)
{
    const OrvTest::TimeZone timeZone("Europe/Berlin");
    const QDateTime epoch = OrvIPhotoDatabaseParser::iPhotoEpoch();
    // Around the spring and autumn changes of 2010 and some random seconds.
    QList<qint64> seconds{291430799, 291430800, 291434400, 309574799, 309574800, 309578400, -86400 * 365};
    for (int i = 0; i < 200; ++i)
        seconds.append(qint64(QRandomGenerator::global()->bounded(1000000000)) - 200000000);
    for (qint64 s : seconds) {
        const QDateTime date = OrvIPhotoDatabaseParser::fotoDate(QByteArray::number(s));
        EXPECT_EQ(date, epoch.addSecs(s));
        EXPECT_EQ(date.toString(Qt::ISODate), epoch.addSecs(s).toString(Qt::ISODate)) << s;
    }
}

TEST(IPhotoParserDocument, SectionOrderDoesNotMatter)
{
    const QByteArray albums = "<key>List of Albums</key><array>" + album("1", "A", "Regular", {"10"}) + "</array>";
    const QByteArray fotos = "<key>Master Image List</key><dict>" + foto("10", "/p/a.jpg") + "</dict>";
    const QByteArray persons = "<key>List of Faces</key><dict><key>3</key><dict>" + entry("name", "Ann") + "</dict></dict>";
    const Snapshot one = parse(library(albums + fotos + persons));
    const Snapshot two = parse(library(fotos + persons + albums));
    EXPECT_EQ(one, two) << one.toString().toStdString() << "\n" << two.toString().toStdString();
    EXPECT_EQ(one.fotos.size(), 1);
    EXPECT_EQ(one.albums.size(), 1);
    EXPECT_EQ(one.persons.size(), 1);
}

TEST(IPhotoParserDocument, OnlyTheFirstTopDictCounts)
{
    const QByteArray bytes = "<plist><array/><dict><key>Master Image List</key><dict>" + foto("1", "/a.jpg")
        + "</dict></dict><dict><key>Master Image List</key><dict>" + foto("2", "/b.jpg") + "</dict></dict></plist>";
    const Snapshot result = parse(bytes);
    ASSERT_EQ(result.fotos.size(), 1);
    EXPECT_TRUE(result.fotos.first().startsWith("iphoto:foto#1|"));
}

TEST(IPhotoParserDocument, KeyCanBeTheValueOfTheKeyBefore)
{
    // "ImagePath" takes the next element whatever it is: here the key "MediaType",
    // which then pairs with its own next element.
    const OrvExternalFoto foto = onlyFoto("<key>ImagePath</key><key>MediaType</key><string>Image</string>");
    ASSERT_TRUE(foto.isValid());
    EXPECT_EQ(foto.name(), QStringLiteral("MediaType"));
    // The value of an entry of "Master Image List" may itself be a key.
    const Snapshot chain = parse(library("<key>Master Image List</key><dict><key>1</key><key>2</key><dict>"
                                         + entry("MediaType", "Image") + "</dict></dict>"));
    ASSERT_EQ(chain.fotos.size(), 1);
    EXPECT_TRUE(chain.fotos.first().startsWith("iphoto:foto#2|"));
}

TEST(IPhotoParserDocument, TextIsTheWholeTextContent)
{
    // Text split by comments, child elements, CDATA and references still matches the key.
    const OrvExternalFoto foto = onlyFoto("<key>Media<!-- x -->Type</key><string>Im<b>a</b>g<![CDATA[e]]></string>"
                                          "<key>Image&#80;ath</key><string>/a &amp; b/c.jpg</string>");
    ASSERT_TRUE(foto.isValid());
    EXPECT_EQ(foto.name(), QStringLiteral("c.jpg"));
    EXPECT_EQ(dynamic_cast<const OrvExternalFotoImplDataLocalDatabase*>(foto.data())->imagePath(), QStringLiteral("/a & b/c.jpg"));
    // Runs of blanks between markup are no text; blanks inside text are.
    EXPECT_TRUE(onlyFoto("<key>MediaType</key><string> <b/>Image</string>").isValid());
    EXPECT_FALSE(onlyFoto("<key>MediaType</key><string>Image <b/></string>").isValid());
    EXPECT_TRUE(onlyFoto("<key>MediaType</key><string>\n\t<b/>Image<c/>  \n</string>").isValid());
}

TEST(IPhotoParserDocument, BrokenFilesGiveNothing)
{
    const QByteArray good = library("<key>Master Image List</key><dict>" + foto("1", "/a.jpg") + "</dict>");
    EXPECT_EQ(parse(good).fotos.size(), 1);
    EXPECT_TRUE(parse(good.left(good.size() - 12)).isEmpty()) << "truncated";
    EXPECT_TRUE(parse(good + "<more/>").isEmpty()) << "content after the document";
    EXPECT_TRUE(parse(QByteArray()).isEmpty());
    EXPECT_TRUE(parse("not xml at all").isEmpty());
    EXPECT_TRUE(parse(QByteArray(good).replace("/a.jpg", "/\xff\xfe.jpg")).isEmpty()) << "not UTF-8";
    EXPECT_TRUE(parse(QByteArray(good).replace("<dict>", "<dict foo>")).isEmpty());
    OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
    parser.parse(QFileInfo("/nonexistent/AlbumData.xml"));
    EXPECT_EQ(parser.fotos().size(), 0);
    parser.parse(QFileInfo());
    EXPECT_EQ(parser.fotos().size(), 0);
}

TEST(IPhotoParserDocument, WrongElementKinds)
{
    // Sections whose values are not what the format has: read as far as the rules go, no crash.
    const Snapshot result = parse(library("<key>List of Albums</key><string>x</string>"
                                          "<key>Master Image List</key><array><dict/></array>"
                                          "<key>List of Faces</key><key>dangling</key>"));
    EXPECT_TRUE(result.fotos.isEmpty());
    EXPECT_TRUE(result.albums.isEmpty());
    // A dangling person key pairs with nothing: a person without a name.
    const Snapshot dangling = parse(library("<key>List of Faces</key><dict><key>4</key></dict>"));
    EXPECT_EQ(dangling.persons, QStringList{"iphoto:face#4||2|"});
}

TEST(IPhotoParserDocument, UTF16AndLatin1FilesAreRead)
{
    const QString text = QString::fromUtf8(library("<key>Master Image List</key><dict>" + foto("1", "/ä.jpg") + "</dict>"));
    QByteArray utf16("\xff\xfe", 2);
    const QString declared = QString(text).replace(QStringLiteral("UTF-8"), QStringLiteral("UTF-16"));
    utf16.append(reinterpret_cast<const char*>(declared.utf16()), declared.size() * 2);
    EXPECT_EQ(parse(utf16).fotos.size(), 1);
    const QByteArray latin1 = QString(text).replace(QStringLiteral("UTF-8"), QStringLiteral("ISO-8859-1")).toLatin1();
    const Snapshot result = parse(latin1);
    ASSERT_EQ(result.fotos.size(), 1);
    EXPECT_TRUE(result.fotos.first().contains(QStringLiteral("/ä.jpg")));
}

TEST(IPhotoParserDocument, ParseTwiceAddsUp)
{
    OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
    parser.parseData(library("<key>Master Image List</key><dict>" + foto("1", "/a.jpg") + "</dict>"));
    parser.parseData(library("<key>Master Image List</key><dict>" + foto("2", "/b.jpg") + "</dict>"));
    EXPECT_EQ(parser.fotos().size(), 2);
}

// The streaming reader against the plain DOM walk, on documents that mix the
// format's keys with every oddity the rules allow.
namespace {

class RandomLibrary
{
public:
    explicit RandomLibrary(quint32 seed) : myRandom(seed) {}

    QByteArray document()
    {
        QByteArray body;
        const int sections = int(myRandom.bounded(5));
        for (int i = 0; i < sections; ++i)
            body += pick({"<key>List of Albums</key>" + array(), "<key>Master Image List</key>" + fotoDict(),
                          "<key>List of Faces</key>" + personsDict(), noise(), "<key>Master Image List</key>" + noise()});
        return pick({QByteArray("<plist>"), QByteArray("<plist><!-- c --><x/>")}) + "<dict>" + body + "</dict></plist>";
    }

private:
    QByteArray pick(const QList<QByteArray>& choices) { return choices.at(int(myRandom.bounded(int(choices.size())))); }
    bool chance(int percent) { return int(myRandom.bounded(100)) < percent; }

    QByteArray text()
    {
        QByteArray t = pick({"1", "2", "17", "", " ", "Image", "Movie", "Regular", "Event", "Last 12 Months",
                             "Special Roll", "/a/b.jpg", "/t/1.jpg", "3.7", "-2", "86399.9", "{{0.25, 0.5}, {0.1, 0.15}}",
                             "{{0, 0}, {1, 1}}", "x &amp; y", "a<!--c-->b", "<![CDATA[ ]]>", "Ann", "\n\t"});
        if (chance(10))
            t = "<i>" + t + "</i>" + pick({"", " ", "z"});
        return t;
    }
    QByteArray key(const QList<QByteArray>& names)
    {
        return "<key>" + (chance(85) ? names.at(int(myRandom.bounded(int(names.size())))) : text()) + "</key>";
    }
    QByteArray value()
    {
        if (chance(10))
            return key({"MediaType", "ImagePath", "1"});
        const QByteArray tag = pick({"string", "integer", "real"});
        return "<" + tag + ">" + text() + "</" + tag + ">";
    }
    QByteArray pair(const QList<QByteArray>& names)
    {
        QByteArray result = key(names);
        if (chance(92))
            result += value();
        return result + (chance(20) ? "\n  " : "");
    }
    QByteArray noise() { return chance(50) ? QByteArray("<!-- n -->") : value(); }
    QByteArray array()
    {
        QByteArray result = "<array>";
        const int count = int(myRandom.bounded(4));
        for (int i = 0; i < count; ++i)
            result += chance(85) ? albumDict() : noise();
        return result + "</array>";
    }
    QByteArray albumDict()
    {
        QByteArray result = chance(90) ? "<dict>" : "<key>";
        const int count = int(myRandom.bounded(6));
        for (int i = 0; i < count; ++i) {
            if (chance(20)) {
                result += "<key>KeyList</key><array>";
                const int keys = int(myRandom.bounded(4));
                for (int k = 0; k < keys; ++k)
                    result += "<string>" + text() + "</string>";
                result += "</array>";
            } else {
                result += pair({"AlbumId", "AlbumName", "Album Type", "Parent"});
            }
        }
        return result + (result.startsWith("<dict>") ? "</dict>" : "</key>");
    }
    QByteArray fotoDict()
    {
        QByteArray result = "<dict>";
        const int count = int(myRandom.bounded(5));
        for (int i = 0; i < count; ++i) {
            result += key({"1", "2", "3", "4"});
            if (chance(90)) {
                result += "<dict>";
                const int keys = int(myRandom.bounded(8));
                for (int k = 0; k < keys; ++k) {
                    if (chance(15))
                        result += "<key>Faces</key><array>" + faceDict() + faceDict() + noise() + "</array>";
                    else if (chance(40))
                        result += "<key>MediaType</key><string>Image</string>";
                    else
                        result += pair({"ImagePath", "ThumbPath", "DateAsTimerInterval", "Rating", "MediaType"});
                }
                result += "</dict>";
            }
        }
        return result + "</dict>";
    }
    QByteArray faceDict()
    {
        return "<dict>" + pair({"face key"}) + pair({"rectangle"}) + (chance(30) ? pair({"face key", "rectangle"}) : "") + "</dict>";
    }
    QByteArray personsDict()
    {
        QByteArray result = "<dict>";
        const int count = int(myRandom.bounded(4));
        for (int i = 0; i < count; ++i) {
            result += key({"1", "2", "17", "25"});
            if (chance(85))
                result += "<dict>" + pair({"name"}) + (chance(30) ? pair({"name", "other"}) : "") + "</dict>";
        }
        return result + "</dict>";
    }

    QRandomGenerator myRandom;
};

} // namespace

TEST(IPhotoParserDocument, AgreesWithDomWalk)
{
    int compared = 0;
    int split = 0;
    for (quint32 seed = 1; seed <= 600; ++seed) {
        const QByteArray document = RandomLibrary(seed).document();
        const Snapshot streamed = parse(document);
        const Snapshot walked = parseWithDom(document);
        ASSERT_EQ(streamed, walked) << "seed " << seed << "\n" << document.toStdString() << "\nstreamed:\n"
                                    << streamed.toString().toStdString() << "\nDOM:\n" << walked.toString().toStdString();
        // Read in two halves wherever the middle looks like a foto entry boundary.
        int readers = 0;
        const Snapshot halves = parseInHalves(document, &readers);
        ASSERT_EQ(halves, walked) << "seed " << seed << " readers " << readers << "\n" << document.toStdString()
                                  << "\nhalves:\n" << halves.toString().toStdString();
        split += readers == 2 ? 1 : 0;
        compared += streamed.isEmpty() ? 0 : 1;
    }
    EXPECT_GT(compared, 250) << "most documents should hold something";
    EXPECT_GT(split, 20) << "some documents should be read in two halves";
}

namespace {

// A library of every kind of entry with foto entries worth at least fotoBytes;
// caption(i) is the caption of the i-th foto.
QByteArray largeLibrary(qint64 fotoBytes, const std::function<QByteArray(int)>& caption)
{
    QByteArray fotos;
    QByteArray albums;
    QList<QByteArray> allKeys;
    for (int i = 1; fotos.size() < fotoBytes; ++i) {
        const QByteArray key = QByteArray::number(i);
        allKeys.append(key);
        QByteArray more = entry("DateAsTimerInterval", QByteArray::number(300000000 + i * 3607.5), "real")
            + entry("Rating", QByteArray::number(i % 6), "integer") + entry("ThumbPath", "/t/" + key + ".jpg")
            + entry("Caption", caption(i));
        if (i % 3 == 0) {
            more += "<key>Faces</key><array><dict>" + entry("face key", QByteArray::number(i % 7), "integer")
                + entry("rectangle", "{{0." + QByteArray::number(i % 9) + ", 0.5}, {0.1, 0.15}}") + "</dict></array>";
        }
        fotos += foto(key, "/lib/Masters/IMG_" + key + ".JPG", more, i % 50 == 0 ? "Movie" : "Image");
        if (i % 1000 == 0)
            albums += album(QByteArray::number(i), "Album " + key, i % 2000 ? "Regular" : "Event", allKeys.mid(i - 1000, 50));
    }
    QByteArray persons = "<key>List of Faces</key><dict>";
    for (int p = 0; p < 7; ++p)
        persons += "<key>" + QByteArray::number(p) + "</key><dict>" + entry("name", "Person " + QByteArray::number(p)) + "</dict>";
    persons += "</dict>";
    return library("<key>List of Albums</key><array>" + albums + "</array>" + persons
                   + "<key>Master Image List</key><dict>" + fotos + "</dict>");
}

} // namespace

TEST(IPhotoParserDocument, LargeLibraryReadOnTwoThreads)
{
    // Over the size from which the file is read on a thread of its own, spread
    // over many batches; bare "&" everywhere to be repaired on the way.
    const QByteArray bytes = largeLibrary(OrvIPhotoDatabaseParser::threadedSize + (1 << 20),
                                          [](int i) { return "fish & chips " + QByteArray::number(i); });
    ASSERT_GT(bytes.size(), OrvIPhotoDatabaseParser::threadedSize);
    const Snapshot streamed = parse(bytes);
    EXPECT_GT(streamed.fotos.size(), 5000);
    EXPECT_EQ(streamed.persons.size(), 7);
    const Snapshot walked = parseWithDom(bytes);
    EXPECT_TRUE(streamed == walked) << "differs from the DOM walk";
    // From a file as from memory; a break at the very end still gives nothing.
    Scratch scratch;
    OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
    parser.parse(QFileInfo(scratch.write("AlbumData.xml", bytes)));
    EXPECT_TRUE(snapshot(parser.albums(), parser.fotos(), parser.persons()) == streamed);
    EXPECT_TRUE(parse(bytes.left(bytes.size() - 20)).isEmpty());
}

TEST(IPhotoParserDocument, LargeLibraryReadInTwoHalves)
{
    const auto plain = [](int i) { return "Caption " + QByteArray::number(i); };
    const QByteArray bytes = largeLibrary(600000, plain);
    const Snapshot walked = parseWithDom(bytes);
    ASSERT_GT(walked.fotos.size(), 1000);
    int readers = 0;
    EXPECT_EQ(parseInHalves(bytes, &readers), walked);
    EXPECT_EQ(readers, 2);

    // From a file, with the default sizes, too.
    Scratch scratch;
    OrvIPhotoDatabaseParser parser{OrvExternalUrlBuilder("iphoto")};
    parser.setThresholds(1 << 16, 1 << 17);
    parser.parse(QFileInfo(scratch.write("AlbumData.xml", bytes)));
    EXPECT_EQ(parser.readers(), 2);
    EXPECT_EQ(snapshot(parser.albums(), parser.fotos(), parser.persons()), walked);

    // The same foto key in both halves: the later entry wins, as with one reader.
    QByteArray twice = bytes;
    const QByteArray end = "</dict></dict>\n</plist>";  // of the foto list, the top dict, the document
    twice.insert(twice.lastIndexOf(end), foto("1", "/lib/again.jpg"));
    EXPECT_EQ(parseInHalves(twice, &readers), parseWithDom(twice));
    EXPECT_EQ(readers, 2);

    // Bare "&" are repaired in either half; a repair before the document
    // element keeps the first reader on to the end.
    const QByteArray lateAmpersands = largeLibrary(600000, [](int i) { return i > 1200 ? QByteArray("a & b") : "c"; });
    EXPECT_EQ(parseInHalves(lateAmpersands, &readers), parseWithDom(lateAmpersands));
    EXPECT_EQ(readers, 2);
    const QByteArray earlyAmpersand = QByteArray(bytes).replace("Caption 7<", "Caption & 7<");
    EXPECT_EQ(parseInHalves(earlyAmpersand, &readers), parseWithDom(earlyAmpersand));
    EXPECT_EQ(readers, 2);
    const QByteArray nulInProlog = QByteArray(bytes).insert(bytes.indexOf("<plist"), '\0');
    EXPECT_EQ(parseInHalves(nulInProlog, &readers), walked);
    EXPECT_EQ(readers, 1);

    // What only looks like foto entries: the middle inside a comment, or a
    // list of fotos that is not a dict. One reader, same result.
    const QByteArray fake = largeLibrary(1200000, plain);
    const QByteArray comment = "<!-- " + fake + " -->";
    const QByteArray instruction = "<?fake " + fake.mid(fake.indexOf("<plist")) + " ?>";
    for (const auto& [before, what] : {std::pair(QByteArray("<key>Master Image List</key>"), comment),
                                       std::pair(QByteArray("<key>100</key>"), comment),
                                       std::pair(QByteArray("<key>100</key>"), instruction)}) {
        QByteArray commented = bytes;
        commented.insert(commented.indexOf(before), what);
        const Snapshot expected = parseWithDom(commented);
        EXPECT_EQ(expected.fotos.size(), walked.fotos.size()) << before.toStdString();
        EXPECT_EQ(parseInHalves(commented, &readers), expected) << before.toStdString();
        EXPECT_EQ(readers, 1) << before.toStdString();
    }
    QByteArray notADict = bytes;
    const qsizetype list = notADict.indexOf("<key>Master Image List</key><dict>") + 28;
    notADict.replace(list, 6, "<list>");
    notADict.replace(notADict.lastIndexOf(end), 7, "</list>");
    EXPECT_EQ(parseInHalves(notADict, &readers), parseWithDom(notADict));
    EXPECT_EQ(readers, 1);

    // A byte order mark keeps offsets as they are; another encoding does not.
    const QByteArray bom = "\xEF\xBB\xBF" + bytes;
    EXPECT_EQ(parseInHalves(bom, &readers), walked);
    EXPECT_EQ(readers, 2);
    const QByteArray latin1 = QByteArray(bytes).replace("encoding=\"UTF-8\"", "encoding=\"ISO-8859-1\"");
    EXPECT_EQ(parseInHalves(latin1, &readers), walked);
    EXPECT_EQ(readers, 1);

    // Broken in either half: nothing at all.
    EXPECT_TRUE(parseInHalves(bytes.left(bytes.size() - 20)).isEmpty());
    EXPECT_TRUE(parseInHalves(QByteArray(bytes).insert(bytes.size() / 4, "</x>")).isEmpty());
    EXPECT_TRUE(parseInHalves(QByteArray(bytes).insert(bytes.size() - 100, "<")).isEmpty());
}
