#include "OrvExternalDatabase.h"

#include "OrvFotoRetriever.h"
#include "OrvGenericUrlTreeModel.h"

#include <QFileInfo>

namespace {

// Default retriever for fotos whose data URL is a local file.
class OrvFotoRetrieverInterfaceLocalFile : public OrvFotoRetrieverInterfaceReadOnly
{
public:
    OrvFotoRetrieverInterfaceLocalFile(const OrvExternalDatabase* database, const OrvExternalId& id)
        : myDatabase(database), myId(id)
    {
    }
    OrvFotoRetrieverInterface* clone() const override { return new OrvFotoRetrieverInterfaceLocalFile(myDatabase, myId); }
    OrvFotoRetrieverData* retrieve(const QSize& size) override
    {
        return new OrvFotoRetrieverDataFileInfo(OrvMediaDescriptor(file(size)));
    }
    OrvFotoRetrieverMetaData* retrieveMetaData() override
    {
        return new OrvFotoRetrieverMetaDataFileInfo(OrvMediaDescriptor(file(QSize())));
    }
    bool operator==(const OrvFotoRetrieverInterface& other) const override
    {
        const auto* same = dynamic_cast<const OrvFotoRetrieverInterfaceLocalFile*>(&other);
        return same && same->myDatabase == myDatabase && same->myId == myId;
    }
    size_t hash() const override { return myId.hash(); }

private:
    QFileInfo file(const QSize& size) const
    {
        const QUrl url = myDatabase->findExternalFoto(myId).dataUrl(size);
        return url.isLocalFile() ? QFileInfo(url.toLocalFile()) : QFileInfo();
    }
    const OrvExternalDatabase* myDatabase;
    OrvExternalId myId;
};

void registerMetaTypes()
{
    static const bool done = [] {
        qRegisterMetaType<OrvExternalId>();
        qRegisterMetaType<OrvExternalAlbum>();
        qRegisterMetaType<OrvExternalFoto>();
        qRegisterMetaType<OrvExternalFotoList>();
        qRegisterMetaType<OrvExternalDataPool>();
        qRegisterMetaType<OrvFotoSourceNode>();
        qRegisterMetaType<QList<OrvExternalId>>();
        return true;
    }();
    Q_UNUSED(done);
}

} // namespace

OrvExternalDatabase::OrvExternalDatabase(const OrvExternalService& service, const OrvFotoDatabaseType& type)
    : myService(service), myType(type), myUrlBuilder(service.serviceId()), myGroupModel(nullptr)
{
    registerMetaTypes();
    // Direct connections made first: the pool is current before any view hears of a change.
    connect(this, &OrvExternalDatabase::albumAdded, this,
            [this](const OrvExternalAlbum& album, const QIcon&) { myDataPool.addAlbum(album); }, Qt::DirectConnection);
    connect(this, &OrvExternalDatabase::albumRemoved, this,
            [this](const OrvExternalAlbum& album, bool removeFromPool) {
                if (removeFromPool)
                    myDataPool.removeAlbum(album.id());
            },
            Qt::DirectConnection);
    connect(this, &OrvExternalDatabase::albumRenamed, this,
            [this](const OrvExternalAlbum& album, const QString& name) { myDataPool.renameAlbum(album.id(), name); },
            Qt::DirectConnection);
    connect(this, &OrvExternalDatabase::fotoInserted, this,
            [this](const OrvExternalFoto& foto, const OrvExternalId& albumId) {
                myDataPool.insertFotos(OrvExternalFotoList({foto}), albumId);
            },
            Qt::DirectConnection);
    connect(this, &OrvExternalDatabase::fotosInserted, this,
            [this](const OrvExternalFotoList& fotos, const OrvExternalId& albumId) { myDataPool.insertFotos(fotos, albumId); },
            Qt::DirectConnection);
    connect(this, &OrvExternalDatabase::fotoRemoved, this,
            [this](const OrvExternalId& fotoId, const OrvExternalId& albumId) {
                myDataPool.removeFotoFromAlbum(fotoId, albumId);
            },
            Qt::DirectConnection);
    connect(this, &OrvExternalDatabase::fotosRemoved, this,
            [this](const QList<OrvExternalId>& fotoIds, const OrvExternalId& albumId) {
                myDataPool.removeFotosFromAlbum(fotoIds, albumId);
            },
            Qt::DirectConnection);
    connect(this, &OrvExternalDatabase::dataPoolSet, this,
            [this](const OrvExternalDataPool& pool) {
                if (&pool != &myDataPool)
                    myDataPool = pool;
                arrangeAlbums();
            },
            Qt::DirectConnection);
    myGroupModel = new OrvGroupModel(this);
    myGroupModel->treeModel()->setExternalDatabase(this);
}

