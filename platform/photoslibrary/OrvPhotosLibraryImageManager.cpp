#include "OrvPhotosLibraryImageManager.h"

#include "OrvImageIO.h"
#include "OrvJpegDecoder.h"
#include "OrvMediaLoader.h"
#include "OrvPhotoKitModelImageSize.h"
#include "OrvPhotosLibraryFiles.h"
#include "OrvPhotosLibraryPackage.h"
#include "OrvUserFile.h"

#include <QCoreApplication>
#include <QDebug>
#include <QImageReader>
#include <QMutexLocker>
#include <QThreadPool>

#include <algorithm>
#include <cmath>
#include <mutex>

using namespace OrvPhotoKit;

namespace OrvPhotosLibrary {

namespace {

// Causes told once each, up to this many.
constexpr qsizetype mostCausesTold = 1000;

// Handoffs to the main thread go through Qt's event queue, out of sight of race
// detectors; taking this lock on both sides makes the handoff visible to them.
std::mutex handoffMutex;

// Runs work on a worker and what it gives on the main thread (or at once without an application).
void onWorker(std::function<std::function<void()>()> work)
{
    QThreadPool::globalInstance()->start([work = std::move(work)] {
        std::function<void()> deliver = work();
        QCoreApplication* application = QCoreApplication::instance();
        if (!application) {
            deliver();
            return;
        }
        std::lock_guard<std::mutex> handoff(handoffMutex);
        QMetaObject::invokeMethod(
            application,
            [deliver = std::move(deliver)] {
                { std::lock_guard<std::mutex> received(handoffMutex); }
                deliver();
            },
            Qt::QueuedConnection);
    });
}

// A JPEG whose scan does not end (no end marker after its last scan) was cut short:
// inside a scan a marker byte is always escaped, so the end marker is the file's own.
bool isCutShortJpeg(const QByteArray& bytes)
{
    const qsizetype scan = bytes.lastIndexOf(QByteArray("\xFF\xDA", 2));
    return scan < 0 || bytes.indexOf(QByteArray("\xFF\xD9", 2), scan) < 0;
}

// The image at path, upright, as PhotoKit's default (fast) resizing gives it for
// the size needed: decoded subsampled to the smallest eighth of the file's size
// that covers it, and not resampled after, so "similar to, or slightly larger
// than" the size. shown is the file's upright size where known.
QImage decode(const QString& path, const QSize& needed, const QSize& shown)
{
    if (!needed.isValid())
        return OrvImageIO::uprightThumbnail(path, 0);
    const QSize decoded = shown.isValid() && !shown.isEmpty() ? OrvJpegDecoder::coveringEighth(shown, needed) : needed;
    return OrvImageIO::uprightThumbnail(path, std::max(decoded.width(), decoded.height()));
}

} // namespace

ImageManager::ImageManager(const std::weak_ptr<Package>& package) : myPackage(package) {}

QSize ImageManager::shownSize(const QString& path)
{
    OrvUserFile file(path, OrvUserFile::Image);
    if (!file.open())
        return QSize();
    QImageReader reader(&file);
    QSize size = reader.size();
    if (size.isValid()) {
        if (reader.transformation() & QImageIOHandler::TransformationRotate90)
            size.transpose();
        return size;
    }
    // Types Qt has no reader for (HEIC) go through the image I/O.
    const OrvImageIO::ImageIOPtr imageIO = OrvImageIO::sharedImageIO();
    OrvImageIO::SourceOptions options;
    options.shouldCache = false;
    const OrvImageIO::ImageSourcePtr source = imageIO ? imageIO->createImageSourceWithURL(path, options) : nullptr;
    const std::optional<OrvImageIO::Properties> properties = source ? source->copyPropertiesAtIndex(0, options) : std::nullopt;
    if (!properties || properties->pixelWidth <= 0 || properties->pixelHeight <= 0)
        return QSize();
    size = QSize(properties->pixelWidth, properties->pixelHeight);
    if (properties->orientation >= 5)
        size.transpose();
    return size;
}

QVariantMap ImageManager::failure(int requestId, const QString& reason, const QString& path, bool inCloud)
{
    {
        QMutexLocker locker(&myMutex);
        const QString cause = reason + QLatin1Char(' ') + path;
        if (myTold.size() < mostCausesTold && !myTold.contains(cause)) {
            myTold.insert(cause);
            qDebug() << "Photos library:" << reason << path;
        }
    }
    QVariantMap info{{ImageResultRequestIDKey, requestId}, {ImageErrorKey, reason}};
    if (inCloud)
        info.insert(ImageResultIsInCloudKey, true);
    return info;
}

ImageManager::Image ImageManager::image(const AssetPtr& requested, const QSizeF& target, ImageContentMode mode, int requestId)
{
    const std::shared_ptr<Package> package = myPackage.lock();
    const std::shared_ptr<const Asset> asset = package && requested ? package->currentAsset(requested->localIdentifier()) : nullptr;
    const std::optional<Files> files = asset ? package->filesOf(*asset) : std::nullopt;
    const QString id = requested ? requested->localIdentifier() : QString();
    if (!files)
        return {QImage(), failure(requestId, QStringLiteral("no such asset in the library"), id)};
    const QVariantMap done{{ImageResultRequestIDKey, requestId}, {ImageResultIsDegradedKey, false}};

    const bool sized = target.width() > 0 && target.height() > 0;
    QSize needed;
    if (sized) {
        const QSize shown(asset->pixelWidth(), asset->pixelHeight());
        needed = shown.isEmpty() ? QSize(int(std::ceil(target.width())), int(std::ceil(target.height())))
                                 : OrvPhotoKitModel::renderedSize(shown, target, mode);
        // The smallest rendition that covers the size (a pixel short is rounding).
        for (const QString& path : files->renditions) {
            const QSize size = shownSize(path);
            if (!size.isValid()) {
                failure(requestId, QStringLiteral("rendition cannot be read"), path);
                continue;
            }
            if (size.width() + 1 < needed.width() || size.height() + 1 < needed.height())
                continue;
            const QImage image = decode(path, needed, size);
            if (!image.isNull())
                return {image, done};
            failure(requestId, QStringLiteral("rendition cannot be decoded"), path);
        }
    }
    const QString current = files->current();
    if (current.isEmpty()) {
        if (files->isEdited)
            return {QImage(), failure(requestId, QStringLiteral("the edited version is missing"), id)};
        if (files->originalInCloud)
            return {QImage(), failure(requestId, QStringLiteral("the original is only in iCloud"), id, true)};
        return {QImage(), failure(requestId, QStringLiteral("the original is missing"), id)};
    }
    const QImage image = decode(current, needed, sized ? shownSize(current) : QSize());
    if (image.isNull())
        return {QImage(), failure(requestId, QStringLiteral("cannot be decoded"), current)};
    return {image, done};
}

ImageManager::Data ImageManager::data(const AssetPtr& requested, int requestId)
{
    const std::shared_ptr<Package> package = myPackage.lock();
    const std::shared_ptr<const Asset> asset = package && requested ? package->currentAsset(requested->localIdentifier()) : nullptr;
    const std::optional<Files> files = asset ? package->filesOf(*asset) : std::nullopt;
    const QString id = requested ? requested->localIdentifier() : QString();
    if (!files)
        return {{}, {}, 1, failure(requestId, QStringLiteral("no such asset in the library"), id)};
    if (asset->mediaType() != Asset::Image)
        return {{}, {}, 1, failure(requestId, QStringLiteral("a video has no image data"), id)};
    const QString path = files->current();
    if (path.isEmpty()) {
        if (files->isEdited)
            return {{}, {}, 1, failure(requestId, QStringLiteral("the edited version is missing"), id)};
        if (files->originalInCloud)
            return {{}, {}, 1, failure(requestId, QStringLiteral("the original is only in iCloud"), id, true)};
        return {{}, {}, 1, failure(requestId, QStringLiteral("the original is missing"), id)};
    }
    OrvUserFile::Status status = OrvUserFile::NotOpened;
    const QByteArray bytes = OrvUserFile::readAll(path, OrvUserFile::Image, &status);
    if (status != OrvUserFile::Ok || bytes.isEmpty())
        return {{}, {}, 1, failure(requestId, OrvUserFile::describe(status, OrvUserFile::Image), path)};
    // The type and orientation are read from the bytes: what is no image is no photo.
    const OrvImageIO::ImageIOPtr imageIO = OrvImageIO::sharedImageIO();
    OrvImageIO::SourceOptions options;
    options.shouldCache = false;
    const OrvImageIO::ImageSourcePtr source = imageIO ? imageIO->createImageSourceWithData(bytes, options) : nullptr;
    const std::optional<OrvImageIO::Properties> properties = source ? source->copyPropertiesAtIndex(0, options) : std::nullopt;
    if (!properties)
        return {{}, {}, 1, failure(requestId, QStringLiteral("no image data"), path)};
    if (qint64(properties->pixelWidth) * properties->pixelHeight > OrvMediaLoader::maxPixels)
        return {{}, {}, 1, failure(requestId, QStringLiteral("declares more pixels than any photo has"), path)};
    if (source->type() == QLatin1String("public.jpeg") && isCutShortJpeg(bytes))
        return {{}, {}, 1, failure(requestId, QStringLiteral("the file is cut short"), path)};
    return {bytes, source->type(), properties->orientation,
            QVariantMap{{ImageResultRequestIDKey, requestId}, {ImageResultIsDegradedKey, false}}};
}

int ImageManager::requestImageForAsset(const AssetPtr& asset, const QSizeF& targetSize, ImageContentMode contentMode,
                                       const ImageRequestOptions& options, const ImageHandler& resultHandler)
{
    const int requestId = myNextRequestId++;
    if (!resultHandler)
        return requestId;
    if (options.synchronous) {
        const Image result = image(asset, targetSize, contentMode, requestId);
        resultHandler(result.image, result.info);
        return requestId;
    }
    const std::weak_ptr<Package> package = myPackage;
    onWorker([this, package, asset, targetSize, contentMode, requestId, resultHandler]() -> std::function<void()> {
        // The manager lives as long as its library.
        const std::shared_ptr<Package> alive = package.lock();
        const Image result = alive ? image(asset, targetSize, contentMode, requestId) : Image{};
        return [result, resultHandler] { resultHandler(result.image, result.info); };
    });
    return requestId;
}

int ImageManager::requestImageDataAndOrientationForAsset(const AssetPtr& asset, const ImageRequestOptions& options,
                                                         const DataHandler& resultHandler)
{
    const int requestId = myNextRequestId++;
    if (!resultHandler)
        return requestId;
    if (options.synchronous) {
        const Data result = data(asset, requestId);
        resultHandler(result.data, result.type, result.orientation, result.info);
        return requestId;
    }
    const std::weak_ptr<Package> package = myPackage;
    onWorker([this, package, asset, requestId, resultHandler]() -> std::function<void()> {
        const std::shared_ptr<Package> alive = package.lock();
        const Data result = alive ? data(asset, requestId) : Data{};
        return [result, resultHandler] { resultHandler(result.data, result.type, result.orientation, result.info); };
    });
    return requestId;
}

} // namespace OrvPhotosLibrary
