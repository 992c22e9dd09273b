// A library is read where it lies, and Photos may write it meanwhile: reading
// changes no file of the package (not even a file's status), makes no private
// copy while the library holds still, and sees the library as of one commit
// however commits and checkpoints fall between and during its reads.

#include "OrvPhotosLibrary.h"
#include "OrvPhotosLibraryPackage.h"
#include "PhotosLibraryTestSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sqlite3.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <thread>

using namespace OrvPhotoKit;
using namespace PhotosLibraryTest;

namespace {

// Each file of the folder with its bytes' digest, size and the times of its last change of bytes and of status.
QMap<QString, QString> statusOf(const QString& folder)
{
    QMap<QString, QString> result;
    const QMap<QString, QByteArray> digests = fingerprint(folder);
    for (auto it = digests.cbegin(); it != digests.cend(); ++it) {
        struct stat status;
        if (::stat(QFile::encodeName(folder + QLatin1Char('/') + it.key()).constData(), &status) != 0)
            continue;
        result.insert(it.key(), QStringLiteral("%1 %2 %3.%4 %5.%6")
                                    .arg(QString::fromLatin1(it.value()))
                                    .arg(qint64(status.st_size))
                                    .arg(qint64(status.st_mtim.tv_sec))
                                    .arg(qint64(status.st_mtim.tv_nsec))
                                    .arg(qint64(status.st_ctim.tv_sec))
                                    .arg(qint64(status.st_ctim.tv_nsec)));
    }
    return result;
}

// TMPDIR pointed at a folder of the test's own while it lives.
class PrivateTemp
{
public:
    PrivateTemp() : myPrevious(qgetenv("TMPDIR")) { qputenv("TMPDIR", QFile::encodeName(myDir.path())); }
    ~PrivateTemp()
    {
        if (myPrevious.isEmpty())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", myPrevious);
    }
    bool isEmpty() const { return QDir(myDir.path()).isEmpty(); }

private:
    QTemporaryDir myDir;
    QByteArray myPrevious;
};

class WhileWritten : public RealLibraryTest
{
protected:
    void SetUp() override
    {
        RealLibraryTest::SetUp();
        if (!copyLibrary(QStringList{QStringLiteral("database/Photos.sqlite")}))
            return;
        // Photos holds the library open: what it commits stays in the log.
        ASSERT_TRUE(copy->sql(QStringLiteral("UPDATE ZASSET SET ZFAVORITE = 0; "
                                             "UPDATE ZGENERICALBUM SET ZTITLE = 'Off' WHERE ZTITLE = 'Empty Album';"),
                              true));
        ASSERT_TRUE(QFileInfo::exists(copy->database() + QStringLiteral("-wal")));
    }

