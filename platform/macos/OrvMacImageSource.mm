#include "OrvMacImageSource.h"

#include "OrvMacFoundation.h"
#include "OrvMacImageConversion.h"
#include "OrvMediaLoader.h"

using namespace OrvImageIO;

namespace {

int integer(NSDictionary* properties, CFStringRef key, int fallback)
{
    id value = [properties objectForKey:(__bridge NSString*)key];
    return [value isKindOfClass:[NSNumber class]] ? int(static_cast<NSNumber*>(value).integerValue) : fallback;
}

QString text(id value)
{
    if ([value isKindOfClass:[NSString class]])
        return OrvMacFoundation::string(static_cast<NSString*>(value));
    if ([value isKindOfClass:[NSNumber class]])
        return OrvMacFoundation::string(static_cast<NSNumber*>(value).stringValue);
    if ([value isKindOfClass:[NSArray class]]) {
        QStringList parts;
        for (id part in static_cast<NSArray*>(value))
            parts.append(text(part));
        return parts.join(QLatin1Char(' '));
    }
    return {};
}

void describe(NSDictionary* properties, CFStringRef group, const QString& prefix, Properties* into)
{
    id values = [properties objectForKey:(__bridge NSString*)group];
    if (![values isKindOfClass:[NSDictionary class]])
        return;
    NSDictionary* dictionary = static_cast<NSDictionary*>(values);
    for (id key in dictionary) {
        if ([key isKindOfClass:[NSString class]])
            into->values.insert(prefix + OrvMacFoundation::string(static_cast<NSString*>(key)),
                                text([dictionary objectForKey:key]));
    }
}

} // namespace

OrvMacImageSource::OrvMacImageSource(const QByteArray& data, CGImageSourceRef source) : myData(data), mySource(source) {}

OrvMacImageSource::~OrvMacImageSource()
{
    CFRelease(mySource);
}

std::shared_ptr<OrvMacImageSource> OrvMacImageSource::create(const QByteArray& data, const SourceOptions& options)
{
    @autoreleasepool {
        if (data.isEmpty())
            return nullptr;
        // The source keeps the (implicitly shared) bytes for as long as ImageIO reads them.
        CFDataRef bytes = CFDataCreateWithBytesNoCopy(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(data.constData()),
                                                      CFIndex(data.size()), kCFAllocatorNull);
        if (!bytes)
            return nullptr;
        CGImageSourceRef source = CGImageSourceCreateWithData(bytes, (__bridge CFDictionaryRef)dictionary(options, false));
        CFRelease(bytes);
        if (!source)
            return nullptr;
        std::shared_ptr<OrvMacImageSource> made(new OrvMacImageSource(data, source));
        if (made->type().isEmpty() || made->count() < 1)
            return nullptr;
        return made;
    }
}

NSDictionary* OrvMacImageSource::dictionary(const SourceOptions& options, bool thumbnail)
{
    NSMutableDictionary* result = [NSMutableDictionary dictionary];
    [result setObject:[NSNumber numberWithBool:options.shouldCache] forKey:(__bridge NSString*)kCGImageSourceShouldCache];
    if (!options.typeIdentifierHint.isEmpty())
        [result setObject:options.typeIdentifierHint.toNSString()
                   forKey:(__bridge NSString*)kCGImageSourceTypeIdentifierHint];
    if (thumbnail) {
        [result setObject:[NSNumber numberWithBool:options.createThumbnailWithTransform]
                   forKey:(__bridge NSString*)kCGImageSourceCreateThumbnailWithTransform];
        // A thumbnail of the full size is made from the image: an embedded one is smaller.
        const bool fromImage = options.createThumbnailFromImageAlways || options.thumbnailMaxPixelSize <= 0;
        [result setObject:[NSNumber numberWithBool:fromImage]
                   forKey:(__bridge NSString*)kCGImageSourceCreateThumbnailFromImageAlways];
        if (options.thumbnailMaxPixelSize > 0)
            [result setObject:[NSNumber numberWithInt:options.thumbnailMaxPixelSize]
                       forKey:(__bridge NSString*)kCGImageSourceThumbnailMaxPixelSize];
    }
    return result;
}

