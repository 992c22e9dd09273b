// What a file system can hand a reader and a writer: pipes, devices, folders,
// links, sparse giants, files that grow; and a full disk.

#include "OrvTargetFolder.h"
#include "OrvUserFile.h"
#include "OrvXMLLoader.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <functional>
#include <sys/stat.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class UserFileTest : public ::testing::Test
{
protected:
    QString path(const QString& name) const { return myDir.filePath(name); }
    QString write(const QString& name, const QByteArray& bytes) const
    {
        OrvTest::writeFile(path(name), bytes);
        return path(name);
    }
    QTemporaryDir myDir;
};

// Whether write, run in a child under a file size limit (writes fail as on a
// full disk, and the limit stays in the child), fails as a failed write.
bool failsOnAFullDisk(const std::function<bool(OrvTargetFolder&)>& write, const QString& target)
{
    const pid_t child = ::fork();
    if (child < 0)
        return false;
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{4096, 4096};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        OrvTargetFolder full(target);
        ::_exit(!write(full) && full.writeFailed() ? 0 : 1);
    }
    int status = -1;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool makeSparse(const QString& path, qint64 size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.resize(size);
}

QStringList entries(const QString& dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

// What another process puts in a file's place while it is being opened.
QByteArray swappedPath;
QByteArray swappedIn;
void swapIn(const QByteArray& path)
{
    if (path == swappedPath)
        ::rename(swappedIn.constData(), swappedPath.constData());
}

} // namespace

TEST_F(UserFileTest, OnlyRegularFilesAreOpenedAndNothingBlocks)
{
    ASSERT_TRUE(OrvTest::makeFifo(path(QStringLiteral("pipe"))));
    QFile::link(path(QStringLiteral("pipe")), path(QStringLiteral("link-to-pipe")));
    const QString regular = write(QStringLiteral("regular.xml"), "<plist/>");
    QFile::link(regular, path(QStringLiteral("link-to-regular")));
    QFile::link(path(QStringLiteral("gone")), path(QStringLiteral("dangling")));

    const struct
    {
        QString path;
        OrvUserFile::Status status;
    } cases[] = {
        {path(QStringLiteral("pipe")), OrvUserFile::NotRegular},
        {path(QStringLiteral("link-to-pipe")), OrvUserFile::NotRegular},
        {QStringLiteral("/dev/zero"), OrvUserFile::NotRegular},
        {QStringLiteral("/dev/null"), OrvUserFile::NotRegular},
        {myDir.path(), OrvUserFile::NotRegular},
        {path(QStringLiteral("dangling")), OrvUserFile::Missing},
        {path(QStringLiteral("missing")), OrvUserFile::Missing},
        {QString(), OrvUserFile::Missing},
        {path(QStringLiteral("link-to-regular")), OrvUserFile::Ok},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path.toStdString());
        EXPECT_EQ(OrvUserFile::check(c.path, OrvUserFile::LibraryFile), c.status);
        OrvUserFile file(c.path, OrvUserFile::LibraryFile);
        EXPECT_EQ(file.open(), c.status == OrvUserFile::Ok);
        EXPECT_EQ(file.status(), c.status);
        OrvUserFile::Status status = OrvUserFile::NotOpened;
        const QByteArray bytes = OrvUserFile::readAll(c.path, OrvUserFile::FotoList, &status);
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(bytes, c.status == OrvUserFile::Ok ? QByteArray("<plist/>") : QByteArray());
    }
    // Told not to follow links, a link is refused whatever it leads to; a name given as bytes opens.
    OrvUserFile link(path(QStringLiteral("link-to-regular")), OrvUserFile::LibraryFile);
    link.setFollowLinks(false);
    EXPECT_FALSE(link.open());
    EXPECT_EQ(link.status(), OrvUserFile::NotRegular);
    OrvUserFile direct(regular, OrvUserFile::LibraryFile);
    direct.setFollowLinks(false);
    ASSERT_TRUE(direct.open());
    EXPECT_EQ(direct.readWhole(), QByteArray("<plist/>"));
    const QByteArray latin1 = QFile::encodeName(myDir.path()) + "/caf\xe9.xml";
    ASSERT_TRUE(QFile::copy(regular, QFile::decodeName(QFile::encodeName(myDir.path()) + "/copy.xml")));
    ASSERT_EQ(::rename(QFile::encodeName(path(QStringLiteral("copy.xml"))).constData(), latin1.constData()), 0);
    OrvUserFile bytes(QFile::decodeName(latin1), OrvUserFile::LibraryFile);
    bytes.setNativePath(latin1);
    ASSERT_TRUE(bytes.open());
    EXPECT_EQ(bytes.readWhole(), QByteArray("<plist/>"));
    ::unlink(latin1.constData());
}

