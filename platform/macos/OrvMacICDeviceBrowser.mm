#include "OrvMacICDeviceBrowser.h"

#include "OrvMacFoundation.h"
#include "OrvMacICDevice.h"

using namespace OrvImageCapture;

// The browser's Image Capture delegate: devices as they come and go.
@interface OrvMacICDeviceBrowserForwarder : NSObject <ICDeviceBrowserDelegate>
- (instancetype)initWithBrowser:(std::weak_ptr<OrvMacICDeviceBrowser>)browser;
@end

@implementation OrvMacICDeviceBrowserForwarder {
    std::weak_ptr<OrvMacICDeviceBrowser> myBrowser;
}

- (instancetype)initWithBrowser:(std::weak_ptr<OrvMacICDeviceBrowser>)browser
{
    self = [super init];
    if (self)
        myBrowser = std::move(browser);
    return self;
}

- (void)deviceBrowser:(ICDeviceBrowser*)browser didAddDevice:(ICDevice*)device moreComing:(BOOL)moreComing
{
    if (const auto adapter = myBrowser.lock())
        adapter->deviceAdded(device, moreComing);
}

- (void)deviceBrowser:(ICDeviceBrowser*)browser didRemoveDevice:(ICDevice*)device moreGoing:(BOOL)moreGoing
{
    if (const auto adapter = myBrowser.lock())
        adapter->deviceRemoved(device, moreGoing);
}

@end

OrvMacICDeviceBrowser::OrvMacICDeviceBrowser() : myBrowser([[ICDeviceBrowser alloc] init])
{
    myMask = quint32(myBrowser.browsedDeviceTypeMask);
}

std::shared_ptr<OrvMacICDeviceBrowser> OrvMacICDeviceBrowser::create()
{
    std::shared_ptr<OrvMacICDeviceBrowser> browser(new OrvMacICDeviceBrowser);
    OrvMacICDeviceBrowserForwarder* forwarder = [[OrvMacICDeviceBrowserForwarder alloc] initWithBrowser:browser];
    browser->myForwarder = forwarder;
    ICDeviceBrowser* icBrowser = browser->myBrowser;
    OrvMacFoundation::onMainThread(^{
        icBrowser.delegate = forwarder;
    });
    return browser;
}

OrvMacICDeviceBrowser::~OrvMacICDeviceBrowser()
{
    ICDeviceBrowser* browser = myBrowser;
    id forwarder = myForwarder;
    // The forwarder lives until it is off the browser, on the thread Image Capture calls it on.
    OrvMacFoundation::onMainThread(^{
        [browser stop];
        if (browser.delegate == forwarder)
            browser.delegate = nil;
    });
}

void OrvMacICDeviceBrowser::setDelegate(const std::weak_ptr<DeviceBrowserDelegate>& delegate)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myDelegate = delegate;
}

quint32 OrvMacICDeviceBrowser::browsedDeviceTypeMask() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myMask;
}

void OrvMacICDeviceBrowser::setBrowsedDeviceTypeMask(quint32 mask)
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myMask = mask;
    }
    ICDeviceBrowser* browser = myBrowser;
    OrvMacFoundation::onMainThread(^{
        browser.browsedDeviceTypeMask = ICDeviceTypeMask(mask);
    });
}

void OrvMacICDeviceBrowser::start()
{
    ICDeviceBrowser* browser = myBrowser;
    OrvMacFoundation::onMainThread(^{
        [browser start];
    });
}

void OrvMacICDeviceBrowser::stop()
{
    ICDeviceBrowser* browser = myBrowser;
    OrvMacFoundation::onMainThread(^{
        [browser stop];
    });
}

void OrvMacICDeviceBrowser::deviceAdded(ICDevice* device, bool moreComing)
{
    std::shared_ptr<DeviceBrowserDelegate> delegate;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        delegate = myDelegate.lock();
    }
    const auto adapted = OrvMacICDevice::adapt(device);
    if (!adapted)
        return;
    myDevices[(__bridge const void*)device] = adapted;
    if (delegate)
        delegate->deviceBrowserDidAddDevice(this, adapted, moreComing);
}

void OrvMacICDeviceBrowser::deviceRemoved(ICDevice* device, bool moreGoing)
{
    std::shared_ptr<DeviceBrowserDelegate> delegate;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        delegate = myDelegate.lock();
    }
    const auto adapted = OrvMacICDevice::adapt(device);
    if (adapted && delegate)
        delegate->deviceBrowserDidRemoveDevice(this, adapted, moreGoing);
    myDevices.erase((__bridge const void*)device);
}
