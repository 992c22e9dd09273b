#pragma once

// A Photos library package (.photoslibrary, Photos 5 on macOS 10.15 and later)
// as the PhotoKit backend: the library that a Mac's Photos wrote, copied from
// a Mac, on an external disk or on a share, read through the PhotoKit
// interface without writing a byte into it. The program that runs the plug-in
// opens the library and installs it; the plug-in sees it through
// OrvPhotoKit::sharedPhotoLibrary() as it would see PhotoKit itself.

#include "OrvPhotoKit.h"

#include <QString>

#include <memory>

namespace OrvPhotosLibrary {

// The library in the package at packagePath; null, and one line in error that
// says why, when it cannot be read (no such folder, not a Photos library, a
// library of Photos 4 or earlier, a database that cannot be read, ...).
std::shared_ptr<OrvPhotoKit::PhotoLibrary> openLibrary(const QString& packagePath, QString* error = nullptr);

// Makes library what OrvPhotoKit::sharedPhotoLibrary() hands out.
void install(std::shared_ptr<OrvPhotoKit::PhotoLibrary> library);

} // namespace OrvPhotosLibrary
