#include "OrvImageCaptureItem.h"

namespace OrvImageCapture {

QImage ListedFile::thumbnailIfAvailable() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myThumbnail;
}

void ListedFile::setThumbnail(const QImage& thumbnail) const
{
    std::lock_guard<std::mutex> lock(myMutex);
    myThumbnail = thumbnail;
}

} // namespace OrvImageCapture
