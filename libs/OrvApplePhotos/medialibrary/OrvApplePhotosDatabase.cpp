#include "OrvApplePhotosDatabase.h"

#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetrieverInterfaceApplePhotos.h"
#include "OrvGenericUrlTreeModel.h"
#include "OrvMediaLibraryLoader.h"

#include <QFileIconProvider>
#include <QFileInfo>

#include <mutex>

namespace {

const QString applePhotosServiceId = QStringLiteral("applephotos");

QString photosApplicationPath()
{
    const QString system = QStringLiteral("/System/Applications/Photos.app");
    return QFileInfo::exists(system) ? system : QStringLiteral("/Applications/Photos.app");
}

} // namespace

OrvApplePhotosDatabase::OrvApplePhotosDatabase()
    : OrvExternalDatabase(OrvExternalService(applePhotosServiceId, OrvFotoDatabaseType::displayName(applePhotosServiceId),
                                             QIcon(), QIcon(), QImage(), 0),
                          OrvFotoDatabaseType(OrvFotoDatabaseType::ApplePhotos))
{
    service().setIcons(QFileIconProvider().icon(QFileInfo(photosApplicationPath())));
    groupModel()->treeModel()->setExternalDatabase(this);
    service().setPlaceholderText(OrvFotoRetrieverInterfaceApplePhotos::placeholderText());
    // Albums stay in the order they are announced.
    groupModel()->setAutoSortColumn(-1);
    myLoader = OrvMediaLibraryLoader::initWithDatabase(this);
}

OrvApplePhotosDatabase::~OrvApplePhotosDatabase()
{
    if (myLoader)
        myLoader->detach();
}

bool OrvApplePhotosDatabase::doLazyInit()
{
    if (myInitialised)
        return true;
    if (!myLoader)
        return false;
    myInitialised = true;
    // Reported before observing starts: the first album may arrive, on the
    // framework's thread, before startObserving returns.
    myLoading = true;
    emit loadingInProgress(OrvFotoSourceNode(), true);
    myLoader->startObserving();
    return true;
}

OrvFotoRetrieverInterface* OrvApplePhotosDatabase::createRetrieverInterface(const OrvExternalId& id) const
{
    // Retrievers add the fotos they are asked for before their album was opened.
    return new OrvFotoRetrieverInterfaceApplePhotos(const_cast<OrvApplePhotosDatabase*>(this), id);
}

bool OrvApplePhotosDatabase::wantsToBeShown() { return myLoader != nullptr; }

bool OrvApplePhotosDatabase::isStillGatheringFotos() const { return myInitialised && myLoader && myLoader->isAnnouncing(); }

void OrvApplePhotosDatabase::fetchMore(const QUrl& url)
{
    doLazyInit();
    if (myLoader)
        myLoader->fetchMore(url);
}

void OrvApplePhotosDatabase::albumAdded(const OrvExternalAlbum& album)
{
    if (myLoading.exchange(false))
        emit loadingInProgress(OrvFotoSourceNode(), false);
    emit OrvExternalDatabase::albumAdded(album, QIcon());
}

void OrvApplePhotosDatabase::fotosInserted(const QList<OrvExternalFoto>& fotos, const OrvExternalId& albumId)
{
    emit OrvExternalDatabase::fotosInserted(OrvExternalFotoList(fotos), albumId);
}

OrvMediaLibrary::URL OrvApplePhotosDatabase::cfurlForMediaObject(const OrvExternalId& id) const
{
    if (!myLoader)
        return std::nullopt;
    return myLoader->urlForMediaObject(QUrl::fromPercentEncoding(id.remoteId().toUtf8()));
}

QUrl OrvApplePhotosDatabase::urlForMediaObject(const OrvExternalId& id) const
{
    return cfurlForMediaObject(id).value_or(QUrl());
}

OrvExternalFoto OrvApplePhotosDatabase::findAndInsertExternalFoto(const OrvExternalId& id)
{
    const OrvExternalFoto known = findExternalFoto(id);
    if (known.isValid())
        return known;
    const QUrl url = urlForMediaObject(id);
    OrvExternalFoto foto;
    if (url.isValid()) {
        static std::mutex constructionMutex;
        std::lock_guard<std::mutex> lock(constructionMutex);
        const QString path = url.toLocalFile();
        foto = OrvExternalFoto(new OrvExternalFotoImplDataLocalDatabase(id, url.fileName(), QDateTime(), path, path, {}));
    }
    if (foto.isValid()) {
        // The host may have noted the foto as missing while it did not exist yet.
        const OrvFoto hostFoto = createFoto(id);
        OrvSingleton<OrvFotoCacheManager>::instance()->invalidate(hostFoto);
        OrvSingleton<OrvFotoStatusRegistry>::instance()->invalidate(hostFoto);
        OrvSingleton<OrvMetaDataCache>::instance()->invalidate(QFileInfo(url.toLocalFile()));
        emit fotoInserted(foto, OrvExternalId());
    }
    return foto;
}

bool isThisMacAppRunning(const QString& bundleId)
{
    const QString wanted = bundleId.toLower();
    bool running = false;
    for (const OrvMediaLibrary::RunningApplication& application : OrvMediaLibrary::runningApplications())
        running = running || application.bundleIdentifier.toLower() == wanted;
    return running;
}