OrvExternalDatabase::~OrvExternalDatabase() = default;

void OrvExternalDatabase::setAlbumArrangement(const AlbumArrangement& arrangement)
{
    {
        const std::lock_guard<std::mutex> lock(myArrangementLock);
        myAlbumArrangement = arrangement;
    }
    // The views built from the pool there is now follow.
    if (arrangeAlbums())
        emit updateTreeModel();
}

bool OrvExternalDatabase::arrangeAlbums()
{
    AlbumArrangement arrangement;
    {
        const std::lock_guard<std::mutex> lock(myArrangementLock);
        arrangement = myAlbumArrangement;
    }
    if (!arrangement || myDataPool.countAlbums() == 0)
        return false;
    myDataPool.setAlbums(arrangement(myDataPool.albumPool()));
    return true;
}

bool OrvExternalDatabase::doLazyInit() { return true; }

bool OrvExternalDatabase::setup(const OrvCredentials&) { return false; }

OrvMediaFormatList OrvExternalDatabase::convertableFileFormats(const OrvExternalId& id) const
{
    const OrvMediaFormat format = mediaFormat(id);
    return format.isValid() ? OrvMediaFormatList{format} : OrvMediaFormatList();
}

OrvMediaFormat OrvExternalDatabase::mediaFormat(const OrvExternalId& id) const
{
    return findExternalFoto(id).fileFormat();
}

QString OrvExternalDatabase::filenameHint(const OrvExternalId& id, const QSize&) const
{
    return findExternalFoto(id).fileNameFast();
}

OrvExternalId OrvExternalDatabase::photoStreamId() const { return {}; }

OrvFoto OrvExternalDatabase::findFoto(const OrvExternalId& id) const
{
    return myDataPool.findFoto(id).isValid() ? createFoto(id) : OrvFoto();
}

OrvExternalFoto OrvExternalDatabase::findExternalFoto(const OrvExternalId& id) const { return myDataPool.findFoto(id); }

OrvGenericUrlTreeModel* OrvExternalDatabase::treeModel() { return myGroupModel->treeModel(); }

OrvExternalId OrvExternalDatabase::findMostImportantPlaceFor(const OrvExternalId& fotoId) const
{
    return findAlbumWithFoto(fotoId);
}

OrvFoto OrvExternalDatabase::createFoto(const OrvExternalId& id) const
{
    return id.isValid() ? OrvFoto(OrvFotoKeyExternalService(this, id)) : OrvFoto();
}

OrvFoto OrvExternalDatabase::createProjectFoto(OrvExternalId id) const { return createFoto(fotoFromProjectFoto(id)); }

OrvFotoRetrieverInterface* OrvExternalDatabase::createRetrieverInterface(const OrvExternalId& id) const
{
    return new OrvFotoRetrieverInterfaceLocalFile(this, id);
}

void OrvExternalDatabase::showErrorReport() const {}

OrvExternalFotoList OrvExternalDatabase::runQuery(const OrvGenericFotoQuery& query)
{
    OrvExternalFotoList result;
    if (query.text.isEmpty())
        return result;
    for (const OrvExternalFoto& foto : myDataPool.fotos()) {
        if (foto.name().contains(query.text, Qt::CaseInsensitive))
            result.append(foto);
    }
    return result;
}

