// The libgphoto2 backend end to end, on libgphoto2's "Directory Browse"
// driver, which serves a folder as a camera: through the Image Capture source
// as the host sees it, and the device's own downloads and cancels.

#include "OrvAppleImageCaptureDatabase.h"
#include "OrvFotoDate.h"
#include "OrvUserFile.h"
#include "OrvAppleImageCaptureInterface.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetriever.h"
#include "OrvNativeMetaData.h"
#include "OrvQtCompat.h"
#include "gphoto2/OrvGPhoto2Backend.h"
#include "gphoto2/OrvGPhoto2CaptureDate.h"
#include "gphoto2/OrvGPhoto2Library.h"
#include "gphoto2/OrvGPhoto2TaskThread.h"
#include "gphoto2/OrvGPhoto2Thumbnail.h"
#include "gphoto2/OrvXdgMimeApps.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QBuffer>
#include <QTemporaryDir>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <mutex>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

using namespace OrvImageCapture;

namespace {

const QString model = QStringLiteral("Directory Browse");

// A JPEG whose EXIF block carries a thumbnail (a second, smaller JPEG).
QByteArray jpegWithExifThumbnail(const QByteArray& main, const QByteArray& thumbnail)
{
    QByteArray tiff("II*\0\x08\0\0\0", 8);
    auto put16 = [&](quint16 v) { tiff.append(char(v & 0xFF)).append(char(v >> 8)); };
    auto put32 = [&](quint32 v) { put16(quint16(v & 0xFFFF)), put16(quint16(v >> 16)); };
    put16(0);   // IFD0: no entries
    put32(14);  // IFD1 follows
    put16(2);
    const quint32 data = 14 + 2 + 2 * 12 + 4;
    put16(0x0201), put16(4), put32(1), put32(data);
    put16(0x0202), put16(4), put32(1), put32(quint32(thumbnail.size()));
    put32(0);
    tiff.append(thumbnail);
    const QByteArray payload = QByteArray("Exif\0\0", 6) + tiff;
    QByteArray segment("\xFF\xE1", 2);
    segment.append(char((payload.size() + 2) >> 8)).append(char((payload.size() + 2) & 0xFF)).append(payload);
    return main.left(2) + segment + main.mid(2);
}

// A JPEG with the capture date in its EXIF block, written by the host's own writer.
QByteArray jpegTakenAt(const QByteArray& jpeg, const QDateTime& taken)
{
    OrvFotoMetaData data;
    data.setPictureTaken(taken);
    QByteArray bytes = jpeg;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadWrite);
    return OrvNativeMetaDataExiv2(data).store(&buffer) ? buffer.data() : QByteArray();
}

// A JPEG whose frame header declares width x height (its data stays that of a small one).
QByteArray jpegDeclaring(int width, int height)
{
    QByteArray jpeg = OrvTest::makeJpeg(16, 16);
    const qsizetype sof = jpeg.indexOf(QByteArray("\xFF\xC0", 2));
    if (sof < 0)
        return {};
    jpeg[sof + 5] = char(height >> 8), jpeg[sof + 6] = char(height & 0xFF);
    jpeg[sof + 7] = char(width >> 8), jpeg[sof + 8] = char(width & 0xFF);
    return jpeg;
}

// Named pipes made for a test: a reader that waits on one is let go at the end.
// Other planted names that Qt cannot remove (no valid text) go then too.
struct Pipes
{
    ~Pipes()
    {
        for (const QByteArray& path : paths) {
            const int fd = ::open(path.constData(), O_RDWR | O_NONBLOCK);
            if (fd >= 0)
                ::close(fd);
        }
        for (const QByteArray& path : planted)
            ::unlink(path.constData());
    }
    bool make(const QString& path)
    {
        paths.append(QFile::encodeName(path));
        return ::mkfifo(paths.last().constData(), 0644) == 0;
    }
    QList<QByteArray> paths;
    QList<QByteArray> planted;
};

QByteArray folderFingerprint(const QString& folder)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDirIterator::Subdirectories);
    QStringList entries;
    while (it.hasNext())
        entries.append(it.next());
    entries.sort();
    for (const QString& path : entries) {
        const QFileInfo info(path);
        hash.addData(path.toUtf8());
        hash.addData(QByteArray::number(info.lastModified().toMSecsSinceEpoch()));
        QFile file(path);
        if (info.isFile() && file.open(QIODevice::ReadOnly))
            hash.addData(file.readAll());
    }
    return hash.result();
}

// Puts a named pipe in a photo's place just as the photo is opened: between the
// look at its path and its open, where another process could do the same.
QByteArray pipeFor;
QByteArray pipeAt;
std::atomic<bool> pipeSwapped{false};
void swapInThePipe(const QByteArray& path)
{
    if (path.endsWith(pipeFor) && !pipeSwapped.exchange(true))
        ::rename(pipeAt.constData(), path.constData());
}

// Hears one download's completion.
struct Completion : DownloadDelegate
{
    void didDownloadFile(const CameraFilePtr&, const OptionalError& error, const DownloadOptions& options, void*) override
    {
        done = true;
        failed = error.has_value();
        code = error ? error->code : 0;
        saved = options.savedFilename;
    }
    bool done = false;
    bool failed = false;
    int code = 0;
    QString saved;
};

