#include "OrvFotoRetrieverMetaDataApplePhotos.h"

#include "OrvFotoRetrieverDataApplePhotos.h"

OrvFotoRetrieverMetaDataApplePhotos::OrvFotoRetrieverMetaDataApplePhotos(OrvApplePhotosDatabase* database,
                                                                         const OrvExternalId& id,
                                                                         const OrvMediaDescriptor& descriptor)
    : OrvFotoRetrieverMetaDataFileInfo(descriptor), myDatabase(database), myId(id)
{
}

OrvFotoRetrieverMetaDataApplePhotos::~OrvFotoRetrieverMetaDataApplePhotos() = default;

OrvFotoMetaData OrvFotoRetrieverMetaDataApplePhotos::metaData()
{
    return OrvFotoRetrieverDataApplePhotos::withAccess(myDatabase, myId,
                                                       [&] { return OrvFotoRetrieverMetaDataFileInfo::metaData(); });
}
