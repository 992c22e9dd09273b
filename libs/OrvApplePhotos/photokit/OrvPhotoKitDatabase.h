#pragma once

#include "OrvDrawable.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoMetaData.h"
#include "OrvSingleton.h"

#include <QByteArray>
#include <QSize>

#include <atomic>
#include <memory>

class OrvPhotoKitLoader;

// The Photos library through PhotoKit (macOS 10.15 and later). The loader talks
// to the framework; this side answers the host and turns the loader's findings
// into the host's notifications.
class OrvPhotoKitDatabase : public OrvExternalDatabase, public OrvSingleton<OrvPhotoKitDatabase>
{
    Q_OBJECT
public:
    OrvPhotoKitDatabase();
    ~OrvPhotoKitDatabase() override;

    bool doLazyInit() override;
    OrvMediaFormatList convertableFileFormats(const OrvExternalId& id) const override;
    OrvExternalId findMostImportantPlaceFor(const OrvExternalId& fotoId) const override;
    OrvFotoRetrieverInterface* createRetrieverInterface(const OrvExternalId& id) const override;
    bool wantsToBeShown() override;
    void fetchMore(const QUrl& url) override;
    void setSortOption(OrvFotoSortOption option, bool ascending) override;
    bool isSelfSorter() const override;
    void markAlbumAsRequested(const OrvExternalId& albumId) const override;

    // What the loader reports; may arrive on PhotoKit's authorization queue (first fetch).
    virtual void albumAdded(const OrvExternalAlbum& album);
    virtual void fotosInserted(const QList<OrvExternalFoto>& fotos, const OrvExternalId& albumId);
    virtual void albumRemoved(const OrvExternalId& albumId);
    virtual void fotoRemoved(const OrvExternalId& fotoId, const OrvExternalId& albumId);
    virtual void albumRenamed(const OrvExternalId& albumId, const QString& newName);
    void fotosRemoved(const QList<OrvExternalId>& fotoIds, const OrvExternalId& albumId);
    virtual void authFailed();
    virtual OrvExternalId addProject(const QString& name);

    // Pixels, bytes and metadata of a foto; empty when they cannot be had.
    virtual OrvDrawable drawable(const OrvExternalId& id, const QSize& size, bool immediately);
    virtual QByteArray file(const OrvExternalId& id, const OrvMediaFormat& format);
    virtual OrvFotoMetaData metaData(const OrvExternalId& id);

    OrvPhotoKitLoader* loader() const { return myLoader.get(); }

    static QString allPhotosAlbumName();
    static QString yearsPhotosAlbumName();
    static QString iCloudSharedPhotosAlbumName();
    static QString projectsPhotosAlbumName();
    static QString accessDeniedText();
    // Remote ids are local identifiers percent-encoded with "%" turned into "_".
    static QString toLocalIdentifier(const QString& remoteId);
    static QString fromLocalIdentifier(const QString& localIdentifier);
    // The same, appended to out (listings build whole names in one string).
    static void appendRemoteId(const QString& localIdentifier, QString* out);

public slots:
    void refresh() override;

private:
    bool myLazyInitDone = false;
    std::atomic<bool> myLoading{false};
    std::shared_ptr<OrvPhotoKitLoader> myLoader;
    bool mySortFrozen = false;
    OrvFotoSortOption mySortOption = OrvFotoSortNone;
    bool mySortAscending = true;
};
