#include "OrvPhotoKitModelImageSize.h"

#include <algorithm>
#include <cmath>

namespace OrvPhotoKitModel {

QSize renderedSize(const QSize& size, const QSizeF& target, OrvPhotoKit::ImageContentMode mode)
{
    if (size.isEmpty() || !(target.width() > 0 && target.height() > 0))
        return size;
    const double wide = target.width() / size.width();
    const double high = target.height() / size.height();
    const double scale = mode == OrvPhotoKit::ImageContentMode::AspectFill ? std::max(wide, high) : std::min(wide, high);
    if (scale >= 1.0)
        return size;
    return QSize(std::max(1, int(std::ceil(size.width() * scale - 1e-9))),
                 std::max(1, int(std::ceil(size.height() * scale - 1e-9))));
}

} // namespace OrvPhotoKitModel
