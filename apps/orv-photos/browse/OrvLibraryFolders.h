#pragma once

#include <QHash>
#include <QString>

#include <functional>

class OrvExternalDatabase;

// The folders of an iPhoto or Aperture library, as the host shows them. The
// plug-in's sources list every album at the top level; the library file says
// which album sits in which folder (a "Parent" key in the album's entry, naming
// the folder's "AlbumId"). The host reads that from the file itself and
// arranges each pool the source sets (OrvAlbumNesting decides what makes a tree).
class OrvLibraryFolders
{
public:
    // AlbumId -> the AlbumId of its folder, for every album entry of the
    // file's "List of Albums" that names one (a later key wins). Empty for a
    // file that cannot be read; reading stops once the albums are read.
    static QHash<QString, QString> read(const QString& libraryFile);

    // From now on the database's albums sit in the folders of the library file
    // that libraryFile names when each pool is set (read on the thread that sets it).
    static void arrange(OrvExternalDatabase* database, const std::function<QString()>& libraryFile);
};
