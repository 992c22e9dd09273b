#pragma once

#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

class OrvApplePhotosDatabase;

// Metadata of a foto of the MediaLibrary source: the file's, read inside a
// security-scoped access to the media object's URL.
class OrvFotoRetrieverMetaDataApplePhotos : public OrvFotoRetrieverMetaDataFileInfo
{
public:
    OrvFotoRetrieverMetaDataApplePhotos(OrvApplePhotosDatabase* database, const OrvExternalId& id,
                                        const OrvMediaDescriptor& descriptor);
    ~OrvFotoRetrieverMetaDataApplePhotos() override;

    OrvFotoMetaData metaData() override;

private:
    OrvApplePhotosDatabase* myDatabase;
    OrvExternalId myId;
};
