#include "OrvPhotosLibrary.h"

#include "OrvPhotosLibraryPackage.h"

namespace OrvPhotosLibrary {

std::shared_ptr<OrvPhotoKit::PhotoLibrary> openLibrary(const QString& packagePath, QString* error)
{
    return Package::open(packagePath, error);
}

void install(std::shared_ptr<OrvPhotoKit::PhotoLibrary> library)
{
    OrvPhotoKit::setSharedPhotoLibraryProvider([library = std::move(library)] { return library; });
}

} // namespace OrvPhotosLibrary
