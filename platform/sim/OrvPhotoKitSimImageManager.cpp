#include "OrvPhotoKitSimImageManager.h"

#include "OrvImageIO.h"
#include "OrvPhotoKitModelImageSize.h"
#include "OrvPhotoKitSimAsset.h"
#include "OrvPhotoKitSimLibrary.h"
#include "OrvUserFile.h"

#include <QCoreApplication>
#include <QDebug>
#include <QThread>
#include <QTimer>

#include <cmath>
#include <condition_variable>
#include <mutex>

using namespace OrvPhotoKit;

namespace OrvPhotoKitSim {

namespace {

// The preview Photos keeps on the device of a photo whose original is in the cloud.
constexpr int localPreviewSize = 256;

// Handoffs to the main thread go through Qt's event queue, out of sight of race
// detectors; taking this lock on both sides makes the handoff visible to them.
std::mutex handoffMutex;

bool onMainThread()
{
    const QCoreApplication* application = QCoreApplication::instance();
    return application && QThread::currentThread() == application->thread();
}

void onMainQueue(std::function<void()> task, int delay = 0)
{
    QCoreApplication* application = QCoreApplication::instance();
    if (!application) {
        task();
        return;
    }
    std::lock_guard<std::mutex> handoff(handoffMutex);
    QMetaObject::invokeMethod(
        application,
        [application, task = std::move(task), delay] {
            { std::lock_guard<std::mutex> received(handoffMutex); }
            if (delay > 0)
                QTimer::singleShot(delay, application, task);
            else
                task();
        },
        Qt::QueuedConnection);
}

QVariantMap failure(int requestId, const QString& reason, bool inCloud = false)
{
    QVariantMap info{{ImageResultRequestIDKey, requestId}, {ImageErrorKey, reason}};
    if (inCloud)
        info.insert(ImageResultIsInCloudKey, true);
    return info;
}

// The image at a longer side of at most maxPixelSize (0: full size), upright;
// exactly of size where one is given (the bound may round a side up by a pixel).
QImage render(const QString& path, int maxPixelSize, const QSize& size = QSize())
{
    const QImage image = OrvImageIO::uprightThumbnail(path, maxPixelSize);
    if (image.isNull() || !size.isValid() || image.size() == size || maxPixelSize == 0)
        return image;
    return image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

struct SimImageManager::Rendition
{
    QString path;  // empty: the asset has no photo to show
    bool inCloud = false;
    QSize size;  // the asset's pixel size, as shown
};

SimImageManager::SimImageManager(const std::weak_ptr<Library>& library) : myLibrary(library) {}

QList<ImageRequestRecord> SimImageManager::requests() const
{
    QMutexLocker locker(&myMutex);
    return myRequests;
}

void SimImageManager::clearRequests()
{
    QMutexLocker locker(&myMutex);
    myRequests.clear();
}

void SimImageManager::record(ImageRequestRecord::Kind kind, const AssetPtr& asset, const QSizeF& target,
                             ImageContentMode mode, const ImageRequestOptions& options)
{
    QMutexLocker locker(&myMutex);
    myRequests.append({kind, asset ? asset->localIdentifier() : QString(), target, mode, options, onMainThread()});
}

SimImageManager::Rendition SimImageManager::renditionOf(const AssetPtr& asset) const
{
    Rendition rendition;
    if (!asset)
        return rendition;
    // The library as it is now: an edit since the fetch shows.
    const std::shared_ptr<Library> library = myLibrary.lock();
    std::shared_ptr<const SimAsset> current = library ? library->currentAsset(asset->localIdentifier()) : nullptr;
    if (!current)
        current = std::dynamic_pointer_cast<const SimAsset>(asset);
    if (!current)
        return rendition;
    rendition.size = QSize(current->pixelWidth(), current->pixelHeight());
    const ResourceSpec* chosen = nullptr;
    for (const ResourceSpec& resource : current->spec().resources) {
        if (resource.filePath.isEmpty())
            continue;
        if (resource.type == AssetResourceType::FullSizePhoto) {
            chosen = &resource;
            break;
        }
        if (resource.type == AssetResourceType::Photo && !chosen)
            chosen = &resource;
    }
    if (chosen) {
        rendition.path = chosen->filePath;
        rendition.inCloud = chosen->inCloud;
    }
    return rendition;
}

QSize SimImageManager::renderedSize(const QSize& size, const QSizeF& target, ImageContentMode mode)
{
    return OrvPhotoKitModel::renderedSize(size, target, mode);
}

bool SimImageManager::download(const ImageRequestOptions& options, const std::function<void(bool failed)>& deliver)
{
    if (!options.networkAccessAllowed)
        return false;
    const bool fail = myDownloadsFail.load();
    struct Waiting
    {
        std::mutex mutex;
        std::condition_variable done;
        bool finished = false;
    };
    const auto waiting = std::make_shared<Waiting>();
    onMainQueue(
        [deliver, fail, waiting] {
            deliver(fail);
            std::lock_guard<std::mutex> lock(waiting->mutex);
            waiting->finished = true;
            waiting->done.notify_all();
        },
        myDownloadDelay.load());
    if (options.synchronous && !onMainThread() && QCoreApplication::instance()) {
        std::unique_lock<std::mutex> lock(waiting->mutex);
        waiting->done.wait(lock, [&] { return waiting->finished; });
    }
    return true;
}

int SimImageManager::requestImageForAsset(const AssetPtr& asset, const QSizeF& targetSize, ImageContentMode contentMode,
                                          const ImageRequestOptions& options, const ImageHandler& resultHandler)
{
    const int requestId = myNextRequestId++;
    record(ImageRequestRecord::Image, asset, targetSize, contentMode, options);
    if (!resultHandler)
        return requestId;
    const Rendition rendition = renditionOf(asset);
    const QSize rendered = rendition.size.isEmpty()
        ? QSize(int(targetSize.width()), int(targetSize.height()))
        : renderedSize(rendition.size, targetSize, contentMode);
    const int maxPixelSize = rendered.isEmpty() || rendered == rendition.size ? 0 : std::max(rendered.width(), rendered.height());
    const QVariantMap done{{ImageResultRequestIDKey, requestId}, {ImageResultIsDegradedKey, false}};

    if (rendition.path.isEmpty()) {
        resultHandler(QImage(), failure(requestId, QStringLiteral("no photo resource")));
        return requestId;
    }
    if (rendition.inCloud) {
        const QString path = rendition.path;
        const bool allowed = download(options, [=](bool failed) {
            if (!failed) {
                const QImage image = render(path, maxPixelSize, rendered);
                resultHandler(image, image.isNull() ? failure(requestId, QStringLiteral("cannot decode")) : done);
                return;
            }
            QVariantMap degraded = failure(requestId, QStringLiteral("download failed"), true);
            degraded.insert(ImageResultIsDegradedKey, true);
            resultHandler(render(path, maxPixelSize > 0 ? std::min(maxPixelSize, localPreviewSize) : localPreviewSize), degraded);
        });
        if (!allowed)
            resultHandler(QImage(), failure(requestId, QStringLiteral("network access not allowed"), true));
        return requestId;
    }
    if (options.synchronous) {
        // Synchronous requests get one result of the quality asked for; opportunistic counts as high quality.
        const int size = options.deliveryMode == ImageRequestDeliveryMode::FastFormat && maxPixelSize > 0
            ? std::max(1, maxPixelSize / 4)
            : maxPixelSize;
        const QImage image = render(rendition.path, size, size == maxPixelSize ? rendered : QSize());
        resultHandler(image, image.isNull() ? failure(requestId, QStringLiteral("cannot decode")) : done);
        return requestId;
    }
    // Asynchronous results arrive on the main queue; opportunistic ones first degraded, then in full.
    const QString path = rendition.path;
    const ImageRequestDeliveryMode mode = options.deliveryMode;
    onMainQueue([=] {
        const int quick = std::max(1, (maxPixelSize > 0 ? maxPixelSize : std::max(rendition.size.width(), rendition.size.height())) / 4);
        if (mode != ImageRequestDeliveryMode::HighQualityFormat) {
            QVariantMap degraded = done;
            degraded.insert(ImageResultIsDegradedKey, mode == ImageRequestDeliveryMode::Opportunistic);
            resultHandler(render(path, quick), degraded);
            if (mode == ImageRequestDeliveryMode::FastFormat)
                return;
        }
        const QImage image = render(path, maxPixelSize, rendered);
        resultHandler(image, image.isNull() ? failure(requestId, QStringLiteral("cannot decode")) : done);
    });
    return requestId;
}

int SimImageManager::requestImageDataAndOrientationForAsset(const AssetPtr& asset, const ImageRequestOptions& options,
                                                            const DataHandler& resultHandler)
{
    const int requestId = myNextRequestId++;
    record(ImageRequestRecord::Data, asset, QSizeF(), ImageContentMode::AspectFit, options);
    if (!resultHandler)
        return requestId;
    const Rendition rendition = renditionOf(asset);
    const auto deliver = [requestId, resultHandler](const QString& path) {
        // The bytes as they are, their type read from them; what is no image is no photo.
        const QByteArray data = OrvUserFile::readAll(path, OrvUserFile::Image);
        const OrvImageIO::ImageIOPtr imageIO = OrvImageIO::sharedImageIO();
        OrvImageIO::SourceOptions options;
        options.shouldCache = false;
        const OrvImageIO::ImageSourcePtr source = imageIO && !data.isEmpty() ? imageIO->createImageSourceWithData(data, options) : nullptr;
        const std::optional<OrvImageIO::Properties> properties = source ? source->copyPropertiesAtIndex(0, options) : std::nullopt;
        if (!properties) {
            resultHandler(QByteArray(), QString(), 1, failure(requestId, QStringLiteral("no image data")));
            return;
        }
        resultHandler(data, source->type(), properties->orientation,
                      QVariantMap{{ImageResultRequestIDKey, requestId}, {ImageResultIsDegradedKey, false}});
    };
    if (rendition.path.isEmpty()) {
        resultHandler(QByteArray(), QString(), 1, failure(requestId, QStringLiteral("no photo resource")));
    } else if (rendition.inCloud) {
        const QString path = rendition.path;
        const bool allowed = download(options, [=](bool failed) {
            if (failed)
                resultHandler(QByteArray(), QString(), 1, failure(requestId, QStringLiteral("download failed"), true));
            else
                deliver(path);
        });
        if (!allowed)
            resultHandler(QByteArray(), QString(), 1, failure(requestId, QStringLiteral("network access not allowed"), true));
    } else if (options.synchronous) {
        deliver(rendition.path);
    } else {
        const QString path = rendition.path;
        onMainQueue([deliver, path] { deliver(path); });
    }
    return requestId;
}

} // namespace OrvPhotoKitSim
