#include "ImageCaptureFixture.h"

#include "OrvFotoRegistries.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

QStringList* capturedLines = nullptr;
QtMessageHandler previousHandler = nullptr;

void capture(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (capturedLines)
        capturedLines->append(message);
    if (type != QtDebugMsg && previousHandler)
        previousHandler(type, context, message);
}

} // namespace

void ImageCaptureTest::SetUp()
{
    capturedLines = &logLines;
    previousHandler = qInstallMessageHandler(capture);
    OrvImageCaptureSim::install();
    OrvImageCaptureSim::unplugAll();
    OrvImageCaptureSim::setDefaultBrowsedMask(0);
    QCoreApplication::processEvents();
    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting(shortWait());
}

void ImageCaptureTest::TearDown()
{
    for (const auto& device : OrvImageCaptureSim::pluggedDevices())
        device->releaseHeldDownloads();
    OrvImageCaptureSim::unplugAll();
    settle();
    database.reset();
    settle();
    OrvAppleImageCaptureDatabase::setWaitBoundsForTesting({});
    qInstallMessageHandler(previousHandler);
    capturedLines = nullptr;
}

OrvAppleImageCaptureDatabase& ImageCaptureTest::source()
{
    if (database)
        return *database;
    database = std::make_unique<OrvAppleImageCaptureDatabase>();
    OrvExternalDatabase* base = database.get();
    QObject::connect(base, &OrvExternalDatabase::albumAdded, base,
                     [this](const OrvExternalAlbum& album, const QIcon&) { heard.append("albumAdded " + album.name()); });
    QObject::connect(base, &OrvExternalDatabase::albumRemoved, base, [this](const OrvExternalAlbum& album, bool) {
        heard.append("albumRemoved " + album.name());
    });
    QObject::connect(base, &OrvExternalDatabase::fotosInserted, base, [this](const OrvExternalFotoList& fotos, const OrvExternalId&) {
        heard.append("fotosInserted " + QString::number(fotos.size()));
    });
    QObject::connect(base, &OrvExternalDatabase::loadingInProgress, base,
                     [this](const OrvFotoSourceNode&, bool loading) { heard.append(loading ? "loading true" : "loading false"); });
    QObject::connect(OrvSingleton<OrvFotoChangeDispatcher>::instance(), &OrvFotoChangeDispatcher::newAvailableBitmap, base,
                     [this](const OrvFoto&, const QSize& size) {
                         heard.append(QStringLiteral("bitmap %1x%2").arg(size.width()).arg(size.height()));
                     });
    return *database;
}

std::shared_ptr<OrvImageCaptureSim::Device> ImageCaptureTest::plugCamera(const QString& name,
                                                                          const QMap<QString, QByteArray>& files,
                                                                          OrvImageCaptureSim::DeviceSpec spec)
{
    const QString folder = storage.filePath(name);
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const QString path = folder + QLatin1Char('/') + it.key();
        QDir().mkpath(QFileInfo(path).absolutePath());
        EXPECT_TRUE(OrvTest::writeFile(path, it.value()));
    }
    QDir().mkpath(folder);
    spec.name = name;
    if (spec.uuid.isEmpty())
        spec.uuid = QStringLiteral("UUID-") + name;
    spec.storage = folder;
    auto device = OrvImageCaptureSim::Device::create(spec);
    OrvImageCaptureSim::plug(device);
    return device;
}

bool ImageCaptureTest::waitForFotos(const std::shared_ptr<OrvImageCaptureSim::Device>& device, int count)
{
    return OrvTest::waitFor([&] {
        const OrvExternalAlbum album = database->findAlbum(albumId(device));
        return album.isValid() && album.fotoIds().size() == count;
    });
}

void ImageCaptureTest::settle()
{
    for (int round = 0; round < 3; ++round) {
        for (const auto& device : OrvImageCaptureSim::pluggedDevices())
            device->waitForQueue();
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }
}

OrvExternalId ImageCaptureTest::albumId(const std::shared_ptr<OrvImageCaptureSim::Device>& device) const
{
    return database->createExternalIdDevice(device);
}

OrvExternalFotoList ImageCaptureTest::fotosOf(const std::shared_ptr<OrvImageCaptureSim::Device>& device) const
{
    return database->getExternalDataPoolConst().fotosInAlbum(albumId(device));
}

QStringList ImageCaptureTest::namesOf(const std::shared_ptr<OrvImageCaptureSim::Device>& device) const
{
    QStringList names;
    for (const OrvExternalFoto& foto : fotosOf(device))
        names.append(foto.name());
    return names;
}

QStringList ImageCaptureTest::downloadedFiles() const
{
    return QDir(OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir())
        .entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
}

QByteArray ImageCaptureTest::jpeg(int width, int height) { return OrvTest::makeJpeg(width, height); }
