#pragma once

#include "OrvApplePhotosDatabase.h"
#include "OrvFotoRetriever.h"

// Pixels and bytes of a foto of the MediaLibrary source: the host's reading
// of its file, inside a security-scoped access to the media object's URL.
class OrvFotoRetrieverDataApplePhotos : public OrvFotoRetrieverDataFileInfo
{
public:
    OrvFotoRetrieverDataApplePhotos(OrvApplePhotosDatabase* database, const OrvExternalId& id,
                                    const OrvMediaDescriptor& descriptor);
    ~OrvFotoRetrieverDataApplePhotos() override;

    OrvFetchDrawableResult drawable(const QSize& size) override;
    QByteArray file(const OrvMediaFormat& format) override;
    bool writeFile(const OrvMediaFormat& format, QIODevice* target) override;

    // The platform's security-scoped access; a null URL is ignored.
    static void startAccess(const OrvMediaLibrary::URL& url);
    static void stopAccess(const OrvMediaLibrary::URL& url);
    // Runs operation inside an access to the file of id's media object (or
    // plainly when the library has none).
    template <class Operation>
    static auto withAccess(const OrvApplePhotosDatabase* database, const OrvExternalId& id, Operation operation);

private:
    OrvApplePhotosDatabase* myDatabase;
    OrvExternalId myId;
};

template <class Operation>
auto OrvFotoRetrieverDataApplePhotos::withAccess(const OrvApplePhotosDatabase* database, const OrvExternalId& id,
                                                 Operation operation)
{
    const OrvMediaLibrary::URL url = database ? database->cfurlForMediaObject(id) : std::nullopt;
    startAccess(url);
    auto result = operation();
    stopAccess(url);
    return result;
}
