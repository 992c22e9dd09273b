#pragma once

#include "OrvImageIO.h"

// An image source over bytes in memory or over a local file (read through the
// host's file opener when needed). One image per source.
class OrvImageIOQtSource : public OrvImageIO::ImageSource
{
public:
    OrvImageIOQtSource(const QByteArray& data, const QString& path, const QString& type);

    QString type() const override { return myType; }
    int count() const override { return 1; }
    std::optional<OrvImageIO::Properties> copyPropertiesAtIndex(int index, const OrvImageIO::SourceOptions& options) const override;
    QImage createImageAtIndex(int index, const OrvImageIO::SourceOptions& options) const override;
    QImage createThumbnailAtIndex(int index, const OrvImageIO::SourceOptions& options) const override;

private:
    QByteArray bytes() const;
    QImage decode(int maxPixelSize, bool oriented) const;

    QByteArray myData;
    QString myPath;
    QString myType;
};
