#include "ImageCaptureFixture.h"

#include "OrvFotoRegistries.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaLoader.h"
#include "OrvTargetFolder.h"
#include "TestSupport.h"
#include "OrvQtCompat.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>
#include <csignal>
#include <sys/resource.h>
#include <thread>
#include <vector>

using OrvImageCaptureSim::DeviceSpec;
using OrvImageCaptureSim::DownloadResult;

namespace {

// Runs work on a thread of its own while the main thread keeps delivering device callbacks.
template<typename Result>
Result onWorker(const std::function<Result()>& work)
{
    Result result{};
    std::atomic<bool> done{false};
    std::thread thread([&] {
        result = work();
        done = true;
    });
    OrvTest::waitFor([&] { return done.load(); }, 60000);
    thread.join();
    return result;
}

} // namespace

class ImageCaptureDownloads : public ImageCaptureTest
{
protected:
    std::shared_ptr<OrvImageCaptureSim::Device> cameraWith(const QByteArray& bytes, DeviceSpec spec = {})
    {
        source().doLazyInit();
        const auto camera = plugCamera(QStringLiteral("Cam"), {{"DCIM/IMG_0001.JPG", bytes}}, spec);
        EXPECT_TRUE(waitForFotos(camera, 1));
        id = fotosOf(camera).value(0).id();
        return camera;
    }
    OrvExternalId id;
};

TEST_F(ImageCaptureDownloads, AFileArrivesUnchangedOnAWorkerAndOnTheMainThread)
{
    const QByteArray bytes = jpeg(320, 240);
    const auto camera = cameraWith(bytes);
    EXPECT_EQ(onWorker<QByteArray>([&] { return database->byteArray(id); }), bytes);
    // On the main thread the completion is delivered while the source waits.
    EXPECT_EQ(database->byteArray(id), bytes);
    // Full pixels are downloaded and decoded; no file stays behind.
    EXPECT_EQ(database->drawable(id, QSize(-1, -1)).size(), QSize(320, 240));
    EXPECT_EQ(camera->downloadRequests(), 3);
    EXPECT_TRUE(downloadedFiles().isEmpty());
}

TEST_F(ImageCaptureDownloads, TheRetrieverGivesTheStoredBytesAndRefusesAFormatTheLoaderCouldWrite)
{
    const QByteArray bytes = jpeg(200, 100);
    const auto camera = cameraWith(bytes);
    const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database->createRetrieverInterface(id));
    const std::unique_ptr<OrvFotoRetrieverData> data(retriever->retrieve(QSize(-1, -1)));
    EXPECT_EQ(data->file(OrvMediaFormat(OrvMediaFormat::Jpeg)), bytes);
    logLines.clear();
    EXPECT_TRUE(data->file(OrvMediaFormat(OrvMediaFormat::Png)).isEmpty());
    EXPECT_TRUE(logLines.contains(QStringLiteral("theImageFileFormat is not supported")));
    // Written as stored, in chunks, with the image checked on the way.
    QByteArray written;
    QBuffer target(&written);
    target.open(QIODevice::WriteOnly);
    EXPECT_TRUE(data->writeFile(OrvMediaFormat(), &target));
    EXPECT_EQ(written, bytes);
    EXPECT_EQ(data->foto(), OrvFoto(OrvFotoKeyExternalService(database.get(), id)));
    // Saved into a folder, the download itself becomes the file; a taken name costs no download.
    QTemporaryDir out;
    OrvTargetFolder folder(out.path());
    const int asked = camera->downloadRequests();
    ASSERT_TRUE(data->saveFile(OrvMediaFormat(), &folder, QStringLiteral("IMG.JPG")));
    EXPECT_EQ(OrvTest::readFile(out.filePath(QStringLiteral("IMG.JPG"))), bytes);
    EXPECT_FALSE(data->saveFile(OrvMediaFormat(OrvMediaFormat::Jpeg), &folder, QStringLiteral("IMG.JPG")));
    EXPECT_EQ(camera->downloadRequests(), asked + 1);
    EXPECT_TRUE(downloadedFiles().isEmpty());
}

