#include "OrvImageIOQtSource.h"

#include "OrvImageIOHeif.h"
#include "OrvImageIOMetadata.h"
#include "OrvImageIOQt.h"
#include "OrvMediaLoader.h"
#include "OrvUserFile.h"

#include <QBuffer>
#include <QImageReader>

using namespace OrvImageIO;

OrvImageIOQtSource::OrvImageIOQtSource(const QByteArray& data, const QString& path, const QString& type)
    : myData(data), myPath(path), myType(type)
{
}

QByteArray OrvImageIOQtSource::bytes() const
{
    return myPath.isEmpty() ? myData : OrvUserFile::readAll(myPath, OrvUserFile::Image);
}

std::optional<Properties> OrvImageIOQtSource::copyPropertiesAtIndex(int index, const SourceOptions&) const
{
    if (index != 0)
        return std::nullopt;
    const QByteArray data = bytes();
    Properties properties;
    if (OrvImageIOQt::isHeif(myType)) {
        if (!OrvImageIOHeif::readProperties(data, &properties))
            return std::nullopt;
        return properties;
    }
    // Formats Exiv2 does not know (GIF, BMP) still have a size.
    OrvImageIOMetadata::read(data, &properties);
    if (properties.pixelWidth <= 0 || properties.pixelHeight <= 0) {
        QBuffer buffer;
        buffer.setData(data);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer);
        const QSize size = reader.size();
        if (!size.isValid())
            return std::nullopt;
        properties.pixelWidth = size.width();
        properties.pixelHeight = size.height();
    }
    return properties;
}

QImage OrvImageIOQtSource::decode(int maxPixelSize, bool oriented) const
{
    if (OrvImageIOQt::isHeif(myType))
        return OrvImageIOHeif::decode(bytes(), maxPixelSize);
    const QSize bounding = maxPixelSize > 0 ? QSize(maxPixelSize, maxPixelSize) : QSize();
    const OrvMediaLoader::Orientation orientation = oriented ? OrvMediaLoader::ShowOriented : OrvMediaLoader::KeepStored;
    OrvMetaData colorInfo;
    QImage image;
    const OrvMediaLoader* loader = OrvMediaLoader::instance();
    if (!myPath.isEmpty()) {
        image = loader->load(myPath, bounding, &colorInfo, orientation);
    } else {
        QBuffer buffer;
        buffer.setData(myData);
        buffer.open(QIODevice::ReadOnly);
        image = loader->load(&buffer, bounding, &colorInfo, orientation);
    }
    if (!image.isNull() && !image.colorSpace().isValid() && colorInfo.colorSpace().isValid())
        image.setColorSpace(colorInfo.colorSpace());
    return image;
}

QImage OrvImageIOQtSource::createImageAtIndex(int index, const SourceOptions&) const
{
    return index == 0 ? decode(0, false) : QImage();
}

QImage OrvImageIOQtSource::createThumbnailAtIndex(int index, const SourceOptions& options) const
{
    return index == 0 ? decode(qMax(0, options.thumbnailMaxPixelSize), options.createThumbnailWithTransform) : QImage();
}
