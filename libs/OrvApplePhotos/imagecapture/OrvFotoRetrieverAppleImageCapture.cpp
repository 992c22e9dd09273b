#include "OrvFotoRetrieverAppleImageCapture.h"

#include "OrvAppleImageCaptureDatabase.h"
#include "OrvFotoRetrieverDataAppleImageCapture.h"
#include "OrvFotoRetrieverMetaDataAppleImageCapture.h"

OrvFotoRetrieverAppleImageCapture::OrvFotoRetrieverAppleImageCapture(const OrvAppleImageCaptureDatabase* database,
                                                                     const OrvExternalId& id)
    : myDatabase(database), myId(id)
{
}

OrvFotoRetrieverAppleImageCapture::~OrvFotoRetrieverAppleImageCapture() = default;

OrvFotoRetrieverInterface* OrvFotoRetrieverAppleImageCapture::clone() const
{
    return new OrvFotoRetrieverAppleImageCapture(myDatabase, myId);
}

OrvFotoRetrieverData* OrvFotoRetrieverAppleImageCapture::retrieve(const QSize&)
{
    return new OrvFotoRetrieverDataAppleImageCapture(myDatabase, myId);
}

OrvFotoRetrieverMetaData* OrvFotoRetrieverAppleImageCapture::retrieveMetaData()
{
    return new OrvFotoRetrieverMetaDataAppleImageCapture(myDatabase, myId);
}

bool OrvFotoRetrieverAppleImageCapture::operator==(const OrvFotoRetrieverInterface& other) const
{
    const auto* same = dynamic_cast<const OrvFotoRetrieverAppleImageCapture*>(&other);
    return same && same->myId == myId;
}

size_t OrvFotoRetrieverAppleImageCapture::hash() const { return myId.hash(); }

OrvExternalFoto OrvFotoRetrieverAppleImageCapture::databaseFoto() const
{
    return myDatabase ? myDatabase->findExternalFoto(myId) : OrvExternalFoto();
}

QString OrvFotoRetrieverAppleImageCapture::placeholderText() { return QString(); }
