#pragma once

#include "OrvSingleton.h"
#include "OrvFotoMetaData.h"

#include <QImage>

// Brings decoded pixels into sRGB so every source looks alike.
class OrvColorProfileConverter : public OrvSingleton<OrvColorProfileConverter>
{
public:
    // The image's own colour space wins over the one in info; an image without
    // any, or already in sRGB, comes back unchanged and *changed is false.
    QImage convert(const QImage& image, const OrvMetaData& info, bool* changed = nullptr) const;

private:
    friend class OrvSingleton<OrvColorProfileConverter>;
    OrvColorProfileConverter() = default;
};