class GPhoto2Test : public ::testing::Test
{
protected:
    void SetUp() override
    {
        OrvGPhoto2::install(false);
        OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({});
        main = OrvTest::makeJpeg(640, 480);
        thumbnail = OrvTest::makeJpeg(96, 72);
        write(QStringLiteral("DCIM/100TEST/IMG_0001.JPG"), jpegWithExifThumbnail(main, thumbnail));
        write(QStringLiteral("DCIM/100TEST/IMG_0002.JPG"), OrvTest::makeJpeg(320, 200));
        write(QStringLiteral("DCIM/101TEST/IMG_0001.JPG"), OrvTest::makeJpeg(100, 80));
        write(QStringLiteral("DCIM/100TEST/notes.txt"), "not a photo");
        port = QStringLiteral("disk:") + storage.path();
        uuid = OrvGPhoto2::uuidFor(QStringLiteral("port:%1=%2").arg(model, port));
    }
    void TearDown() override
    {
        OrvGPhoto2::setReadsThumbnails(true);
        OrvGPhoto2::removeAddedCameras();
        OrvTest::waitFor([] { return false; }, 50);
        database.reset();
        QCoreApplication::processEvents();
    }
    void write(const QString& path, const QByteArray& bytes)
    {
        QDir().mkpath(QFileInfo(storage.filePath(path)).absolutePath());
        ASSERT_TRUE(OrvTest::writeFile(storage.filePath(path), bytes));
    }
    OrvExternalFotoList openCamera(int expected)
    {
        database = std::make_unique<OrvAppleImageCaptureDatabase>();
        database->doLazyInit();
        EXPECT_TRUE(OrvGPhoto2::addCamera(model, port));
        const OrvExternalId album(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("album"), uuid);
        EXPECT_TRUE(OrvTest::waitFor([&] { return database->findAlbum(album).fotoIds().size() == expected; }, 20000));
        return database->getExternalDataPoolConst().fotosInAlbum(album);
    }
    QStringList leftInTemporaryFolder() const
    {
        return QDir(OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QTemporaryDir storage;
    QString port;
    QString uuid;
    QByteArray main;
    QByteArray thumbnail;
    std::unique_ptr<OrvAppleImageCaptureDatabase> database;
};

} // namespace

TEST_F(GPhoto2Test, AFolderServedAsACameraIsAnAlbumWithStableIds)
{
    const QByteArray before = folderFingerprint(storage.path());
    const OrvExternalFotoList fotos = openCamera(3);
    ASSERT_EQ(fotos.size(), 3);
    QStringList remote;
    for (const OrvExternalFoto& foto : fotos)
        remote.append(foto.id().remoteId());
    EXPECT_EQ(remote, (QStringList{uuid + "/DCIM/100TEST/IMG_0001.JPG", uuid + "/DCIM/101TEST/IMG_0001.JPG",
                                   uuid + "/DCIM/100TEST/IMG_0002.JPG"}));
    EXPECT_EQ(database->findAlbum(OrvExternalId(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("album"), uuid)).name(), model);
    // Downloads and thumbnails read; nothing on the device changed.
    for (const OrvExternalFoto& foto : fotos)
        EXPECT_FALSE(database->byteArray(foto.id()).isEmpty());
    EXPECT_EQ(folderFingerprint(storage.path()), before);
}

TEST_F(GPhoto2Test, TheThumbnailComesFromTheExifBlockAndTheDownloadIsTheFile)
{
    const OrvExternalFotoList fotos = openCamera(3);
    ASSERT_FALSE(fotos.isEmpty());
    const OrvExternalId first = fotos.first().id();
    ASSERT_TRUE(OrvTest::waitFor([&] { return database->drawable(first, QSize(100, 100)).size() != QSize(64, 64); }, 20000));
    EXPECT_EQ(database->drawable(first, QSize(100, 100)).size(), QSize(96, 72));
    EXPECT_EQ(database->byteArray(first), jpegWithExifThumbnail(main, thumbnail));
    // From the main thread too, where the completion arrives while the source waits.
    EXPECT_EQ(database->drawable(first, QSize(-1, -1)).size(), QSize(640, 480));
    const QByteArray fromWorker = [&] {
        QByteArray bytes;
        std::atomic<bool> done{false};
        std::thread worker([&] {
            bytes = database->byteArray(fotos.last().id());
            done = true;
        });
        OrvTest::waitFor([&] { return done.load(); }, 20000);
        worker.join();
        return bytes;
    }();
    EXPECT_EQ(fromWorker, OrvTest::makeJpeg(320, 200));
    EXPECT_TRUE(leftInTemporaryFolder().isEmpty());
}

TEST_F(GPhoto2Test, AProgramThatShowsNoThumbnailHasNoneReadAndItsDownloadsStillCome)
{
    OrvGPhoto2::setReadsThumbnails(false);
    const OrvExternalFotoList fotos = openCamera(3);
    const auto device = OrvGPhoto2::connectedDevice(uuid);
    ASSERT_TRUE(device);
    // Whatever the complete catalogue asks of the camera's thread has been done.
    QCoreApplication::processEvents();
    device->waitForThread();
    QCoreApplication::processEvents();
    for (const OrvExternalFoto& foto : fotos) {
        EXPECT_EQ(database->drawable(foto.id(), QSize(100, 100)).size(), QSize(64, 64)) << foto.fileName().toStdString();
        EXPECT_FALSE(database->byteArray(foto.id()).isEmpty());
    }
    EXPECT_TRUE(leftInTemporaryFolder().isEmpty());
}

TEST_F(GPhoto2Test, APhotoIsDatedWhenFirstAskedOrFromItsDownloadWhicheverComesFirst)
{
    const QDateTime withOffset = OrvQt::withOffset(QDate(2021, 3, 4), QTime(5, 6, 7), -5 * 3600);
    write(QStringLiteral("DCIM/102TEST/ASKED.JPG"), jpegTakenAt(OrvTest::makeJpeg(64, 48), withOffset));
    write(QStringLiteral("DCIM/102TEST/LOADED.JPG"), jpegTakenAt(OrvTest::makeJpeg(64, 48), withOffset));
    const OrvExternalFotoList fotos = openCamera(5);
    QHash<QString, OrvExternalFoto> byName;
    for (const OrvExternalFoto& foto : fotos)
        byName.insert(foto.name(), foto);
    ASSERT_TRUE(byName.contains("ASKED.JPG") && byName.contains("LOADED.JPG"));
    EXPECT_EQ(OrvFotoDate::takenOf(database.get(), byName.value("ASKED.JPG")), withOffset);
    // Downloaded before anyone asked, then gone from the card: its date came with the download.
    EXPECT_FALSE(database->byteArray(byName.value("LOADED.JPG").id()).isEmpty());
    ASSERT_TRUE(QFile::remove(storage.filePath(QStringLiteral("DCIM/102TEST/LOADED.JPG"))));
    ASSERT_TRUE(QFile::remove(storage.filePath(QStringLiteral("DCIM/102TEST/ASKED.JPG"))));
    EXPECT_EQ(OrvFotoDate::takenOf(database.get(), byName.value("LOADED.JPG")), withOffset);
    EXPECT_EQ(OrvFotoDate::takenOf(database.get(), byName.value("ASKED.JPG")), withOffset);
}

TEST_F(GPhoto2Test, PhotosWithoutAnExifThumbnailGetOneDecodedAndAreDatedWhenTaken)
{
    // Beside the three of every test: no EXIF at all, a capture date with its offset, one
    // without an offset, a frame header of 60000 x 60000 and a file that is no JPEG inside.
    const QDateTime withOffset = OrvQt::withOffset(QDate(2019, 7, 14), QTime(9, 30, 5), 2 * 3600);
    const QDateTime wallClock = OrvQt::local(QDate(2018, 1, 2), QTime(23, 59, 0));
    write(QStringLiteral("DCIM/102TEST/A_PLAIN.JPG"), OrvTest::makeJpeg(1600, 1200));
    write(QStringLiteral("DCIM/102TEST/B_OFFSET.JPG"), jpegTakenAt(OrvTest::makeJpeg(800, 600), withOffset));
    write(QStringLiteral("DCIM/102TEST/C_LOCAL.JPG"), jpegTakenAt(OrvTest::makeJpeg(800, 600), wallClock));
    write(QStringLiteral("DCIM/102TEST/D_HUGE.JPG"), jpegDeclaring(60000, 60000));
    write(QStringLiteral("DCIM/102TEST/E_BROKEN.JPG"), QByteArray("\xFF\xD8\xFF\xE1\x00\x02garbage", 13));
    const QString plain = storage.filePath(QStringLiteral("DCIM/102TEST/A_PLAIN.JPG"));
    const QDateTime written = QFileInfo(plain).lastModified();
    const OrvExternalFotoList fotos = openCamera(8);
    ASSERT_EQ(fotos.size(), 8);
    QHash<QString, OrvExternalFoto> byName;
    for (const OrvExternalFoto& foto : fotos)
        byName.insert(foto.name(), foto);

    // The date the photo holds, to the second and with its offset; the file's time only without one.
    // The source lists items without a date; the host finds it in their metadata.
    auto taken = [&](const char* name) {
        EXPECT_FALSE(byName.value(name).taken().isValid()) << name;
        return OrvFotoDate::takenOf(database.get(), byName.value(name));
    };
    EXPECT_EQ(taken("B_OFFSET.JPG"), withOffset);
    EXPECT_EQ(taken("B_OFFSET.JPG").offsetFromUtc(), 2 * 3600);
    EXPECT_EQ(taken("C_LOCAL.JPG"), wallClock);
    EXPECT_EQ(taken("A_PLAIN.JPG").toSecsSinceEpoch(), written.toSecsSinceEpoch());
    OrvNativeMetaDataGeneric metaData;
    database->fillMetaData(byName.value("B_OFFSET.JPG").id(), &metaData);
    EXPECT_EQ(metaData.metaData().pictureTaken(), withOffset);

    // Through the retriever the host uses: the placeholder first at most, then the decoded file, scaled.
    const auto thumbnailOf = [&](const OrvExternalFoto& foto) {
        const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database->createRetrieverInterface(foto.id()));
        const std::unique_ptr<OrvFotoRetrieverData> data(retriever->retrieve(QSize(160, 160)));
        const OrvFetchDrawableResult result = data->drawable(QSize(160, 160));
        return result.isValid() && !OrvFotoCacheDrawable::isPlaceHolder(result.drawable()) ? result.drawable().image() : QImage();
    };
    for (const char* name : {"A_PLAIN.JPG", "B_OFFSET.JPG", "IMG_0002.JPG"}) {
        QImage image;
        ASSERT_TRUE(OrvTest::waitFor([&] { return !(image = thumbnailOf(byName.value(name))).isNull(); }, 20000)) << name;
        EXPECT_LE(qMax(image.width(), image.height()), 512) << name;
        EXPECT_GT(image.width(), image.height()) << name;
    }
    // The hostile two come before IMG_0002 in the camera's queue: they held nothing up,
    // the broken one gives none, and the camera still answers.
    const QImage huge = thumbnailOf(byName.value("D_HUGE.JPG"));
    EXPECT_LE(qMax(huge.width(), huge.height()), 512);
    EXPECT_TRUE(thumbnailOf(byName.value("E_BROKEN.JPG")).isNull());
    EXPECT_FALSE(database->byteArray(byName.value("D_HUGE.JPG").id()).isEmpty());
}

