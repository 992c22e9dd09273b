// The folders of an iPhoto or Aperture library, read by the host from the
// library file beside the plug-in's own reading of it.

#include "OrvAlbumNesting.h"
#include "OrvLibraryFolders.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace {

QByteArray albumXml(const QByteArray& id, const QByteArray& parent, const QByteArray& more = {})
{
    QByteArray xml = "<dict><key>AlbumName</key><string>A" + id + "</string>" + more + "<key>AlbumId</key><integer>"
        + id + "</integer>";
    if (!parent.isEmpty())
        xml += "<key>Parent</key><integer>" + parent + "</integer>";
    return xml + "<key>KeyList</key><array><string>1</string><string>2</string></array></dict>";
}

QByteArray plist(const QByteArray& body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\"><dict>"
        + body + "</dict></plist>";
}

QHash<QString, QString> readBytes(const QTemporaryDir& dir, const QByteArray& bytes)
{
    const QString path = dir.filePath(QStringLiteral("AlbumData.xml"));
    OrvTest::writeFile(path, bytes);
    return OrvLibraryFolders::read(path);
}

} // namespace

TEST(OrvLibraryFolders, ReadsEachAlbumsFolderWhereverTheAlbumsStand)
{
    QTemporaryDir dir;
    const QByteArray albums = "<key>List of Albums</key><array>" + albumXml("13", "12") + albumXml("10", "")
        + albumXml("11", "10", "<key>Parent</key><string>99</string>") + albumXml("12", "10")
        + "<string>noise</string></array>";
    const QHash<QString, QString> expected{{"13", "12"}, {"11", "10"}, {"12", "10"}};
    // Keys of the top dict before and after, values of any kind between.
    EXPECT_EQ(readBytes(dir, plist("<key>Application Version</key><string>9.6</string><key>List of Faces</key><dict>"
                                   "<key>List of Albums</key><array/></dict>" + albums
                                   + "<key>Master Image List</key><dict><key>1</key><dict/></dict>")),
              expected);
    // The photos first, the albums last.
    EXPECT_EQ(readBytes(dir, plist("<key>Master Image List</key><dict><key>1</key><dict><key>Parent</key><integer>5"
                                   "</integer></dict></dict>" + albums)),
              expected);
    // What follows the albums is not read: a file cut there still gives them.
    EXPECT_EQ(readBytes(dir, plist(albums).left(plist(albums).lastIndexOf("</array>") + 8) + "<key>Master Image"), expected);
    // A later key wins; a parent that is no text, or an album without an id, names nothing.
    EXPECT_EQ(readBytes(dir, plist("<key>List of Albums</key><array><dict><key>AlbumId</key><integer>1</integer>"
                                   "<key>Parent</key><integer>2</integer><key>Parent</key><integer>3</integer></dict>"
                                   "<dict><key>AlbumId</key><integer>4</integer><key>Parent</key><array/></dict>"
                                   "<dict><key>Parent</key><integer>1</integer></dict></array>")),
              (QHash<QString, QString>{{"1", "3"}}));
}

TEST(OrvLibraryFolders, WhatIsNoLibraryFileGivesNoFolders)
{
    QTemporaryDir dir;
    EXPECT_TRUE(OrvLibraryFolders::read(dir.filePath(QStringLiteral("missing.xml"))).isEmpty());
    EXPECT_TRUE(OrvLibraryFolders::read(QString()).isEmpty());
    EXPECT_TRUE(OrvLibraryFolders::read(dir.path()).isEmpty()) << "a folder";
    const QString fifo = dir.filePath(QStringLiteral("fifo.xml"));
    ASSERT_TRUE(OrvTest::makeFifo(fifo));
    EXPECT_TRUE(OrvLibraryFolders::read(fifo).isEmpty()) << "a pipe without a writer, and no wait";
    EXPECT_TRUE(readBytes(dir, "garbage \x01\x02<<<").isEmpty());
    EXPECT_TRUE(readBytes(dir, QByteArray()).isEmpty());
    EXPECT_TRUE(readBytes(dir, plist("<key>List of Albums</key><dict>" + albumXml("1", "2") + "</dict>")).isEmpty())
        << "albums that are no array";
    // Nesting a thousand deep and a text of megabytes: read through, nothing kept.
    const QByteArray deep = QByteArray("<array>").repeated(1000) + QByteArray("</array>").repeated(1000);
    const QByteArray huge(8 << 20, '7');
    EXPECT_EQ(readBytes(dir, plist("<key>List of Albums</key><array>" + deep + albumXml("1", huge) + albumXml("2", "1")
                                   + "</array>")),
              (QHash<QString, QString>{{"2", "1"}}));
}
