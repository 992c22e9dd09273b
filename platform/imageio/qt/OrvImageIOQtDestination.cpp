#include "OrvImageIOQtDestination.h"

#include "OrvImageIOHeif.h"
#include "OrvImageIOMetadata.h"
#include "OrvImageIOQt.h"
#include "OrvMediaFormat.h"

#include <QBuffer>
#include <QColorSpace>
#include <QDebug>
#include <QImageWriter>

using namespace OrvImageIO;

OrvImageIOQtDestination::OrvImageIOQtDestination(QByteArray* data, const QString& type, int count)
    : myData(data), myType(type), myCount(count)
{
}

void OrvImageIOQtDestination::addImageFromSource(const ImageSourcePtr& source, int index,
                                                 const std::optional<Properties>& properties)
{
    if (source && int(myImages.size()) < myCount)
        myImages.push_back({source, index, QImage(), properties});
}

void OrvImageIOQtDestination::addImage(const QImage& image, const std::optional<Properties>& properties)
{
    if (int(myImages.size()) < myCount)
        myImages.push_back({nullptr, 0, image, properties});
}

bool OrvImageIOQtDestination::encode(const Pending& pending, QByteArray* out) const
{
    const bool heif = OrvImageIOQt::isHeif(myType);
    QImage image = pending.image;
    std::optional<Properties> properties = pending.properties;
    if (pending.source) {
        if (!properties)
            properties = pending.source->copyPropertiesAtIndex(pending.index, SourceOptions());
        // HEIF is written upright (it keeps no EXIF orientation): the pixels come turned.
        SourceOptions upright;
        upright.createThumbnailWithTransform = true;
        image = heif ? pending.source->createThumbnailAtIndex(pending.index, upright)
                     : pending.source->createImageAtIndex(pending.index, SourceOptions());
    }
    if (image.isNull())
        return false;
    if (heif)
        return OrvImageIOHeif::encode(image, properties, out);
    if (properties && !properties->iccProfile.isEmpty() && !image.colorSpace().isValid())
        image.setColorSpace(QColorSpace::fromIccProfile(properties->iccProfile));
    QBuffer buffer(out);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, OrvMediaFormat::fromUti(myType).qtFormat());
    if (myType == QLatin1String("public.jpeg"))
        writer.setQuality(90);
    if (!writer.write(image)) {
        qDebug() << "ImageIO: cannot encode" << myType << writer.errorString();
        return false;
    }
    buffer.close();
    // Properties that cannot be written leave the pixels as they are.
    if (properties)
        OrvImageIOMetadata::write(out, *properties, image.size());
    return true;
}

bool OrvImageIOQtDestination::finalize()
{
    if (myFinalized || !myData)
        return false;
    myFinalized = true;
    // One image a file: every type written here holds one.
    QByteArray encoded;
    if (int(myImages.size()) != myCount || myImages.size() != 1 || !encode(myImages.front(), &encoded) || encoded.isEmpty()) {
        myData->clear();
        return false;
    }
    *myData = encoded;
    return true;
}
