// The host program's tree and export commands over the test libraries.

#include "IPhotoTestSupport.h"
#include "OrvExternalAlbum.h"
#include "OrvExternalService.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

using namespace IPhotoTest;

namespace {

struct ProgramRun
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

QString program() { return OrvTest::binaryDir() + QStringLiteral("/bin/orv-photos"); }

#if defined(__SANITIZE_THREAD__)
#define ORV_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ORV_THREAD_SANITIZER 1
#endif
#endif

// Why the host program cannot be run from here; empty when it can.
std::string cannotRun()
{
#ifdef ORV_THREAD_SANITIZER
    // QProcess starts children with a clone that shares this process's memory
    // until exec; ThreadSanitizer's bookkeeping of the test process does not
    // survive that. The host-program tests run orv-photos under it instead.
    return "starting processes under ThreadSanitizer";
#endif
    return QFileInfo(program()).isExecutable() ? std::string() : std::string("orv-photos not built");
}

ProgramRun run(const QStringList& arguments, const QString& configHome = QString())
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome.isEmpty() ? fixture().root + QStringLiteral("/config") : configHome);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("ORV_PLUGIN_PATH"), OrvTest::binaryDir() + QStringLiteral("/lib/libOrvApplePhotos.so"));
    process.setProcessEnvironment(environment);
    process.start(program(), arguments);
    ProgramRun result;
    if (!process.waitForFinished(60000))
        return result;
    result.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

} // namespace

TEST(IPhotoCommands, TreeAsJson)
{
    if (!cannotRun().empty())
        GTEST_SKIP() << cannotRun();
    const ProgramRun result = run({"tree", "--source", "iphoto", "--json"});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    const QJsonArray sources = QJsonDocument::fromJson(result.out).object().value("sources").toArray();
    ASSERT_EQ(sources.size(), 1);
    const QJsonObject source = sources.first().toObject();
    EXPECT_EQ(source.value("type").toInt(), int(OrvFotoDatabaseType::IPhoto));
    EXPECT_EQ(source.value("service").toString(), QStringLiteral("iphoto"));
    EXPECT_TRUE(source.value("shown").toBool());
    const QJsonArray albums = source.value("albums").toArray();
    ASSERT_EQ(albums.size(), 7);
    const QJsonObject zoo = albums.first().toObject();
    EXPECT_EQ(zoo.value("id").toString(), QStringLiteral("iphoto:album#10"));
    EXPECT_EQ(zoo.value("name").toString(), QStringLiteral("Zoo"));
    EXPECT_EQ(zoo.value("type").toInt(), int(OrvExternalAlbumType::Regular));
    EXPECT_EQ(zoo.value("parent").toString(), QString());
    EXPECT_EQ(zoo.value("fotos").toArray(), (QJsonArray{"iphoto:foto#1", "iphoto:foto#2"}));
    const QJsonArray fotos = source.value("fotos").toArray();
    ASSERT_EQ(fotos.size(), 2);
    const QJsonObject first = fotos.first().toObject();
    EXPECT_EQ(first.value("id").toString(), QStringLiteral("iphoto:foto#1"));
    EXPECT_EQ(first.value("name").toString(), QStringLiteral("IMG_0001.JPG"));
    EXPECT_EQ(first.value("rating").toInt(), 4);
    EXPECT_EQ(first.value("file").toString(), fixture().rotatedImage);
    const QDateTime taken = QDateTime::fromString(first.value("taken").toString(), Qt::ISODate);
    EXPECT_EQ(taken.toMSecsSinceEpoch(), QDateTime(QDate(2001, 1, 1), QTime(0, 0)).addSecs(300000000).toMSecsSinceEpoch());
    // The library keeps the clock time only: no offset is made up for it.
    EXPECT_FALSE(first.value("taken").toString().contains(QRegularExpression("([+-]\\d\\d:\\d\\d|Z)$")))
        << first.value("taken").toString().toStdString();
    const QJsonArray faces = first.value("faces").toArray();
    ASSERT_EQ(faces.size(), 1);
    EXPECT_EQ(faces.first().toObject().value("id").toString(), QStringLiteral("iphoto:face#3"));
    EXPECT_EQ(faces.first().toObject().value("rect").toArray(), (QJsonArray{0.25, 0.35, 0.1, 0.15}));
}

TEST(IPhotoCommands, TreeAsTextAndUnknownSource)
{
    if (!cannotRun().empty())
        GTEST_SKIP() << cannotRun();
    const ProgramRun text = run({"tree"});
    ASSERT_EQ(text.status, 0) << text.err.toStdString();
    EXPECT_TRUE(text.out.contains("Zoo  [2 photos]"));
    EXPECT_TRUE(text.out.contains("aperture"));
    EXPECT_EQ(run({"tree", "--source", "nosuch"}).status, 1);
}

