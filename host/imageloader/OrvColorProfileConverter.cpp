#include "OrvColorProfileConverter.h"

#include <QDebug>

QImage OrvColorProfileConverter::convert(const QImage& image, const OrvMetaData& info, bool* changed) const
{
    if (changed)
        *changed = false;
    if (image.isNull())
        return image;
    const QColorSpace source = image.colorSpace().isValid() ? image.colorSpace() : info.colorSpace();
    if (!source.isValid())
        return image;
    static const QColorSpace srgb(QColorSpace::SRgb);
    if (source == srgb)
        return image;

    QImage result = image;
    if (!result.colorSpace().isValid())
        result.setColorSpace(source);
    result.convertToColorSpace(srgb);
    if (result.isNull() || result.colorSpace() != srgb) {
        qDebug() << "OrvColorProfileConverter: cannot convert from" << source.description();
        return image;
    }
    if (changed)
        *changed = true;
    return result;
}
