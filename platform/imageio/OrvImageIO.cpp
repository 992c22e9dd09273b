#include "OrvImageIO.h"

#include <QDebug>

#include <atomic>
#include <mutex>

namespace OrvImageIO {

ImageSource::~ImageSource() = default;
ImageDestination::~ImageDestination() = default;
ImageIO::~ImageIO() = default;

namespace {

std::mutex providerMutex;
ImageIOProvider& provider()
{
    static ImageIOProvider installed;
    return installed;
}

} // namespace

void setImageIOProvider(ImageIOProvider newProvider)
{
    std::lock_guard<std::mutex> lock(providerMutex);
    provider() = std::move(newProvider);
}

ImageIOPtr sharedImageIO()
{
    ImageIOProvider current;
    {
        std::lock_guard<std::mutex> lock(providerMutex);
        current = provider();
    }
    if (current)
        return current();
    static std::atomic<bool> told{false};
    if (!told.exchange(true))
        qDebug() << "ImageIO: no backend installed";
    return {};
}

} // namespace OrvImageIO
