#include "OrvExternalFotoImplDataPhotoKit.h"

#include "OrvPhotoKit.h"
#include "OrvPhotoKitLoader.h"

#include <QMutex>
#include <QMutexLocker>

namespace {

// Guards the cached names: fotos are shared between the host's threads.
QMutex fileNameMutex;

} // namespace

OrvExternalFotoImplDataPhotoKit::OrvExternalFotoImplDataPhotoKit(const OrvExternalId& id, const QString& name,
                                                                 const QDateTime& taken, const QSize& size,
                                                                 const OrvGeoPosition& position)
    : OrvExternalFotoImplData(id, name, taken, size, position, OrvExternalFaceList())
{
}

OrvExternalFotoImplDataPhotoKit::OrvExternalFotoImplDataPhotoKit(const OrvExternalFotoImplDataPhotoKit& other)
    : OrvExternalFotoImplData(other)
{
    QMutexLocker locker(&fileNameMutex);
    myFileName = other.myFileName;
}

OrvExternalFotoImplDataPhotoKit::~OrvExternalFotoImplDataPhotoKit() = default;

OrvExternalFotoImplData* OrvExternalFotoImplDataPhotoKit::clone() const { return new OrvExternalFotoImplDataPhotoKit(*this); }

OrvFacePositions OrvExternalFotoImplDataPhotoKit::createFacePositions(bool) const { return OrvFacePositions(); }

QUrl OrvExternalFotoImplDataPhotoKit::dataUrl(const QSize&) const { return QUrl(); }

OrvMediaFormat OrvExternalFotoImplDataPhotoKit::fileFormat() const { return OrvMediaFormat(OrvMediaFormat::Jpeg); }

QString OrvExternalFotoImplDataPhotoKit::fileName() const
{
    {
        QMutexLocker locker(&fileNameMutex);
        if (!myFileName.isEmpty())
            return myFileName;
    }
    // Asked outside the lock: PhotoKit may take its time. Two racing callers find the same name.
    const QString detected = detectFileName();
    QMutexLocker locker(&fileNameMutex);
    if (myFileName.isEmpty())
        myFileName = detected;
    return myFileName.isEmpty() ? name() : myFileName;
}

QString OrvExternalFotoImplDataPhotoKit::fileNameFast() const { return name(); }

QString OrvExternalFotoImplDataPhotoKit::detectFileName() const
{
    QString fileName;
    const OrvPhotoKit::PhotoLibraryPtr library = OrvPhotoKit::sharedPhotoLibrary();
    if (!library)
        return fileName;
    const QString localIdentifier = OrvPhotoKitLoader::localIdentifierForExternalId(id());
    const OrvPhotoKit::FetchResultPtr assets =
        library->fetchAssetsWithLocalIdentifiers(QStringList{localIdentifier}, nullptr);
    const OrvPhotoKit::AssetPtr asset = assets ? OrvPhotoKit::asAsset(assets->firstObject()) : nullptr;
    if (!asset)
        return fileName;
    for (const OrvPhotoKit::AssetResourcePtr& resource : library->assetResourcesForAsset(asset)) {
        fileName = resource->originalFilename();
        // Edited renditions and the movie half of a live photo are not the photo's own name.
        if (!fileName.contains(QLatin1String("FullSizeRender"))
            && !fileName.endsWith(QLatin1String(".MOV"), Qt::CaseInsensitive))
            return fileName;
    }
    return fileName;
}