TEST(GPhoto2CaptureDate, FoundBehindOtherSegmentsAndNeverReadPastTheBlock)
{
    const QDateTime taken = OrvQt::withOffset(QDate(2021, 3, 4), QTime(5, 6, 7), -5 * 3600);
    QByteArray jpeg = jpegTakenAt(OrvTest::makeJpeg(64, 48), taken);
    // A colour profile of 40 KB before the EXIF block, as some cameras write it.
    const QByteArray profile = QByteArray("\xFF\xE2\x9C\x42ICC_PROFILE", 15) + QByteArray(0x9C42 - 13, 'p');
    jpeg.insert(2, profile);
    qint64 furthest = 0;
    const auto reader = [&](const QByteArray& bytes) {
        return [&furthest, bytes](qint64 offset, char* data, qint64 size) -> qint64 {
            if (offset < 0 || offset >= bytes.size())
                return 0;
            const qint64 n = qMin<qint64>(size, bytes.size() - offset);
            memcpy(data, bytes.constData() + offset, size_t(n));
            furthest = qMax(furthest, offset + n);
            return n;
        };
    };
    EXPECT_EQ(OrvGPhoto2::captureDate(reader(jpeg)), taken);
    EXPECT_LT(furthest, jpeg.indexOf(QByteArray("\xFF\xDA", 2))) << "the image data is never read";
    EXPECT_FALSE(OrvGPhoto2::captureDate(reader(OrvTest::makeJpeg(64, 48))).isValid());
    // Every cut and every flipped byte of the header gives a date or none, never a read past the end.
    const qsizetype block = jpeg.indexOf(QByteArray("\xFF\xDA", 2));
    for (qsizetype cut = 0; cut < block; cut += 97)
        OrvGPhoto2::captureDate(reader(jpeg.left(cut)));
    for (qsizetype at = 0; at < 64; ++at) {
        QByteArray broken = jpeg;
        broken[at] = char(~uchar(broken.at(at)));
        OrvGPhoto2::captureDate(reader(broken));
    }
}

