#pragma once

#include "OrvImageIO.h"

#include <QByteArray>
#include <QSize>

// The metadata half of the image I/O backend, on Exiv2: reads the properties
// of an image and carries them into another one.
class OrvImageIOMetadata
{
public:
    // EXIF, IPTC, XMP, ICC profile, stored pixel size and orientation of an
    // image Exiv2 reads (JPEG, PNG, TIFF, WebP). False when it cannot.
    static bool read(const QByteArray& bytes, OrvImageIO::Properties* properties);
    // The values of the blocks (properties->values) and the orientation from EXIF or XMP.
    static void describe(OrvImageIO::Properties* properties);
    // Writes the blocks of properties into an encoded image (not HEIF), its
    // orientation and pixel size set to what the image now is. False when
    // Exiv2 cannot write into that image; *encoded is then unchanged.
    static bool write(QByteArray* encoded, const OrvImageIO::Properties& properties, const QSize& pixelSize);
    // The EXIF block with the orientation and pixel size set, for writers that
    // take the block itself (HEIF).
    static QByteArray adjustedExif(const OrvImageIO::Properties& properties, const QSize& pixelSize);
};
