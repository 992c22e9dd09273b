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

QDateTime ListedFile::creationDate() const
{
    std::lock_guard<std::mutex> lock(myDateMutex);
    if (myDater) {
        myDate = myDater();
        myDater = nullptr;
    }
    return myDate;
}

void ListedFile::dateFrom(const std::function<QDateTime()>& found) const
{
    std::lock_guard<std::mutex> lock(myDateMutex);
    if (!myDater)
        return;
    const QDateTime date = found();
    if (date.isValid()) {
        myDate = date;
        myDater = nullptr;
    }
}

} // namespace OrvImageCapture
