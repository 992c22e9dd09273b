#include "OrvApplePhotosFile.h"
#include "OrvApplePhotosFileEngine.h"
#include "OrvApplePhotosFileEngineHandler.h"
#include "OrvApplePhotosIterator.h"
#include "OrvFotoRegistries.h"
#include "OrvPhotoKitDatabase.h"
#include "TestSupport.h"
#include "sim/OrvPhotoKitSimLibrary.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QMutex>
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
#include <QDirListing>
#endif

#include <memory>

namespace {

QMutex logMutex;
QStringList logLines;
void capture(QtMsgType, const QMessageLogContext&, const QString& message)
{
    QMutexLocker locker(&logMutex);
    logLines.append(message);
}

OrvApplePhotosFileEngine engineFor(const QString& path)
{
    const auto split = OrvApplePhotosFile::splitPathAndFile(path);
    return OrvApplePhotosFileEngine(path, split.first, split.second);
}

class FileEngineTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        OrvApplePhotosFile::installHandler();
        OrvPhotoKitSim::install();
        library = OrvPhotoKitSim::Library::create();
        library->setAuthorizationStatus(OrvPhotoKit::AuthorizationStatus::Authorized);
        OrvPhotoKitSim::setSharedLibrary(library);
        previous = qInstallMessageHandler(capture);
        QMutexLocker locker(&logMutex);
        logLines.clear();
    }
    void TearDown() override
    {
        qInstallMessageHandler(previous);
        OrvApplePhotosFile::deleteTempFiles();
        OrvPhotoKitSim::setSharedLibrary(nullptr);
    }
    void addAsset(const QString& id, const QString& created)
    {
        OrvPhotoKitSim::AssetSpec spec;
        spec.localIdentifier = id;
        spec.creationDate = QDateTime::fromString(created, Qt::ISODate);
        library->addAsset(spec);
    }
    static bool logged(const QString& line)
    {
        QMutexLocker locker(&logMutex);
        return logLines.contains(line);
    }

    std::shared_ptr<OrvPhotoKitSim::Library> library;
    QtMessageHandler previous = nullptr;
};

} // namespace

TEST(FileEngineSplit, OnlyPathsThatBeginWithThePrefixAndTheInnermostPart)
{
    using Split = QPair<QString, QString>;
    EXPECT_EQ(OrvApplePhotosFile::splitPathAndFile(QStringLiteral("photokitfs:abc")),
              Split(QStringLiteral("photokitfs"), QStringLiteral("photokitfs:abc")));
    EXPECT_EQ(OrvApplePhotosFile::splitPathAndFile(QStringLiteral("photokitfs:x/photokitfs:y")),
              Split(QStringLiteral("photokitfs"), QStringLiteral("photokitfs:y")));
    EXPECT_EQ(OrvApplePhotosFile::splitPathAndFile(QStringLiteral("photokitfs:a/photokitfs:/photokitfs:b#c.jpeg")).second,
              QStringLiteral("photokitfs:b#c.jpeg"));
    for (const QString& other : {QStringLiteral("/tmp/photokitfs:x"), QStringLiteral("PhotoKitFS:x"), QString(),
                                 QStringLiteral("photokit:foto#x")}) {
        EXPECT_EQ(OrvApplePhotosFile::splitPathAndFile(other), Split()) << other.toStdString();
        EXPECT_FALSE(OrvApplePhotosFile::isApplePhotosPath(other));
        EXPECT_TRUE(OrvApplePhotosFile::dbFile(other).isEmpty());
    }
    EXPECT_EQ(OrvApplePhotosFile::dbFile(QStringLiteral("photokitfs:")), QStringLiteral("photokitfs"));
    OrvApplePhotosFileEngineHandler handler;
    std::unique_ptr<QAbstractFileEngine> none(handler.create(QStringLiteral("/tmp/photokitfs:x")));
    EXPECT_FALSE(none);
}

