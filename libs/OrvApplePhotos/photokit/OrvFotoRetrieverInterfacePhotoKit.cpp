#include "OrvFotoRetrieverInterfacePhotoKit.h"

#include "OrvFotoRetrieverDataPhotoKit.h"
#include "OrvFotoRetrieverMetaDataPhotoKit.h"
#include "OrvPhotoKitDatabase.h"

#include <QCoreApplication>

OrvFotoRetrieverInterfacePhotoKit::OrvFotoRetrieverInterfacePhotoKit(const OrvExternalId& id) : myId(id) {}

OrvFotoRetrieverInterfacePhotoKit::~OrvFotoRetrieverInterfacePhotoKit() = default;

OrvFotoRetrieverInterface* OrvFotoRetrieverInterfacePhotoKit::clone() const
{
    return new OrvFotoRetrieverInterfacePhotoKit(myId);
}

OrvFotoRetrieverData* OrvFotoRetrieverInterfacePhotoKit::retrieve(const QSize&)
{
    // The size travels later, with the drawable request.
    return new OrvFotoRetrieverDataPhotoKit(myId);
}

OrvFotoRetrieverMetaData* OrvFotoRetrieverInterfacePhotoKit::retrieveMetaData()
{
    return new OrvFotoRetrieverMetaDataPhotoKit(OrvSingleton<OrvPhotoKitDatabase>::instance(), myId);
}

bool OrvFotoRetrieverInterfacePhotoKit::operator==(const OrvFotoRetrieverInterface& other) const
{
    const auto* same = dynamic_cast<const OrvFotoRetrieverInterfacePhotoKit*>(&other);
    return same && same->myId == myId;
}

size_t OrvFotoRetrieverInterfacePhotoKit::hash() const { return myId.hash(); }

OrvExternalFoto OrvFotoRetrieverInterfacePhotoKit::databaseFoto() const
{
    return OrvSingleton<OrvPhotoKitDatabase>::instance()->findExternalFoto(myId);
}

QString OrvFotoRetrieverInterfacePhotoKit::placeholderText()
{
    return QCoreApplication::translate("QObject", "<b>Fotos werden geladen</b>");
}