TEST_F(ImageCaptureDownloads, ACutOffPhotoIsNeverWrittenAsDone)
{
    const QByteArray whole = jpeg(400, 300);
    cameraWith(whole.left(whole.size() / 2));
    const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database->createRetrieverInterface(id));
    const std::unique_ptr<OrvFotoRetrieverData> data(retriever->retrieve(QSize(-1, -1)));
    QByteArray written;
    QBuffer target(&written);
    target.open(QIODevice::WriteOnly);
    EXPECT_FALSE(data->writeFile(OrvMediaFormat(), &target));
    EXPECT_FALSE(data->drawable(QSize(-1, -1)).isValid());
    QTemporaryDir out;
    OrvTargetFolder folder(out.path());
    EXPECT_FALSE(data->saveFile(OrvMediaFormat(), &folder, QStringLiteral("IMG.JPG")));
    EXPECT_TRUE(QDir(out.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    EXPECT_TRUE(downloadedFiles().isEmpty());
}

TEST_F(ImageCaptureDownloads, ALateCompletionStillArrivesWithinTheLimit)
{
    DeviceSpec spec;
    spec.downloadDelayMs = 200;
    const QByteArray bytes = jpeg();
    cameraWith(bytes, spec);
    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({});
    EXPECT_EQ(onWorker<QByteArray>([&] { return database->byteArray(id); }), bytes);
    EXPECT_EQ(database->byteArray(id), bytes);
}

TEST_F(ImageCaptureDownloads, ACompletionEndsTheWaitLongBeforeItsLimit)
{
    const QByteArray bytes = jpeg(320, 240);
    cameraWith(bytes);
    // 30 s on a worker, more on the main thread: far above what a download here takes.
    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({300, 100, 100, 10});
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(onWorker<QByteArray>([&] { return database->byteArray(id); }), bytes);
    EXPECT_LT(timer.elapsed(), 10000) << "the worker's wait ran out instead of being woken";
    timer.restart();
    EXPECT_EQ(database->byteArray(id), bytes);
    EXPECT_LT(timer.elapsed(), 10000) << "the main thread's wait ran out instead of ending";
    EXPECT_TRUE(downloadedFiles().isEmpty());
}

TEST_F(ImageCaptureDownloads, ADownloadThatFailsOrNeverCompletesGivesNothingAfterTheLimit)
{
    const auto camera = cameraWith(jpeg());
    for (DownloadResult result : {DownloadResult::Fail, DownloadResult::Never}) {
        camera->setDownloadResult(result);
        EXPECT_TRUE(onWorker<QString>([&] { return database->waitForDownload(id); }).isEmpty());
        EXPECT_TRUE(database->waitForDownload(id).isEmpty());
    }
    EXPECT_TRUE(downloadedFiles().isEmpty());
}

TEST_F(ImageCaptureDownloads, ACompletionAfterTheLimitOnlyStampsTheFile)
{
    DeviceSpec spec;
    spec.download = DownloadResult::Held;
    const QDateTime taken = OrvQt::utc(QDate(2020, 2, 29), QTime(12, 0));
    const QString storageFile = storage.filePath(QStringLiteral("Cam/DCIM/IMG_0001.JPG"));
    const auto camera = cameraWith(jpeg(), spec);
    EXPECT_TRUE(onWorker<QString>([&] { return database->waitForDownload(id); }).isEmpty());
    camera->releaseHeldDownloads();
    ASSERT_TRUE(OrvTest::waitFor([&] { return downloadedFiles().size() == 1; }));
    settle();
    // Nobody waits any more: the file stays for the temporary folder to take away, stamped with the item's date.
    const QString late = QDir(OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir()).filePath(downloadedFiles().first());
    EXPECT_TRUE(QFileInfo(late).fileName().startsWith(QLatin1String("IMG_0001-{")));
    EXPECT_EQ(QFileInfo(late).lastModified(), QFileInfo(storageFile).lastModified());
    QFile::remove(late);
    // And the table holds nothing: the next download starts afresh.
    camera->setDownloadResult(DownloadResult::Complete);
    const QString next = database->waitForDownload(id);
    EXPECT_FALSE(next.isEmpty());
    QFile::remove(next);
}

TEST_F(ImageCaptureDownloads, UnpluggedWhileAwaitedTheWaiterGetsNothingAndNoFileStays)
{
    DeviceSpec spec;
    spec.download = DownloadResult::Held;
    const auto camera = cameraWith(jpeg(), spec);
    std::atomic<bool> done{false};
    QString path = QStringLiteral("unset");
    std::thread waiter([&] {
        path = database->waitForDownload(id);
        done = true;
    });
    ASSERT_TRUE(OrvTest::waitFor([&] { return camera->heldDownloads() == 1; }));
    OrvImageCaptureSim::unplug(camera->UUIDString());
    ASSERT_TRUE(OrvTest::waitFor([&] { return done.load(); }, 60000));
    waiter.join();
    EXPECT_TRUE(path.isEmpty());
    settle();
    EXPECT_TRUE(downloadedFiles().isEmpty());
    EXPECT_FALSE(database->findAlbum(albumId(camera)).isValid());
}

TEST_F(ImageCaptureDownloads, AFileGoneFromTheDeviceGivesNothing)
{
    cameraWith(jpeg());
    ASSERT_TRUE(QFile::remove(storage.filePath(QStringLiteral("Cam/DCIM/IMG_0001.JPG"))));
    EXPECT_TRUE(database->byteArray(id).isEmpty());
    EXPECT_TRUE(downloadedFiles().isEmpty());
}

TEST_F(ImageCaptureDownloads, AFullDiskLeavesNoPartialFile)
{
    cameraWith(jpeg(800, 600));
    // The file size limit of the process stands in for a full disk: writes past it fail.
    struct rlimit before {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = before;
    small.rlim_cur = 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const QString path = onWorker<QString>([&] { return database->waitForDownload(id); });
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, previous);
    EXPECT_TRUE(path.isEmpty());
    EXPECT_TRUE(downloadedFiles().isEmpty());
}

TEST_F(ImageCaptureDownloads, ManyThreadsDownloadFromSeveralDevicesAtOnce)
{
    source().doLazyInit();
    QList<std::shared_ptr<OrvImageCaptureSim::Device>> cameras;
    QList<QMap<QString, QByteArray>> contents;
    for (int c = 0; c < 3; ++c) {
        QMap<QString, QByteArray> files;
        for (int f = 0; f < 4; ++f)
            files.insert(QStringLiteral("IMG_%1.JPG").arg(f), jpeg(40 + c, 30 + f));
        DeviceSpec spec;
        spec.downloadDelayMs = 5 * c;
        cameras.append(plugCamera(QStringLiteral("Cam%1").arg(c), files, spec));
        contents.append(files);
    }
    QList<QPair<OrvExternalId, QByteArray>> expected;
    for (int c = 0; c < cameras.size(); ++c) {
        ASSERT_TRUE(waitForFotos(cameras.at(c), 4));
        for (const OrvExternalFoto& foto : fotosOf(cameras.at(c)))
            expected.append({foto.id(), contents.at(c).value(foto.name())});
    }
    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({});
    constexpr int threadCount = 6;
    std::atomic<int> right{0};
    std::atomic<int> finished{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        // Each id has one thread asking for it; ids of one device are asked for at once.
        threads.emplace_back([&, t] {
            for (int round = 0; round < 3; ++round) {
                for (int i = t; i < expected.size(); i += threadCount) {
                    if (database->byteArray(expected.at(i).first) == expected.at(i).second)
                        ++right;
                }
            }
            ++finished;
        });
    }
    ASSERT_TRUE(OrvTest::waitFor([&] { return finished.load() == threadCount; }, 120000));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right.load(), 3 * expected.size());
    EXPECT_TRUE(downloadedFiles().isEmpty());
}
