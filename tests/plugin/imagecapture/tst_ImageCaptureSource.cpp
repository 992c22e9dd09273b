#include "ImageCaptureFixture.h"

#include "OrvFotoCacheManager.h"
#include "OrvFotoRetrieverAppleImageCapture.h"
#include "OrvNativeMetaData.h"
#include "TestSupport.h"
#include "OrvQtCompat.h"
#include "OrvSourceSettler.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QSet>
#include <QTimer>

#include <memory>

using OrvImageCaptureSim::DeviceSpec;
using OrvImageCaptureSim::ThumbnailTiming;

TEST_F(ImageCaptureTest, EachCameraIsOneAlbumOfItsImagesAndMoviesInCaseInsensitiveOrder)
{
    source().doLazyInit();
    const auto camera = plugCamera(QStringLiteral("iPhone"), {{"DCIM/100APPLE/IMG_0002.JPG", jpeg()},
                                                               {"DCIM/100APPLE/img_0001.jpg", jpeg()},
                                                               {"DCIM/100APPLE/b.MOV", "movie"},
                                                               {"DCIM/100APPLE/notes.txt", "text"},
                                                               {"DCIM/100APPLE/IMG_0001.XMP", "sidecar"},
                                                               {"DCIM/101APPLE/IMG_0002.JPG", jpeg()},
                                                               {"DCIM/101APPLE/Img_0002.heic", "heic"}});
    ASSERT_TRUE(waitForFotos(camera, 5));
    EXPECT_EQ(namesOf(camera), (QStringList{"b.MOV", "img_0001.jpg", "Img_0002.heic", "IMG_0002.JPG", "IMG_0002.JPG"}));
    const OrvExternalAlbum album = database->findAlbum(albumId(camera));
    EXPECT_EQ(album.name(), QStringLiteral("iPhone"));
    EXPECT_EQ(album.type(), OrvExternalAlbumType(OrvExternalAlbumType::Regular));
    EXPECT_EQ(album.url().toString(), QStringLiteral("appleimagecapture:album#UUID-iPhone"));
    // Equal names in different folders are different fotos; the folders are part of the id.
    QStringList remote;
    for (const OrvExternalFoto& foto : fotosOf(camera))
        remote.append(foto.id().remoteId());
    EXPECT_TRUE(remote.contains(QStringLiteral("UUID-iPhone/DCIM/100APPLE/IMG_0002.JPG")));
    EXPECT_TRUE(remote.contains(QStringLiteral("UUID-iPhone/DCIM/101APPLE/IMG_0002.JPG")));
    EXPECT_EQ(fotosOf(camera).first().fileFormat(), OrvMediaFormat(OrvMediaFormat::Mov));
    EXPECT_TRUE(logLines.contains(QStringLiteral("Image Capture: Hello \"iPhone\"")));
    EXPECT_TRUE(logLines.contains(QStringLiteral("Image Capture: Boarding Complete \"iPhone\"")));
}

TEST_F(ImageCaptureTest, IdsEncodeTheDeviceAndFoldersButNotTheItemName)
{
    DeviceSpec spec;
    spec.name = QStringLiteral("Cam");
    spec.uuid = QStringLiteral("A B/C%");
    spec.items = {{QStringLiteral("x#1%.jpg"), QStringLiteral("DCIM/1 0%/ü"), QString(), QDateTime(), QString()}};
    const auto camera = OrvImageCaptureSim::Device::create(spec);
    source().doLazyInit();
    OrvImageCaptureSim::plug(camera);
    ASSERT_TRUE(waitForFotos(camera, 1));
    EXPECT_EQ(albumId(camera).remoteId(), QStringLiteral("A%20B%2FC%25"));
    const OrvExternalId id = fotosOf(camera).first().id();
    EXPECT_EQ(id.remoteId(), QStringLiteral("A%20B%2FC%25/DCIM/1%200%25/%C3%BC/x#1%.jpg"));
    // The id survives its URL text, as the host stores it.
    EXPECT_EQ(OrvExternalId(QUrl(id.toUrl().toString())), id);
    EXPECT_EQ(source().filenameHint(id, QSize()), QStringLiteral("x#1%.jpg"));
}

