#pragma once

// PHPhotoLibrary over a Photos library package (.photoslibrary) of Photos 5
// and later, read where PhotoKit is not: what it shows is read from a
// snapshot of the package's database (OrvPhotosLibrarySnapshot.h) into the
// PhotoKit model, images and files come from the package's files, and a
// watcher on the database folder turns what Photos writes into PhotoKit
// changes, worked out from the library's history where it keeps one. Access is
// granted: the user named the library. Nothing in the package is written.

#include "OrvPhotoKitModelLibrary.h"
#include "OrvPhotosLibraryCatalogue.h"
#include "OrvPhotosLibraryFiles.h"
#include "OrvPhotosLibraryReader.h"
#include "OrvPhotosLibrarySnapshot.h"

#include <QSet>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

namespace OrvPhotosLibrary {

class Schema;
class Watcher;

class Package : public OrvPhotoKitModel::ModelLibrary, public std::enable_shared_from_this<Package>
{
public:
    // The library at path; null and one line in error when it cannot be read.
    static std::shared_ptr<Package> open(const QString& path, QString* error = nullptr);
    ~Package() override;

    QString path() const { return myPath; }
    // Looks at the package now, as the watcher does after Photos wrote, and
    // returns once observers have been told of what changed.
    void refreshNow();
    // How often a change had to be worked out by reading the whole library
    // (no history to follow); the other changes cost what they touched.
    int fullReads() const { return myFullReads.load(); }
    // The asset as the library shows it now (an edit since a fetch shows); null when it is gone.
    std::shared_ptr<const Asset> currentAsset(const QString& localIdentifier) const;
    // Where the asset's files are, as the database says now.
    std::optional<Files> filesOf(const Asset& asset) const;

    // OrvPhotoKit::PhotoLibrary
    QList<OrvPhotoKit::AssetResourcePtr> assetResourcesForAsset(const OrvPhotoKit::AssetPtr& asset) override;
    OrvPhotoKit::ImageManagerPtr defaultManager() override;

private:
    explicit Package(const QString& path);
    // What the snapshot and schema of the last look are; taken together.
    struct View
    {
        std::shared_ptr<const Snapshot> snapshot;
        std::shared_ptr<const Schema> schema;
    };
    View view() const;
    void scheduleRefresh();
    void refresh();
    // One look from a snapshot taken from source; false when the library changed while it was read.
    bool refreshFrom(const View& current, Snapshot::Source source);
    void tell(const Reader::Problems& problems);
    void tell(const QString& cause);

    QString myPath;
    mutable std::mutex myViewMutex;
    View myView;
    // Only on the queue thread once open: the last version read, and the history seen.
    Catalogue myCatalogue;
    std::optional<qint64> myToken;
    QSet<QString> myTold;
    std::atomic<bool> myRefreshPending{false};
    std::atomic<int> myFullReads{0};
    OrvPhotoKit::ImageManagerPtr myImageManager;
    std::unique_ptr<Watcher> myWatcher;
};

} // namespace OrvPhotosLibrary
