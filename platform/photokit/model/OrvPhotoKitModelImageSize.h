#pragma once

// The pixel size an image request delivers, as PHImageManager sizes it.

#include "OrvPhotoKit.h"

#include <QSize>
#include <QSizeF>

namespace OrvPhotoKitModel {

// The size that content mode gives an image of size for the target: AspectFill
// the smallest that covers it, AspectFit the largest that fits; never larger
// than the image. An invalid target is the full size.
QSize renderedSize(const QSize& size, const QSizeF& target, OrvPhotoKit::ImageContentMode mode);

} // namespace OrvPhotoKitModel