TEST_F(ImageCaptureTest, HostileNamesStayApartAndDownloadIntoTheTemporaryFolder)
{
    const QByteArray bytes = jpeg(32, 24);
    const QString file = storage.filePath(QStringLiteral("source.jpg"));
    ASSERT_TRUE(OrvTest::writeFile(file, bytes));
    DeviceSpec spec;
    spec.name = QStringLiteral("Hostile");
    spec.uuid = QStringLiteral("HOSTILE");
    const QStringList names{"a/b.jpg", "a_b.jpg", "100%.jpg", "x#y.jpg", "line\nbreak.jpg", "Müller.jpg", "..jpg", "noext"};
    for (const QString& name : names)
        spec.items.append({name, QStringLiteral("DCIM"), QStringLiteral("public.jpeg"), QDateTime(), file});
    const auto camera = OrvImageCaptureSim::Device::create(spec);
    source().doLazyInit();
    OrvImageCaptureSim::plug(camera);
    ASSERT_TRUE(waitForFotos(camera, int(names.size())));
    QSet<QString> ids;
    for (const OrvExternalFoto& foto : fotosOf(camera)) {
        ids.insert(foto.id().toString());
        const QByteArray downloaded = source().byteArray(foto.id());
        EXPECT_EQ(downloaded, bytes) << foto.name().toStdString();
    }
    EXPECT_EQ(ids.size(), names.size());
    // Each download was used and removed; nothing lands outside the temporary folder.
    EXPECT_TRUE(downloadedFiles().isEmpty()) << downloadedFiles().join(QLatin1Char(' ')).toStdString();
    EXPECT_EQ(QDir(storage.filePath(QStringLiteral("a"))).exists(), false);
}

TEST_F(ImageCaptureTest, ScannersAreNeverOpenedAndGetNoAlbum)
{
    // A browser that also reports scanners: the source itself must turn them away.
    OrvImageCaptureSim::setDefaultBrowsedMask(0xFF03);
    source().doLazyInit();
    DeviceSpec scannerSpec;
    scannerSpec.type = OrvImageCapture::DeviceTypeScanner | OrvImageCapture::DeviceLocationTypeLocal;
    const auto scanner = plugCamera(QStringLiteral("Scanner"), {{"scan.jpg", jpeg()}}, scannerSpec);
    const auto camera = plugCamera(QStringLiteral("Camera"), {{"a.jpg", jpeg()}});
    ASSERT_TRUE(waitForFotos(camera, 1));
    settle();
    EXPECT_FALSE(scanner->isSessionOpen());
    EXPECT_EQ(database->albums().size(), 1);
}

TEST_F(ImageCaptureTest, StartsBrowsingOnceAndLoadsUntilTheFirstDevice)
{
    source();
    EXPECT_TRUE(database->doLazyInit());
    EXPECT_TRUE(database->doLazyInit());
    settle();
    EXPECT_EQ(heard, QStringList{"loading true"});
    // A device without any image or movie still gets its album, empty.
    const auto camera = plugCamera(QStringLiteral("Empty"), {{"readme.txt", "text"}});
    ASSERT_TRUE(OrvTest::waitFor([&] { return heard.contains(QStringLiteral("fotosInserted 0")); }));
    EXPECT_EQ(heard, (QStringList{"loading true", "loading false", "albumAdded Empty", "fotosInserted 0"}));
    EXPECT_TRUE(fotosOf(camera).isEmpty());
}

