#pragma once

#include "OrvExternalDatabase.h"
#include "OrvMediaLibrary.h"
#include "OrvSingleton.h"

#include <QUrl>

#include <atomic>
#include <memory>

class OrvMediaLibraryLoader;

// The Photos library through MediaLibrary (macOS before 10.15). The loader
// mirrors the library's media groups as albums; a photo is its file on disk,
// read by the host's file retrievers inside a security-scoped access.
//
// The loader reports (albumAdded, fotosInserted) straight from the
// framework's notifications, on the framework's thread: the pool is
// thread-safe and the host's views connect with queued connections.
class OrvApplePhotosDatabase : public OrvExternalDatabase, public OrvSingleton<OrvApplePhotosDatabase>
{
    Q_OBJECT
public:
    OrvApplePhotosDatabase();
    ~OrvApplePhotosDatabase() override;

    bool doLazyInit() override;
    OrvFotoRetrieverInterface* createRetrieverInterface(const OrvExternalId& id) const override;
    bool wantsToBeShown() override;
    // While the library's album tree, or the content of an album asked for, is still on its way.
    bool isStillGatheringFotos() const override;
    void fetchMore(const QUrl& url) override;

    // What the loader reports.
    virtual void albumAdded(const OrvExternalAlbum& album);
    virtual void fotosInserted(const QList<OrvExternalFoto>& fotos, const OrvExternalId& albumId);
    // The foto of id, built from its media object when its album was not
    // opened yet (and then announced without album); invalid when there is none.
    virtual OrvExternalFoto findAndInsertExternalFoto(const OrvExternalId& id);

    // The file of a foto's media object: the platform URL (nothing when the
    // library has no such object) and the same as a QUrl (empty then).
    OrvMediaLibrary::URL cfurlForMediaObject(const OrvExternalId& id) const;
    QUrl urlForMediaObject(const OrvExternalId& id) const;

    OrvMediaLibraryLoader* loader() const { return myLoader.get(); }

private:
    bool myInitialised = false;
    std::atomic<bool> myLoading{false};
    std::shared_ptr<OrvMediaLibraryLoader> myLoader;
};

// Whether an application with this bundle identifier runs (case does not matter).
bool isThisMacAppRunning(const QString& bundleId);
