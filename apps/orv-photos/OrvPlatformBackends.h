#pragma once

// The platform backends the host program runs the plug-in on. A described
// Photos library (--photos-library, which sets $ORV_PHOTOS_LIBRARY) is shown
// through the simulated PhotoKit and MediaLibrary, described devices
// (--devices) through the simulated Image Capture. Otherwise the system's own
// are used: on a Mac Apple's frameworks; elsewhere libgphoto2 for cameras
// where this build has it, and the simulations (empty) for the Photos library.
// Image I/O is Apple's on a Mac and Qt's (with libheif and Exiv2) elsewhere.

#include <QList>
#include <QPair>
#include <QString>

namespace OrvPlatformBackends {

struct Devices
{
    bool simulated = false; // --devices: $ORV_IMAGECAPTURE_DEVICES describes them
    QList<QPair<QString, QString>> cameras; // --camera MODEL=PORT pairs for libgphoto2
};

// False, after a message, when a camera asked for cannot be had.
bool install(const Devices& devices);

} // namespace OrvPlatformBackends
