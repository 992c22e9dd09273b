#include "OrvImageCaptureSimBrowser.h"

#include <QCoreApplication>
#include <QDebug>
#include <QHash>
#include <QSet>
#include <QThread>

#include <algorithm>

#include <mutex>
#include <vector>

using namespace OrvImageCapture;

namespace OrvImageCaptureSim {

namespace {

struct World
{
    std::mutex mutex;
    QList<std::shared_ptr<Device>> devices;
    std::vector<std::weak_ptr<Browser>> browsers;
    quint32 defaultMask = 0;
    // Main thread: what each browser has reported as there.
    QHash<const Browser*, QSet<const Device*>> reported;
};

World& world()
{
    static World instance;
    return instance;
}

void onMainThread(std::function<void()> task)
{
    if (QCoreApplication* application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(task), Qt::QueuedConnection);
}

std::vector<std::shared_ptr<Browser>> liveBrowsers()
{
    World& w = world();
    std::vector<std::shared_ptr<Browser>> browsers;
    std::lock_guard<std::mutex> lock(w.mutex);
    for (const auto& weak : w.browsers) {
        if (auto browser = weak.lock())
            browsers.push_back(browser);
    }
    return browsers;
}

} // namespace

std::shared_ptr<Browser> Browser::create()
{
    std::shared_ptr<Browser> browser(new Browser());
    World& w = world();
    std::lock_guard<std::mutex> lock(w.mutex);
    w.browsers.erase(std::remove_if(w.browsers.begin(), w.browsers.end(), [](const auto& weak) { return weak.expired(); }),
                     w.browsers.end());
    w.browsers.push_back(browser);
    return browser;
}

Browser::Browser()
{
    std::lock_guard<std::mutex> lock(world().mutex);
    myMask = world().defaultMask;
}

Browser::~Browser()
{
    // Only the main thread keeps the record; a browser let go elsewhere leaves a stale key, never a reused one.
    if (QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread())
        world().reported.remove(this);
}

void Browser::setDelegate(const std::weak_ptr<DeviceBrowserDelegate>& delegate) { myDelegate = delegate; }

bool Browser::browses(const std::shared_ptr<Device>& device) const
{
    // Both the kind of device and where it is connected must be browsed.
    const quint32 type = device->type();
    return (type & myMask & 0xFF) != 0 && (type & myMask & 0xFF00) != 0;
}

void Browser::start()
{
    if (myStarted)
        return;
    myStarted = true;
    const QList<std::shared_ptr<Device>> devices = pluggedDevices();
    std::weak_ptr<Browser> self = weak_from_this();
    onMainThread([self, devices] {
        const auto browser = self.lock();
        for (qsizetype i = 0; browser && i < devices.size(); ++i) {
            if (devices.at(i)->isPlugged())
                browser->deviceAdded(devices.at(i), i + 1 < devices.size());
        }
    });
}

void Browser::stop() { myStarted = false; }

void Browser::deviceAdded(const std::shared_ptr<Device>& device, bool moreComing)
{
    if (!myStarted || !browses(device))
        return;
    QSet<const Device*>& reported = world().reported[this];
    if (reported.contains(device.get()))
        return;
    reported.insert(device.get());
    if (const auto delegate = myDelegate.lock())
        delegate->deviceBrowserDidAddDevice(this, device, moreComing);
}

void Browser::deviceRemoved(const std::shared_ptr<Device>& device)
{
    QSet<const Device*>& reported = world().reported[this];
    if (!reported.remove(device.get()))
        return;
    if (const auto delegate = myDelegate.lock())
        delegate->deviceBrowserDidRemoveDevice(this, device, false);
}

void plug(const std::shared_ptr<Device>& device)
{
    if (!device)
        return;
    std::shared_ptr<Device> replaced;
    {
        World& w = world();
        std::lock_guard<std::mutex> lock(w.mutex);
        for (qsizetype i = 0; i < w.devices.size(); ++i) {
            if (w.devices.at(i)->UUIDString() == device->UUIDString()) {
                replaced = w.devices.takeAt(i);
                break;
            }
        }
        w.devices.append(device);
    }
    if (replaced && replaced != device) {
        replaced->setPlugged(false);
        onMainThread([replaced] {
            for (const auto& browser : liveBrowsers())
                browser->deviceRemoved(replaced);
        });
    }
    device->setPlugged(true);
    onMainThread([device] {
        if (!device->isPlugged())
            return;
        for (const auto& browser : liveBrowsers())
            browser->deviceAdded(device, false);
    });
}

void unplug(const QString& uuid)
{
    std::shared_ptr<Device> device;
    {
        World& w = world();
        std::lock_guard<std::mutex> lock(w.mutex);
        for (qsizetype i = 0; i < w.devices.size(); ++i) {
            if (w.devices.at(i)->UUIDString() == uuid) {
                device = w.devices.takeAt(i);
                break;
            }
        }
    }
    if (!device)
        return;
    device->setPlugged(false);
    onMainThread([device] {
        for (const auto& browser : liveBrowsers())
            browser->deviceRemoved(device);
    });
}

void unplugAll()
{
    for (const auto& device : pluggedDevices())
        unplug(device->UUIDString());
}

std::shared_ptr<Device> pluggedDevice(const QString& uuid)
{
    World& w = world();
    std::lock_guard<std::mutex> lock(w.mutex);
    for (const auto& device : std::as_const(w.devices)) {
        if (device->UUIDString() == uuid)
            return device;
    }
    return {};
}

QList<std::shared_ptr<Device>> pluggedDevices()
{
    World& w = world();
    std::lock_guard<std::mutex> lock(w.mutex);
    return w.devices;
}

void setDefaultBrowsedMask(quint32 mask)
{
    World& w = world();
    std::lock_guard<std::mutex> lock(w.mutex);
    w.defaultMask = mask;
}

void install()
{
    OrvImageCapture::setDeviceBrowserProvider([] { return Browser::create(); });
    static std::once_flag described;
    std::call_once(described, [] {
        const QString path = qEnvironmentVariable("ORV_IMAGECAPTURE_DEVICES");
        QString error;
        if (!path.isEmpty() && !loadDescription(path, &error))
            qDebug() << "Image Capture simulation:" << error;
    });
}

} // namespace OrvImageCaptureSim
