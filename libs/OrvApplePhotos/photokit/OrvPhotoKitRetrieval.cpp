#include "OrvPhotoKitRetrieval.h"

#include "OrvColorProfileConverter.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvImageIO.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"
#include "OrvPhotoKitDatabase.h"
#include "OrvPhotoKitLoader.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDebug>
#include <QFileInfo>
#include <QMutex>
#include <QSemaphore>
#include <QThread>

using namespace OrvPhotoKit;

namespace {

const QString jpegUti = QStringLiteral("public.jpeg");

// The result slot of one request and the semaphore its handler signals.
template <typename T>
class Pending
{
public:
    void deliver(const T& value)
    {
        {
            QMutexLocker locker(&myMutex);
            myValue = value;
        }
        mySignal.release();
    }
    void signal() { mySignal.release(); }
    // On the main thread: poll, running the event loop once between tries; elsewhere
    // the synchronous request has delivered already.
    T wait()
    {
        const QCoreApplication* application = QCoreApplication::instance();
        if (application && QThread::currentThread() == application->thread()) {
            while (!mySignal.tryAcquire())
                QCoreApplication::processEvents();
        }
        QMutexLocker locker(&myMutex);
        return myValue;
    }

private:
    QMutex myMutex;
    T myValue{};
    QSemaphore mySignal;
};

OrvImageIO::SourceOptions sourceOptions(const QString& typeHint)
{
    OrvImageIO::SourceOptions options;
    options.shouldCache = false;
    options.createThumbnailWithTransform = true;
    options.createThumbnailFromImageAlways = true;
    options.typeIdentifierHint = typeHint;
    return options;
}

// Debug lines carry the selector as the function name, as the platform logs it.
void logNotFound(const char* function, const QString& localIdentifier)
{
    QMessageLogger(QT_MESSAGELOG_FILE, QT_MESSAGELOG_LINE, function, "default").debug()
        << "Error: Asset with localIdentifier" << localIdentifier << "not found";
}

} // namespace

OrvPhotoKitRetrieval::OrvPhotoKitRetrieval(DatabaseGetter database) : myDatabase(std::move(database)) {}

AssetPtr OrvPhotoKitRetrieval::lookUp(const QString& localIdentifier)
{
    const PhotoLibraryPtr library = sharedPhotoLibrary();
    const FetchResultPtr assets = library ? library->fetchAssetsWithLocalIdentifiers({localIdentifier}, nullptr) : nullptr;
    return assets && assets->count() > 0 ? asAsset(assets->firstObject()) : nullptr;
}

namespace {

ImageManagerPtr defaultManager()
{
    const PhotoLibraryPtr library = sharedPhotoLibrary();
    return library ? library->defaultManager() : nullptr;
}

} // namespace

ImageRequestOptions OrvPhotoKitRetrieval::requestOptions(ImageRequestDeliveryMode mode)
{
    ImageRequestOptions options;
    options.synchronous = true;
    options.networkAccessAllowed = true;
    options.deliveryMode = mode;
    return options;
}

QImage OrvPhotoKitRetrieval::requestImage(const OrvExternalId& id, const QSize& targetSize, bool immediately)
{
    const bool sized = targetSize.isValid();
    if (!sized) {
        const QImage full = requestFullImage(id);
        if (!full.isNull())
            return full;
    }
    const QString localIdentifier = OrvPhotoKitLoader::localIdentifierForExternalId(id);
    const AssetPtr asset = lookUp(localIdentifier);
    if (!asset) {
        logNotFound("-[OrvPhotoKitLoader requestImage:targetSize:immediately:]", localIdentifier);
        return {};
    }
    // Deliberately so: high quality when asked for at once, opportunistic otherwise.
    const ImageRequestOptions options =
        requestOptions(immediately ? ImageRequestDeliveryMode::HighQualityFormat : ImageRequestDeliveryMode::Opportunistic);
    const QSizeF target = sized ? QSizeF(targetSize) : ImageManagerMaximumSize;
    const ImageManagerPtr manager = defaultManager();
    if (!manager)
        return {};
    const auto pending = std::make_shared<Pending<QImage>>();
    const DatabaseGetter database = myDatabase;
    manager->requestImageForAsset(asset, target, ImageContentMode::AspectFill, options,
                                  [pending, asset, sized, database](const QImage& image, const QVariantMap&) {
                                      // A request that delivers nothing ends the wait as well: a
                                      // photo that is missing must not hold the main thread for good.
                                      if (image.isNull()) {
                                          pending->signal();
                                          return;
                                      }
                                      OrvPhotoKitDatabase* owner = database();
                                      // Full-size results are not cached here.
                                      if (sized && owner) {
                                          const OrvFoto foto(OrvFotoKeyExternalService(owner, OrvPhotoKitLoader::createIdForObject(asset)));
                                          OrvSingleton<OrvFotoCacheManager>::instance()->insertDrawable(foto, OrvDrawable(image));
                                      }
                                      pending->deliver(image);
                                  });
    return pending->wait();
}

