#pragma once

// Where the files of one asset are in a library package, as its database says
// and as Photos lays them out: the original (copied into originals/, or
// referenced where it was imported from, or kept only in iCloud), the current
// version of an edited photo (resources/renders/), its adjustment data, and the
// smaller renditions Photos keeps of every photo (resources/derivatives/:
// already upright and showing the edit). Looked up when asked for, so that a
// library of any size costs nothing here until a photo is shown.

#include "OrvPhotosLibraryAsset.h"

#include <QString>
#include <QStringList>

#include <optional>

struct sqlite3;

namespace OrvPhotosLibrary {

class Schema;

struct Files
{
    QString original;            // absolute path; empty when the database names none that exists
    QString originalFilename;    // the name it was imported with (IMG_2510.JPG)
    bool originalInCloud = false;  // only in iCloud, not downloaded
    bool referenced = false;     // left where it was imported from
    QString render;              // the current version of an edited photo
    QString adjustments;         // the edit's adjustment data
    QString pairedVideo;         // the movie of a Live Photo
    // Smaller renditions that exist, smallest kind first; each shows the current version.
    QStringList renditions;
    bool isEdited = false;

    // The file that shows the asset as Photos does; empty when it has none here.
    QString current() const { return isEdited ? render : original; }

    // The files of the asset; nothing when the database no longer has it.
    static std::optional<Files> of(sqlite3* db, const Schema& schema, const QString& packagePath, const Asset& asset);
};

} // namespace OrvPhotosLibrary