    // Favourites and the title of the album the writer renames with them, as one read of the library shows them.
    static QString seen(const std::shared_ptr<OrvPhotosLibrary::Package>& package)
    {
        const auto smart = package->fetchAssetCollectionsWithType(AssetCollectionType::SmartAlbum,
                                                                  AssetCollectionSubtype::SmartAlbumFavorites, nullptr);
        const QStringList top = titles(package->fetchTopLevelUserCollectionsWithOptions(nullptr));
        const QString title = top.contains(QStringLiteral("On")) ? QStringLiteral("On") : top.contains(QStringLiteral("Off")) ? QStringLiteral("Off") : QStringLiteral("?");
        return QStringLiteral("%1 %2").arg(package->fetchAssetsInAssetCollection(asAssetCollection(smart->firstObject()), nullptr)->count()).arg(title);
    }
};

TEST_F(WhileWritten, ReadWhereItLiesWithoutAChangeToAnyFileOrACopy)
{
    const QString folder = copy->path() + QStringLiteral("/database");
    const auto before = statusOf(folder);
    PrivateTemp temp;
    auto package = open(copy->path());
    ASSERT_TRUE(package);
    EXPECT_EQ(seen(package), QStringLiteral("0 Off"));
    // No copy while the library holds still.
    EXPECT_TRUE(temp.isEmpty());
    package->refreshNow();
    ASSERT_TRUE(package->currentAsset(package->fetchAssetsWithOptions(nullptr)->firstObject()->localIdentifier()));
    package.reset();
    // Not a byte, a status or a new file ("-shm"), even for a reader that may write them all.
    EXPECT_EQ(statusOf(folder), before);
}

TEST_F(WhileWritten, AFileLookedUpAfterTheLogStartedAnewIsWhereTheDatabaseSaysNow)
{
    const auto package = open(copy->path());
    ASSERT_TRUE(package);
    const QString market = package->fetchAssetsWithOptions(nullptr)->firstObject()->localIdentifier();
    const auto asset = package->currentAsset(market);
    ASSERT_TRUE(asset);
    const auto before = package->filesOf(*asset);
    ASSERT_TRUE(before);
    // A rename folded into the database, then a log of another generation whose
    // frames lie where the index of the open snapshot expects older ones.
    ASSERT_TRUE(copy->sql(QStringLiteral("UPDATE ZADDITIONALASSETATTRIBUTES SET ZORIGINALFILENAME = 'Moved.JPG' WHERE Z_PK = "
                                         "(SELECT ZADDITIONALATTRIBUTES FROM ZASSET WHERE ZUUID = '%1'); "
                                         "PRAGMA wal_checkpoint(TRUNCATE); "
                                         "UPDATE ZASSET SET ZFAVORITE = 1; UPDATE ZGENERICALBUM SET ZTITLE = 'On' WHERE ZTITLE = 'Off';")
                              .arg(asset->uuid()),
                          true));
    const auto after = package->filesOf(*asset);
    ASSERT_TRUE(after);
    EXPECT_EQ(after->originalFilename.toStdString(), "Moved.JPG");
    EXPECT_EQ(after->original.toStdString(), before->original.toStdString());
}

TEST_F(WhileWritten, CommitsAndCheckpointsMeanwhileAreSeenBeforeOrAfterNeverMixed)
{
    sqlite3* writer = nullptr;
    ASSERT_EQ(sqlite3_open_v2(QFile::encodeName(copy->database()).constData(), &writer, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    const auto nothing = [](sqlite3_context* context, int, sqlite3_value**) { sqlite3_result_null(context); };
    for (const char* function : {"NSCoreDataDATriggerInsertUpdatedAffectedObjectValue", "NSCoreDataDATriggerUpdatedAffectedObjectValue",
                                 "NSCoreDataTriggerUpdateAffectedObjectValue"})
        sqlite3_create_function_v2(writer, function, -1, SQLITE_UTF8, nullptr, nothing, nullptr, nullptr, nullptr);
    sqlite3_busy_timeout(writer, 5000);

    // Every commit turns the favourites and the title together; checkpoints copy
    // the log into the database file, and every other one starts the log anew.
    std::atomic<bool> stop{false};
    std::atomic<int> commits{0};
    std::thread photos([&] {
        for (int i = 1; !stop; ++i) {
            const QByteArray statements = i % 2 == 1
                ? "BEGIN; UPDATE ZASSET SET ZFAVORITE = 1; UPDATE ZGENERICALBUM SET ZTITLE = 'On' WHERE ZTITLE = 'Off'; COMMIT;"
                : "BEGIN; UPDATE ZASSET SET ZFAVORITE = 0; UPDATE ZGENERICALBUM SET ZTITLE = 'Off' WHERE ZTITLE = 'On'; COMMIT;";
            if (sqlite3_exec(writer, statements.constData(), nullptr, nullptr, nullptr) == SQLITE_OK)
                ++commits;
            else
                sqlite3_exec(writer, "ROLLBACK;", nullptr, nullptr, nullptr);
            if (i % 3 == 0)
                sqlite3_exec(writer, i % 6 == 0 ? "PRAGMA wal_checkpoint(RESTART);" : "PRAGMA wal_checkpoint(PASSIVE);", nullptr,
                             nullptr, nullptr);
            // Photos writes in bursts with rests between; a writer that never rests would
            // leave no moment in which a library can be read whole.
            std::this_thread::sleep_for(std::chrono::milliseconds(i % 2 == 0 ? 20 : 0));
        }
    });
    int reads = 0;
    for (; reads < 60 || commits < 60; ++reads) {
        QString error;
        const auto package = open(copy->path(), &error);
        if (!package) {
            ADD_FAILURE() << error.toStdString();
            break;
        }
        const QString state = seen(package);
        EXPECT_TRUE(state == QStringLiteral("0 Off") || state == QStringLiteral("5 On")) << state.toStdString();
        if (reads > 2000)
            break;
    }
    stop = true;
    photos.join();
    sqlite3_close(writer);
    EXPECT_GE(commits.load(), 60);
}

} // namespace
