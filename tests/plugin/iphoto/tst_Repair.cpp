// Library files as iPhoto really wrote them (bare "&", NUL bytes) and files
// written to hurt: the repair, the streaming reader and the host's DOM loader.

#include "IPhotoTestSupport.h"
#include "OrvIPhotoDatabaseParser.h"
#include "OrvXMLLoader.h"
#include "OrvXmlRepair.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include "TestSupport.h"

using namespace IPhotoTest;

namespace {

// The repair fed in the given pieces.
QByteArray repairInPieces(const QByteArray& input, const QList<qsizetype>& cuts)
{
    OrvXmlRepair repair;
    QByteArray out;
    auto sink = [&out](const char* data, qsizetype size) {
        out.append(data, size);
        return true;
    };
    qsizetype from = 0;
    for (qsizetype cut : cuts) {
        repair.feed(input.constData() + from, cut - from, sink);
        from = cut;
    }
    repair.feed(input.constData() + from, input.size() - from, sink);
    repair.finish(sink);
    return out;
}

QByteArray withNul(QByteArray text)
{
    return text.replace('@', '\0');
}

} // namespace

TEST(IPhotoRepair, BareAmpersandsAndNulBytes)
{
    const QList<QPair<QByteArray, QByteArray>> cases{
        {"<a>Tom & Jerry</a>", "<a>Tom &amp; Jerry</a>"},
        {"<a>&amp;&lt;&gt;&quot;&apos;</a>", "<a>&amp;&lt;&gt;&quot;&apos;</a>"},
        {"<a>&#123;&#x1F;&#x1f;&name;&a.b-c:d_e;</a>", "<a>&#123;&#x1F;&#x1f;&name;&a.b-c:d_e;</a>"},
        {"<a>&#; &#x; &#12a; &; &1a; &name &x</a>", "<a>&amp;#; &amp;#x; &amp;#12a; &amp;; &amp;1a; &amp;name &amp;x</a>"},
        {"<a b=\"R&D\">x</a>", "<a b=\"R&amp;D\">x</a>"},
        {"<a><![CDATA[a & b]]> & <!-- c & d --> & </a>", "<a><![CDATA[a & b]]> &amp; <!-- c & d --> &amp; </a>"},
        {withNul("<a>x@y@@</a>@"), "<a>xy</a>"},
        {withNul("<a><![CDATA[@]]>&@</a>"), "<a><![CDATA[]]>&amp;</a>"},
        {"<a>&", "<a>&amp;"},
        {"<a>&" + QByteArray(80, 'n') + ";</a>", "<a>&amp;" + QByteArray(80, 'n') + ";</a>"},
        {"<a>&" + QByteArray(40, 'n') + ";</a>", "<a>&" + QByteArray(40, 'n') + ";</a>"},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(OrvXmlRepair::repaired(input), expected) << input.toStdString();
        // Any split of the input gives the same bytes.
        for (qsizetype cut = 0; cut <= input.size(); ++cut)
            ASSERT_EQ(repairInPieces(input, {cut}), expected) << input.toStdString() << " cut at " << cut;
        QList<qsizetype> everyByte;
        for (qsizetype i = 1; i < input.size(); ++i)
            everyByte.append(i);
        EXPECT_EQ(repairInPieces(input, everyByte), expected) << input.toStdString();
    }
    qsizetype repairs = 0;
    OrvXmlRepair::repaired(withNul("a & b @ &amp;"), &repairs);
    EXPECT_EQ(repairs, 2);
}

