#include "OrvFotoRetrieverMetaDataAppleImageCapture.h"

#include "OrvAppleImageCaptureDatabase.h"
#include "OrvNativeMetaData.h"

OrvFotoRetrieverMetaDataAppleImageCapture::OrvFotoRetrieverMetaDataAppleImageCapture(
    const OrvAppleImageCaptureDatabase* database, const OrvExternalId& id)
    : myDatabase(database), myId(id)
{
}

OrvFotoRetrieverMetaDataAppleImageCapture::~OrvFotoRetrieverMetaDataAppleImageCapture() = default;

OrvFotoMetaData OrvFotoRetrieverMetaDataAppleImageCapture::metaData()
{
    OrvNativeMetaDataGeneric native;
    myDatabase->fillMetaData(myId, &native);
    return native.metaData();
}
