#include "OrvImageIO.h"

#include "OrvBackendSlot.h"

namespace OrvImageIO {

ImageSource::~ImageSource() = default;
ImageDestination::~ImageDestination() = default;
ImageIO::~ImageIO() = default;

namespace {

OrvBackendSlot<ImageIOPtr>& backend()
{
    static OrvBackendSlot<ImageIOPtr> slot("ImageIO: no backend installed");
    return slot;
}

} // namespace

void setImageIOProvider(ImageIOProvider newProvider) { backend().set(std::move(newProvider)); }

ImageIOPtr sharedImageIO() { return backend().get(); }

} // namespace OrvImageIO
