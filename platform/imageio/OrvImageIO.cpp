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

QImage uprightThumbnail(const QString& path, int maxPixelSize)
{
    const ImageIOPtr imageIO = sharedImageIO();
    SourceOptions options;
    options.shouldCache = false;
    options.createThumbnailWithTransform = true;
    options.createThumbnailFromImageAlways = true;
    options.thumbnailMaxPixelSize = maxPixelSize;
    const ImageSourcePtr source = imageIO ? imageIO->createImageSourceWithURL(path, options) : nullptr;
    return source ? source->createThumbnailAtIndex(0, options) : QImage();
}

} // namespace OrvImageIO
