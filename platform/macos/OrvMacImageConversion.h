#pragma once

// Core Graphics images as QImage and back. An image is drawn straight into the
// QImage's own pixels (one pass, no buffer in between); a QImage handed to Core
// Graphics lends its pixels to the CGImage, which keeps the QImage until it is
// released. Images above the host loader's pixel bound are refused.

#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>

#include <QByteArray>
#include <QImage>

namespace OrvMacImageConversion {

// 32-bit premultiplied ARGB in the image's own RGB colour space (which the
// QImage carries), or in sRGB for images in other colour models. Null for
// NULL, an empty image or one above the bound.
QImage fromCGImage(CGImageRef image);
// The image's best representation at its own size; null for nil.
QImage fromNSImage(NSImage* image);
// A CGImage sharing the pixels of image, in its colour space when it has one
// and else in the space of iccProfile when given, else sRGB. NULL for a null
// image. The caller releases it (CGImageRelease).
CGImageRef createCGImage(const QImage& image, const QByteArray& iccProfile = QByteArray());
// The embedded profile of a colour space; empty when it has none.
QByteArray iccProfile(CGColorSpaceRef space);

} // namespace OrvMacImageConversion
