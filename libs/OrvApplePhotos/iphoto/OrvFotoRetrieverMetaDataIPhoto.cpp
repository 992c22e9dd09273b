#include "OrvFotoRetrieverMetaDataIPhoto.h"

#include "OrvIPhotoDatabase.h"

OrvFotoRetrieverMetaDataIPhoto::OrvFotoRetrieverMetaDataIPhoto(const OrvExternalId& id,
                                                               const OrvMediaDescriptor& descriptor)
    : OrvFotoRetrieverMetaDataFileInfo(descriptor), myId(id)
{
}

OrvFotoRetrieverMetaDataIPhoto::~OrvFotoRetrieverMetaDataIPhoto() = default;

OrvFotoMetaData OrvFotoRetrieverMetaDataIPhoto::buildFotoMetaData(const OrvMediaDescriptor& descriptor) const
{
    OrvFotoMetaData data = OrvFotoRetrieverMetaData::buildFotoMetaData(descriptor);
    // Always the iPhoto source, also for Aperture fotos (which then get no faces and rating 0).
    const OrvIPhotoDatabase* database = OrvIPhotoDatabase::instance();
    data.updateFaces(QSize(-1, -1), database->createFacePositions(myId, true));
    data.setAdobeRating(database->findExternalFoto(myId).adobeRating());
    data.setFlag(OrvFotoMetaDataFlags(2), true);
    return data;
}
