// The simulated Image Capture world as ImageCaptureCore behaves: browsing by
// mask, sessions that deliver items in batches before the catalogue, thumbnails
// only when wanted, downloads that complete, fail, wait or stop with the device;
// and the uniform types that decide what a photo is.

#include "OrvImageCaptureHub.h"
#include "OrvUniformType.h"
#include "sim/OrvImageCaptureSim.h"

#include "OrvImageIOQt.h"
#include "TestSupport.h"
#include "OrvQtCompat.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QThread>

using namespace OrvImageCapture;
using SimDevice = OrvImageCaptureSim::Device;
using OrvImageCaptureSim::DeviceSpec;
using OrvImageCaptureSim::DownloadResult;
using OrvImageCaptureSim::ThumbnailTiming;

namespace {

// Records every callback, in order, and whether it came on the main thread.
struct Recorder : DeviceBrowserDelegate, CameraDeviceDelegate, DownloadDelegate
{
    void deviceBrowserDidAddDevice(DeviceBrowser*, const DevicePtr& device, bool) override
    {
        note("added " + device->name());
        if (openSessions) {
            device->setDelegate(self);
            device->requestOpenSession();
        }
    }
    void deviceBrowserDidRemoveDevice(DeviceBrowser*, const DevicePtr& device, bool) override { note("removed " + device->name()); }
    void deviceDidOpenSession(const DevicePtr&, const OptionalError& error) override { note(error ? "open failed" : "open"); }
    void deviceDidCloseSession(const DevicePtr&, const OptionalError&) override { note("closed"); }
    void cameraDeviceDidAddItems(const CameraDevicePtr&, const QList<CameraItemPtr>& added) override
    {
        items.append(added);
        note("items " + QString::number(added.size()));
    }
    void deviceDidBecomeReadyWithCompleteContentCatalog(const CameraDevicePtr&) override { note("catalogue"); }
    bool cameraDeviceShouldGetThumbnailOfItem(const CameraDevicePtr&, const CameraItemPtr& item) override
    {
        return !refuse.contains(item->name());
    }
    void cameraDeviceDidReceiveThumbnailForItem(const CameraDevicePtr&, const CameraItemPtr& item) override
    {
        note("thumbnail " + item->name());
    }
    void didDownloadFile(const CameraFilePtr&, const OptionalError& error, const DownloadOptions& options, void*) override
    {
        note(error ? "download error " + QString::number(error->code) : "downloaded " + options.savedFilename);
    }
    void note(const QString& what)
    {
        heard.append(what);
        onMainThread = onMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
    }
    QStringList heard;
    QList<CameraItemPtr> items;
    QStringList refuse;
    bool openSessions = true;
    bool onMainThread = true;
    std::weak_ptr<Recorder> self;
};

class ImageCaptureSimTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        OrvImageCaptureSim::install();
        OrvImageCaptureSim::unplugAll();
        OrvImageCaptureSim::setDefaultBrowsedMask(0);
        QCoreApplication::processEvents();
        recorder = std::make_shared<Recorder>();
        recorder->self = recorder;
    }
    void TearDown() override
    {
        OrvImageCaptureSim::unplugAll();
        QCoreApplication::processEvents();
    }
    DeviceBrowserPtr browser(quint32 mask = 0xFF01)
    {
        DeviceBrowserPtr made = createDeviceBrowser();
        made->setDelegate(recorder);
        made->setBrowsedDeviceTypeMask(mask);
        made->start();
        return made;
    }
    std::shared_ptr<SimDevice> camera(const QString& name, int files, DeviceSpec spec = {})
    {
        spec.name = name;
        spec.uuid = name;
        spec.storage = storage.filePath(name);
        for (int i = 0; i < files; ++i)
            OrvTest::writeFile(QStringLiteral("%1/DCIM/IMG_%2.JPG").arg(spec.storage).arg(i), OrvTest::makeJpeg(64, 48));
        QDir().mkpath(spec.storage);
        return SimDevice::create(spec);
    }
    bool heardAll(const QString& what) { return OrvTest::waitFor([&] { return recorder->heard.contains(what); }); }

    QTemporaryDir storage;
    std::shared_ptr<Recorder> recorder;
};

} // namespace

