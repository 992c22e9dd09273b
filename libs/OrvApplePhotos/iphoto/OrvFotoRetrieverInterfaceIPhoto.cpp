#include "OrvFotoRetrieverInterfaceIPhoto.h"

#include "OrvFotoRetrieverDataIPhoto.h"
#include "OrvFotoRetrieverMetaDataIPhoto.h"
#include "OrvIPhotoDatabase.h"

namespace {

const QSize invalidSize(-1, -1);

} // namespace

OrvFotoRetrieverInterfaceIPhoto::OrvFotoRetrieverInterfaceIPhoto(const OrvExternalId& id) : myId(id) {}

OrvFotoRetrieverInterfaceIPhoto::~OrvFotoRetrieverInterfaceIPhoto() = default;

OrvFotoRetrieverInterface* OrvFotoRetrieverInterfaceIPhoto::clone() const
{
    return new OrvFotoRetrieverInterfaceIPhoto(myId);
}

OrvFotoRetrieverData* OrvFotoRetrieverInterfaceIPhoto::retrieve(const QSize& size)
{
    return new OrvFotoRetrieverDataIPhoto(myId, OrvMediaDescriptor(file(size), OrvVideoFrameIndex()));
}

OrvFotoRetrieverMetaData* OrvFotoRetrieverInterfaceIPhoto::retrieveMetaData()
{
    return new OrvFotoRetrieverMetaDataIPhoto(myId, OrvMediaDescriptor(file(invalidSize), OrvVideoFrameIndex()));
}

bool OrvFotoRetrieverInterfaceIPhoto::operator==(const OrvFotoRetrieverInterface& other) const
{
    const auto* same = dynamic_cast<const OrvFotoRetrieverInterfaceIPhoto*>(&other);
    return same && same->myId == myId;
}

size_t OrvFotoRetrieverInterfaceIPhoto::hash() const { return myId.hash(); }

OrvExternalFoto OrvFotoRetrieverInterfaceIPhoto::databaseFoto() const
{
    // The whole URL string is tested here, unlike the data retriever's scheme test.
    const bool aperture = myId.toUrl().toString().startsWith(QLatin1String("aperture"));
    const OrvIPhotoDatabase* database = aperture ? OrvIPhotoDatabase::apertureInstance() : OrvIPhotoDatabase::instance();
    return database->findExternalFoto(myId);
}

QFileInfo OrvFotoRetrieverInterfaceIPhoto::file(const QSize& size) const
{
    const QUrl url = databaseFoto().dataUrl(size);
    return url.isLocalFile() ? QFileInfo(url.toLocalFile()) : QFileInfo();
}

QFileInfo OrvFotoRetrieverInterfaceIPhoto::primaryFile() const { return file(invalidSize); }