TEST_F(GPhoto2Test, ACancelledDownloadIsNeverReportedAsDoneAndLeavesNothing)
{
    openCamera(3);
    const auto device = OrvGPhoto2::connectedDevice(uuid);
    ASSERT_TRUE(device);
    // The source's own pair tells the file; ask the device for it directly.
    const QString url = database->getExternalDataPoolConst().fotos().first().id().toUrl().toString();
    ASSERT_FALSE(database->interface()->sourceFilenameForUrl(url).isEmpty());
    QTemporaryDir target;
    auto completion = std::make_shared<Completion>();
    DownloadOptions options;
    options.downloadsDirectoryURL = QUrl::fromLocalFile(target.path() + QLatin1Char('/'));
    options.saveAsFilename = QStringLiteral("copy.jpg");
    // Line the download up behind a held thread, cancel it, then let the thread go.
    device->suspendThread();
    auto file = std::make_shared<ListedFile>(
        ItemFields{QStringLiteral("IMG_0002.JPG"), QStringLiteral("public.jpeg"), QDateTime(), nullptr, device,
                   QStringLiteral("/DCIM/100TEST")},
        -1);
    device->requestDownloadFile(file, options, completion, nullptr);
    device->cancelDownloads();
    device->resumeThread();
    ASSERT_TRUE(OrvTest::waitFor([&] { return completion->done; }, 20000));
    EXPECT_TRUE(completion->failed);
    EXPECT_EQ(completion->code, ErrorCancelled);
    EXPECT_TRUE(QDir(target.path()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());

    // The same request, not cancelled, arrives whole under its name.
    auto again = std::make_shared<Completion>();
    device->requestDownloadFile(file, options, again, nullptr);
    ASSERT_TRUE(OrvTest::waitFor([&] { return again->done; }, 20000));
    EXPECT_FALSE(again->failed);
    EXPECT_EQ(again->saved, QStringLiteral("copy.jpg"));
    QFile copy(target.filePath(QStringLiteral("copy.jpg")));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), OrvTest::makeJpeg(320, 200));
    // A file that is gone from the device by now fails, and leaves nothing either.
    ASSERT_TRUE(QFile::remove(storage.filePath(QStringLiteral("DCIM/100TEST/IMG_0002.JPG"))));
    auto missing = std::make_shared<Completion>();
    options.saveAsFilename = QStringLiteral("missing.jpg");
    device->requestDownloadFile(file, options, missing, nullptr);
    ASSERT_TRUE(OrvTest::waitFor([&] { return missing->done; }, 20000));
    EXPECT_TRUE(missing->failed);
    EXPECT_EQ(missing->code, ErrorFileNotFound);
    EXPECT_EQ(QDir(target.path()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{"copy.jpg"});
}

TEST_F(GPhoto2Test, AFullDiskOrAnUnpluggedCameraLeavesNoFileAndTheWaiterEmpty)
{
    const OrvExternalFotoList fotos = openCamera(3);
    ASSERT_FALSE(fotos.isEmpty());
    struct rlimit before {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = before;
    small.rlim_cur = 2048;
    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({20, 25, 5, 10});
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const QString path = database->waitForDownload(fotos.first().id());
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, previous);
    EXPECT_TRUE(path.isEmpty());
    EXPECT_TRUE(leftInTemporaryFolder().isEmpty());

    // Unplugged while the download waits behind a held thread.
    const auto device = OrvGPhoto2::connectedDevice(uuid);
    ASSERT_TRUE(device);
    device->suspendThread();
    std::atomic<bool> done{false};
    QString waited = QStringLiteral("unset");
    std::thread waiter([&] {
        waited = database->waitForDownload(fotos.first().id());
        done = true;
    });
    OrvTest::waitFor([] { return false; }, 100);
    OrvGPhoto2::removeAddedCameras();
    // The source hears of it (album gone, session closing) before the camera's thread goes on.
    ASSERT_TRUE(OrvTest::waitFor([&] { return !database->findAlbum(OrvExternalId(OrvAppleImageCaptureDatabase::URLScheme,
                                                                                  QStringLiteral("album"), uuid)).isValid(); }));
    device->resumeThread();
    ASSERT_TRUE(OrvTest::waitFor([&] { return done.load(); }, 20000));
    waiter.join();
    EXPECT_TRUE(waited.isEmpty());
    EXPECT_TRUE(OrvTest::waitFor([&] { return !database->findAlbum(OrvExternalId(OrvAppleImageCaptureDatabase::URLScheme,
                                                                                  QStringLiteral("album"), uuid)).isValid(); }));
    EXPECT_TRUE(leftInTemporaryFolder().isEmpty());
}