TEST_F(ImageCaptureTest, WaitingForADeviceIsTheCallersChoiceACatalogueIsWaitedFor)
{
    // No device: nothing is being gathered, a wait for the whole source ends.
    OrvSourceSettler quick({&source()});
    EXPECT_TRUE(quick.settle({}));
    EXPECT_TRUE(database->albums().isEmpty());
    // Asked to wait for devices: until one comes and its catalogue is in, or the time is up.
    OrvSourceSettler::Bounds bounds;
    bounds.waitForDevices = true;
    bounds.totalMs = 3 * bounds.quietMs;
    OrvSourceSettler none({database.get()});
    EXPECT_FALSE(none.settle(bounds));
    OrvImageCaptureSim::DeviceSpec slow;
    slow.itemBatch = 1;
    QMap<QString, QByteArray> files;
    for (int i = 0; i < 20; ++i)
        files.insert(QStringLiteral("DCIM/IMG_%1.JPG").arg(i, 4, 10, QLatin1Char('0')), jpeg());
    std::shared_ptr<OrvImageCaptureSim::Device> camera;
    QTimer::singleShot(bounds.quietMs, [&] { camera = plugCamera(QStringLiteral("Late"), files, slow); });
    bounds.totalMs = 60000;
    OrvSourceSettler patient({database.get()});
    EXPECT_TRUE(patient.settle(bounds));
    ASSERT_TRUE(camera);
    EXPECT_EQ(fotosOf(camera).size(), 20);
}

TEST_F(ImageCaptureTest, AThumbnailIsReadOncePerItemWhileConnected)
{
    source().doLazyInit();
    const auto camera = plugCamera(QStringLiteral("Cam"), {{"DCIM/a.jpg", jpeg(640, 480)}, {"DCIM/b.jpg", jpeg(480, 640)}});
    ASSERT_TRUE(waitForFotos(camera, 2));
    ASSERT_TRUE(OrvTest::waitFor([&] { return heard.filter(QStringLiteral("bitmap")).size() == 2; }));
    EXPECT_EQ(heard.filter(QStringLiteral("bitmap")), (QStringList{"bitmap 160x120", "bitmap 120x160"}));
    const OrvExternalId a = fotosOf(camera).first().id();
    // Asked again and again, the device is not asked again.
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(database->drawable(a, QSize(100, 100)).size(), QSize(160, 120));
    settle();
    EXPECT_EQ(camera->thumbnailReads(), 2);
    OrvNativeMetaDataGeneric metaData;
    database->fillMetaData(a, &metaData);
    EXPECT_EQ(metaData.metaData().preferredSize(), QSize(160, 120));

    // Plugged in again: a new session, a cache that starts empty.
    OrvImageCaptureSim::unplug(camera->UUIDString());
    settle();
    OrvImageCaptureSim::plug(camera);
    ASSERT_TRUE(waitForFotos(camera, 2));
    ASSERT_TRUE(OrvTest::waitFor([&] { return camera->thumbnailReads() == 4; }));
}

TEST_F(ImageCaptureTest, WithoutAThumbnailThePlaceholderAndASizeOfOneByOne)
{
    DeviceSpec spec;
    spec.thumbnails = ThumbnailTiming::None;
    const QDateTime taken = OrvQt::utc(QDate(2021, 6, 5), QTime(14, 30));
    source().doLazyInit();
    const auto camera = plugCamera(QStringLiteral("Slow"), {{"a.jpg", jpeg()}}, spec);
    ASSERT_TRUE(waitForFotos(camera, 1));
    const OrvExternalId id = fotosOf(camera).first().id();
    EXPECT_EQ(database->drawable(id, QSize(100, 100)).image(), OrvFotoCacheDrawable::placeHolder().image());
    const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database->createRetrieverInterface(id));
    const std::unique_ptr<OrvFotoRetrieverMetaData> metaRetriever(retriever->retrieveMetaData());
    const OrvFotoMetaData metaData = metaRetriever->metaData();
    EXPECT_EQ(metaData.preferredSize(), QSize(1, 1));
    EXPECT_TRUE(metaData.pictureTaken().isValid());
    EXPECT_EQ(camera->downloadRequests(), 0);
}

