#pragma once

#import <ImageCaptureCore/ImageCaptureCore.h>

#include "OrvImageCapture.h"

#include <map>
#include <mutex>

// ICDeviceBrowser as OrvImageCapture::DeviceBrowser. Image Capture reports
// devices on the main thread, each as one adapter, which the browser keeps
// from its arrival to its removal (the plug-in holds a device only once its
// session is open); the browser is started, stopped and given its mask there. It keeps only a weak
// reference to its delegate: the adapter keeps the Image Capture delegate and
// takes it off the browser on the main thread when it goes.
class OrvMacICDeviceBrowser : public OrvImageCapture::DeviceBrowser,
                              public std::enable_shared_from_this<OrvMacICDeviceBrowser>
{
public:
    static std::shared_ptr<OrvMacICDeviceBrowser> create();
    ~OrvMacICDeviceBrowser() override;

    void setDelegate(const std::weak_ptr<OrvImageCapture::DeviceBrowserDelegate>& delegate) override;
    // The interface's mask bits are Image Capture's type and location masks.
    quint32 browsedDeviceTypeMask() const override;
    void setBrowsedDeviceTypeMask(quint32 mask) override;
    void start() override;
    void stop() override;

    // From Image Capture, on the main thread.
    void deviceAdded(ICDevice* device, bool moreComing);
    void deviceRemoved(ICDevice* device, bool moreGoing);

private:
    OrvMacICDeviceBrowser();

    ICDeviceBrowser* myBrowser;
    id myForwarder = nil;
    mutable std::mutex myMutex;
    std::weak_ptr<OrvImageCapture::DeviceBrowserDelegate> myDelegate;
    quint32 myMask;
    std::map<const void*, OrvImageCapture::DevicePtr> myDevices;  // main thread
};
