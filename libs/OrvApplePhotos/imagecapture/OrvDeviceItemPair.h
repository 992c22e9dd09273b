#pragma once

#include "OrvImageCapture.h"

// One camera item with the device it belongs to.
class OrvDeviceItemPair
{
public:
    OrvDeviceItemPair() = default;
    OrvDeviceItemPair(const OrvImageCapture::CameraDevicePtr& device, const OrvImageCapture::CameraItemPtr& item)
        : myDevice(device), myItem(item)
    {
    }

    const OrvImageCapture::CameraDevicePtr& device() const { return myDevice; }
    void setDevice(const OrvImageCapture::CameraDevicePtr& device) { myDevice = device; }
    const OrvImageCapture::CameraItemPtr& item() const { return myItem; }
    void setItem(const OrvImageCapture::CameraItemPtr& item) { myItem = item; }

private:
    OrvImageCapture::CameraDevicePtr myDevice;
    OrvImageCapture::CameraItemPtr myItem;
};
