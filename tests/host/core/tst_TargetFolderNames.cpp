// Names a target folder makes from what a library calls its files, and what it
// says when the folder takes no file at all.

#include "OrvTargetFolder.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <cstring>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

qsizetype bytesOf(const QString& name) { return QFile::encodeName(name).size(); }

// Whether name is valid UTF-8 as a whole, no character cut in half.
bool isWholeText(const QString& name)
{
    return !name.contains(QChar::ReplacementCharacter) && QFile::decodeName(QFile::encodeName(name)) == name;
}

} // namespace

TEST(TargetFolderNames, LongAndStrangeNamesFitWithTheirExtension)
{
    const QString accents = QString(200, QChar(0xe9)) + QStringLiteral(".jpg");
    const QString camera = QString::fromUtf8("\xf0\x9f\x93\xb7");
    const struct
    {
        QString given;
        QString start;
    } cases[] = {
        {QString(296, QLatin1Char('a')) + QStringLiteral(".JPG"), QStringLiteral("aaaa")},
        {accents, QString(QChar(0xe9))},
        // Four bytes a character: never cut between the two halves of a surrogate pair.
        {camera.repeated(80) + QStringLiteral(".png"), camera},
        {QStringLiteral("a") + QChar(0) + QStringLiteral("b/c.jpg"), QStringLiteral("a_b_c.jpg")},
    };
    for (const auto& entry : cases) {
        const QString name = OrvTargetFolder::fittingName(entry.given);
        SCOPED_TRACE(name.toStdString());
        EXPECT_TRUE(OrvTargetFolder::isValidName(name));
        EXPECT_LE(bytesOf(name), 255);
        EXPECT_GE(bytesOf(name), qMin<qsizetype>(bytesOf(entry.given), 252)) << "no more cut than needed";
        EXPECT_TRUE(isWholeText(name));
        EXPECT_TRUE(name.startsWith(entry.start));
        EXPECT_EQ(name.section(QLatin1Char('.'), -1), entry.given.section(QLatin1Char('.'), -1));
    }
    EXPECT_EQ(OrvTargetFolder::fittingName(QStringLiteral("IMG_0001.JPG")), QStringLiteral("IMG_0001.JPG"));
    EXPECT_EQ(OrvTargetFolder::fittingName(QStringLiteral("..")), QStringLiteral("_.."));
    // A limit as small as some file systems have still keeps the extension.
    const QString small = OrvTargetFolder::fittingName(accents, 20);
    EXPECT_LE(bytesOf(small), 20);
    EXPECT_TRUE(small.endsWith(QStringLiteral(".jpg")));
    EXPECT_TRUE(isWholeText(small));
}

TEST(TargetFolderNames, NumberedNamesFitAndTheSearchAlwaysEnds)
{
    QTemporaryDir dir;
    OrvTargetFolder folder(dir.path());
    ASSERT_TRUE(folder.isOpen());
    // A camera's longest name, already in the folder: its -2 would be two bytes too long.
    const QString longest = QString(251, QLatin1Char('c')) + QStringLiteral(".JPG");
    ASSERT_TRUE(folder.create(longest, QByteArray("first")));
    const QString second = folder.uniqueName(longest);
    EXPECT_EQ(second, QString(249, QLatin1Char('c')) + QStringLiteral("-2.JPG"));
    ASSERT_TRUE(folder.create(second, QByteArray("second")));
    EXPECT_EQ(folder.uniqueName(longest), QString(249, QLatin1Char('c')) + QStringLiteral("-3.JPG"));

    const QString accents = QString(200, QChar(0xe9)) + QStringLiteral(".jpg");
    const QString fitted = folder.uniqueName(accents);
    ASSERT_TRUE(folder.create(fitted, QByteArray("x")));
    const auto skipSecond = [](const QString& name) { return name.contains(QStringLiteral("-2.")); };
    const QString numbered = folder.uniqueName(accents, skipSecond);
    EXPECT_TRUE(numbered.endsWith(QStringLiteral("-3.jpg"))) << numbered.toStdString();
    EXPECT_LE(bytesOf(numbered), 255);
    EXPECT_TRUE(isWholeText(numbered));
    EXPECT_TRUE(folder.create(numbered, QByteArray("y")));

    // Names the caller keeps for itself count as taken; when it keeps every one the search gives up.
    EXPECT_TRUE(folder.uniqueName(QStringLiteral("a.jpg"), [](const QString&) { return true; }).isEmpty());
    EXPECT_FALSE(folder.errorString().isEmpty());
    EXPECT_TRUE(folder.uniqueName(QString()).isEmpty());
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), 4);
}

// A folder the user may not write into: the refusal is the folder's, with the
// system's reason. As root a child drops to another user, whom the permission bits hold.
TEST(TargetFolderNames, AFolderThatTakesNoFileSaysWhy)
{
    QTemporaryDir dir;
    const QString target = dir.filePath(QStringLiteral("readonly"));
    ASSERT_TRUE(QDir().mkpath(target));
    ASSERT_EQ(::chmod(QFile::encodeName(dir.path()).constData(), 0755), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(target).constData(), 0555), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (::geteuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(3);
        OrvTargetFolder folder(target);
        const QString name = folder.uniqueName(QStringLiteral("IMG_0001.JPG"));
        const bool refused = folder.isOpen() && name == QStringLiteral("IMG_0001.JPG")
            && !folder.create(name, QByteArray("pixels")) && folder.folderRefused() && folder.writeFailed()
            && folder.errorString() == QString::fromLocal8Bit(std::strerror(EACCES));
        ::_exit(refused ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(QDir(target).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
    ::chmod(QFile::encodeName(target).constData(), 0755);

    // A producer with nothing to give is no refusal of the folder.
    OrvTargetFolder writable(target);
    EXPECT_FALSE(writable.create(QStringLiteral("empty.jpg"), [](QIODevice*) { return false; }));
    EXPECT_FALSE(writable.folderRefused());
}