TEST_F(UserFileTest, WhatTakesTheFilesPlaceWhileItIsOpenedIsRefused)
{
    QTemporaryDir outside;
    const QString secret = outside.filePath(QStringLiteral("secret"));
    OrvTest::writeFile(secret, "key");
    const QString photo = write(QStringLiteral("photo.jpg"), "bytes");
    const struct
    {
        QString planted;
        bool followLinks;
    } cases[] = {
        {path(QStringLiteral("pipe")), true},
        {path(QStringLiteral("link-to-pipe")), true},
        {path(QStringLiteral("link-out")), false},
    };
    ASSERT_TRUE(OrvTest::makeFifo(path(QStringLiteral("pipe"))));
    OrvTest::makeFifo(path(QStringLiteral("pipe2")));
    QFile::link(path(QStringLiteral("pipe2")), path(QStringLiteral("link-to-pipe")));
    QFile::link(secret, path(QStringLiteral("link-out")));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.planted.toStdString());
        OrvTest::writeFile(photo, "bytes");
        swappedPath = QFile::encodeName(photo);
        swappedIn = QFile::encodeName(c.planted);
        OrvUserFile file(photo, OrvUserFile::Image);
        file.setFollowLinks(c.followLinks);
        OrvUserFile::setOpenHookForTesting(&swapIn);
        const bool opened = file.open();
        OrvUserFile::setOpenHookForTesting(nullptr);
        // The swap did happen: the regular file was looked at, something else was there to open.
        EXPECT_FALSE(QFileInfo(photo).isFile() && !QFileInfo(photo).isSymLink());
        EXPECT_FALSE(opened);
        EXPECT_EQ(file.status(), OrvUserFile::NotRegular);
        EXPECT_TRUE(file.readWhole().isEmpty());
        QFile::remove(photo);
    }
}

TEST_F(UserFileTest, XmlLibrariesThatAreNoFilesGiveNoDocument)
{
    ASSERT_TRUE(OrvTest::makeFifo(path(QStringLiteral("AlbumData.xml"))));
    EXPECT_TRUE(OrvXMLLoader::loadDocumentElement(QFileInfo(path(QStringLiteral("AlbumData.xml")))).isNull());
    EXPECT_TRUE(OrvXMLLoader::loadDocumentElement(QFileInfo(QStringLiteral("/dev/zero"))).isNull());
    EXPECT_TRUE(OrvXMLLoader::loadDocumentElement(QFileInfo(myDir.path())).isNull());
}

TEST_F(UserFileTest, SizeBoundsHoldWithoutReadingTheFile)
{
    // A sparse file beyond the foto-list bound is refused from its size alone:
    // reading it would take 100 MB.
    const QString big = path(QStringLiteral("big.list"));
    ASSERT_TRUE(makeSparse(big, OrvUserFile::sizeBound(OrvUserFile::FotoList) + 1));
    OrvUserFile::Status status = OrvUserFile::NotOpened;
    EXPECT_TRUE(OrvUserFile::readAll(big, OrvUserFile::FotoList, &status).isEmpty());
    EXPECT_EQ(status, OrvUserFile::TooLarge);
    EXPECT_EQ(OrvUserFile::check(big, OrvUserFile::FotoList), OrvUserFile::TooLarge);
    EXPECT_EQ(OrvUserFile::check(big, OrvUserFile::LibraryFile), OrvUserFile::Ok);
    EXPECT_TRUE(OrvUserFile::describe(OrvUserFile::TooLarge, OrvUserFile::FotoList).contains(QLatin1String("64 MiB")));

    // Exactly at the bound is still fine.
    const QString atBound = path(QStringLiteral("at-bound.list"));
    ASSERT_TRUE(makeSparse(atBound, OrvUserFile::sizeBound(OrvUserFile::FotoList)));
    EXPECT_EQ(OrvUserFile::readAll(atBound, OrvUserFile::FotoList, &status).size(),
              OrvUserFile::sizeBound(OrvUserFile::FotoList));
    EXPECT_EQ(status, OrvUserFile::Ok);
}