OrvExternalId OrvExternalDatabase::findAlbumWithFoto(const OrvExternalId& fotoId) const
{
    for (const OrvExternalAlbum& album : myDataPool.albums()) {
        if (album.fotoIds().contains(fotoId))
            return album.id();
    }
    return {};
}

OrvExternalFotoList OrvExternalDatabase::filterFotosRequest(const OrvSearchSuggestionItem& item)
{
    return runQuery(OrvGenericFotoQuery{item.text});
}

OrvExternalDatabaseAbilities OrvExternalDatabase::abilities() const { return OrvAbilityNone; }
OrvExternalDatabaseAbilities OrvExternalDatabase::abilities(const OrvExternalId&) { return abilities(); }
bool OrvExternalDatabase::createFolder(const OrvExternalId&, const QString&) { return false; }
bool OrvExternalDatabase::createFolder(const OrvExternalId&, const QString&, const OrvFotoList&) { return false; }
bool OrvExternalDatabase::renameFolder(const OrvExternalId&, const QString&) { return false; }
bool OrvExternalDatabase::setFolderDateRange(const OrvExternalId&, const OrvDateRange&) { return false; }
bool OrvExternalDatabase::deleteFolder(const OrvExternalId&) { return false; }
bool OrvExternalDatabase::deleteFoto(const OrvExternalId&, const OrvExternalId&) { return false; }
bool OrvExternalDatabase::deleteManyFotosFromFolder(const OrvExternalId&, const OrvExternalIdList&) { return false; }
bool OrvExternalDatabase::addFotos(const OrvExternalId&, const OrvFotoList&) { return false; }
void OrvExternalDatabase::showAccount() {}
void OrvExternalDatabase::showAccountMemory() {}
bool OrvExternalDatabase::wantsToBeShown() { return true; }
void OrvExternalDatabase::fetchMore(const QUrl&) {}
bool OrvExternalDatabase::isFotoImportAutostartSupported() const { return false; }
bool OrvExternalDatabase::isFotoImportAutostartTrigger(const QUrl&) const { return false; }
void OrvExternalDatabase::setFotoImportAutostartTrigger(const QUrl&, bool) {}
void OrvExternalDatabase::setSortOption(OrvFotoSortOption, bool) {}
bool OrvExternalDatabase::isSelfSorter() const { return false; }
bool OrvExternalDatabase::isStillGatheringFotos() const { return false; }
QString OrvExternalDatabase::userAccountData() const { return {}; }
QUrl OrvExternalDatabase::transformFileSystemUrlToExternalDatabaseUrlIfPossible(const QUrl& url) const { return url; }
OrvExternalId OrvExternalDatabase::albumByVisibleName(const QString&) const { return {}; }
QStringList OrvExternalDatabase::allRegularAlbums() const { return {}; }
void OrvExternalDatabase::refresh() {}
void OrvExternalDatabase::markAlbumAsRequested(const OrvExternalId&) const {}

QString OrvExternalDatabase::suffixHint(const OrvExternalId& id, const QSize&) const
{
    return mediaFormat(id).suffix();
}

OrvExternalId OrvExternalDatabase::fotoFromProjectFoto(const OrvExternalId& id) const { return id; }
int OrvExternalDatabase::gatheredAlbums() const { return 0; }
int OrvExternalDatabase::albumCount() const { return 0; }
QFileInfo OrvExternalDatabase::download(const OrvExternalId&, const QSize&) const { return {}; }

OrvFacePositions OrvExternalDatabase::createFacePositions(const OrvExternalId& id, bool withNames) const
{
    OrvFacePositions positions = findExternalFoto(id).createFacePositions(withNames);
    if (withNames) {
        for (OrvFacePosition& position : positions) {
            const OrvExternalAlbum person = myDataPool.findAlbum(OrvExternalId(QUrl(position.personId)));
            if (person.isValid())
                position.name = person.name();
        }
    }
    return positions;
}
