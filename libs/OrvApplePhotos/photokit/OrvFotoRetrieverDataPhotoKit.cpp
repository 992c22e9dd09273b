#include "OrvFotoRetrieverDataPhotoKit.h"

#include "OrvFotoCacheManager.h"
#include "OrvImageIO.h"
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

bool OrvFotoRetrieverDataPhotoKit::writeFile(const OrvMediaFormat& format, QIODevice* target)
{
    const QByteArray bytes = file(format);
    const OrvImageIO::ImageIOPtr imageIO = OrvImageIO::sharedImageIO();
    const OrvImageIO::ImageSourcePtr source = imageIO && !bytes.isEmpty() ? imageIO->createImageSourceWithData(bytes, {}) : nullptr;
    // Decoded at the smallest size there is (JPEG: an eighth, in the DCT): every byte of the image is looked at.
    OrvImageIO::SourceOptions smallest;
    smallest.thumbnailMaxPixelSize = 1;
    if (!source || source->createThumbnailAtIndex(0, smallest).isNull())
        return false;
    return target && target->write(bytes) == bytes.size();
}

OrvFoto OrvFotoRetrieverDataPhotoKit::foto() const { return OrvSingleton<OrvPhotoKitDatabase>::instance()->findFoto(myId); }