TEST_F(ImageCaptureSimTest, ABrowserReportsWhatItsMaskTakesOnceEach)
{
    DeviceSpec scannerSpec;
    scannerSpec.type = DeviceTypeScanner | DeviceLocationTypeLocal;
    DeviceSpec sharedSpec;
    sharedSpec.type = DeviceTypeCamera | DeviceLocationTypeShared;
    recorder->openSessions = false;
    OrvImageCaptureSim::plug(camera(QStringLiteral("early"), 0));
    OrvImageCaptureSim::plug(camera(QStringLiteral("scanner"), 0, scannerSpec));
    OrvImageCaptureSim::plug(camera(QStringLiteral("shared"), 0, sharedSpec));
    // Only local cameras: a device plugged in before the start is reported too, and only once.
    const DeviceBrowserPtr local = browser(DeviceTypeCamera | DeviceLocationTypeLocal);
    OrvImageCaptureSim::plug(camera(QStringLiteral("late"), 0));
    ASSERT_TRUE(heardAll(QStringLiteral("added late")));
    OrvTest::waitFor([] { return false; }, 50);
    EXPECT_EQ(recorder->heard, (QStringList{"added early", "added late"}));
    // Unplugging a device the browser never reported says nothing.
    OrvImageCaptureSim::unplug(QStringLiteral("scanner"));
    OrvImageCaptureSim::unplug(QStringLiteral("early"));
    ASSERT_TRUE(heardAll(QStringLiteral("removed early")));
    EXPECT_EQ(recorder->heard.size(), 3);
    // Plugging in a device with a UUID already there replaces it.
    OrvImageCaptureSim::plug(camera(QStringLiteral("late"), 0));
    ASSERT_TRUE(OrvTest::waitFor([&] { return recorder->heard.size() == 5; }));
    EXPECT_EQ(recorder->heard.mid(3), (QStringList{"removed late", "added late"}));
    EXPECT_EQ(OrvImageCaptureSim::pluggedDevices().size(), 2);
    EXPECT_TRUE(recorder->onMainThread);
}

TEST_F(ImageCaptureSimTest, ItemsComeInBatchesBeforeTheCatalogueAndThumbnailsOnlyWhenWanted)
{
    DeviceSpec spec;
    spec.itemBatch = 2;
    spec.thumbnailBatch = 2;
    const auto device = camera(QStringLiteral("cam"), 5, spec);
    recorder->refuse = {QStringLiteral("IMG_1.JPG")};
    const DeviceBrowserPtr all = browser();
    OrvImageCaptureSim::plug(device);
    ASSERT_TRUE(OrvTest::waitFor([&] { return recorder->heard.filter(QStringLiteral("thumbnail")).size() == 4; }));
    // The folder DCIM and five files: 6 items in batches of 2, then the catalogue.
    EXPECT_EQ(recorder->heard.mid(0, 6), (QStringList{"added cam", "open", "items 2", "items 2", "items 2", "catalogue"}));
    EXPECT_FALSE(recorder->heard.contains(QStringLiteral("thumbnail IMG_1.JPG")));
    EXPECT_EQ(device->thumbnailReads(), 4);
    EXPECT_TRUE(recorder->items.first()->isFolder());
    EXPECT_EQ(recorder->items.last()->parentFolder()->name(), QStringLiteral("DCIM"));
    EXPECT_FALSE(recorder->items.last()->parentFolder()->parentFolder()->parentFolder());
    EXPECT_EQ(recorder->items.last()->UTI(), QStringLiteral("public.jpeg"));
    EXPECT_EQ(recorder->items.last()->device(), device);
    EXPECT_TRUE(recorder->onMainThread);
}

TEST_F(ImageCaptureSimTest, ThumbnailsWithTheItemsArriveBeforeTheCatalogue)
{
    DeviceSpec spec;
    spec.itemBatch = 1;
    spec.thumbnails = ThumbnailTiming::WithItems;
    const auto device = camera(QStringLiteral("cam"), 3, spec);
    const DeviceBrowserPtr all = browser();
    OrvImageCaptureSim::plug(device);
    ASSERT_TRUE(heardAll(QStringLiteral("catalogue")));
    ASSERT_TRUE(OrvTest::waitFor([&] { return recorder->heard.filter(QStringLiteral("thumbnail")).size() == 3; }));
    EXPECT_LT(recorder->heard.indexOf(QStringLiteral("thumbnail IMG_0.JPG")), recorder->heard.indexOf(QStringLiteral("catalogue")));
}

