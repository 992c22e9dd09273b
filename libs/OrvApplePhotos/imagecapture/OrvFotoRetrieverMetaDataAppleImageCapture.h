#pragma once

#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

class OrvAppleImageCaptureDatabase;

// Metadata of a camera item from the device's catalogue: when it was taken and
// the size of its thumbnail; no download.
class OrvFotoRetrieverMetaDataAppleImageCapture : public OrvFotoRetrieverMetaData
{
public:
    OrvFotoRetrieverMetaDataAppleImageCapture(const OrvAppleImageCaptureDatabase* database, const OrvExternalId& id);
    ~OrvFotoRetrieverMetaDataAppleImageCapture() override;

    OrvFotoMetaData metaData() override;

private:
    const OrvAppleImageCaptureDatabase* myDatabase;
    OrvExternalId myId;
};
