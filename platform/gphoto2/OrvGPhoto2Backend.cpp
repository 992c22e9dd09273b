#include "OrvGPhoto2Backend.h"

#include "OrvGPhoto2Detector.h"
#include "OrvImageCaptureHub.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QUuid>

#include <mutex>

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
    b.detector = new Detector(found);
    b.detector->setParent(QCoreApplication::instance());
    b.detector->start();
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

bool addCamera(const QString& model, const QString& port)
{
    if (model.isEmpty() || port.isEmpty())
        return false;
    if (port.startsWith(QLatin1String("disk:"))) {
        // The directory driver reads whatever folder it is given: never the whole disk, never nothing.
        // The root is known by what the path leads to, not by how it is written ("/tmp/..", a link).
        const QString folder = port.mid(5);
        const QString real = folder.isEmpty() ? QString() : QFileInfo(folder).canonicalFilePath();
        if (real.isEmpty() || QDir(real).isRoot() || !QFileInfo(real).isDir()
            || QDir(real).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot)) {
            qDebug() << "Image Capture: no camera at" << port;
            return false;
        }
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