TEST(IPhotoCommands, ExportAnAlbum)
{
    if (!cannotRun().empty())
        GTEST_SKIP() << cannotRun();
    Scratch scratch;
    const QString out = scratch.path("out");
    const ProgramRun small = run({"export", "--source", "iphoto", "--album", "Zoo", "--size", "16", "--format", "png", "--out", out});
    ASSERT_EQ(small.status, 0) << small.err.toStdString();
    EXPECT_TRUE(small.out.contains("wrote 2 of 2"));
    EXPECT_EQ(QDir(out).entryList(QDir::Files), (QStringList{"IMG_0001.png", "IMG_0002.png"}));
    QImage image(out + "/IMG_0001.png");
    EXPECT_LE(std::max(image.width(), image.height()), 16);
    // Full size as stored, by the album's URL; names already taken get a number.
    const ProgramRun full = run({"export", "--source", "iphoto", "--album", "iphoto:album#12", "--size", "full", "--format",
                          "original", "--out", out});
    ASSERT_EQ(full.status, 0) << full.err.toStdString();
    const ProgramRun again = run({"export", "--source", "iphoto", "--album", "Trip", "--size", "full", "--format", "original", "--out", out});
    ASSERT_EQ(again.status, 0);
    EXPECT_TRUE(QFileInfo::exists(out + "/IMG_0001.JPG"));
    EXPECT_TRUE(QFileInfo::exists(out + "/IMG_0001-2.JPG"));
    EXPECT_EQ(run({"export", "--source", "iphoto", "--album", "Nope", "--size", "full", "--format", "original", "--out", out}).status, 1);
    EXPECT_EQ(run({"export", "--source", "nosuch", "--album", "Zoo", "--size", "full", "--format", "original", "--out", out}).status, 1);
    EXPECT_EQ(run({"export", "--source", "iphoto", "--album", "Zoo", "--size", "0", "--format", "png", "--out", out}).status, 1);
}

TEST(IPhotoCommands, ExportOfAwkwardFilesStaysInsideAndSaysWhatItRefused)
{
    if (!cannotRun().empty())
        GTEST_SKIP() << cannotRun();
    Scratch scratch;
    QDir().mkpath(scratch.path("lib"));
    QDir().mkpath(scratch.path("config/apple"));
    const QByteArray whole = OrvTest::makeJpeg(600, 400);
    scratch.write("lib/whole.jpg", whole);
    scratch.write("lib/cut.jpg", whole.left(whole.size() / 3));
    ASSERT_TRUE(OrvTest::makeFifo(scratch.path("lib/pipe.jpg")));
    const QByteArray fotos = foto("1", scratch.path("lib/whole.jpg").toUtf8()) + foto("2", scratch.path("lib/cut.jpg").toUtf8())
        + foto("3", scratch.path("lib/pipe.jpg").toUtf8());
    scratch.write("lib/AlbumData.xml",
                  library("<key>List of Albums</key><array>" + album("5", "All", "Regular", {"1", "2", "3"})
                          + "</array><key>Master Image List</key><dict>" + fotos + "</dict>"));
    scratch.write("config/apple/iphoto.conf", "[General]\nXMLDataFilePath=" + scratch.path("lib/AlbumData.xml").toUtf8() + "\n");
    const QString config = scratch.path("config");

    // A link planted at the name the first photo gets, to a missing file outside.
    const QString out = scratch.path("out");
    QDir().mkpath(out);
    QFile::link(scratch.path("outside/whole.jpg"), out + "/whole.jpg");
    for (const QString& size : {QStringLiteral("256"), QStringLiteral("full")}) {
        for (const QString& format : {QStringLiteral("png"), QStringLiteral("original")}) {
            SCOPED_TRACE((size + " " + format).toStdString());
            const ProgramRun result = run({"export", "--source", "iphoto", "--album", "All", "--size", size, "--format", format, "--out", out}, config);
            // The cut-off photo is refused sized and at full size alike.
            EXPECT_EQ(result.status, 2) << result.err.toStdString();
            EXPECT_TRUE(result.out.contains("wrote 1 of 3")) << result.out.toStdString();
            EXPECT_TRUE(result.err.contains("nothing for iphoto:foto#2"));
            EXPECT_EQ(result.err.count("pipe.jpg: not a regular file"), 1) << result.err.toStdString();
        }
    }
    EXPECT_FALSE(QFileInfo::exists(scratch.path("outside"))) << "nothing was written through the link";
    EXPECT_TRUE(QFileInfo(out + "/whole.jpg").isSymLink());
    QStringList written = QDir(out).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    written.removeAll(QStringLiteral("whole.jpg"));
    EXPECT_EQ(written, (QStringList{"whole-2.jpg", "whole-2.png", "whole-3.jpg", "whole.png"}));

    // The plug-in named as a folder or a device says so.
    const ProgramRun folder = run({"--plugin", scratch.path("lib"), "sources"}, config);
    EXPECT_EQ(folder.status, 2);
    EXPECT_TRUE(folder.err.contains("is a folder")) << folder.err.toStdString();
    const ProgramRun device = run({"--plugin", "/dev/null", "sources"}, config);
    EXPECT_TRUE(device.err.contains("not a regular file")) << device.err.toStdString();
}

