#pragma once

// The platform backends the host program runs the plug-in on. --photos-library
// names a Photos library package (read through the package backend where this
// build has it, OrvPhotosLibraryChoice) or a simulated library's description
// (shown through the simulated PhotoKit and MediaLibrary); described devices
// (--devices) come through the simulated Image Capture. Otherwise the system's
// own are used: on a Mac Apple's frameworks; elsewhere the user's own Photos
// library package when there is one, libgphoto2 for cameras where this build
// has it. Image I/O is Apple's on a Mac and Qt's (with libheif and Exiv2) elsewhere.

#include <QList>
#include <QPair>
#include <QString>

namespace OrvPlatformBackends {

struct Choice
{
    QString photosLibrary; // --photos-library, empty without it
    bool simulatedDevices = false; // --devices: $ORV_IMAGECAPTURE_DEVICES describes them
    QList<QPair<QString, QString>> cameras; // --camera MODEL=PORT pairs for libgphoto2
    bool detectCameras = true; // libgphoto2 looks for connected cameras too
    bool cameraThumbnails = true; // cameras read their photos' thumbnails once listed
};

// False, after a message, when a library or camera asked for cannot be had.
bool install(const Choice& choice);

} // namespace OrvPlatformBackends
