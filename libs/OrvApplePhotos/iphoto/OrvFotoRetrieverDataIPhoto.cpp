#include "OrvFotoRetrieverDataIPhoto.h"

#include "OrvIPhotoDatabase.h"
#include "OrvNativeMetaData.h"

#include <QBuffer>

#include <memory>

OrvFotoRetrieverDataIPhoto::OrvFotoRetrieverDataIPhoto(const OrvExternalId& id, const OrvMediaDescriptor& descriptor)
    : OrvFotoRetrieverDataFileInfo(descriptor), myId(id)
{
}

OrvFotoRetrieverDataIPhoto::~OrvFotoRetrieverDataIPhoto() = default;

QByteArray OrvFotoRetrieverDataIPhoto::file(const OrvMediaFormat& format)
{
    QByteArray bytes = OrvFotoRetrieverDataFileInfo::file(format);
    if (bytes.isEmpty())
        return bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadWrite);
    const std::unique_ptr<OrvNativeMetaDataExiv2> metaData(createNativeMetaData());
    metaData->clearExifRotation();
    metaData->store(&buffer);
    return bytes;
}

OrvFoto OrvFotoRetrieverDataIPhoto::foto() const
{
    // The scheme is compared here, unlike the interface's prefix test of the whole URL.
    const bool aperture = myId.toUrl().scheme() == QLatin1String("aperture");
    const OrvIPhotoDatabase* database = aperture ? OrvIPhotoDatabase::apertureInstance() : OrvIPhotoDatabase::instance();
    return database->createFoto(myId);
}
