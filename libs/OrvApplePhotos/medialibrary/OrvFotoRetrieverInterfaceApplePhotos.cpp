#include "OrvFotoRetrieverInterfaceApplePhotos.h"

#include "OrvApplePhotosDatabase.h"
#include "OrvFotoRetrieverDataApplePhotos.h"
#include "OrvFotoRetrieverMetaDataApplePhotos.h"

#include <QCoreApplication>

namespace {

const QSize invalidSize(-1, -1);

} // namespace

OrvFotoRetrieverInterfaceApplePhotos::OrvFotoRetrieverInterfaceApplePhotos(OrvApplePhotosDatabase* database,
                                                                           const OrvExternalId& id)
    : myDatabase(database), myId(id)
{
}

OrvFotoRetrieverInterfaceApplePhotos::~OrvFotoRetrieverInterfaceApplePhotos() = default;

OrvFotoRetrieverInterface* OrvFotoRetrieverInterfaceApplePhotos::clone() const
{
    return new OrvFotoRetrieverInterfaceApplePhotos(myDatabase, myId);
}

OrvFotoRetrieverData* OrvFotoRetrieverInterfaceApplePhotos::retrieve(const QSize& size)
{
    return new OrvFotoRetrieverDataApplePhotos(myDatabase, myId, OrvMediaDescriptor(file(size), OrvVideoFrameIndex()));
}

OrvFotoRetrieverMetaData* OrvFotoRetrieverInterfaceApplePhotos::retrieveMetaData()
{
    return new OrvFotoRetrieverMetaDataApplePhotos(myDatabase, myId,
                                                   OrvMediaDescriptor(file(invalidSize), OrvVideoFrameIndex()));
}

bool OrvFotoRetrieverInterfaceApplePhotos::operator==(const OrvFotoRetrieverInterface& other) const
{
    const auto* same = dynamic_cast<const OrvFotoRetrieverInterfaceApplePhotos*>(&other);
    return same && same->myDatabase == myDatabase && same->myId == myId;
}

size_t OrvFotoRetrieverInterfaceApplePhotos::hash() const { return myId.hash(); }

OrvExternalFoto OrvFotoRetrieverInterfaceApplePhotos::databaseFoto() const
{
    return myDatabase ? myDatabase->findExternalFoto(myId) : OrvExternalFoto();
}

QFileInfo OrvFotoRetrieverInterfaceApplePhotos::file(const QSize& size) const
{
    if (!myDatabase)
        return QFileInfo();
    // The source builds and announces a foto it did not know yet.
    const QUrl url = myDatabase->findAndInsertExternalFoto(myId).dataUrl(size);
    return url.isLocalFile() ? QFileInfo(url.toLocalFile()) : QFileInfo();
}

QString OrvFotoRetrieverInterfaceApplePhotos::placeholderText()
{
    return QCoreApplication::translate("OrvFotoRetrieverInterfaceApplePhotos", "<b>Fotos werden geladen</b>");
}
