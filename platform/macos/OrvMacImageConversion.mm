#include "OrvMacImageConversion.h"

#include "OrvMediaLoader.h"

#include <QColorSpace>

namespace OrvMacImageConversion {

namespace {

// Premultiplied alpha first, in the host's byte order: the layout of QImage::Format_ARGB32_Premultiplied.
const CGBitmapInfo argb32Premultiplied =
    CGBitmapInfo(uint32_t(kCGImageAlphaPremultipliedFirst) | uint32_t(kCGBitmapByteOrder32Host));

void releaseImage(void* info, const void*, size_t)
{
    delete static_cast<QImage*>(info);
}

} // namespace

QByteArray iccProfile(CGColorSpaceRef space)
{
    if (!space)
        return {};
    CFDataRef data = CGColorSpaceCopyICCData(space);
    if (!data)
        return {};
    const QByteArray profile(reinterpret_cast<const char*>(CFDataGetBytePtr(data)), qsizetype(CFDataGetLength(data)));
    CFRelease(data);
    return profile;
}

QImage fromCGImage(CGImageRef image)
{
    if (!image)
        return {};
    const size_t width = CGImageGetWidth(image);
    const size_t height = CGImageGetHeight(image);
    if (width == 0 || height == 0 || width > size_t(OrvMediaLoader::maxPixels) ||
        qint64(width) * qint64(height) > OrvMediaLoader::maxPixels)
        return {};
    QImage result(int(width), int(height), QImage::Format_ARGB32_Premultiplied);
    if (result.isNull())
        return {};
    result.fill(Qt::transparent);
    // Drawing keeps the pixel values of an RGB image; other models are converted to sRGB.
    CGColorSpaceRef source = CGImageGetColorSpace(image);
    CGColorSpaceRef target = source && CGColorSpaceGetModel(source) == kCGColorSpaceModelRGB
        ? CGColorSpaceRetain(source)
        : CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    CGContextRef context = CGBitmapContextCreate(result.bits(), width, height, 8, size_t(result.bytesPerLine()), target,
                                                 argb32Premultiplied);
    if (!context) {
        CGColorSpaceRelease(target);
        return {};
    }
    CGContextDrawImage(context, CGRectMake(0, 0, CGFloat(width), CGFloat(height)), image);
    CGContextRelease(context);
    const QByteArray profile = iccProfile(target);
    CGColorSpaceRelease(target);
    if (!profile.isEmpty())
        result.setColorSpace(QColorSpace::fromIccProfile(profile));
    return result;
}

QImage fromNSImage(NSImage* image)
{
    if (!image)
        return {};
    // The image manages its own representations: no rectangle, context or hints are proposed.
    return fromCGImage([image CGImageForProposedRect:nullptr context:nil hints:nil]);
}

CGImageRef createCGImage(const QImage& image, const QByteArray& iccProfile)
{
    if (image.isNull())
        return nullptr;
    // The pixels stay where they are when the image has this layout already.
    auto* pixels = new QImage(image.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    if (pixels->isNull()) {
        delete pixels;
        return nullptr;
    }
    QByteArray profile = image.colorSpace().isValid() ? image.colorSpace().iccProfile() : QByteArray();
    if (profile.isEmpty())
        profile = iccProfile;
    CGColorSpaceRef space = nullptr;
    if (!profile.isEmpty()) {
        CFDataRef data = CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(profile.constData()),
                                      CFIndex(profile.size()));
        space = data ? CGColorSpaceCreateWithICCData(data) : nullptr;
        if (data)
            CFRelease(data);
    }
    if (!space || CGColorSpaceGetModel(space) != kCGColorSpaceModelRGB) {
        if (space)
            CGColorSpaceRelease(space);
        space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    }
    const size_t bytes = size_t(pixels->sizeInBytes());
    CGDataProviderRef provider = CGDataProviderCreateWithData(pixels, pixels->constBits(), bytes, releaseImage);
    if (!provider) {
        delete pixels;
        CGColorSpaceRelease(space);
        return nullptr;
    }
    CGImageRef result = CGImageCreate(size_t(pixels->width()), size_t(pixels->height()), 8, 32,
                                      size_t(pixels->bytesPerLine()), space, argb32Premultiplied, provider, nullptr,
                                      false, kCGRenderingIntentDefault);
    CGDataProviderRelease(provider);
    CGColorSpaceRelease(space);
    return result;
}

} // namespace OrvMacImageConversion
