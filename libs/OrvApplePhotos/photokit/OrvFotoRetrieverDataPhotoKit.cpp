#include "OrvFotoRetrieverDataPhotoKit.h"

#include "OrvFotoCacheManager.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"
#include "OrvPhotoKitDatabase.h"

#include <QBuffer>

OrvFotoRetrieverDataPhotoKit::OrvFotoRetrieverDataPhotoKit(const OrvExternalId& id) : myId(id) {}

OrvFotoRetrieverDataPhotoKit::~OrvFotoRetrieverDataPhotoKit() = default;

OrvFetchDrawableResult OrvFotoRetrieverDataPhotoKit::drawable(const QSize& size)
{
    return OrvFetchDrawableResult(OrvSingleton<OrvPhotoKitDatabase>::instance()->drawable(myId, size, false));
}

QByteArray OrvFotoRetrieverDataPhotoKit::file(const OrvMediaFormat& format)
{
    OrvPhotoKitDatabase* database = OrvSingleton<OrvPhotoKitDatabase>::instance();
    const QByteArray bytes = database->file(myId, format);
    if (!bytes.isEmpty())
        return bytes;

    // No file in that format from Photos: encode the full-size pixels and carry the metadata over.
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    const OrvDrawable full = database->drawable(myId, FOTO_CACHE_SIZE_FULL, true);
    mediaLoader()->encode(full, &buffer, format);
    OrvFotoMetaData metaData =
        OrvSingleton<OrvFotoCacheManager>::instance()->metaData(foto(), OrvBackgroundJobPriority(4), true);
    if (!metaData.isValid())
        metaData = database->metaData(myId);
    OrvNativeMetaDataExiv2 native(metaData);
    // The pixels were decoded upright already.
    native.clearExifRotation();
    native.store(&buffer);
    return buffer.data();
}

OrvFoto OrvFotoRetrieverDataPhotoKit::foto() const { return OrvSingleton<OrvPhotoKitDatabase>::instance()->findFoto(myId); }