TEST_F(GPhoto2Test, UnpluggedWhileListingOrReadingThumbnailsTheCameraIsForgottenWhole)
{
    // Enough files that listing and thumbnails take a while.
    const QByteArray small = jpegWithExifThumbnail(OrvTest::makeJpeg(64, 48), OrvTest::makeJpeg(16, 12));
    for (int i = 0; i < 1500; ++i)
        write(QStringLiteral("DCIM/102MANY/M_%1.JPG").arg(i, 4, 10, QLatin1Char('0')), small);
    const OrvExternalId album(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("album"), uuid);
    const QString first =
        OrvExternalId(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("foto"), uuid + "/DCIM/100TEST/IMG_0001.JPG").toUrl().toString();
    database = std::make_unique<OrvAppleImageCaptureDatabase>();
    database->doLazyInit();
    std::atomic<int> bitmaps{0};
    QObject guard;
    QObject::connect(OrvSingleton<OrvFotoChangeDispatcher>::instance(), &OrvFotoChangeDispatcher::newAvailableBitmap, &guard,
                     [&](const OrvFoto&, const QSize&) { ++bitmaps; });
    auto forgotten = [&] {
        return OrvTest::waitFor([&] { return !OrvGPhoto2::connectedDevice(uuid) && !database->findAlbum(album).isValid()
                                             && database->interface()->sourceFilenameForUrl(first).isEmpty(); }, 20000);
    };

    // Unplugged as soon as the first batch of items is in.
    ASSERT_TRUE(OrvGPhoto2::addCamera(model, port));
    ASSERT_TRUE(OrvTest::waitFor([&] { return !database->interface()->sourceFilenameForUrl(first).isEmpty(); }, 20000));
    OrvGPhoto2::removeAddedCameras();
    EXPECT_TRUE(forgotten());
    OrvTest::waitFor([] { return false; }, 200);
    EXPECT_FALSE(database->findAlbum(album).isValid());
    EXPECT_FALSE(database->isStillGatheringFotos() && database->interface()->isGathering());

    // Plugged again, and unplugged while the thumbnails are read: none is reported after the session closed.
    ASSERT_TRUE(OrvGPhoto2::addCamera(model, port));
    ASSERT_TRUE(OrvTest::waitFor([&] { return database->findAlbum(album).fotoIds().size() == 1503; }, 20000));
    ASSERT_TRUE(OrvTest::waitFor([&] { return bitmaps > 0; }, 20000));
    OrvGPhoto2::removeAddedCameras();
    EXPECT_TRUE(forgotten());
    const int reported = bitmaps;
    OrvTest::waitFor([] { return false; }, 300);
    EXPECT_EQ(bitmaps.load(), reported);
    EXPECT_TRUE(database->getExternalDataPoolConst().fotosInAlbum(album).isEmpty());
    EXPECT_TRUE(leftInTemporaryFolder().isEmpty());
}