TEST_F(ImageCaptureTest, UnpluggingRemovesTheAlbumFirstThenTheItemsAndLaterLookUpsFindNothing)
{
    source().doLazyInit();
    const auto camera = plugCamera(QStringLiteral("Gone"), {{"a.jpg", jpeg()}});
    ASSERT_TRUE(waitForFotos(camera, 1));
    const OrvExternalId id = fotosOf(camera).first().id();
    ASSERT_TRUE(OrvTest::waitFor([&] { return !database->drawable(id, QSize(10, 10)).image().isNull()
                                              && database->drawable(id, QSize(10, 10)).size() != QSize(64, 64); }));
    const QString url = id.toUrl().toString();
    // Hold the session open: the album goes at once, the items only when the session closes.
    OrvImageCaptureSim::unplug(camera->UUIDString());
    QCoreApplication::processEvents();
    EXPECT_TRUE(heard.contains(QStringLiteral("albumRemoved Gone")));
    EXPECT_FALSE(database->findAlbum(albumId(camera)).isValid());
    settle();
    EXPECT_TRUE(database->interface()->thumbnailForUrl(url).isNull());
    EXPECT_TRUE(database->filenameHint(id, QSize()).isEmpty());
    EXPECT_EQ(database->drawable(id, QSize(10, 10)).image(), OrvFotoCacheDrawable::placeHolder().image());
    EXPECT_TRUE(database->byteArray(id).isEmpty());
    EXPECT_EQ(camera->downloadRequests(), 0);
    OrvNativeMetaDataGeneric metaData;
    database->fillMetaData(id, &metaData);
    EXPECT_FALSE(metaData.metaData().pictureTaken().isValid());
}

TEST_F(ImageCaptureTest, AFolderOfTenThousandItems)
{
    DeviceSpec spec;
    spec.name = QStringLiteral("Big");
    spec.uuid = QStringLiteral("BIG");
    spec.thumbnails = ThumbnailTiming::None;
    for (int i = 9999; i >= 0; --i)
        spec.items.append({QStringLiteral("IMG_%1.JPG").arg(i, 5, 10, QLatin1Char('0')), QStringLiteral("DCIM/100BIG"),
                           QString(), QDateTime(), QString()});
    const auto camera = OrvImageCaptureSim::Device::create(spec);
    source().doLazyInit();
    OrvImageCaptureSim::plug(camera);
    ASSERT_TRUE(waitForFotos(camera, 10000));
    const QStringList names = namesOf(camera);
    EXPECT_EQ(names.first(), QStringLiteral("IMG_00000.JPG"));
    EXPECT_EQ(names.last(), QStringLiteral("IMG_09999.JPG"));
    EXPECT_TRUE(std::is_sorted(names.cbegin(), names.cend()));
}

TEST_F(ImageCaptureTest, RetrieversOfOneIdAreEqualWhateverSourceMadeThem)
{
    const OrvExternalId id(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("foto"), QStringLiteral("U/a.jpg"));
    const OrvFotoRetrieverAppleImageCapture a(&source(), id);
    const OrvFotoRetrieverAppleImageCapture b(nullptr, id);
    const OrvFotoRetrieverAppleImageCapture c(&source(), OrvExternalId(OrvAppleImageCaptureDatabase::URLScheme,
                                                                       QStringLiteral("foto"), QStringLiteral("U/b.jpg")));
    EXPECT_TRUE(a == b);
    EXPECT_EQ(a.hash(), b.hash());
    EXPECT_FALSE(a == c);
    const std::unique_ptr<OrvFotoRetrieverInterface> clone(a.clone());
    EXPECT_TRUE(*clone == a);
}

