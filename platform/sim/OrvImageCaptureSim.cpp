#include "OrvImageCaptureSim.h"

#include "OrvImageCaptureHub.h"

#include <QDebug>

#include <mutex>

namespace OrvImageCaptureSim {

namespace {

const std::shared_ptr<OrvImageCapture::Hub>& hub()
{
    static const std::shared_ptr<OrvImageCapture::Hub> instance = OrvImageCapture::Hub::create();
    return instance;
}

} // namespace

void install()
{
    OrvImageCapture::setDeviceBrowserProvider([] { return hub()->createBrowser(); });
    static std::once_flag described;
    std::call_once(described, [] {
        const QString path = qEnvironmentVariable("ORV_IMAGECAPTURE_DEVICES");
        QString error;
        if (!path.isEmpty() && !loadDescription(path, &error))
            qDebug() << "Image Capture simulation:" << error;
    });
}

void plug(const std::shared_ptr<Device>& device)
{
    if (!device)
        return;
    if (const auto replaced = std::dynamic_pointer_cast<Device>(hub()->device(device->UUIDString())); replaced && replaced != device)
        replaced->setPlugged(false);
    device->setPlugged(true);
    hub()->plug(device);
}

void unplug(const QString& uuid)
{
    if (const auto device = std::dynamic_pointer_cast<Device>(hub()->unplug(uuid)))
        device->setPlugged(false);
}

void unplugAll()
{
    for (const auto& device : pluggedDevices())
        unplug(device->UUIDString());
}

std::shared_ptr<Device> pluggedDevice(const QString& uuid) { return std::dynamic_pointer_cast<Device>(hub()->device(uuid)); }

QList<std::shared_ptr<Device>> pluggedDevices()
{
    QList<std::shared_ptr<Device>> devices;
    for (const auto& device : hub()->devices()) {
        if (auto simulated = std::dynamic_pointer_cast<Device>(device))
            devices.append(simulated);
    }
    return devices;
}

void setDefaultBrowsedMask(quint32 mask) { hub()->setDefaultBrowsedMask(mask); }

} // namespace OrvImageCaptureSim