TEST_F(ImageCaptureSimTest, APhonesHeicGetsItsThumbnailThroughTheImageIO)
{
    OrvImageIOQt::install();
    const auto device = camera(QStringLiteral("phone"), 0);
    QDir().mkpath(storage.filePath(QStringLiteral("phone/DCIM")));
    ASSERT_TRUE(QFile::copy(OrvTest::sourceDir() + QStringLiteral("/samples/photos/images/IMG_0001.heic"),
                            storage.filePath(QStringLiteral("phone/DCIM/IMG_0001.HEIC"))));
    const DeviceBrowserPtr all = browser();
    OrvImageCaptureSim::plug(device);
    ASSERT_TRUE(heardAll(QStringLiteral("thumbnail IMG_0001.HEIC")));
    const QImage thumbnail = recorder->items.last()->thumbnailIfAvailable();
    EXPECT_EQ(qMax(thumbnail.width(), thumbnail.height()), DeviceSpec().thumbnailEdge);
}

TEST_F(ImageCaptureSimTest, DownloadsCompleteFailWaitOrEndWithTheDevice)
{
    const auto device = camera(QStringLiteral("cam"), 1);
    const DeviceBrowserPtr all = browser();
    OrvImageCaptureSim::plug(device);
    ASSERT_TRUE(heardAll(QStringLiteral("catalogue")));
    CameraFilePtr file;
    for (const CameraItemPtr& item : recorder->items) {
        if (!item->isFolder())
            file = std::dynamic_pointer_cast<const CameraFile>(item);
    }
    ASSERT_TRUE(file);
    QTemporaryDir target;
    DownloadOptions options;
    options.downloadsDirectoryURL = QUrl::fromLocalFile(target.path() + QLatin1Char('/'));
    auto request = [&](const QString& name) {
        options.saveAsFilename = name;
        device->requestDownloadFile(file, options, recorder, nullptr);
    };
    request(QStringLiteral("a.jpg"));
    ASSERT_TRUE(heardAll(QStringLiteral("downloaded a.jpg")));
    // The name is taken now: the file is not replaced.
    request(QStringLiteral("a.jpg"));
    ASSERT_TRUE(heardAll(QStringLiteral("download error %1").arg(ErrorFileNotFound)));
    device->setDownloadResult(DownloadResult::Fail);
    request(QStringLiteral("b.jpg"));
    ASSERT_TRUE(heardAll(QStringLiteral("download error %1").arg(ErrorCommunication)));
    device->setDownloadResult(DownloadResult::Held);
    request(QStringLiteral("c.jpg"));
    request(QStringLiteral("d.jpg"));
    ASSERT_TRUE(OrvTest::waitFor([&] { return device->heldDownloads() == 2; }));
    device->releaseHeldDownloads();
    ASSERT_TRUE(heardAll(QStringLiteral("downloaded d.jpg")));
    request(QStringLiteral("e.jpg"));
    ASSERT_TRUE(OrvTest::waitFor([&] { return device->heldDownloads() == 1; }));
    OrvImageCaptureSim::unplug(QStringLiteral("cam"));
    ASSERT_TRUE(heardAll(QStringLiteral("download error %1").arg(ErrorDeviceRemoved)));
    EXPECT_EQ(QDir(target.path()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot),
              (QStringList{"a.jpg", "c.jpg", "d.jpg"}));
    EXPECT_EQ(device->downloadRequests(), 6);
}

TEST_F(ImageCaptureSimTest, AFailingSessionReportsItsErrorAndNothingElse)
{
    DeviceSpec spec;
    spec.sessionFails = true;
    const auto device = camera(QStringLiteral("cam"), 2, spec);
    const DeviceBrowserPtr all = browser();
    OrvImageCaptureSim::plug(device);
    ASSERT_TRUE(heardAll(QStringLiteral("open failed")));
    device->waitForQueue();
    OrvTest::waitFor([] { return false; }, 50);
    EXPECT_EQ(recorder->heard, (QStringList{"added cam", "open failed"}));
    EXPECT_FALSE(device->isSessionOpen());
}