TEST(FileEngineFlags, PhotosAreExistingLinksAndEverythingElseADirectory)
{
    using Engine = QAbstractFileEngine;
    const OrvApplePhotosFileEngine photo = engineFor(QStringLiteral("photokitfs:/photokit:foto#A_2FB.jpeg"));
    const OrvApplePhotosFileEngine folder = engineFor(QStringLiteral("photokitfs:/photokit:album#A"));
    EXPECT_EQ(photo.fileFlags(Engine::ExistsFlag), Engine::FileFlags(Engine::ExistsFlag | Engine::LinkType));
    EXPECT_EQ(folder.fileFlags(Engine::FileType), Engine::FileFlags(Engine::ExistsFlag | Engine::DirectoryType));
    EXPECT_EQ(photo.fileFlags(Engine::FileInfoAll), Engine::FileFlags(0xFFFF | Engine::ExistsFlag | Engine::LinkType));
    // Asked only for the directory type: the permission part alone, here nothing.
    EXPECT_EQ(folder.fileFlags(Engine::DirectoryType), Engine::FileFlags());
    EXPECT_EQ(folder.fileFlags(Engine::DirectoryType | Engine::ReadOwnerPerm), Engine::FileFlags(0xFFFF));
    // Case matters: a name with "PhotoKit:Foto" is no photo.
    EXPECT_TRUE(engineFor(QStringLiteral("photokitfs:/PhotoKit:Foto#x")).fileFlags(Engine::ExistsFlag) & Engine::DirectoryType);
}

TEST(FileEngineContents, EmptyWithA32BitPositionThatWritesAdvance)
{
    OrvApplePhotosFileEngine engine = engineFor(QStringLiteral("photokitfs:/photokit:foto#x.jpeg"));
    EXPECT_TRUE(engine.open(QIODevice::ReadOnly));
    char buffer[16] = {};
    EXPECT_EQ(engine.read(buffer, sizeof buffer), 0);
    EXPECT_EQ(engine.size(), 0);
    EXPECT_TRUE(engine.seek(0));
    EXPECT_FALSE(engine.seek(1));
    EXPECT_FALSE(engine.seek(-1));
    EXPECT_EQ(engine.write("hello", 5), 5);
    EXPECT_EQ(engine.pos(), 5);
    EXPECT_EQ(engine.read(buffer, sizeof buffer), 0);  // the write moved the position past what it wrote
    EXPECT_TRUE(engine.seek(0));
    EXPECT_EQ(engine.read(buffer, 3), 3);
    EXPECT_EQ(QByteArray(buffer, 3), QByteArray("hel"));
    EXPECT_EQ(engine.read(buffer, sizeof buffer), 2);
    EXPECT_EQ(engine.write("ab", -1), -1);  // up to the terminating zero
    EXPECT_EQ(engine.size(), 7);
    EXPECT_FALSE(engine.isSequential());
    EXPECT_TRUE(engine.caseSensitive());
    EXPECT_TRUE(engine.flush());
    EXPECT_TRUE(engine.close());
    EXPECT_FALSE(engine.remove());
    EXPECT_FALSE(engine.rename(QStringLiteral("/tmp/x")));
    EXPECT_FALSE(engine.rmdir(QStringLiteral("photokitfs:/photokit:foto#x.jpeg"), false));
    EXPECT_TRUE(engine.mkdir(QStringLiteral("photokitfs:/photokit:foto#x.jpeg"), false));
    EXPECT_FALSE(engine.mkdir(QStringLiteral("photokitfs:/other"), false));
    EXPECT_TRUE(engine.setSize(99));
    EXPECT_EQ(engine.size(), 7);
    EXPECT_EQ(engine.owner(QAbstractFileEngine::OwnerUser), QStringLiteral("dbadmin"));
    EXPECT_EQ(engine.ownerId(QAbstractFileEngine::OwnerGroup), 501u);
    EXPECT_TRUE(engine.isRelativePath());
    EXPECT_FALSE(engineFor(QStringLiteral("photokitfs:x")).readAllIntoArray().size());
}

