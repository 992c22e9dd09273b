#include "OrvMacImageIO.h"

#include "OrvMacFoundation.h"
#include "OrvMacImageDestination.h"
#include "OrvMacImageSource.h"
#include "OrvUserFile.h"

#import <ImageIO/ImageIO.h>

using namespace OrvImageIO;

ImageSourcePtr OrvMacImageIO::createImageSourceWithData(const QByteArray& data, const SourceOptions& options)
{
    return OrvMacImageSource::create(data, options);
}

ImageSourcePtr OrvMacImageIO::createImageSourceWithURL(const QString& path, const SourceOptions& options)
{
    return OrvMacImageSource::create(OrvUserFile::readAll(path, OrvUserFile::Image), options);
}

ImageDestinationPtr OrvMacImageIO::createImageDestinationWithData(QByteArray* data, const QString& type, int count)
{
    return OrvMacImageDestination::create(data, type, count);
}

QStringList OrvMacImageIO::copyTypeIdentifiers() const
{
    @autoreleasepool {
        CFArrayRef types = CGImageDestinationCopyTypeIdentifiers();
        const QStringList result = OrvMacFoundation::strings((__bridge NSArray*)types);
        if (types)
            CFRelease(types);
        return result;
    }
}
