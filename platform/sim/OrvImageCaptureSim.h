#pragma once

// The simulated Image Capture world: which devices are plugged in. Tests and
// the host program plug and unplug devices at run time (from any thread);
// device browsers report them on the main thread. install() makes the
// simulation the Image Capture backend.

#include "OrvImageCapture.h"
#include "OrvImageCaptureSimDevice.h"

namespace OrvImageCaptureSim {

// Makes the simulation the Image Capture backend. The first time, the devices
// described in the file named by $ORV_IMAGECAPTURE_DEVICES are plugged in.
void install();

// Plugs a device in (a device with the UUID of one plugged in already replaces it).
void plug(const std::shared_ptr<Device>& device);
// Unplugs the device with this UUID; nothing when there is none.
void unplug(const QString& uuid);
void unplugAll();
std::shared_ptr<Device> pluggedDevice(const QString& uuid);
QList<std::shared_ptr<Device>> pluggedDevices();
// The browsed mask a new browser starts with (ImageCaptureCore's is none).
void setDefaultBrowsedMask(quint32 mask);

// Devices from a description file (README.md): each is plugged in at once, or
// after its "plugAfterMs", and unplugged after its "unplugAfterMs". False and a
// message in error when the file cannot be read or is malformed.
bool loadDescription(const QString& path, QString* error = nullptr);
// The devices a description file describes, not plugged in.
bool readDescription(const QString& path, QList<DeviceSpec>* devices, QString* error = nullptr);

} // namespace OrvImageCaptureSim
