#pragma once

#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

class OrvPhotoKitDatabase;

// Metadata of one Photos foto: what PhotoKit knows of the asset.
class OrvFotoRetrieverMetaDataPhotoKit : public OrvFotoRetrieverMetaData
{
public:
    OrvFotoRetrieverMetaDataPhotoKit(OrvPhotoKitDatabase* database, const OrvExternalId& id);
    ~OrvFotoRetrieverMetaDataPhotoKit() override;

    OrvFotoMetaData metaData() override;

private:
    OrvPhotoKitDatabase* myDatabase;
    OrvExternalId myId;
};
