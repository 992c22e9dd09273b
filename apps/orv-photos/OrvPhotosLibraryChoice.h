#pragma once

// Which PhotoKit backend this program runs the plug-in on. --photos-library
// names a Photos library package (a .photoslibrary folder, read as Photos wrote
// it and never changed) or the JSON description of a simulated library; without
// it, the user's own library at ~/Pictures/Photos Library.photoslibrary when
// there is one, else an empty simulated library.

#include <QString>

namespace OrvPhotosLibraryChoice {

// Installs the backend for path (what --photos-library named; empty when it was
// not given). False when path names nothing that can be read; message, when not
// empty, is one line for the user (also when a default library cannot be read
// and the program goes on without it).
bool install(const QString& path, QString* message);

} // namespace OrvPhotosLibraryChoice
