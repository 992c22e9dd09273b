#pragma once

#include "OrvImageIO.h"

// The image I/O backend where Apple's ImageIO is not: JPEG, PNG, TIFF, WebP,
// BMP and GIF through the host's media loader and Qt's image plug-ins, HEIC and
// HEIF through libheif, metadata through Exiv2. Decoding for a size is scaled
// decoding (JPEG in the DCT), and every decode is bounded in pixels.
class OrvImageIOQt : public OrvImageIO::ImageIO
{
public:
    OrvImageIO::ImageSourcePtr createImageSourceWithData(const QByteArray& data, const OrvImageIO::SourceOptions& options) override;
    OrvImageIO::ImageSourcePtr createImageSourceWithURL(const QString& path, const OrvImageIO::SourceOptions& options) override;
    OrvImageIO::ImageDestinationPtr createImageDestinationWithData(QByteArray* data, const QString& type, int count) override;
    QStringList copyTypeIdentifiers() const override;

    // The uniform type identifier of an image from its first bytes; empty when unknown.
    static QString typeOfData(const char* data, qsizetype size);
    static bool isHeif(const QString& type);

    // Makes this the image I/O backend of OrvImageIO::sharedImageIO().
    static void install();
};