TEST(IPhotoCommands, FoldersInTheTreeAndTheirExport)
{
    if (!cannotRun().empty())
        GTEST_SKIP() << cannotRun();
    Scratch scratch;
    QDir().mkpath(scratch.path("lib"));
    QByteArray fotos;
    for (int i = 1; i <= 3; ++i) {
        const QString path = scratch.path(QStringLiteral("lib/IMG_%1.JPG").arg(i));
        scratch.write(QStringLiteral("lib/IMG_%1.JPG").arg(i), OrvTest::makeJpeg(60, 40, 1, 50 + 10 * i));
        fotos += foto(QByteArray::number(i), path.toUtf8());
    }
    const auto inFolder = [](const QByteArray& id, const QByteArray& name, const QByteArray& type, const QByteArray& parent,
                             const QList<QByteArray>& keys) {
        QByteArray dict = album(id, name, type, keys);
        if (!parent.isEmpty())
            dict.insert(dict.lastIndexOf("</dict>"), entry("Parent", parent, "integer"));
        return dict;
    };
    scratch.write("lib/AlbumData.xml",
                  library("<key>List of Albums</key><array>" + inFolder("20", "Trips", "Folder", "", {})
                          + inFolder("21", "Coast", "Regular", "20", {"1", "2"}) + inFolder("22", "Old", "Folder", "20", {})
                          + inFolder("23", "Hills", "Smart", "22", {"2", "3"}) + inFolder("24", "Empty", "Folder", "20", {})
                          + inFolder("25", "Loose", "Regular", "99", {"1"}) + "</array><key>Master Image List</key><dict>"
                          + fotos + "</dict>"));
    QDir().mkpath(scratch.path("config/apple"));
    scratch.write("config/apple/iphoto.conf", "[General]\nXMLDataFilePath=" + scratch.path("lib/AlbumData.xml").toUtf8() + "\n");
    const QString config = scratch.path("config");

    // Albums inside their folders; a folder counts what its albums hold.
    const ProgramRun text = run({"tree", "--source", "iphoto"}, config);
    ASSERT_EQ(text.status, 0) << text.err.toStdString();
    const QRegularExpression nested(QStringLiteral("\n  Trips  \\[3 [a-z]+\\]\n    Coast  \\[2 [a-z]+\\]\n    Old  \\[2 [a-z]+\\]\n"
                                                   "      Hills  \\[2 [a-z]+\\]\n    Empty  \\[0 [a-z]+\\]\n  Loose  \\[1 [a-z]+\\]\n"));
    EXPECT_TRUE(QString::fromUtf8(text.out).contains(nested)) << text.out.toStdString();

    const ProgramRun json = run({"tree", "--source", "iphoto", "--json"}, config);
    ASSERT_EQ(json.status, 0) << json.err.toStdString();
    const QJsonArray albums = QJsonDocument::fromJson(json.out).object().value("sources").toArray().first().toObject().value("albums").toArray();
    QStringList placed;
    for (const QJsonValue& value : albums) {
        const QJsonObject album = value.toObject();
        if (album.value("type").toInt() != int(OrvExternalAlbumType::Month))
            placed.append(album.value("name").toString() + " in " + album.value("parent").toString());
    }
    EXPECT_EQ(placed, (QStringList{"Trips in ", "Coast in iphoto:album#20", "Old in iphoto:album#20", "Hills in iphoto:album#22",
                                   "Empty in iphoto:album#20", "Loose in "}));
    EXPECT_EQ(albums.first().toObject().value("fotos").toArray(), QJsonArray()) << "a folder lists no fotos of its own";

    // Exporting a folder writes what its albums hold, each foto once.
    const QString out = scratch.path("out");
    const ProgramRun folder = run({"export", "--source", "iphoto", "--album", "Trips", "--size", "full", "--format", "original", "--out", out}, config);
    ASSERT_EQ(folder.status, 0) << folder.err.toStdString();
    EXPECT_EQ(QDir(out).entryList(QDir::Files), (QStringList{"IMG_1.JPG", "IMG_2.JPG", "IMG_3.JPG"}));
    const ProgramRun empty = run({"export", "--source", "iphoto", "--album", "Empty", "--size", "full", "--format", "original", "--out", scratch.path("none")}, config);
    EXPECT_EQ(empty.status, 0) << "an empty folder has nothing to write";
    EXPECT_TRUE(QDir(scratch.path("none")).entryList(QDir::Files).isEmpty());
}
