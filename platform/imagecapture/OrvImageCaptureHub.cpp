#include "OrvImageCaptureHub.h"

#include <QCoreApplication>
#include <QPainter>

#include <algorithm>

namespace OrvImageCapture {

void postToMainThread(std::function<void()> task)
{
    if (QCoreApplication* application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(task), Qt::QueuedConnection);
}

void reportDownload(const DownloadRequest& request, const OptionalError& error)
{
    postToMainThread([request, error] {
        if (const auto delegate = request.delegate.lock())
            delegate->didDownloadFile(request.file, error, request.options, request.contextInfo);
    });
}

QImage defaultCameraIcon()
{
    QImage icon(32, 32, QImage::Format_ARGB32);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setBrush(QColor(0x50, 0x50, 0x50));
    painter.drawRoundedRect(2, 8, 28, 20, 3, 3);
    painter.setBrush(Qt::white);
    painter.drawEllipse(10, 12, 12, 12);
    return icon;
}

// ---- browser

bool HubBrowser::browses(const DevicePtr& device) const
{
    // Both the kind of device and where it is connected must be browsed.
    const quint32 type = device->type();
    return (type & myMask & 0xFF) != 0 && (type & myMask & 0xFF00) != 0;
}

void HubBrowser::start()
{
    if (myStarted)
        return;
    myStarted = true;
    const auto hub = myHub.lock();
    if (!hub)
        return;
    hub->browserStarted();
    const QList<DevicePtr> devices = hub->devices();
    std::weak_ptr<HubBrowser> self = weak_from_this();
    postToMainThread([self, devices] {
        const auto browser = self.lock();
        const auto hub = browser ? browser->myHub.lock() : nullptr;
        for (qsizetype i = 0; hub && i < devices.size(); ++i) {
            if (hub->isPlugged(devices.at(i)))
                browser->deviceAdded(devices.at(i), i + 1 < devices.size());
        }
    });
}

void HubBrowser::deviceAdded(const DevicePtr& device, bool moreComing)
{
    if (!myStarted || !browses(device) || myReported.contains(device.get()))
        return;
    myReported.insert(device.get());
    if (const auto delegate = myDelegate.lock())
        delegate->deviceBrowserDidAddDevice(this, device, moreComing);
}

void HubBrowser::deviceRemoved(const DevicePtr& device)
{
    if (!myReported.remove(device.get()))
        return;
    if (const auto delegate = myDelegate.lock())
        delegate->deviceBrowserDidRemoveDevice(this, device, false);
}

// ---- hub

std::shared_ptr<Hub> Hub::create() { return std::shared_ptr<Hub>(new Hub()); }

DeviceBrowserPtr Hub::createBrowser()
{
    std::lock_guard<std::mutex> lock(myMutex);
    std::shared_ptr<HubBrowser> browser(new HubBrowser(shared_from_this(), myDefaultMask));
    myBrowsers.erase(std::remove_if(myBrowsers.begin(), myBrowsers.end(), [](const auto& weak) { return weak.expired(); }),
                     myBrowsers.end());
    myBrowsers.push_back(browser);
    return browser;
}

void Hub::setDefaultBrowsedMask(quint32 mask)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myDefaultMask = mask;
}

void Hub::setOnFirstStart(std::function<void()> onFirstStart)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myOnFirstStart = std::move(onFirstStart);
}

void Hub::browserStarted()
{
    std::function<void()> first;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        if (myStarted)
            return;
        myStarted = true;
        first = myOnFirstStart;
    }
    if (first)
        first();
}

std::vector<std::shared_ptr<HubBrowser>> Hub::browsers() const
{
    std::vector<std::shared_ptr<HubBrowser>> live;
    std::lock_guard<std::mutex> lock(myMutex);
    for (const auto& weak : myBrowsers) {
        if (auto browser = weak.lock())
            live.push_back(browser);
    }
    return live;
}

void Hub::plug(const DevicePtr& device)
{
    if (!device)
        return;
    const DevicePtr replaced = unplug(device->UUIDString());
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myDevices.append(device);
    }
    std::weak_ptr<Hub> self = weak_from_this();
    postToMainThread([self, device] {
        const auto hub = self.lock();
        if (!hub || !hub->isPlugged(device))
            return;
        for (const auto& browser : hub->browsers())
            browser->deviceAdded(device, false);
    });
}

DevicePtr Hub::unplug(const QString& uuid)
{
    DevicePtr device;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        for (qsizetype i = 0; i < myDevices.size(); ++i) {
            if (myDevices.at(i)->UUIDString() == uuid) {
                device = myDevices.takeAt(i);
                break;
            }
        }
    }
    if (!device)
        return device;
    std::weak_ptr<Hub> self = weak_from_this();
    postToMainThread([self, device] {
        if (const auto hub = self.lock()) {
            for (const auto& browser : hub->browsers())
                browser->deviceRemoved(device);
        }
    });
    return device;
}

DevicePtr Hub::device(const QString& uuid) const
{
    std::lock_guard<std::mutex> lock(myMutex);
    for (const DevicePtr& device : myDevices) {
        if (device->UUIDString() == uuid)
            return device;
    }
    return {};
}

QList<DevicePtr> Hub::devices() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myDevices;
}

bool Hub::isPlugged(const DevicePtr& device) const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myDevices.contains(device);
}

} // namespace OrvImageCapture