TEST_F(UserFileTest, ReadsStopAtTheBoundWhenTheFileGrowsOrHasNoSize)
{
    // The file grows past the bound after it was opened: the size known at the
    // open no longer holds, the bound does.
    const QString growing = write(QStringLiteral("growing.list"), "#orv-fotolist 1\n");
    OrvUserFile file(growing, OrvUserFile::FotoList);
    ASSERT_TRUE(file.open());
    ASSERT_TRUE(makeSparse(growing, OrvUserFile::sizeBound(OrvUserFile::FotoList) + 4096));
    EXPECT_TRUE(file.readWhole().isEmpty());
    EXPECT_EQ(file.status(), OrvUserFile::TooLarge);
    char byte = 0;
    EXPECT_EQ(file.readAt(OrvUserFile::sizeBound(OrvUserFile::FotoList), &byte, 1), -1);

    // procfs reports a size of 0 for files that have content.
    OrvUserFile::Status status = OrvUserFile::NotOpened;
    const QByteArray maps = OrvUserFile::readAll(QStringLiteral("/proc/self/status"), OrvUserFile::FotoList, &status);
    EXPECT_EQ(status, OrvUserFile::Ok);
    EXPECT_TRUE(maps.contains("VmRSS")) << maps.left(200).constData();
}

TEST_F(UserFileTest, ReadsAreUnbufferedPositionedAndTellWhenTheyRanOut)
{
    const QString name = write(QStringLiteral("data"), "0123456789");
    OrvUserFile file(name, OrvUserFile::Image);
    ASSERT_TRUE(file.open());
    EXPECT_FALSE(file.isSequential());
    EXPECT_EQ(file.size(), 10);
    char buffer[16] = {};
    EXPECT_EQ(file.readAt(7, buffer, 16), 3);
    EXPECT_EQ(QByteArray(buffer, 3), "789");
    EXPECT_EQ(file.read(4), "0123") << "positioned reads leave the position alone";
    EXPECT_TRUE(file.seek(8));
    EXPECT_FALSE(file.ranOut());
    EXPECT_EQ(file.read(8), "89");
    EXPECT_EQ(file.read(1), "");
    EXPECT_TRUE(file.ranOut());
    file.resetWatch();
    EXPECT_FALSE(file.ranOut());
    EXPECT_EQ(file.write("x"), -1);
    OrvUserFile twice(name, OrvUserFile::Image);
    EXPECT_FALSE(twice.open(QIODevice::ReadWrite));
}

TEST_F(UserFileTest, TargetFolderWritesOnlyInsideAndNeverThroughLinks)
{
    QTemporaryDir outside;
    const QString target = path(QStringLiteral("out/deeper"));
    OrvTargetFolder folder(target);
    ASSERT_TRUE(folder.isOpen()) << "created with its parents";
    // A link to a missing file outside, one to an existing file, one to a folder.
    QFile::link(outside.filePath(QStringLiteral("planted.jpg")), target + QStringLiteral("/a.jpg"));
    OrvTest::writeFile(outside.filePath(QStringLiteral("existing.jpg")), "keep");
    QFile::link(outside.filePath(QStringLiteral("existing.jpg")), target + QStringLiteral("/b.jpg"));
    QFile::link(outside.path(), target + QStringLiteral("/c"));

    for (const QString& name : {QStringLiteral("a.jpg"), QStringLiteral("b.jpg"), QStringLiteral("c")}) {
        EXPECT_TRUE(folder.isTaken(name)) << name.toStdString();
        EXPECT_FALSE(folder.create(name, QByteArray("evil")));
    }
    EXPECT_FALSE(folder.create(QStringLiteral("c/d.jpg"), QByteArray("evil")));
    for (const QString& bad : {QString(), QStringLiteral("."), QStringLiteral(".."), QStringLiteral("../x.jpg")})
        EXPECT_FALSE(folder.create(bad, QByteArray("evil"))) << bad.toStdString();
    EXPECT_EQ(entries(outside.path()), QStringList{QStringLiteral("existing.jpg")});
    QFile kept(outside.filePath(QStringLiteral("existing.jpg")));
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), "keep");

    EXPECT_TRUE(folder.create(QStringLiteral("new.jpg"), QByteArray("pixels")));
    EXPECT_FALSE(folder.create(QStringLiteral("new.jpg"), QByteArray("again"))) << "nothing is replaced";
    QFile written(target + QStringLiteral("/new.jpg"));
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), "pixels");
    EXPECT_FALSE(QFileInfo(written.fileName()).isSymLink());
}

