#include "OrvMacPasteboardMimePhotosAsset.h"
#include "OrvPlistBoundsCheck.h"

#include <gtest/gtest.h>

#include <QList>

namespace {

QByteArray bigEndian(quint64 value, int size)
{
    QByteArray bytes(size, '\0');
    for (int i = size - 1; i >= 0; --i, value >>= 8)
        bytes[i] = char(value & 0xFF);
    return bytes;
}

// A marker with its count: in the low nibble, or as a four-byte integer object after it.
QByteArray marker(int type, quint64 count)
{
    if (count < 15)
        return QByteArray(1, char(type << 4 | int(count)));
    return QByteArray(1, char(type << 4 | 0xF)) + char(0x12) + bigEndian(count, 4);
}

QByteArray array(const QList<quint64>& refs, int refSize)
{
    QByteArray bytes = marker(0xA, quint64(refs.size()));
    for (quint64 ref : refs)
        bytes += bigEndian(ref, refSize);
    return bytes;
}

QByteArray ascii(const QByteArray& text) { return marker(0x5, quint64(text.size())) + text; }

// A binary property list of the objects given, the first the top one.
QByteArray binaryList(const QList<QByteArray>& objects, int refSize)
{
    QByteArray data("bplist00");
    QByteArray table;
    for (const QByteArray& object : objects) {
        table += bigEndian(quint64(data.size()), 4);
        data += object;
    }
    const quint64 tableAt = quint64(data.size());
    return data + table + QByteArray(6, '\0') + char(4) + char(refSize) + bigEndian(quint64(objects.size()), 8) +
           bigEndian(0, 8) + bigEndian(tableAt, 8);
}

// Arrays nested depth deep, the innermost empty.
QByteArray deepBinary(int depth)
{
    QList<QByteArray> objects;
    for (int i = 0; i < depth; ++i)
        objects.append(i + 1 < depth ? array({quint64(i + 1)}, 4) : array({}, 4));
    return binaryList(objects, 4);
}

QByteArray deepXml(int depth)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + QByteArray("<array>").repeated(depth) +
           QByteArray("</array>").repeated(depth) + "</plist>\n";
}

// An asset whose dictionary also holds levels arrays, each of fanOut references to the next, the
// last to the identifier: every object is there once, libplist copies each reference out.
QByteArray sharedReferences(int levels, int fanOut)
{
    QList<QByteArray> objects = {marker(0xD, 2) + char(1) + char(2) + char(3) + char(4), ascii("localIdentifier"),
                                 ascii("assets"), ascii("A1B2C3D4-0004/L0/001")};
    for (int level = 0; level < levels; ++level)
        objects.append(array(QList<quint64>(fanOut, level + 1 < levels ? quint64(objects.size() + 1) : 3), 1));
    return binaryList(objects, 1);
}

} // namespace

TEST(PlistBoundsCheck, NestingStopsAtTheDepthBound)
{
    EXPECT_TRUE(OrvPlistBoundsCheck::admits(deepXml(OrvPlistBoundsCheck::maxDepth)));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(deepXml(OrvPlistBoundsCheck::maxDepth + 1)));
    EXPECT_TRUE(OrvPlistBoundsCheck::admits(deepBinary(OrvPlistBoundsCheck::maxDepth)));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(deepBinary(OrvPlistBoundsCheck::maxDepth + 1)));
    // Lists as deep as libplist cannot free without running out of stack: no identifier, no crash.
    EXPECT_TRUE(OrvMacPasteboardMimePhotosAsset::localIdentifierOf(deepBinary(100000)).isEmpty());
    EXPECT_TRUE(OrvMacPasteboardMimePhotosAsset::localIdentifierOf(deepXml(200000)).isEmpty());
}

TEST(PlistBoundsCheck, SharedObjectsCountAsTheCopiesLibplistMakes)
{
    // 14 references a level, 30 levels: 14^30 nodes once copied out, in a few hundred bytes.
    const QByteArray bomb = sharedReferences(30, 14);
    EXPECT_LT(bomb.size(), 700);
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(bomb));
    EXPECT_TRUE(OrvMacPasteboardMimePhotosAsset::localIdentifierOf(bomb).isEmpty());
    // Shared within the bound, and past it though libplist could still build it.
    EXPECT_EQ(OrvMacPasteboardMimePhotosAsset::localIdentifierOf(sharedReferences(3, 14)),
              QStringLiteral("A1B2C3D4-0004/L0/001"));
    EXPECT_TRUE(OrvMacPasteboardMimePhotosAsset::localIdentifierOf(sharedReferences(5, 14)).isEmpty());

    // The node bound itself: the top array and its references to one string.
    const quint64 most = OrvPlistBoundsCheck::maxNodes - 1;
    EXPECT_TRUE(OrvPlistBoundsCheck::admits(binaryList({array(QList<quint64>(most, 1), 1), ascii("x")}, 1)));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(binaryList({array(QList<quint64>(most + 1, 1), 1), ascii("x")}, 1)));

    // Bytes too: one string of a mebibyte, referenced past the byte bound.
    const QByteArray mebibyte(1 << 20, 'a');
    const int within = int(OrvPlistBoundsCheck::maxBytes >> 20) - 1;
    EXPECT_TRUE(OrvPlistBoundsCheck::admits(binaryList({array(QList<quint64>(within, 1), 1), ascii(mebibyte)}, 1)));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(binaryList({array(QList<quint64>(within + 2, 1), 1), ascii(mebibyte)}, 1)));
}

TEST(PlistBoundsCheck, BinaryListsStayInsideTheirData)
{
    const QByteArray good = binaryList({array({1, 1}, 1), ascii("x")}, 1);
    ASSERT_TRUE(OrvPlistBoundsCheck::admits(good));
    // A cycle, a reference past the objects, and an object that claims more than there is.
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(binaryList({array({0}, 1)}, 1)));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(binaryList({array({1, 0}, 1), array({0}, 1)}, 1)));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(binaryList({array({2}, 1), ascii("x")}, 1)));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(binaryList({marker(0xA, 1000) + char(1), ascii("x")}, 1)));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(binaryList({marker(0x5, 0xFFFFFFFF) + "x"}, 1)));
    // Every cut of the list.
    for (int size = 0; size < good.size(); ++size)
        EXPECT_FALSE(OrvPlistBoundsCheck::admits(good.left(size))) << size;
    // Keys are strings; a dictionary whose key is an array is refused.
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(binaryList({marker(0xD, 1) + char(1) + char(2), array({}, 1), ascii("x")}, 1)));
}

TEST(PlistBoundsCheck, OnlyXmlWithoutDeclarationsOfItsOwn)
{
    const QByteArray dict = "<plist version=\"1.0\"><dict><key>localIdentifier</key><string>A/L0/001</string></dict></plist>";
    EXPECT_TRUE(OrvPlistBoundsCheck::admits(dict));
    EXPECT_TRUE(OrvPlistBoundsCheck::admits(
        "<?xml version=\"1.0\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n" + dict));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits("<!DOCTYPE plist [<!ENTITY a \"A/L0/001\">]>" + dict));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits("<!DOCTYPE plist [<!ELEMENT plist ANY>]>" + dict));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(dict.left(dict.size() - 3)));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(dict + "<plist/>"));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits("{\"localIdentifier\": \"A/L0/001\"}"));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits("{localIdentifier = \"A/L0/001\";}"));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(QByteArray()));
    EXPECT_FALSE(OrvPlistBoundsCheck::admits(" \n"));
}