TEST_F(ImageCaptureTest, AutostartIsTheDevicesLaunchApplicationAndOffIsNil)
{
    QTemporaryDir data;
    qputenv("XDG_DATA_HOME", data.path().toLocal8Bit());
    QGuiApplication::setDesktopFileName(QStringLiteral("orv-photos-test"));
    const QString desktop = data.filePath(QStringLiteral("applications/orv-photos-test.desktop"));
    ASSERT_TRUE(QDir().mkpath(data.filePath(QStringLiteral("applications"))));
    ASSERT_TRUE(OrvTest::writeFile(desktop, "[Desktop Entry]\nType=Application\nName=Test\nExec=true\n"));
    EXPECT_EQ(OrvAppleImageCaptureDatabase::appPath(), desktop);
    EXPECT_FALSE(source().isFotoImportAutostartSupported());
    ASSERT_TRUE(OrvTest::writeFile(desktop, "[Desktop Entry]\nType=Application\nName=Test\nExec=true\n"
                                            "MimeType=image/jpeg;x-content/image-dcf;\n"));
    EXPECT_TRUE(source().isFotoImportAutostartSupported());

    source().doLazyInit();
    const auto camera = plugCamera(QStringLiteral("Auto"), {{"a.jpg", jpeg()}});
    ASSERT_TRUE(waitForFotos(camera, 1));
    const QUrl url = albumId(camera).toUrl();
    EXPECT_FALSE(database->isFotoImportAutostartTrigger(url));
    database->setFotoImportAutostartTrigger(url, true);
    EXPECT_EQ(camera->autolaunchApplicationPath(), desktop);
    EXPECT_TRUE(database->isFotoImportAutostartTrigger(url));
    database->setFotoImportAutostartTrigger(url, false);
    EXPECT_TRUE(camera->autolaunchApplicationPath().isNull());
    EXPECT_FALSE(database->isFotoImportAutostartTrigger(url));
    // A URL that names no connected device.
    const QUrl nobody(QStringLiteral("appleimagecapture:album#NOBODY"));
    database->setFotoImportAutostartTrigger(nobody, true);
    EXPECT_FALSE(database->isFotoImportAutostartTrigger(nobody));
    QGuiApplication::setDesktopFileName(QString());
    qunsetenv("XDG_DATA_HOME");
}

TEST_F(ImageCaptureTest, AThumbnailBeforeTheCatalogueAlreadyShowsTheDevice)
{
    DeviceSpec spec;
    spec.itemBatch = 1;
    spec.thumbnails = ThumbnailTiming::WithItems;
    source().doLazyInit();
    const auto camera = plugCamera(QStringLiteral("Early"), {{"a.jpg", jpeg()}, {"b.jpg", jpeg()}, {"c.jpg", jpeg()}}, spec);
    ASSERT_TRUE(waitForFotos(camera, 3));
    settle();
    // The album was announced once, by the first thumbnail, before the fotos.
    EXPECT_EQ(heard.filter(QStringLiteral("albumAdded")), QStringList{"albumAdded Early"});
    EXPECT_LT(heard.indexOf(QStringLiteral("albumAdded Early")), heard.indexOf(QStringLiteral("fotosInserted 3")));
    EXPECT_LT(heard.indexOf(QStringLiteral("bitmap 64x48")), heard.indexOf(QStringLiteral("fotosInserted 3")));
}

TEST(ImageCaptureNames, DownloadNamesAreOneComponentUniqueAndKeepTheSuffix)
{
    const QString a = OrvAppleImageCaptureInterface::uniqueFilename(QStringLiteral("IMG_0001.JPG"));
    const QString b = OrvAppleImageCaptureInterface::uniqueFilename(QStringLiteral("IMG_0001.JPG"));
    EXPECT_NE(a, b);
    EXPECT_TRUE(a.startsWith(QLatin1String("IMG_0001-{")) && a.endsWith(QLatin1String("}.JPG"))) << a.toStdString();
    EXPECT_FALSE(OrvAppleImageCaptureInterface::uniqueFilename(QStringLiteral("../a/b.jpg")).contains(QLatin1Char('/')));
    EXPECT_TRUE(OrvAppleImageCaptureInterface::uniqueFilename(QStringLiteral("noext")).endsWith(QLatin1String("}.")));
    EXPECT_TRUE(OrvAppleImageCaptureInterface::uniqueFilename(QStringLiteral("archive.tar.gz")).startsWith(QLatin1String("archive.tar-{")));
    const QString longName = OrvAppleImageCaptureInterface::uniqueFilename(QString(300, QChar(0xFC)) + QStringLiteral(".jpg"));
    EXPECT_LT(QFile::encodeName(longName).size(), 256);
}
