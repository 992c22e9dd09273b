#include "OrvPlatformBackends.h"

#include "Commands.h"
#include "OrvCommandLine.h"
#include "OrvImageIOQt.h"
#include "sim/OrvImageCaptureSim.h"
#include "sim/OrvMediaLibrarySimBackend.h"
#include "sim/OrvPhotoKitSimLibrary.h"
#ifdef ORV_HAVE_GPHOTO2
#include "gphoto2/OrvGPhoto2Backend.h"
#endif
#ifdef __APPLE__
#include "OrvMacOSBackend.h"
#endif

namespace OrvPlatformBackends {

bool install(const Devices& devices)
{
#ifdef __APPLE__
    if (qEnvironmentVariableIsEmpty("ORV_PHOTOS_LIBRARY")) {
        OrvMacOS::installPhotoKit();
        OrvMacOS::installMediaLibrary();
    } else {
        OrvPhotoKitSim::install();
        OrvMediaLibrarySim::install();
    }
    OrvMacOS::installImageIO();
#else
    // The simulations read the library named by $ORV_PHOTOS_LIBRARY, or show an empty one.
    OrvPhotoKitSim::install();
    OrvMediaLibrarySim::install();
    OrvImageIOQt::install();
#endif
#ifndef ORV_HAVE_GPHOTO2
    if (!devices.cameras.isEmpty() && !devices.simulated) {
        err() << "orv-photos: " << OrvCommandLine::tr("--camera needs libgphoto2, which this build does not have") << "\n";
        return false;
    }
#endif
    if (devices.simulated) {
        OrvImageCaptureSim::install();
        return true;
    }
#if defined(__APPLE__)
    OrvMacOS::installImageCapture();
#elif defined(ORV_HAVE_GPHOTO2)
    OrvGPhoto2::install();
    for (const auto& [model, port] : devices.cameras) {
        if (!OrvGPhoto2::addCamera(model, port)) {
            err() << "orv-photos: " << OrvCommandLine::tr("--camera: no camera %1 at %2").arg(model, port) << "\n";
            return false;
        }
    }
#endif
    return true;
}

} // namespace OrvPlatformBackends