QString OrvMacImageSource::type() const
{
    CFStringRef type = CGImageSourceGetType(mySource);
    return type ? OrvMacFoundation::string((__bridge NSString*)type) : QString();
}

int OrvMacImageSource::count() const
{
    return int(CGImageSourceGetCount(mySource));
}

NSDictionary* OrvMacImageSource::properties(int index) const
{
    if (index < 0 || index >= count())
        return nil;
    return (__bridge_transfer NSDictionary*)CGImageSourceCopyPropertiesAtIndex(mySource, size_t(index), nullptr);
}

bool OrvMacImageSource::decodable(int index) const
{
    @autoreleasepool {
        NSDictionary* found = properties(index);
        const qint64 width = integer(found, kCGImagePropertyPixelWidth, 0);
        const qint64 height = integer(found, kCGImagePropertyPixelHeight, 0);
        return width > 0 && height > 0 && width * height <= OrvMediaLoader::maxPixels;
    }
}

std::optional<Properties> OrvMacImageSource::copyPropertiesAtIndex(int index, const SourceOptions& options) const
{
    @autoreleasepool {
        NSDictionary* found = properties(index);
        if (!found)
            return std::nullopt;
        Properties result;
        result.pixelWidth = integer(found, kCGImagePropertyPixelWidth, 0);
        result.pixelHeight = integer(found, kCGImagePropertyPixelHeight, 0);
        result.orientation = integer(found, kCGImagePropertyOrientation, 1);
        result.hasAlpha = integer(found, kCGImagePropertyHasAlpha, 0) != 0;
        describe(found, kCGImagePropertyExifDictionary, QStringLiteral("Exif.Photo."), &result);
        describe(found, kCGImagePropertyTIFFDictionary, QStringLiteral("Exif.Image."), &result);
        describe(found, kCGImagePropertyGPSDictionary, QStringLiteral("Exif.GPSInfo.GPS"), &result);
        describe(found, kCGImagePropertyIPTCDictionary, QStringLiteral("Iptc.Application2."), &result);
        if (CGImageMetadataRef metadata = CGImageSourceCopyMetadataAtIndex(mySource, size_t(index), nullptr)) {
            if (CFDataRef xmp = CGImageMetadataCreateXMPData(metadata, nullptr)) {
                result.xmp = QByteArray::fromNSData((__bridge NSData*)xmp);
                CFRelease(xmp);
            }
            CFRelease(metadata);
        }
        // The colour space of an image is known without decoding it; not looked at past the bound.
        if (decodable(index)) {
            if (CGImageRef image = CGImageSourceCreateImageAtIndex(mySource, size_t(index),
                                                                   (__bridge CFDictionaryRef)dictionary(options, false))) {
                result.iccProfile = OrvMacImageConversion::iccProfile(CGImageGetColorSpace(image));
                CGImageRelease(image);
            }
        }
        return result;
    }
}

QImage OrvMacImageSource::decode(int index, const SourceOptions& options, bool thumbnail) const
{
    @autoreleasepool {
        if (!decodable(index))
            return {};
        NSDictionary* asked = dictionary(options, thumbnail);
        CGImageRef image = thumbnail
            ? CGImageSourceCreateThumbnailAtIndex(mySource, size_t(index), (__bridge CFDictionaryRef)asked)
            : CGImageSourceCreateImageAtIndex(mySource, size_t(index), (__bridge CFDictionaryRef)asked);
        const QImage result = OrvMacImageConversion::fromCGImage(image);
        if (image)
            CGImageRelease(image);
        return result;
    }
}

QImage OrvMacImageSource::createImageAtIndex(int index, const SourceOptions& options) const
{
    return decode(index, options, false);
}

QImage OrvMacImageSource::createThumbnailAtIndex(int index, const SourceOptions& options) const
{
    return decode(index, options, true);
}
