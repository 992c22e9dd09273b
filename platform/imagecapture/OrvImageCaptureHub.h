#pragma once

// What a backend's device browsers have in common: the devices connected now,
// and every browser that hears of them. A backend plugs and unplugs devices
// from any thread; each started browser reports them on the main thread, each
// device once, if its mask takes the device's type and location.

#include "OrvImageCapture.h"

#include <QHash>
#include <QList>
#include <QSet>

#include <functional>
#include <mutex>
#include <vector>

namespace OrvImageCapture {

class Hub;

class HubBrowser : public DeviceBrowser, public std::enable_shared_from_this<HubBrowser>
{
public:
    void setDelegate(const std::weak_ptr<DeviceBrowserDelegate>& delegate) override { myDelegate = delegate; }
    quint32 browsedDeviceTypeMask() const override { return myMask; }
    void setBrowsedDeviceTypeMask(quint32 mask) override { myMask = mask; }
    void start() override;
    void stop() override { myStarted = false; }

private:
    friend class Hub;
    HubBrowser(const std::shared_ptr<Hub>& hub, quint32 mask) : myHub(hub), myMask(mask) {}
    bool browses(const DevicePtr& device) const;
    // Main thread.
    void deviceAdded(const DevicePtr& device, bool moreComing);
    void deviceRemoved(const DevicePtr& device);

    std::weak_ptr<Hub> myHub;
    std::weak_ptr<DeviceBrowserDelegate> myDelegate;
    quint32 myMask;
    bool myStarted = false;
    QSet<const Device*> myReported;  // main thread
};

class Hub : public std::enable_shared_from_this<Hub>
{
public:
    static std::shared_ptr<Hub> create();

    DeviceBrowserPtr createBrowser();
    // The browsed mask a new browser starts with (ImageCaptureCore's is none).
    void setDefaultBrowsedMask(quint32 mask);
    // Runs once, when the first browser starts: where a backend begins to look for devices.
    void setOnFirstStart(std::function<void()> onFirstStart);

    // A device with the UUID of one plugged in already replaces it.
    void plug(const DevicePtr& device);
    // Nothing when no device has this UUID; the device unplugged otherwise.
    DevicePtr unplug(const QString& uuid);
    DevicePtr device(const QString& uuid) const;
    QList<DevicePtr> devices() const;
    bool isPlugged(const DevicePtr& device) const;

private:
    friend class HubBrowser;
    Hub() = default;
    std::vector<std::shared_ptr<HubBrowser>> browsers() const;
    void browserStarted();

    mutable std::mutex myMutex;
    QList<DevicePtr> myDevices;
    std::vector<std::weak_ptr<HubBrowser>> myBrowsers;
    quint32 myDefaultMask = 0;
    std::function<void()> myOnFirstStart;
    bool myStarted = false;
};

// A download as a backend holds it until it reports how it ended.
struct DownloadRequest
{
    CameraFilePtr file;
    DownloadOptions options;
    std::weak_ptr<DownloadDelegate> delegate;
    void* contextInfo = nullptr;
};
// Tells the request's delegate how it ended, on the main thread.
void reportDownload(const DownloadRequest& request, const OptionalError& error);

// Runs task on the Qt main thread (later, also when called there); dropped without an application.
void postToMainThread(std::function<void()> task);
// A generic camera icon, for devices that have none of their own.
QImage defaultCameraIcon();

} // namespace OrvImageCapture