TEST(IPhotoRepair, WideEncodingsPassThrough)
{
    const QString text = QStringLiteral("<a>x & y</a>");
    QByteArray utf16("\xff\xfe", 2);
    utf16.append(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
    EXPECT_EQ(OrvXmlRepair::repaired(utf16), utf16);
    EXPECT_EQ(repairInPieces(utf16, {1, 3}), utf16);
}

TEST(IPhotoRepair, LibraryWithDefectsReadsLikeACleanOne)
{
    const QByteArray clean = library("<key>List of Albums</key><array>" + album("1", "Tom &amp; Jerry", "Regular", {"1"})
                                     + "</array><key>Master Image List</key><dict>"
                                     + foto("1", "/a/R&amp;D.jpg", entry("Caption", "fish &amp; chips")) + "</dict>");
    QByteArray broken = clean;
    broken.replace("&amp;", "&");
    broken.insert(broken.indexOf("<key>Master"), QByteArray("\0\0", 2));
    broken.append('\0');
    const Snapshot expected = parse(clean);
    ASSERT_EQ(expected.fotos.size(), 1);
    EXPECT_TRUE(expected.albums.first().contains(QStringLiteral("Tom & Jerry")));
    EXPECT_EQ(parse(broken), expected);
    EXPECT_EQ(parseWithDom(broken), expected) << "the host's DOM loader repairs the same way";
}

TEST(IPhotoRepair, DefectOnAReadBoundary)
{
    // The parser reads 1 MiB at a time: put a bare "&" and a NUL right at the edge.
    QByteArray fotos;
    int count = 0;
    while (fotos.size() < (3 << 20)) {
        const QByteArray key = QByteArray::number(++count);
        fotos += foto(key, "/lib/Masters/2010/IMG_" + key + ".JPG");
    }
    const QByteArray head = library("<key>Master Image List</key><dict>" + fotos + "</dict>");
    for (qsizetype edge : {qsizetype(1) << 20, (qsizetype(1) << 21) - 1}) {
        QByteArray bytes = head;
        // The "&" lands on the last byte of a read, its NUL shortly after.
        qsizetype at = bytes.lastIndexOf("IMG_", edge - 8) + 4;
        bytes.insert(at, QByteArray(edge - 1 - at, 'x'));
        at = edge - 1;
        bytes.insert(at, '&');
        const qsizetype nulAt = bytes.indexOf("IMG_", edge + 10) + 4;
        bytes.insert(nulAt, QByteArray("\0", 1));
        const Snapshot result = parse(bytes);
        ASSERT_EQ(result.fotos.size(), count);
        EXPECT_EQ(result.fotos.filter(QStringLiteral("&")).size(), 1);
    }
}

TEST(IPhotoHostileFiles, DeepNestingIsRefused)
{
    QByteArray deep = "<plist><dict><key>Master Image List</key>";
    deep += QByteArray("<dict>").repeated(100000);
    deep += QByteArray("</dict>").repeated(100000);
    deep += "</dict></plist>";
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(parse(deep).isEmpty());
    EXPECT_TRUE(parseWithDom(deep).isEmpty());
    EXPECT_LT(timer.elapsed(), 20000);
    // Nesting a real library would have still reads.
    QByteArray fine = "<plist><dict><key>List of Albums</key><array>" + QByteArray("<array>").repeated(200) + QByteArray("</array>").repeated(200)
        + album("1", "A", "Regular", {}) + "</array></dict></plist>";
    EXPECT_EQ(parse(fine).albums.size(), 1);
    EXPECT_EQ(parseWithDom(fine).albums.size(), 1);
}

TEST(IPhotoHostileFiles, EntitiesDoNotExpand)
{
    QByteArray laughs = "<?xml version=\"1.0\"?>\n<!DOCTYPE plist [\n<!ENTITY lol \"lol\">\n";
    laughs += "<!ENTITY lol1 \"&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;\">\n";
    for (int i = 2; i <= 9; ++i) {
        QByteArray previous = "&lol" + QByteArray::number(i - 1) + ";";
        laughs += "<!ENTITY lol" + QByteArray::number(i) + " \"" + previous.repeated(10) + "\">\n";
    }
    laughs += "]>\n<plist><dict><key>Master Image List</key><dict>" + foto("1", "&lol9;") + "</dict></dict></plist>";
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(parse(laughs).isEmpty());
    EXPECT_TRUE(parseWithDom(laughs).isEmpty());
    EXPECT_LT(timer.elapsed(), 20000);
    // A harmless-looking declaration is refused the same way; undeclared references break the file.
    EXPECT_TRUE(parse("<!DOCTYPE p [<!ENTITY e \"x\">]><plist><dict><key>Master Image List</key><dict>" + foto("1", "&e;") + "</dict></dict></plist>").isEmpty());
    EXPECT_TRUE(parse("<plist><dict><key>Master Image List</key><dict>" + foto("1", "&nope;") + "</dict></dict></plist>").isEmpty());
}

TEST(IPhotoHostileFiles, HostLoaderStillLoadsOrdinaryFiles)
{
    Scratch scratch;
    const QString path = scratch.write("plain.xml", "<?xml version=\"1.0\"?><root><child>text &amp; more</child></root>");
    const QDomElement root = OrvXMLLoader::loadDocumentElement(QFileInfo(path));
    ASSERT_FALSE(root.isNull());
    EXPECT_EQ(root.firstChildElement("child").text(), QStringLiteral("text & more"));
    EXPECT_TRUE(OrvXMLLoader::loadDocumentElement(QFileInfo(scratch.path("missing.xml"))).isNull());
    EXPECT_TRUE(OrvXMLLoader::loadDocumentElement(QFileInfo(scratch.write("broken.xml", "<root><a></root>"))).isNull());
    const QDomElement repaired = OrvXMLLoader::loadDocumentElement(QFileInfo(scratch.write("amp.xml", QByteArray("<r>a & b\0</r>", 13))));
    EXPECT_EQ(repaired.text(), QStringLiteral("a & b"));
}

TEST(IPhotoHostileFiles, FuzzerFindingsStayFixed)
{
    // Inputs that once broke the reader (tests/plugin/iphoto/regressions/, filled from fuzzing runs).
    const QDir dir(OrvTest::sourceDir() + QStringLiteral("/tests/plugin/iphoto/regressions"));
    const QFileInfoList inputs = dir.entryInfoList(QDir::Files);
    if (inputs.isEmpty())
        GTEST_SKIP() << "no regression inputs";
    for (const QFileInfo& input : inputs) {
        QFile file(input.absoluteFilePath());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        // Reading them must simply end, with whatever they hold.
        parse(bytes);
        parseWithDom(bytes);
    }
}