TEST_F(UserFileTest, FailedWritesLeaveNothingBehind)
{
    const QString target = path(QStringLiteral("out"));
    OrvTargetFolder folder(target);
    ASSERT_TRUE(folder.isOpen());
    EXPECT_FALSE(folder.create(QStringLiteral("half.jpg"), [](QIODevice* device) {
        device->write("half a photo");
        return false;
    }));
    EXPECT_FALSE(folder.writeFailed());
    EXPECT_TRUE(entries(target).isEmpty());

    EXPECT_TRUE(failsOnAFullDisk(
        [](OrvTargetFolder& full) { return full.create(QStringLiteral("big.jpg"), QByteArray(64 * 1024, 'x')); }, target));
    EXPECT_TRUE(entries(target).isEmpty()) << entries(target).join(QLatin1Char(' ')).toStdString();
}

TEST_F(UserFileTest, ADescriptorHandedOutIsCommittedWholeOrLeavesNothing)
{
    const QString target = path(QStringLiteral("downloads"));
    OrvTargetFolder folder(target);
    ASSERT_TRUE(folder.isOpen());
    // A library writes into the descriptor itself; the name appears only on commit.
    QByteArray temporary;
    int fd = folder.createTemporary(&temporary);
    ASSERT_GE(fd, 0);
    EXPECT_TRUE(temporary.startsWith(".orv-"));
    ASSERT_EQ(::write(fd, "photo", 5), 5);
    ::close(fd);
    EXPECT_EQ(folder.temporarySize(temporary), 5);
    EXPECT_FALSE(folder.isTaken(QStringLiteral("IMG.JPG")));
    ASSERT_TRUE(folder.commitTemporary(temporary, QStringLiteral("IMG.JPG")));
    EXPECT_EQ(entries(target), QStringList{QStringLiteral("IMG.JPG")});
    EXPECT_EQ(folder.temporarySize(temporary), -1);

    // Never over what exists, and never under a name that is no name: the temporary file goes.
    for (const QString& name : {QStringLiteral("IMG.JPG"), QStringLiteral("a/b"), QString()}) {
        fd = folder.createTemporary(&temporary);
        ASSERT_GE(fd, 0);
        ::close(fd);
        EXPECT_FALSE(folder.commitTemporary(temporary, name)) << name.toStdString();
        EXPECT_EQ(entries(target), QStringList{QStringLiteral("IMG.JPG")});
    }
    fd = folder.createTemporary(&temporary);
    ::close(fd);
    folder.discardTemporary(temporary);
    EXPECT_EQ(entries(target), QStringList{QStringLiteral("IMG.JPG")});
    QFile kept(target + QStringLiteral("/IMG.JPG"));
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), "photo");
}

