#pragma once

// An MLMediaObject of the simulated framework: a view of one media object of
// the library snapshot it was loaded from.

#include "OrvMediaLibrarySimKeyValueRegistry.h"
#include "OrvMediaLibrarySimModel.h"

namespace OrvMediaLibrarySim {

class SimMediaObject : public Observable<OrvMediaLibrary::MediaObject>
{
public:
    SimMediaObject(std::shared_ptr<const PhotosModel> library, int index)
        : myLibrary(std::move(library)), myIndex(size_t(index))
    {
    }
    QString identifier() const override { return record().identifier; }
    QString name() const override { return record().name; }
    OrvMediaLibrary::MediaType mediaType() const override { return record().mediaType; }
    OrvMediaLibrary::URL url() const override { return record().url; }
    QString mediaSourceIdentifier() const override { return myLibrary->sourceIdentifier; }

private:
    const PhotosModel::MediaObject& record() const { return myLibrary->objects[myIndex]; }

    std::shared_ptr<const PhotosModel> myLibrary;
    size_t myIndex;
};

} // namespace OrvMediaLibrarySim
