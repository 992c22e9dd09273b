#include "OrvImageCapture.h"
#include "OrvMacOSBackend.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>

using namespace OrvImageCapture;

namespace {

class Recorder : public DeviceBrowserDelegate
{
public:
    void deviceBrowserDidAddDevice(DeviceBrowser* browser, const DevicePtr& device, bool) override
    {
        onMainThread = onMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
        sameBrowser = sameBrowser && browser == expected;
        added.append(device);
    }
    void deviceBrowserDidRemoveDevice(DeviceBrowser* browser, const DevicePtr& device, bool) override
    {
        onMainThread = onMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
        removed.append(device);
    }
    DeviceBrowser* expected = nullptr;
    bool onMainThread = true;
    bool sameBrowser = true;
    QList<DevicePtr> added;
    QList<DevicePtr> removed;
};

} // namespace

// A build machine has no camera: the browser starts, reports nothing (or, on a Mac with
// devices, each on the main thread, a camera with its name and UUID), stops and goes.
TEST(MacImageCapture, ABrowserWithoutDevicesReportsNoneAndGoesQuietly)
{
    OrvMacOS::installImageCapture();
    DeviceBrowserPtr browser = createDeviceBrowser();
    ASSERT_TRUE(browser);
    const auto recorder = std::make_shared<Recorder>();
    recorder->expected = browser.get();
    browser->setDelegate(recorder);
    const quint32 mask = DeviceTypeCamera | DeviceLocationTypeLocal;
    browser->setBrowsedDeviceTypeMask(mask);
    EXPECT_EQ(browser->browsedDeviceTypeMask(), mask);
    browser->start();
    OrvTest::waitFor([] { return false; }, 3000);
    EXPECT_TRUE(recorder->onMainThread);
    EXPECT_TRUE(recorder->sameBrowser);
    for (const DevicePtr& device : std::as_const(recorder->added)) {
        EXPECT_TRUE(device->type() & DeviceTypeCamera);
        EXPECT_FALSE(device->UUIDString().isEmpty());
        // One adapter for each device: reported again, it is the same object.
        EXPECT_EQ(recorder->added.count(device), 1);
    }
    browser->stop();
    browser.reset();
    // Nothing arrives for a browser that is gone.
    const qsizetype before = recorder->added.size();
    OrvTest::waitFor([] { return false; }, 500);
    EXPECT_EQ(recorder->added.size(), before);
}
