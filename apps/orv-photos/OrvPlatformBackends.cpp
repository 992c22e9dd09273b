#include "OrvPlatformBackends.h"

#include "Commands.h"
#include "OrvCommandLine.h"
#include "OrvImageIOQt.h"
#include "OrvPhotosLibraryChoice.h"
#include "sim/OrvImageCaptureSim.h"
#include "sim/OrvMediaLibrarySimBackend.h"
#ifdef ORV_HAVE_GPHOTO2
#include "gphoto2/OrvGPhoto2Backend.h"
#endif
#ifdef __APPLE__
#include "OrvMacOSBackend.h"
#endif

namespace OrvPlatformBackends {

bool install(const Choice& choice)
{
    QString message;
    // What the user named is named in the message; the default library is the program's own guess.
    const auto say = [&] {
        err() << "orv-photos: " << (choice.photosLibrary.isEmpty() ? QString() : QStringLiteral("--photos-library: "))
              << message << "\n";
    };
#ifdef __APPLE__
    if (choice.photosLibrary.isEmpty()) {
        OrvMacOS::installPhotoKit();
        OrvMacOS::installMediaLibrary();
    } else {
        if (!OrvPhotosLibraryChoice::install(choice.photosLibrary, &message)) {
            say();
            return false;
        }
        OrvMediaLibrarySim::install();
    }
    OrvMacOS::installImageIO();
#else
    // A package, a description (read by the simulations when first asked), or the user's own library.
    const bool chosen = OrvPhotosLibraryChoice::install(choice.photosLibrary, &message);
    if (!message.isEmpty())
        say();
    if (!chosen)
        return false;
    OrvMediaLibrarySim::install();
    OrvImageIOQt::install();
#endif
#ifndef ORV_HAVE_GPHOTO2
    if (!choice.cameras.isEmpty() && !choice.simulatedDevices) {
        err() << "orv-photos: " << OrvCommandLine::tr("--camera needs libgphoto2, which this build does not have") << "\n";
        return false;
    }
#endif
    if (choice.simulatedDevices) {
        OrvImageCaptureSim::install();
        return true;
    }
#if defined(__APPLE__)
    OrvMacOS::installImageCapture();
#elif defined(ORV_HAVE_GPHOTO2)
    OrvGPhoto2::install(choice.detectCameras);
    OrvGPhoto2::setReadsThumbnails(choice.cameraThumbnails);
    for (const auto& [model, port] : choice.cameras) {
        if (!OrvGPhoto2::addCamera(model, port)) {
            err() << "orv-photos: " << OrvCommandLine::tr("--camera: no camera %1 at %2").arg(model, port) << "\n";
            return false;
        }
    }
#endif
    return true;
}

} // namespace OrvPlatformBackends
