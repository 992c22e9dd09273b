#include "OrvFotoRetrieverDataApplePhotos.h"

OrvFotoRetrieverDataApplePhotos::OrvFotoRetrieverDataApplePhotos(OrvApplePhotosDatabase* database,
                                                                 const OrvExternalId& id,
                                                                 const OrvMediaDescriptor& descriptor)
    : OrvFotoRetrieverDataFileInfo(descriptor), myDatabase(database), myId(id)
{
}

OrvFotoRetrieverDataApplePhotos::~OrvFotoRetrieverDataApplePhotos() = default;

void OrvFotoRetrieverDataApplePhotos::startAccess(const OrvMediaLibrary::URL& url)
{
    if (url)
        OrvMediaLibrary::startAccessingSecurityScopedResource(*url);
}

void OrvFotoRetrieverDataApplePhotos::stopAccess(const OrvMediaLibrary::URL& url)
{
    if (url)
        OrvMediaLibrary::stopAccessingSecurityScopedResource(*url);
}

OrvFetchDrawableResult OrvFotoRetrieverDataApplePhotos::drawable(const QSize& size)
{
    return withAccess(myDatabase, myId, [&] { return OrvFotoRetrieverDataFileInfo::drawable(size); });
}

QByteArray OrvFotoRetrieverDataApplePhotos::file(const OrvMediaFormat& format)
{
    return withAccess(myDatabase, myId, [&] { return OrvFotoRetrieverDataFileInfo::file(format); });
}

// Streamed copies read the file too, so they read it inside the access as well.
bool OrvFotoRetrieverDataApplePhotos::writeFile(const OrvMediaFormat& format, QIODevice* target)
{
    return withAccess(myDatabase, myId, [&] { return OrvFotoRetrieverDataFileInfo::writeFile(format, target); });
}