TEST_F(UserFileTest, AnAdoptedFileIsLinkedWhereItCanBeAndCopiedWhereNot)
{
    const QString target = path(QStringLiteral("export"));
    OrvTargetFolder folder(target);
    ASSERT_TRUE(folder.isOpen());
    auto inode = [](const QString& file) {
        struct stat info {};
        return ::lstat(QFile::encodeName(file).constData(), &info) == 0 ? info.st_ino : ino_t(0);
    };
    using OrvTest::readFile;
    // A download of our own: the same file under a second name, nothing copied; the source stays.
    const QString download = write(QStringLiteral("IMG_0001-{uuid}.JPG"), "photo one");
    ASSERT_TRUE(folder.adoptFile(QStringLiteral("IMG_0001.JPG"), download));
    EXPECT_EQ(inode(target + QStringLiteral("/IMG_0001.JPG")), inode(download));
    EXPECT_EQ(readFile(download), "photo one");

    // Never over what exists, a dangling link included; never a link, a pipe or a folder as the source.
    EXPECT_FALSE(folder.adoptFile(QStringLiteral("IMG_0001.JPG"), write(QStringLiteral("other"), "other")));
    QFile::link(path(QStringLiteral("nowhere")), target + QStringLiteral("/planted.jpg"));
    EXPECT_FALSE(folder.adoptFile(QStringLiteral("planted.jpg"), download));
    QFile::link(download, path(QStringLiteral("link.jpg")));
    ::mkfifo(QFile::encodeName(path(QStringLiteral("pipe.jpg"))).constData(), 0600);
    for (const QString& source : {QStringLiteral("link.jpg"), QStringLiteral("pipe.jpg"), QStringLiteral("export"), QStringLiteral("missing")})
        EXPECT_FALSE(folder.adoptFile(QStringLiteral("x.jpg"), path(source))) << source.toStdString();
    EXPECT_EQ(readFile(target + QStringLiteral("/IMG_0001.JPG")), "photo one");

    // A file with another name somewhere is the user's too: copied, not linked.
    ASSERT_TRUE(folder.adoptFile(QStringLiteral("twice.jpg"), download));
    EXPECT_NE(inode(target + QStringLiteral("/twice.jpg")), inode(download));
    EXPECT_EQ(readFile(target + QStringLiteral("/twice.jpg")), "photo one");

    // From another file system (memory, where there is one): copied whole.
    QTemporaryDir elsewhere(QStringLiteral("/dev/shm/orv-test-XXXXXX"));
    if (elsewhere.isValid()) {
        const QByteArray big(3 * 1024 * 1024 + 17, 'b');
        OrvTest::writeFile(elsewhere.filePath(QStringLiteral("big.jpg")), big);
        ASSERT_TRUE(folder.adoptFile(QStringLiteral("big.jpg"), elsewhere.filePath(QStringLiteral("big.jpg"))));
        EXPECT_EQ(readFile(target + QStringLiteral("/big.jpg")), big);

        // A full disk on the way: a failed write and nothing left behind.
        EXPECT_TRUE(failsOnAFullDisk(
            [&](OrvTargetFolder& full) {
                return full.adoptFile(QStringLiteral("cut.jpg"), elsewhere.filePath(QStringLiteral("big.jpg")));
            },
            target));
    }
    QStringList expected{QStringLiteral("IMG_0001.JPG"), QStringLiteral("planted.jpg"), QStringLiteral("twice.jpg")};
    if (elsewhere.isValid())
        expected.insert(1, QStringLiteral("big.jpg"));
    EXPECT_EQ(entries(target), expected);
}

TEST_F(UserFileTest, ReplacingASettingsFileNeverGoesThroughALink)
{
    QTemporaryDir outside;
    const QString target = path(QStringLiteral("config"));
    OrvTargetFolder folder(target);
    ASSERT_TRUE(folder.isOpen());
    EXPECT_TRUE(folder.replace(QStringLiteral("a.list"), [](QIODevice* out) { return out->write("one") == 3; }));
    EXPECT_TRUE(folder.replace(QStringLiteral("a.list"), [](QIODevice* out) { return out->write("two") == 3; }));
    QFile replaced(target + QStringLiteral("/a.list"));
    ASSERT_TRUE(replaced.open(QIODevice::ReadOnly));
    EXPECT_EQ(replaced.readAll(), "two");
    // A write that fails keeps the old file as it was.
    EXPECT_FALSE(folder.replace(QStringLiteral("a.list"), [](QIODevice* out) {
        out->write("thr");
        return false;
    }));
    replaced.seek(0);
    EXPECT_EQ(replaced.readAll(), "two");
    // A link or a folder under the name is left alone.
    OrvTest::writeFile(outside.filePath(QStringLiteral("dotfile")), "mine");
    QFile::link(outside.filePath(QStringLiteral("dotfile")), target + QStringLiteral("/b.list"));
    QDir().mkpath(target + QStringLiteral("/c.list"));
    for (const QString& name : {QStringLiteral("b.list"), QStringLiteral("c.list")})
        EXPECT_FALSE(folder.replace(name, [](QIODevice* out) { return out->write("evil") == 4; })) << name.toStdString();
    QFile dotfile(outside.filePath(QStringLiteral("dotfile")));
    ASSERT_TRUE(dotfile.open(QIODevice::ReadOnly));
    EXPECT_EQ(dotfile.readAll(), "mine");
    EXPECT_EQ(entries(target), (QStringList{QStringLiteral("a.list"), QStringLiteral("b.list"), QStringLiteral("c.list")}));
}
