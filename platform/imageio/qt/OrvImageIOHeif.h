#pragma once

#include "OrvImageIO.h"

#include <QByteArray>
#include <QImage>

// HEIC and HEIF on libheif. Decoding applies the file's transformations
// (rotation, mirroring, crop), so the properties report orientation 1 and
// the pixel size as shown. Every decode is bounded by the host's pixel limit,
// checked on the size the file declares before anything is allocated.
class OrvImageIOHeif
{
public:
    // Whether the bytes start an ISO media file of a HEIF brand; the type
    // (public.heic or public.heif) in *type.
    static bool sniff(const char* data, qsizetype size, QString* type);
    static bool readProperties(const QByteArray& bytes, OrvImageIO::Properties* properties);
    // The primary image, at most maxPixelSize on its longer side (0: full size).
    static QImage decode(const QByteArray& bytes, int maxPixelSize);
    // One image with the metadata blocks of properties; false when encoding fails.
    static bool encode(const QImage& image, const std::optional<OrvImageIO::Properties>& properties, QByteArray* out);
};