TEST_F(GPhoto2Test, OnlyWhatCanBeDownloadedIsAnItemAndNothingHoldsTheCamera)
{
    Pipes pipes;
    QTemporaryDir outside;
    const QString secret = outside.filePath(QStringLiteral("secret.jpg"));
    ASSERT_TRUE(OrvTest::writeFile(secret, OrvTest::makeJpeg(50, 50)));
    const QString folder = storage.filePath(QStringLiteral("DCIM/100TEST/"));
    ASSERT_TRUE(pipes.make(folder + QStringLiteral("IMG_0003.JPG")));
    ASSERT_TRUE(QFile::link(secret, folder + QStringLiteral("IMG_0004.JPG")));
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), folder + QStringLiteral("IMG_0005.JPG")));
    // Links that stay inside are items; so is a name that is no valid UTF-8.
    ASSERT_TRUE(QFile::link(QStringLiteral("IMG_0002.JPG"), folder + QStringLiteral("IMG_0006.JPG")));
    const QByteArray latin1 = QFile::encodeName(folder) + "IMG_\xe9" "0007.JPG";
    const QByteArray latin1Photo = OrvTest::makeJpeg(30, 20);
    const int fd = ::open(latin1.constData(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    ASSERT_GE(fd, 0);
    pipes.planted.append(latin1);
    ASSERT_EQ(::write(fd, latin1Photo.constData(), size_t(latin1Photo.size())), ssize_t(latin1Photo.size()));
    ::close(fd);
    // Root reads every file whatever its mode: the unreadable one is made only where that means something.
    if (::geteuid() != 0) {
        write(QStringLiteral("DCIM/100TEST/IMG_0008.JPG"), OrvTest::makeJpeg(10, 10));
        ASSERT_TRUE(QFile::setPermissions(folder + QStringLiteral("IMG_0008.JPG"), QFileDevice::Permissions()));
    }

    const OrvExternalFotoList fotos = openCamera(5);
    QStringList names;
    for (const OrvExternalFoto& foto : fotos)
        names.append(foto.id().remoteId().section(QLatin1Char('/'), -1));
    names.sort();
    ASSERT_EQ(names, (QStringList{"IMG_0001.JPG", "IMG_0001.JPG", "IMG_0002.JPG", "IMG_0006.JPG",
                                  QStringLiteral("IMG_\uFFFD0007.JPG")}));
    for (const OrvExternalFoto& foto : fotos) {
        QElapsedTimer timer;
        timer.start();
        const QByteArray bytes = database->byteArray(foto.id());
        EXPECT_LT(timer.elapsed(), 20000) << qPrintable(foto.id().remoteId());
        if (foto.id().remoteId().endsWith(QStringLiteral("0007.JPG")))
            EXPECT_EQ(bytes, latin1Photo);
        else if (foto.id().remoteId().endsWith(QStringLiteral("0006.JPG")))
            EXPECT_EQ(bytes, OrvTest::makeJpeg(320, 200));
        else
            EXPECT_FALSE(bytes.isEmpty()) << qPrintable(foto.id().remoteId());
    }
    EXPECT_TRUE(leftInTemporaryFolder().isEmpty());
}

// A file gone after the catalogue is no download: its waiter runs out its passes (the source
// keeps an item until its device goes), and nothing holds the camera for the next one.
TEST_F(GPhoto2Test, AFileGoneOrChangedAfterTheCatalogueGivesNothingAndHoldsNothing)
{
    Pipes pipes;
    write(QStringLiteral("DCIM/100TEST/IMG_0009.JPG"), OrvTest::makeJpeg(300, 300));
    const OrvExternalFotoList fotos = openCamera(4);
    ASSERT_EQ(fotos.size(), 4);
    const OrvExternalId album(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("album"), uuid);
    auto idOf = [&](const QString& path) {
        return OrvExternalId(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("foto"), uuid + path);
    };
    // Deleted, swapped for a named pipe, shortened, grown.
    ASSERT_TRUE(QFile::remove(storage.filePath(QStringLiteral("DCIM/100TEST/IMG_0002.JPG"))));
    ASSERT_TRUE(QFile::remove(storage.filePath(QStringLiteral("DCIM/100TEST/IMG_0001.JPG"))));
    ASSERT_TRUE(pipes.make(storage.filePath(QStringLiteral("DCIM/100TEST/IMG_0001.JPG"))));
    const QByteArray shorter = OrvTest::makeJpeg(20, 20);
    const QByteArray longer = OrvTest::makeJpeg(800, 600);
    write(QStringLiteral("DCIM/100TEST/IMG_0009.JPG"), shorter);
    write(QStringLiteral("DCIM/101TEST/IMG_0001.JPG"), longer);

    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({20, 25, 5, 10});
    for (const QString& gone : {QStringLiteral("/DCIM/100TEST/IMG_0002.JPG"), QStringLiteral("/DCIM/100TEST/IMG_0001.JPG")}) {
        EXPECT_TRUE(database->waitForDownload(idOf(gone)).isEmpty()) << qPrintable(gone);
        EXPECT_TRUE(database->byteArray(idOf(gone)).isEmpty()) << qPrintable(gone);
        EXPECT_TRUE(database->findAlbum(album).fotoIds().contains(idOf(gone))) << qPrintable(gone);
    }
    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({});
    // A changed file downloads as it is now.
    EXPECT_EQ(database->byteArray(idOf(QStringLiteral("/DCIM/100TEST/IMG_0009.JPG"))), shorter);
    EXPECT_EQ(database->byteArray(idOf(QStringLiteral("/DCIM/101TEST/IMG_0001.JPG"))), longer);
    EXPECT_EQ(database->findAlbum(album).fotoIds().size(), 4);
    EXPECT_TRUE(leftInTemporaryFolder().isEmpty());
}

// A photo swapped for a pipe as its download opens it: the camera's thread does not block on
// the pipe, the download gives nothing, and the next photo downloads.
TEST_F(GPhoto2Test, APhotoSwappedForAPipeAsItsDownloadOpensBlocksNothing)
{
    Pipes pipes;
    const OrvExternalFotoList fotos = openCamera(3);
    ASSERT_EQ(fotos.size(), 3);
    const OrvExternalId id(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("foto"), uuid + "/DCIM/100TEST/IMG_0002.JPG");
    // Its thumbnail read first: the next open of the file is the download's.
    ASSERT_TRUE(OrvTest::waitFor([&] { return database->drawable(id, QSize(100, 100)).size() != QSize(64, 64); }, 20000));
    const QString photo = storage.filePath(QStringLiteral("DCIM/100TEST/IMG_0002.JPG"));
    ASSERT_TRUE(pipes.make(storage.filePath(QStringLiteral("pipe"))));
    pipes.paths.append(QFile::encodeName(photo));
    pipeFor = "/IMG_0002.JPG";
    pipeAt = QFile::encodeName(storage.filePath(QStringLiteral("pipe")));
    pipeSwapped = false;
    // The waiter runs out its passes: 2 s, where a camera thread held by the pipe would hold it forever.
    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({20, 100, 100, 10});
    OrvUserFile::setOpenHookForTesting(&swapInThePipe);
    QElapsedTimer timer;
    timer.start();
    const QString path = database->waitForDownload(id);
    const qint64 elapsed = timer.elapsed();
    OrvUserFile::setOpenHookForTesting(nullptr);
    ASSERT_TRUE(pipeSwapped);
    EXPECT_TRUE(path.isEmpty()) << qPrintable(path);
    EXPECT_LT(elapsed, 20000);
    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({});
    const OrvExternalId next(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("foto"), uuid + "/DCIM/100TEST/IMG_0001.JPG");
    EXPECT_FALSE(database->byteArray(next).isEmpty());
    EXPECT_TRUE(leftInTemporaryFolder().isEmpty());
    if (!path.isEmpty())
        QFile::remove(path);
}

TEST_F(GPhoto2Test, ACameraNamedByItsModelOpensAndEveryOtherModelStaysKnown)
{
    QString why;
    EXPECT_EQ(OrvGPhoto2::checkCamera(model, port, &why), OrvGPhoto2::CameraCheck::Opens) << why.toStdString();
    // Its driver alone may serve the directory; the models of all the others are still there.
    EXPECT_TRUE(OrvGPhoto2::isKnownModel(QStringLiteral("USB PTP Class Camera")));
    EXPECT_EQ(OrvGPhoto2::checkCamera(QStringLiteral("No Such Camera 9000"), port, &why), OrvGPhoto2::CameraCheck::UnknownModel);
    const QStringList models = OrvGPhoto2::cameraModels();
    EXPECT_TRUE(models.contains(model));
    EXPECT_GT(models.size(), 100);
    EXPECT_EQ(OrvGPhoto2::checkCamera(model, port, &why), OrvGPhoto2::CameraCheck::Opens) << why.toStdString();
}

TEST_F(GPhoto2Test, ThePortMustNameAFolderWithSomethingInIt)
{
    QTemporaryDir empty;
    EXPECT_FALSE(OrvGPhoto2::addCamera(model, QStringLiteral("disk:")));
    EXPECT_FALSE(OrvGPhoto2::addCamera(model, QStringLiteral("disk:/")));
    // The root however it is written, and through a link.
    EXPECT_FALSE(OrvGPhoto2::addCamera(model, QStringLiteral("disk:/tmp/../")));
    EXPECT_FALSE(OrvGPhoto2::addCamera(model, QStringLiteral("disk://")));
    EXPECT_FALSE(OrvGPhoto2::addCamera(model, QStringLiteral("disk:/./tmp/..")));
    const QString rootLink = empty.filePath(QStringLiteral("root"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/"), rootLink));
    EXPECT_FALSE(OrvGPhoto2::addCamera(model, QStringLiteral("disk:") + rootLink));
    EXPECT_FALSE(OrvGPhoto2::addCamera(model, QStringLiteral("disk:") + rootLink + QStringLiteral("/tmp/..")));
    QFile::remove(rootLink);
    EXPECT_FALSE(OrvGPhoto2::addCamera(model, QStringLiteral("disk:") + empty.path()));
    EXPECT_FALSE(OrvGPhoto2::addCamera(model, QStringLiteral("disk:") + storage.filePath(QStringLiteral("missing"))));
    EXPECT_FALSE(OrvGPhoto2::addCamera(QString(), port));
}

TEST(GPhoto2Thumbnail, TheExifThumbnailIsFoundAndBrokenBlocksGiveNothing)
{
    const QByteArray thumbnail = OrvTest::makeJpeg(40, 30);
    const QByteArray jpeg = jpegWithExifThumbnail(OrvTest::makeJpeg(200, 100), thumbnail);
    EXPECT_EQ(OrvGPhoto2::exifThumbnail(jpeg), thumbnail);
    EXPECT_TRUE(OrvGPhoto2::exifThumbnail(OrvTest::makeJpeg(200, 100)).isEmpty());
    // Every cut of the block, and every corrupted byte of it, is refused or found, never read past.
    const int block = 2 + 4 + 6 + 8 + 2 + 4 + 2 + 24 + 4 + int(thumbnail.size());
    for (int cut = 0; cut < block; ++cut)
        OrvGPhoto2::exifThumbnail(jpeg.left(cut));
    for (int at = 2; at < 60; ++at) {
        QByteArray broken = jpeg;
        broken[at] = char(0xFF - uchar(broken.at(at)));
        OrvGPhoto2::exifThumbnail(broken.left(block));
    }
    EXPECT_TRUE(OrvGPhoto2::exifThumbnail(QByteArray()).isEmpty());
}

TEST(XdgMimeApps, TheDefaultForCameraContentIsSetAndForgottenAndTheRestStays)
{
    QTemporaryDir config;
    QTemporaryDir data;
    qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", data.path().toLocal8Bit());
    const QString list = config.filePath(QStringLiteral("mimeapps.list"));
    ASSERT_TRUE(OrvTest::writeFile(list, "[Default Applications]\nimage/jpeg=viewer.desktop;\n\n[Removed Associations]\nx=y;\n"));
    EXPECT_TRUE(OrvXdgMimeApps::defaultApplication(OrvXdgMimeApps::cameraContent).isNull());
    ASSERT_TRUE(OrvXdgMimeApps::setDefaultApplication(OrvXdgMimeApps::cameraContent, QStringLiteral("/usr/share/applications/orv-photos.desktop")));
    EXPECT_EQ(OrvXdgMimeApps::defaultApplication(OrvXdgMimeApps::cameraContent), QStringLiteral("orv-photos.desktop"));
    QFile file(list);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    file.close();
    EXPECT_TRUE(text.contains(QStringLiteral("image/jpeg=viewer.desktop;")));
    EXPECT_TRUE(text.contains(QStringLiteral("[Removed Associations]\nx=y;")));
    EXPECT_TRUE(text.contains(QStringLiteral("[Added Associations]\nx-content/image-dcf=orv-photos.desktop;")));
    // Installed, the desktop file is found by its path.
    ASSERT_TRUE(QDir().mkpath(data.filePath(QStringLiteral("applications"))));
    ASSERT_TRUE(OrvTest::writeFile(data.filePath(QStringLiteral("applications/orv-photos.desktop")), "[Desktop Entry]\n"));
    EXPECT_EQ(OrvXdgMimeApps::defaultApplication(OrvXdgMimeApps::cameraContent),
              data.filePath(QStringLiteral("applications/orv-photos.desktop")));
    ASSERT_TRUE(OrvXdgMimeApps::setDefaultApplication(OrvXdgMimeApps::cameraContent, QString()));
    EXPECT_TRUE(OrvXdgMimeApps::defaultApplication(OrvXdgMimeApps::cameraContent).isNull());
    // A mimeapps.list that is a link (a dotfiles checkout) is left alone.
    const QString elsewhere = data.filePath(QStringLiteral("dotfiles-mimeapps.list"));
    ASSERT_TRUE(QFile::rename(list, elsewhere));
    ASSERT_TRUE(QFile::link(elsewhere, list));
    EXPECT_FALSE(OrvXdgMimeApps::setDefaultApplication(OrvXdgMimeApps::cameraContent, QStringLiteral("orv-photos.desktop")));
    EXPECT_TRUE(QFileInfo(list).isSymLink());
    qunsetenv("XDG_CONFIG_HOME");
    qunsetenv("XDG_DATA_HOME");
}

TEST(GPhoto2TaskThread, DownloadsGoFirstThumbnailsLastInOrderWithinEach)
{
    std::mutex mutex;
    QStringList ran;
    OrvGPhoto2::TaskThread thread;
    thread.suspend();
    auto task = [&](const char* name) {
        return [&, name] {
            std::lock_guard<std::mutex> lock(mutex);
            ran.append(QString::fromLatin1(name));
        };
    };
    thread.post(OrvGPhoto2::TaskThread::Low, task("thumbnail 1"));
    thread.post(OrvGPhoto2::TaskThread::Normal, task("listing"));
    thread.post(OrvGPhoto2::TaskThread::High, task("download 1"));
    thread.post(OrvGPhoto2::TaskThread::Low, task("thumbnail 2"));
    thread.post(OrvGPhoto2::TaskThread::High, task("download 2"));
    thread.resume();
    thread.waitIdle();
    EXPECT_EQ(ran, (QStringList{"download 1", "download 2", "listing", "thumbnail 1", "thumbnail 2"}));

    // Held after a download: the next download, asked for a moment later, still comes first.
    ran.clear();
    std::promise<void> firstDone;
    thread.suspend();
    thread.post(OrvGPhoto2::TaskThread::Low, task("thumbnail 3"));
    thread.post(OrvGPhoto2::TaskThread::High, [&] {
        task("download 3")();
        thread.holdLow(std::chrono::seconds(1));
        firstDone.set_value();
    });
    thread.resume();
    firstDone.get_future().wait();
    thread.post(OrvGPhoto2::TaskThread::High, task("download 4"));
    thread.waitIdle();
    EXPECT_EQ(ran, (QStringList{"download 3", "download 4", "thumbnail 3"})) << "and the thumbnails do come";
}

TEST(GPhoto2TaskThread, StoppingFinishesDownloadsAndDropsTheRest)
{
    std::atomic<int> high{0};
    std::atomic<int> low{0};
    {
        OrvGPhoto2::TaskThread thread;
        thread.suspend();
        thread.post(OrvGPhoto2::TaskThread::Low, [&] { ++low; });
        thread.post(OrvGPhoto2::TaskThread::High, [&] { ++high; });
    }
    EXPECT_EQ(high.load(), 1);
    EXPECT_EQ(low.load(), 0);
}

TEST(GPhoto2Errors, BusyTimeoutAndGoneAreToldApart)
{
    using OrvGPhoto2::Failure;
    EXPECT_EQ(OrvGPhoto2::classify(0), Failure::None);
    EXPECT_EQ(OrvGPhoto2::classify(-53), Failure::Busy);
    EXPECT_EQ(OrvGPhoto2::classify(-60), Failure::Busy);
    EXPECT_EQ(OrvGPhoto2::classify(-10), Failure::Timeout);
    for (int gone : {-7, -52, -105})
        EXPECT_EQ(OrvGPhoto2::classify(gone), Failure::Disconnected) << gone;
    EXPECT_EQ(OrvGPhoto2::classify(-108), Failure::NotFound);
    EXPECT_EQ(OrvGPhoto2::classify(-112), Failure::Cancelled);
    EXPECT_EQ(OrvGPhoto2::classify(-1), Failure::Other);
    EXPECT_EQ(OrvGPhoto2::toError(-53).code, ErrorDeviceBusy);
    EXPECT_EQ(OrvGPhoto2::toError(-52).code, ErrorDeviceRemoved);
    EXPECT_EQ(OrvGPhoto2::toError(-10).code, ErrorTimeout);
    EXPECT_FALSE(OrvGPhoto2::toError(-7).description.isEmpty());
}

TEST(GPhoto2Errors, ABusyCameraIsAskedAgainThreeTimesThenNamedWithHowToReleaseIt)
{
    std::atomic<bool> stopping{false};
    QList<int> waits;
    auto answering = [](QList<int> answers) {
        return [answers]() mutable { return answers.size() > 1 ? answers.takeFirst() : answers.first(); };
    };
    auto wait = [&](int ms) { waits.append(ms); };
    // Released while waiting: the next try opens it.
    EXPECT_EQ(OrvGPhoto2::retryWhileBusy(answering({-53, -60, 0}), stopping, wait), 0);
    EXPECT_EQ(waits, (QList<int>{500, 1000}));
    // Held throughout: four tries, 3.5 s of waiting, then busy.
    waits.clear();
    EXPECT_EQ(OrvGPhoto2::retryWhileBusy(answering({-53}), stopping, wait), -53);
    EXPECT_EQ(waits, (QList<int>{500, 1000, 2000}));
    // Other failures are not tried again; nor is anything once the camera goes away.
    waits.clear();
    EXPECT_EQ(OrvGPhoto2::retryWhileBusy(answering({-7, 0}), stopping, wait), -7);
    EXPECT_EQ(OrvGPhoto2::retryWhileBusy(answering({-53, 0}), stopping, [&](int ms) {
        waits.append(ms);
        stopping = true;
    }), -53);
    EXPECT_EQ(waits, QList<int>{500});
    const QString warning = OrvGPhoto2::busyWarning(QStringLiteral("Canon EOS R6"), QStringLiteral("usb:001,007"));
    EXPECT_TRUE(warning.contains(QStringLiteral("Canon EOS R6 on usb:001,007 is in use by another program")));
    EXPECT_TRUE(warning.contains(QStringLiteral("gio mount -s gphoto2")));
}