QImage OrvPhotoKitRetrieval::requestFullImage(const OrvExternalId& id)
{
    const AssetPtr asset = lookUp(OrvPhotoKitLoader::localIdentifierForExternalId(id));
    const ImageManagerPtr manager = asset ? defaultManager() : nullptr;
    if (!manager)
        return {};
    const auto pending = std::make_shared<Pending<QImage>>();
    manager->requestImageDataAndOrientationForAsset(
        asset, requestOptions(ImageRequestDeliveryMode::HighQualityFormat),
        // The orientation goes unused: decoding applies the one in the bytes.
        [this, pending, asset](const QByteArray& data, const QString& dataUti, int, const QVariantMap&) {
            pending->deliver(readImageAndInsertMetaData(asset, data, dataUti));
        });
    return pending->wait();
}

QImage OrvPhotoKitRetrieval::readImageAndInsertMetaData(const AssetPtr& asset, const QByteArray& data, const QString& dataUti)
{
    OrvPhotoKitDatabase* database = myDatabase();
    const OrvImageIO::ImageIOPtr imageIO = OrvImageIO::sharedImageIO();
    if (!database || !asset || data.isEmpty() || dataUti.isEmpty() || !imageIO)
        return {};
    const OrvImageIO::SourceOptions options = sourceOptions(dataUti);
    const OrvImageIO::ImageSourcePtr source = imageIO->createImageSourceWithData(data, options);
    if (!source)
        return {};
    const std::optional<OrvImageIO::Properties> properties = source->copyPropertiesAtIndex(0, options);
    QByteArray bytes = data;
    // JPEG is used as delivered; anything else is recoded first, its properties carried along.
    if (dataUti != jpegUti) {
        QByteArray recoded;
        if (const OrvImageIO::ImageDestinationPtr destination = imageIO->createImageDestinationWithData(&recoded, jpegUti, 1)) {
            destination->addImageFromSource(source, 0, properties);
            destination->finalize();
        }
        bytes = recoded;
    }
    // The file info names the type, not a file: only the bytes are read.
    const OrvNativeMetaDataExiv2 native(QFileInfo(dataUti), bytes);
    const OrvFotoMetaData metaData = native.metaData();
    const OrvFoto foto(OrvFotoKeyExternalService(database, OrvPhotoKitLoader::createIdForObject(asset)));
    if (metaData.isValid()) {
        OrvSingleton<OrvFotoCacheManager>::instance()->insertMetaData(foto, metaData);
        OrvSingleton<OrvFotoChangeDispatcher>::instance()->dispatchMetadataAvailable(foto);
    }
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    OrvMetaData colorInfo = metaData.colorInfo();
    const QImage image = OrvSingleton<OrvMediaLoader>::instance()->load(&buffer, QSize(), &colorInfo, OrvMediaLoader::ShowOriented);
    return OrvSingleton<OrvColorProfileConverter>::instance()->convert(image, colorInfo);
}

QByteArray OrvPhotoKitRetrieval::file(const OrvExternalId& id, const QString& destinationUti)
{
    const AssetPtr asset = lookUp(OrvPhotoKitLoader::localIdentifierForExternalId(id));
    const ImageManagerPtr manager = asset ? defaultManager() : nullptr;
    if (!manager)
        return {};
    const auto pending = std::make_shared<Pending<QByteArray>>();
    manager->requestImageDataAndOrientationForAsset(
        asset, requestOptions(ImageRequestDeliveryMode::HighQualityFormat),
        [pending, destinationUti](const QByteArray& data, const QString& dataUti, int, const QVariantMap&) {
            if (dataUti == destinationUti || (destinationUti.isEmpty() && !dataUti.isEmpty()))
                pending->deliver(data);
            else if (!data.isEmpty() && !dataUti.isEmpty())
                pending->deliver(convert(data, dataUti, destinationUti));
            else
                pending->signal();
        });
    return pending->wait();
}

QByteArray OrvPhotoKitRetrieval::convert(const QByteArray& data, const QString& sourceUti, const QString& destinationUti)
{
    const OrvImageIO::ImageIOPtr imageIO = OrvImageIO::sharedImageIO();
    const OrvImageIO::SourceOptions options = sourceOptions(sourceUti);
    const OrvImageIO::ImageSourcePtr source = imageIO ? imageIO->createImageSourceWithData(data, options) : nullptr;
    if (!source)
        return {};
    const std::optional<OrvImageIO::Properties> properties = source->copyPropertiesAtIndex(0, options);
    QByteArray converted;
    const OrvImageIO::ImageDestinationPtr destination = imageIO->createImageDestinationWithData(&converted, destinationUti, 1);
    if (destination)
        destination->addImageFromSource(source, 0, properties);
    if (!destination || !destination->finalize()) {
        qDebug() << "Failed to write image";
        return {};
    }
    return converted;
}

OrvFotoMetaData OrvPhotoKitRetrieval::metaData(const OrvExternalId& id)
{
    const QString localIdentifier = OrvPhotoKitLoader::localIdentifierForExternalId(id);
    const AssetPtr asset = lookUp(localIdentifier);
    if (!asset) {
        logNotFound("-[OrvPhotoKitLoader metaData:]", localIdentifier);
        return {};
    }
    OrvNativeMetaDataGeneric native;
    if (const std::optional<QDateTime> created = asset->creationDate())
        native.setPictureTaken(OrvPhotoKitLoader::inZoneTakenIn(asset, *created));
    native.setPreferredSize(QSize(asset->pixelWidth(), asset->pixelHeight()));
    if (const std::optional<Location> location = asset->location())
        native.setGeoPosition(OrvGeoPosition(location->coordinate.latitude, location->coordinate.longitude));
    return OrvFotoMetaData(native);
}
