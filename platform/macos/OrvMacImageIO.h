#pragma once

#include "OrvImageIO.h"

// ImageIO as OrvImageIO::ImageIO. A file is read through the host's file
// opener (a pipe, a device or a file past the image bound is refused, never
// waited on) and then handed to ImageIO as bytes.
class OrvMacImageIO : public OrvImageIO::ImageIO
{
public:
    OrvImageIO::ImageSourcePtr createImageSourceWithData(const QByteArray& data,
                                                         const OrvImageIO::SourceOptions& options) override;
    OrvImageIO::ImageSourcePtr createImageSourceWithURL(const QString& path,
                                                        const OrvImageIO::SourceOptions& options) override;
    OrvImageIO::ImageDestinationPtr createImageDestinationWithData(QByteArray* data, const QString& type,
                                                                   int count) override;
    QStringList copyTypeIdentifiers() const override;
};
