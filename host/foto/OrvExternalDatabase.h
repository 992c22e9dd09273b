#pragma once

#include "OrvExternalDatabaseTypes.h"
#include "OrvExternalPools.h"
#include "OrvExternalService.h"
#include "OrvFoto.h"
#include "OrvMediaFormat.h"

#include <QFileInfo>
#include <QIcon>
#include <QObject>
#include <QStringList>

#include <functional>
#include <mutex>

class OrvFotoRetrieverInterface;
class OrvGenericUrlTreeModel;
class OrvGroupModelAbstract;

// Base of every photo source. The notifications are signals; the base itself
// listens to them first (direct connection) and keeps the data pool current,
// so a view that reacts to one finds the announced album or foto.
class OrvExternalDatabase : public QObject
{
    Q_OBJECT
public:
    OrvExternalDatabase(const OrvExternalService& service, const OrvFotoDatabaseType& type);
    ~OrvExternalDatabase() override;

    // 1..47: the operations a source may override.
    virtual bool doLazyInit();
    virtual bool setup(const OrvCredentials& credentials);
    virtual OrvMediaFormatList convertableFileFormats(const OrvExternalId& id) const;
    virtual OrvMediaFormat mediaFormat(const OrvExternalId& id) const;
    virtual QString filenameHint(const OrvExternalId& id, const QSize& size) const;
    virtual OrvExternalId photoStreamId() const;
    virtual OrvFoto findFoto(const OrvExternalId& id) const;
    virtual OrvExternalFoto findExternalFoto(const OrvExternalId& id) const;
    virtual OrvGenericUrlTreeModel* treeModel();
    virtual OrvExternalId findMostImportantPlaceFor(const OrvExternalId& fotoId) const;
    virtual OrvFoto createFoto(const OrvExternalId& id) const;
    virtual OrvFoto createProjectFoto(OrvExternalId id) const;
    virtual OrvFotoRetrieverInterface* createRetrieverInterface(const OrvExternalId& id) const;
    virtual void showErrorReport() const;
    virtual OrvExternalFotoList runQuery(const OrvGenericFotoQuery& query);
    virtual OrvExternalId findAlbumWithFoto(const OrvExternalId& fotoId) const;
    virtual OrvExternalFotoList filterFotosRequest(const OrvSearchSuggestionItem& item);
    virtual OrvExternalDatabaseAbilities abilities() const;
    virtual OrvExternalDatabaseAbilities abilities(const OrvExternalId& id);
    virtual bool createFolder(const OrvExternalId& parentId, const QString& name);
    virtual bool createFolder(const OrvExternalId& parentId, const QString& name, const OrvFotoList& fotos);
    virtual bool renameFolder(const OrvExternalId& folderId, const QString& name);
    virtual bool setFolderDateRange(const OrvExternalId& folderId, const OrvDateRange& range);
    virtual bool deleteFolder(const OrvExternalId& folderId);
    virtual bool deleteFoto(const OrvExternalId& folderId, const OrvExternalId& fotoId);
    virtual bool deleteManyFotosFromFolder(const OrvExternalId& folderId, const OrvExternalIdList& fotoIds);
    virtual bool addFotos(const OrvExternalId& folderId, const OrvFotoList& fotos);
    virtual void showAccount();
    virtual void showAccountMemory();
    virtual bool wantsToBeShown();
    virtual void fetchMore(const QUrl& url);
    virtual bool isFotoImportAutostartSupported() const;
    virtual bool isFotoImportAutostartTrigger(const QUrl& url) const;
    virtual void setFotoImportAutostartTrigger(const QUrl& url, bool on);
    virtual void setSortOption(OrvFotoSortOption option, bool ascending);
    virtual bool isSelfSorter() const;
    virtual bool isStillGatheringFotos() const;
    virtual QString userAccountData() const;
    virtual QUrl transformFileSystemUrlToExternalDatabaseUrlIfPossible(const QUrl& url) const;
    virtual OrvExternalId albumByVisibleName(const QString& name) const;
    virtual QStringList allRegularAlbums() const;
    virtual void refresh();
    virtual void markAlbumAsRequested(const OrvExternalId& albumId) const;
    virtual QString suffixHint(const OrvExternalId& id, const QSize& size) const;
    virtual OrvExternalId fotoFromProjectFoto(const OrvExternalId& id) const;
    virtual int gatheredAlbums() const;
    virtual int albumCount() const;
    // Local file of a foto for a size, for sources that have to fetch it first; empty when already local.
    virtual QFileInfo download(const OrvExternalId& id, const QSize& size) const;

    // Look-ups and accessors.
    OrvExternalService& service() { return myService; }
    const OrvExternalService& service() const { return myService; }
    const OrvFotoDatabaseType& databaseType() const { return myType; }
    QString serviceId() const { return myService.serviceId(); }
    OrvGroupModelAbstract* groupModel() const { return myGroupModel; }
    const OrvExternalUrlBuilder& urlBuilder() const { return myUrlBuilder; }
    OrvExternalDataPool& getExternalDataPool() { return myDataPool; }
    const OrvExternalDataPool& getExternalDataPoolConst() const { return myDataPool; }
    OrvExternalAlbum findAlbum(const OrvExternalId& id) const { return myDataPool.findAlbum(id); }
    OrvExternalFotoList fotos() const { return myDataPool.fotos(); }
    OrvExternalAlbumList albums() const { return myDataPool.albums(); }
    int countFotos() const { return myDataPool.countFotos(); }
    OrvFacePositions createFacePositions(const OrvExternalId& id, bool withNames) const;

    // How the albums of every pool the source sets are arranged before anyone
    // sees them: the host's knowledge of a library's folders, which the source
    // itself does not read. Applied to the pool there is now as well; none by default.
    using AlbumArrangement = std::function<OrvExternalAlbumPool(const OrvExternalAlbumPool&)>;
    void setAlbumArrangement(const AlbumArrangement& arrangement);

signals:
    void albumAdded(const OrvExternalAlbum& album, const QIcon& icon);
    // With removeFromPool false the source removes the album from its pool itself.
    void albumRemoved(const OrvExternalAlbum& album, bool removeFromPool);
    void albumRenamed(const OrvExternalAlbum& album, const QString& newName);
    void fotoInserted(const OrvExternalFoto& foto, const OrvExternalId& albumId);
    void fotosInserted(const OrvExternalFotoList& fotos, const OrvExternalId& albumId);
    void fotoRemoved(const OrvExternalId& fotoId, const OrvExternalId& albumId);
    void fotosRemoved(const QList<OrvExternalId>& fotoIds, const OrvExternalId& albumId);
    void dataPoolSet(const OrvExternalDataPool& pool);
    void loadingInProgress(const OrvFotoSourceNode& node, bool loading);
    void updateTreeModel();

private:
    bool arrangeAlbums();
    OrvExternalService myService;
    OrvFotoDatabaseType myType;
    OrvExternalUrlBuilder myUrlBuilder;
    OrvExternalDataPool myDataPool;
    OrvGroupModelAbstract* myGroupModel;
    // Pools may be set on a loading thread.
    mutable std::mutex myArrangementLock;
    AlbumArrangement myAlbumArrangement;
};