TEST(FileEngineNames, KindsOfNames)
{
    using Engine = QAbstractFileEngine;
    OrvApplePhotosFileEngine engine = engineFor(QStringLiteral("photokitfs:/lib/photokitfs:/photokit:foto#A_2FB.jpeg/"));
    EXPECT_EQ(engine.fileName(Engine::DefaultName), QStringLiteral("photokitfs:/lib/photokitfs:/photokit:foto#A_2FB.jpeg"));
    EXPECT_EQ(engine.fileName(Engine::AbsolutePathName), engine.fileName(Engine::DefaultName));
    EXPECT_EQ(engine.fileName(Engine::BaseName), QStringLiteral("photokitfs:/photokit:foto#A_2FB.jpeg"));
    EXPECT_EQ(engine.fileName(Engine::CanonicalName), QStringLiteral("photokit:foto#A_2FB"));
    EXPECT_EQ(engine.fileName(Engine::BundleName), QString());
    engine.setFileName(QStringLiteral("/elsewhere/"));
    EXPECT_EQ(engine.fileName(), QStringLiteral("/elsewhere"));
    EXPECT_FALSE(engine.isRelativePath());
}

TEST_F(FileEngineTest, QDirListsEveryPhotoWithItsDateAndQFileInfoSeesLinks)
{
    addAsset(QStringLiteral("PLAIN1"), QStringLiteral("2020-01-02T03:04:05Z"));
    addAsset(QStringLiteral("WITH/SLASH"), QStringLiteral("2021-01-02T03:04:05Z"));
    const QStringList names = QDir(QStringLiteral("photokitfs:")).entryList(QDir::AllEntries | QDir::System, QDir::NoSort);
    ASSERT_EQ(names.size(), 2);
    EXPECT_TRUE(names[0].endsWith(QLatin1String("photokit:foto#PLAIN1.jpeg"))) << names[0].toStdString();
    EXPECT_TRUE(names[1].endsWith(QLatin1String("photokit:foto#WITH_2FSLASH.jpeg"))) << names[1].toStdString();
    EXPECT_EQ(OrvApplePhotosFileEngine::cachedAssetDate(QStringLiteral("WITH/SLASH")),
              QDateTime::fromString(QStringLiteral("2021-01-02T03:04:05Z"), Qt::ISODate));

    const QFileInfo plain(QStringLiteral("photokitfs:/photokit:foto#PLAIN1.jpeg"));
    EXPECT_TRUE(plain.exists());
    EXPECT_TRUE(plain.isSymLink());
    EXPECT_FALSE(plain.isFile());
    EXPECT_EQ(plain.lastModified().toUTC(), QDateTime::fromString(QStringLiteral("2020-01-02T03:04:05Z"), Qt::ISODate));
    // The name keeps the escaped identifier, which PhotoKit does not know: no date, and the debug line.
    const QFileInfo slashed(QStringLiteral("photokitfs:/photokit:foto#WITH_2FSLASH.jpeg"));
    EXPECT_FALSE(slashed.lastModified().isValid());
    EXPECT_TRUE(logged(QStringLiteral("Error: Asset with localIdentifier \"WITH_2FSLASH\" not found")));
    // Anything else, also a photo that is gone, is there.
    EXPECT_TRUE(QFileInfo(QStringLiteral("photokitfs:/some/folder")).isDir());
    EXPECT_TRUE(QFileInfo(QStringLiteral("photokitfs:/photokit:foto#GONE.jpeg")).exists());
    QFile file(QStringLiteral("photokitfs:/photokit:foto#PLAIN1.jpeg"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().isEmpty());
}

// Qt 6.8 lists through QDirListing and advance(), earlier versions through QDirIterator and
// hasNext()/next(): every way of listing gives the engine's own names, in its order.
TEST_F(FileEngineTest, EveryWayOfListingGivesTheSameEntries)
{
    for (int i = 0; i < 5; ++i)
        addAsset(QStringLiteral("ASSET%1").arg(i), QStringLiteral("2020-01-02T03:04:0%1Z").arg(i));
    OrvApplePhotosFileEngine engine = engineFor(QStringLiteral("photokitfs:"));
    const QStringList names = engine.entryList(OrvEntryListFilters(), {});
    ASSERT_EQ(names.size(), 5);

    std::unique_ptr<QAbstractFileEngineIterator> iterator(
        engine.beginEntryList(QStringLiteral("photokitfs:"), OrvEntryListFilters(), {}));
    ASSERT_TRUE(iterator);
    auto* walker = static_cast<OrvApplePhotosIterator*>(iterator.get());
    EXPECT_EQ(walker->currentFileName(), QString());
    QStringList walked;
    while (walker->advance())
        walked.append(walker->currentFileName());
    EXPECT_EQ(walked, names);
    EXPECT_FALSE(walker->advance());
    EXPECT_EQ(walker->currentFileName(), names.last());

    QStringList expected;
    for (const QString& name : names)
        expected.append(QStringLiteral("photokitfs:/") + name);
    QStringList viaIterator;
    QDirIterator it(QStringLiteral("photokitfs:"), QDir::AllEntries | QDir::System);
    while (it.hasNext())
        viaIterator.append(it.next());
    EXPECT_EQ(viaIterator, expected);
    QStringList viaDir;
    for (const QFileInfo& info : QDir(QStringLiteral("photokitfs:")).entryInfoList(QDir::AllEntries | QDir::System, QDir::NoSort))
        viaDir.append(info.filePath());
    EXPECT_EQ(viaDir, expected);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QStringList viaListing;
    for (const auto& entry : QDirListing(QStringLiteral("photokitfs:"), QDirListing::IteratorFlag::IncludeHidden))
        viaListing.append(entry.filePath());
    EXPECT_EQ(viaListing, expected);
#endif
}

TEST_F(FileEngineTest, ExternalizedCopiesAreOnePerPathAndStayInTheTemporaryFolder)
{
    const QUrl photo = QUrl::fromLocalFile(QStringLiteral("photokitfs:/photokit:foto#A.jpeg"));
    const QUrl sameName = QUrl::fromLocalFile(QStringLiteral("photokitfs:/x/photokitfs:/photokit:foto#A.jpeg"));
    const QUrl first = OrvApplePhotosFile::externalize(photo);
    ASSERT_TRUE(first.isLocalFile());
    EXPECT_NE(first, photo);
    EXPECT_EQ(OrvApplePhotosFile::externalize(photo), first);
    const QUrl second = OrvApplePhotosFile::externalize(sameName);
    EXPECT_NE(second, first);
    const QString folder = OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir();
    for (const QUrl& copy : {first, second}) {
        const QFileInfo info(copy.toLocalFile());
        EXPECT_TRUE(info.isFile());
        EXPECT_EQ(info.absolutePath(), QFileInfo(folder).absoluteFilePath());
        EXPECT_EQ(info.suffix(), QStringLiteral("jpeg"));
    }
    const QUrl plain = QUrl::fromLocalFile(QStringLiteral("/tmp/photo.jpeg"));
    EXPECT_EQ(OrvApplePhotosFile::externalize(plain), plain);
    EXPECT_EQ(OrvApplePhotosFile::externalize(QUrl(QStringLiteral("photokitfs:x"))), QUrl(QStringLiteral("photokitfs:x")));
    OrvApplePhotosFile::deleteTempFiles();
    EXPECT_FALSE(QFileInfo::exists(first.toLocalFile()));
    EXPECT_FALSE(QFileInfo::exists(second.toLocalFile()));
    EXPECT_NE(OrvApplePhotosFile::externalize(photo), first);
}