TEST_F(ImageCaptureSimTest, DescriptionFilesAreReadOrRefusedWithAReason)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("devices.json"));
    OrvTest::writeFile(path, R"({"devices": [
        {"name": "A", "storage": "store", "type": "scanner", "download": {"delayMs": 7, "result": "held"},
         "thumbnails": "none", "itemBatch": 3,
         "items": [{"name": "X.JPG", "folder": "DCIM/1", "created": "2020-01-02T03:04:05Z", "file": "x.jpg"}]},
        {"name": "B"}]})");
    QList<DeviceSpec> devices;
    QString error;
    ASSERT_TRUE(OrvImageCaptureSim::readDescription(path, &devices, &error)) << error.toStdString();
    ASSERT_EQ(devices.size(), 2);
    EXPECT_EQ(devices.at(0).storage, dir.filePath(QStringLiteral("store")));
    EXPECT_EQ(devices.at(0).type, quint32(DeviceTypeScanner | DeviceLocationTypeLocal));
    EXPECT_EQ(devices.at(0).download, DownloadResult::Held);
    EXPECT_EQ(devices.at(0).downloadDelayMs, 7);
    EXPECT_EQ(devices.at(0).thumbnails, ThumbnailTiming::None);
    EXPECT_EQ(devices.at(0).items.first().file, dir.filePath(QStringLiteral("x.jpg")));
    EXPECT_EQ(devices.at(0).items.first().created, OrvQt::utc(QDate(2020, 1, 2), QTime(3, 4, 5)));
    // Without a UUID, one from the name: the same in every run.
    QList<DeviceSpec> again;
    ASSERT_TRUE(OrvImageCaptureSim::readDescription(path, &again));
    EXPECT_EQ(devices.at(1).uuid, again.at(1).uuid);
    EXPECT_NE(devices.at(0).uuid, devices.at(1).uuid);

    const QList<QByteArray> broken{"not json", "[]", R"({"devices": {}})", R"({"devices": [{}]})",
                                   R"({"devices": [{"name": "A", "type": "printer"}]})",
                                   R"({"devices": [{"name": "A", "download": {"result": "maybe"}}]})",
                                   R"({"devices": [{"name": "A", "thumbnails": "sometimes"}]})",
                                   R"({"devices": [{"name": "A", "items": [{"folder": "x"}]}]})"};
    for (const QByteArray& text : broken) {
        OrvTest::writeFile(path, text);
        QList<DeviceSpec> none;
        error.clear();
        EXPECT_FALSE(OrvImageCaptureSim::readDescription(path, &none, &error)) << text.toStdString();
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_FALSE(OrvImageCaptureSim::readDescription(dir.path(), &devices, &error));
}

TEST(UniformType, PhotosAndMoviesAreKnownByTypeExtensionAndMimeType)
{
    using namespace OrvUniformType;
    for (const char* image : {"public.jpeg", "public.heic", "com.canon.cr2-raw-image", "com.adobe.raw-image", "public.png"})
        EXPECT_TRUE(conformsTo(QString::fromLatin1(image), kUTTypeImage)) << image;
    for (const char* movie : {"com.apple.quicktime-movie", "public.mpeg-4", "public.avchd-mpeg-2-transport-stream"})
        EXPECT_TRUE(conformsTo(QString::fromLatin1(movie), kUTTypeMovie)) << movie;
    for (const char* other : {"public.mp3", "com.adobe.xmp", "public.folder", "public.data", "", "no.such.type"}) {
        EXPECT_FALSE(conformsTo(QString::fromLatin1(other), kUTTypeImage)) << other;
        EXPECT_FALSE(conformsTo(QString::fromLatin1(other), kUTTypeMovie)) << other;
    }
    EXPECT_TRUE(conformsTo(QStringLiteral("public.heic"), QStringLiteral("public.heif")));
    EXPECT_FALSE(conformsTo(QStringLiteral("public.image"), QStringLiteral("public.jpeg")));
    EXPECT_EQ(typeForExtension(QStringLiteral("JPG")), QStringLiteral("public.jpeg"));
    EXPECT_EQ(typeForExtension(QStringLiteral("Mov")), QStringLiteral("com.apple.quicktime-movie"));
    EXPECT_EQ(typeForExtension(QStringLiteral("thm")), kUTTypeData);
    EXPECT_EQ(typeForMimeType(QStringLiteral("image/x-canon-cr2")), QStringLiteral("com.canon.cr2-raw-image"));
    EXPECT_EQ(typeForMimeType(QStringLiteral("application/x-unknown")), kUTTypeData);
}
