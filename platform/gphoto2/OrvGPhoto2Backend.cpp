#include "OrvGPhoto2Backend.h"

#include "OrvGPhoto2Detector.h"
#include "OrvImageCaptureHub.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QUuid>

#include <gphoto2/gphoto2.h>

#include <chrono>
#include <mutex>
#include <thread>

namespace OrvGPhoto2 {

namespace {

struct Backend
{
    std::shared_ptr<OrvImageCapture::Hub> hub = OrvImageCapture::Hub::create();
    std::mutex mutex;
    bool detect = true;
    QHash<QString, QString> detected;  // UUID -> identity, of what detection found
    QStringList added;                 // UUIDs of cameras added by hand
    Detector* detector = nullptr;      // main thread; lives as long as the application
};

Backend& backend()
{
    static Backend instance;
    return instance;
}

void connect(const QString& model, const QString& port, const QString& uuid)
{
    Backend& b = backend();
    if (b.hub->device(uuid))
        return;
    auto device = Device::create(model, port, uuid);
    // A device that stops answering is unplugged as far as the browsers know.
    device->setOnDisconnect([](const QString& gone) {
        Backend& b = backend();
        {
            std::lock_guard<std::mutex> lock(b.mutex);
            b.detected.remove(gone);
        }
        b.hub->unplug(gone);
    });
    b.hub->plug(device);
}

void found(const QList<DetectedCamera>& cameras)
{
    Backend& b = backend();
    QHash<QString, DetectedCamera> now;
    for (const DetectedCamera& camera : cameras)
        now.insert(uuidFor(camera.identity), camera);
    QStringList gone;
    {
        std::lock_guard<std::mutex> lock(b.mutex);
        for (auto it = b.detected.cbegin(); it != b.detected.cend(); ++it) {
            if (!now.contains(it.key()) && !b.added.contains(it.key()))
                gone.append(it.key());
        }
        for (const QString& uuid : std::as_const(gone))
            b.detected.remove(uuid);
        for (auto it = now.cbegin(); it != now.cend(); ++it) {
            if (!b.added.contains(it.key()))
                b.detected.insert(it.key(), it->identity);
        }
    }
    for (const QString& uuid : std::as_const(gone))
        b.hub->unplug(uuid);
    for (auto it = now.cbegin(); it != now.cend(); ++it) {
        // A camera added by hand is not announced twice; its port may change with a plug, not its UUID.
        if (!backend().added.contains(it.key()))
            connect(it->model, it->port, it.key());
    }
}

void startDetection()
{
    Backend& b = backend();
    if (!b.detect || b.detector || !QCoreApplication::instance())
        return;
    qDebug() << "Image Capture: looking for cameras";
    b.detector = new Detector(found);
    b.detector->setParent(QCoreApplication::instance());
    b.detector->start();
}

// The directory driver reads whatever folder it is given: never the whole disk, never nothing.
// The root is known by what the path leads to, not by how it is written ("/tmp/..", a link).
bool isCameraFolder(const QString& port)
{
    const QString folder = port.mid(5);
    const QString real = folder.isEmpty() ? QString() : QFileInfo(folder).canonicalFilePath();
    return !real.isEmpty() && !QDir(real).isRoot() && QFileInfo(real).isDir()
        && !QDir(real).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot);
}

} // namespace

QString uuidFor(const QString& identity)
{
    static const QUuid space(QStringLiteral("{5b3e0f3c-63d7-4d36-9a4f-6f1c1e0b8a21}"));
    return QUuid::createUuidV5(space, identity).toString(QUuid::WithoutBraces).toUpper();
}

void install(bool detect)
{
    Backend& b = backend();
    {
        std::lock_guard<std::mutex> lock(b.mutex);
        b.detect = detect;
    }
    // Detection begins on the main thread when a browser first starts.
    b.hub->setOnFirstStart([] { OrvImageCapture::postToMainThread(startDetection); });
    OrvImageCapture::setDeviceBrowserProvider([] { return backend().hub->createBrowser(); });
}

void setReadsThumbnails(bool reads) { Device::setReadsThumbnails(reads); }

bool addCamera(const QString& model, const QString& port)
{
    if (model.isEmpty() || port.isEmpty())
        return false;
    if (port.startsWith(QLatin1String("disk:")) && !isCameraFolder(port)) {
        qDebug() << "Image Capture: no camera at" << port;
        return false;
    }
    const QString uuid = uuidFor(QStringLiteral("port:%1=%2").arg(model, port));
    {
        Backend& b = backend();
        std::lock_guard<std::mutex> lock(b.mutex);
        if (!b.added.contains(uuid))
            b.added.append(uuid);
    }
    connect(model, port, uuid);
    return true;
}

CameraCheck checkCamera(const QString& model, const QString& port, QString* why)
{
    if (model.isEmpty() || !isKnownModel(model))
        return CameraCheck::UnknownModel;
    if (port.isEmpty() || !isKnownPort(port))
        return CameraCheck::UnknownPort;
    if (port.startsWith(QLatin1String("disk:")) && !isCameraFolder(port))
        return CameraCheck::NoFolder;
    // Opened once and closed again, as the camera's own thread will open it.
    Camera* camera = nullptr;
    if (gp_camera_new(&camera) < GP_OK)
        return CameraCheck::DoesNotOpen;
    const CancelSource never;
    GPContext* context = newContext(&never);
    int result = GP_ERROR;
    if (setUpCamera(camera, model, port, why)) {
        result = retryWhileBusy(
            [camera, context] {
                const auto modules = lockModules();
                const LibraryAllocations drivers;
                return gp_camera_init(camera, context);
            },
            never.stopping, [](int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); });
        *why = result < GP_OK ? (classify(result) == Failure::Busy ? busyWarning(model, port) : describe(result)) : QString();
    }
    {
        const auto modules = lockModules();
        const LibraryAllocations drivers;
        gp_camera_exit(camera, context);
        gp_camera_unref(camera);
    }
    if (context)
        gp_context_unref(context);
    return result < GP_OK ? CameraCheck::DoesNotOpen : CameraCheck::Opens;
}

QList<QPair<QString, QString>> connectedCameras()
{
    QList<QPair<QString, QString>> cameras;
    const CancelSource never;
    if (GPContext* context = newContext(&never)) {
        cameras = detectCameras(context);
        gp_context_unref(context);
    }
    Backend& b = backend();
    QStringList added;
    {
        std::lock_guard<std::mutex> lock(b.mutex);
        added = b.added;
    }
    for (const QString& uuid : std::as_const(added)) {
        if (const auto device = connectedDevice(uuid))
            cameras.append({device->model(), device->port()});
    }
    return cameras;
}

std::shared_ptr<Device> connectedDevice(const QString& uuid)
{
    return std::dynamic_pointer_cast<Device>(backend().hub->device(uuid));
}

void removeAddedCameras()
{
    Backend& b = backend();
    QStringList added;
    {
        std::lock_guard<std::mutex> lock(b.mutex);
        added.swap(b.added);
    }
    for (const QString& uuid : std::as_const(added))
        b.hub->unplug(uuid);
}

} // namespace OrvGPhoto2
