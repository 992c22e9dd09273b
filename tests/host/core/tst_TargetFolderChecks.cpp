// What a target folder lets in: only files its check takes, by whichever way
// they come; and temporary files with names (where the system has no unnamed
// ones) that never go through what is planted at their name.

#include "OrvTargetFolder.h"
#include "OrvUserFile.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <unistd.h>

namespace {

QStringList entries(const QString& dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

// Takes files that start with "photo", and says so; puts those that start "photo?" under a name ending ".q".
bool photosOnly(OrvUserFile* file, QString* name, QString* why)
{
    char head[6] = {};
    const qint64 got = file->readAt(0, head, 6);
    if (got < 5 || QByteArray(head, 5) != "photo") {
        *why = QStringLiteral("no photo");
        return false;
    }
    if (got == 6 && head[5] == '?')
        *name += QStringLiteral(".q");
    return true;
}

class TargetFolderChecks : public ::testing::TestWithParam<bool>
{
protected:
    void SetUp() override
    {
        myFolder = std::make_unique<OrvTargetFolder>(myDir.filePath(QStringLiteral("out")));
        ASSERT_TRUE(myFolder->isOpen());
        // Both ways a temporary file is made: without a name, and with one.
        if (GetParam())
            myFolder->useNamedTemporariesForTesting(11);
    }
    QString out(const QString& name = QString()) const { return myDir.filePath(QStringLiteral("out/") + name); }

    QTemporaryDir myDir;
    std::unique_ptr<OrvTargetFolder> myFolder;
};

} // namespace

TEST_P(TargetFolderChecks, EveryWayInIsCheckedAndARefusedFileLeavesNothing)
{
    OrvTargetFolder& folder = *myFolder;
    folder.setCheck(&photosOnly);
    EXPECT_TRUE(folder.create(QStringLiteral("a.jpg"), QByteArray("photo a")));
    EXPECT_FALSE(folder.create(QStringLiteral("b.jpg"), QByteArray("text b")));
    EXPECT_EQ(folder.errorString(), QStringLiteral("no photo"));
    EXPECT_FALSE(folder.writeFailed());
    EXPECT_FALSE(folder.folderRefused());

    const QString good = myDir.filePath(QStringLiteral("good"));
    const QString bad = myDir.filePath(QStringLiteral("bad"));
    OrvTest::writeFile(good, "photo c");
    OrvTest::writeFile(bad, "text d");
    EXPECT_TRUE(folder.adoptFile(QStringLiteral("c.jpg"), good));
    EXPECT_FALSE(folder.adoptFile(QStringLiteral("d.jpg"), bad));
    EXPECT_EQ(folder.errorString(), QStringLiteral("no photo"));
    // Adopted from a file with a second name: copied, checked all the same.
    ASSERT_EQ(::link(QFile::encodeName(bad).constData(), QFile::encodeName(myDir.filePath(QStringLiteral("bad-2"))).constData()), 0);
    EXPECT_FALSE(folder.adoptFile(QStringLiteral("e.jpg"), bad));

    QByteArray temporary;
    for (const QByteArray& bytes : {QByteArray("photo f"), QByteArray("text g")}) {
        const int fd = folder.createTemporary(&temporary);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(::write(fd, bytes.constData(), size_t(bytes.size())), ssize_t(bytes.size()));
        ::close(fd);
        EXPECT_EQ(folder.commitTemporary(temporary, QString::fromLatin1(bytes.right(1)) + QStringLiteral(".jpg")),
                  bytes.startsWith("photo"));
    }
    EXPECT_FALSE(folder.replace(QStringLiteral("h.list"), [](QIODevice* device) { return device->write("text h") == 6; }));
    // Given another name by the check: created, adopted (linked or copied) and committed under it.
    EXPECT_TRUE(folder.create(QStringLiteral("i"), QByteArray("photo? i")));
    EXPECT_EQ(folder.createdName(), QStringLiteral("i.q"));
    const QString linked = myDir.filePath(QStringLiteral("linked"));
    const QString copied = myDir.filePath(QStringLiteral("copied"));
    OrvTest::writeFile(linked, "photo? j");
    OrvTest::writeFile(copied, "photo? k");
    ASSERT_EQ(::link(QFile::encodeName(copied).constData(), QFile::encodeName(copied + QStringLiteral("-2")).constData()), 0);
    EXPECT_TRUE(folder.adoptFile(QStringLiteral("j"), linked));
    EXPECT_EQ(folder.createdName(), QStringLiteral("j.q"));
    EXPECT_TRUE(folder.adoptFile(QStringLiteral("k"), copied));
    EXPECT_EQ(folder.createdName(), QStringLiteral("k.q"));
    EXPECT_FALSE(folder.replace(QStringLiteral("l.list"), [](QIODevice* device) { return device->write("photo? l") == 8; }))
        << "a replacement goes in place of its file or nowhere";
    EXPECT_EQ(entries(out()), (QStringList{QStringLiteral("a.jpg"), QStringLiteral("c.jpg"), QStringLiteral("f.jpg"),
                                           QStringLiteral("i.q"), QStringLiteral("j.q"), QStringLiteral("k.q")}));
    EXPECT_EQ(OrvTest::readFile(out(QStringLiteral("c.jpg"))), "photo c");
    EXPECT_EQ(OrvTest::readFile(bad), "text d");
}

TEST_P(TargetFolderChecks, ANamedTemporaryFileNeverGoesThroughWhatIsAtItsName)
{
    if (!GetParam())
        GTEST_SKIP() << "only temporary files with names can meet what is planted";
    QTemporaryDir outside;
    const QString victim = outside.filePath(QStringLiteral("victim"));
    OrvTest::writeFile(victim, "keep this");
    // The names the folder will draw, taken before it writes: a link to a file
    // outside, a link to where nothing is yet, a file of the user's.
    QRandomGenerator names(11);
    const QString first = out(QString::fromLatin1(OrvTargetFolder::temporaryName(&names)));
    const QString second = out(QString::fromLatin1(OrvTargetFolder::temporaryName(&names)));
    const QString third = out(QString::fromLatin1(OrvTargetFolder::temporaryName(&names)));
    ASSERT_TRUE(QFile::link(victim, first));
    ASSERT_TRUE(QFile::link(outside.filePath(QStringLiteral("made")), second));
    ASSERT_TRUE(OrvTest::writeFile(third, "the user's"));

    ASSERT_TRUE(myFolder->create(QStringLiteral("IMG.JPG"), QByteArray("photo")));
    EXPECT_EQ(OrvTest::readFile(victim), "keep this");
    EXPECT_EQ(entries(outside.path()), QStringList{QStringLiteral("victim")});
    EXPECT_EQ(OrvTest::readFile(third), "the user's");
    EXPECT_EQ(OrvTest::readFile(out(QStringLiteral("IMG.JPG"))), "photo");
    EXPECT_FALSE(QFileInfo(out(QStringLiteral("IMG.JPG"))).isSymLink());
    // Nothing of its own stays: the planted names and the file it made.
    EXPECT_EQ(entries(out()).size(), 4);
    EXPECT_TRUE(entries(out()).contains(QStringLiteral("IMG.JPG")));
}

INSTANTIATE_TEST_SUITE_P(UnnamedAndNamed, TargetFolderChecks, ::testing::Bool());
