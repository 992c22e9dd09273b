#include "OrvMacImageDestination.h"

#include "OrvMacFoundation.h"
#include "OrvMacImageConversion.h"
#include "OrvMacImageSource.h"
#include "OrvMediaLoader.h"

#include <QDebug>

using namespace OrvImageIO;

namespace {

NSDictionary* orientation(const std::optional<Properties>& properties)
{
    if (!properties)
        return nil;
    return [NSDictionary dictionaryWithObject:[NSNumber numberWithInt:properties->orientation]
                                       forKey:(__bridge NSString*)kCGImagePropertyOrientation];
}

} // namespace

OrvMacImageDestination::OrvMacImageDestination(QByteArray* data, CFMutableDataRef written,
                                               CGImageDestinationRef destination)
    : myData(data), myWritten(written), myDestination(destination)
{
}

OrvMacImageDestination::~OrvMacImageDestination()
{
    CFRelease(myDestination);
    CFRelease(myWritten);
}

std::shared_ptr<OrvMacImageDestination> OrvMacImageDestination::create(QByteArray* data, const QString& type, int count)
{
    if (!data || count < 1 || type.isEmpty())
        return nullptr;
    CFMutableDataRef written = CFDataCreateMutable(kCFAllocatorDefault, 0);
    if (!written)
        return nullptr;
    CGImageDestinationRef destination =
        CGImageDestinationCreateWithData(written, (__bridge CFStringRef)type.toNSString(), size_t(count), nullptr);
    if (!destination) {
        CFRelease(written);
        return nullptr;
    }
    return std::shared_ptr<OrvMacImageDestination>(new OrvMacImageDestination(data, written, destination));
}

void OrvMacImageDestination::addImageFromSource(const ImageSourcePtr& source, int index,
                                                const std::optional<Properties>& properties)
{
    @autoreleasepool {
        const auto mine = std::dynamic_pointer_cast<const OrvMacImageSource>(source);
        if (!mine) {
            // Another backend's source gives its pixels.
            if (source)
                addImage(source->createImageAtIndex(index, SourceOptions()), properties);
            return;
        }
        if (!mine->decodable(index))
            return;
        CGImageDestinationAddImageFromSource(myDestination, mine->source(), size_t(index),
                                             (__bridge CFDictionaryRef)orientation(properties));
    }
}

void OrvMacImageDestination::addImage(const QImage& image, const std::optional<Properties>& properties)
{
    @autoreleasepool {
        if (image.isNull() || qint64(image.width()) * image.height() > OrvMediaLoader::maxPixels)
            return;
        CGImageRef cgImage = OrvMacImageConversion::createCGImage(image, properties ? properties->iccProfile : QByteArray());
        if (!cgImage)
            return;
        CGImageMetadataRef metadata = nullptr;
        if (properties && !properties->xmp.isEmpty())
            metadata = CGImageMetadataCreateFromXMPData((__bridge CFDataRef)properties->xmp.toNSData());
        CGImageDestinationAddImageAndMetadata(myDestination, cgImage, metadata,
                                              (__bridge CFDictionaryRef)orientation(properties));
        if (metadata)
            CFRelease(metadata);
        CGImageRelease(cgImage);
    }
}

bool OrvMacImageDestination::finalize()
{
    @autoreleasepool {
        if (myFinalized || !myData)
            return false;
        myFinalized = true;
        if (!CGImageDestinationFinalize(myDestination) || CFDataGetLength(myWritten) <= 0) {
            qDebug() << "ImageIO: the image could not be written";
            myData->clear();
            return false;
        }
        *myData = QByteArray(reinterpret_cast<const char*>(CFDataGetBytePtr(myWritten)), qsizetype(CFDataGetLength(myWritten)));
        return true;
    }
}
