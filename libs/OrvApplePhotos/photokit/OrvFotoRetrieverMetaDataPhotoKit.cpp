#include "OrvFotoRetrieverMetaDataPhotoKit.h"

#include "OrvPhotoKitDatabase.h"

OrvFotoRetrieverMetaDataPhotoKit::OrvFotoRetrieverMetaDataPhotoKit(OrvPhotoKitDatabase* database, const OrvExternalId& id)
    : myDatabase(database), myId(id)
{
}

OrvFotoRetrieverMetaDataPhotoKit::~OrvFotoRetrieverMetaDataPhotoKit() = default;

OrvFotoMetaData OrvFotoRetrieverMetaDataPhotoKit::metaData()
{
    return myDatabase ? myDatabase->metaData(myId) : OrvFotoMetaData();
}
