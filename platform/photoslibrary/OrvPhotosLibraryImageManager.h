#pragma once

// PHImageManager of a library package. A request of a size is answered from
// the smallest rendition Photos keeps that covers it (upright, showing the
// edit), else from the current version: the edit of an edited photo, else the
// original with its orientation applied. The full image and the data are the
// current version as it is stored (HEIC stays HEIC). An original Photos keeps
// only in iCloud is reported as PhotoKit reports one it cannot download (in
// the cloud, no result); a missing or damaged file is an error, never an image
// made up. Every decode goes through the image I/O and its pixel bound.
// Synchronous requests are answered on the caller's thread; asynchronous ones
// on a worker, delivered on the main thread.

#include "OrvPhotoKit.h"

#include <QMutex>
#include <QSet>

#include <atomic>
#include <memory>

namespace OrvPhotosLibrary {

class Package;

class ImageManager : public OrvPhotoKit::ImageManager
{
public:
    explicit ImageManager(const std::weak_ptr<Package>& package);

    int requestImageForAsset(const OrvPhotoKit::AssetPtr& asset, const QSizeF& targetSize,
                             OrvPhotoKit::ImageContentMode contentMode, const OrvPhotoKit::ImageRequestOptions& options,
                             const ImageHandler& resultHandler) override;
    int requestImageDataAndOrientationForAsset(const OrvPhotoKit::AssetPtr& asset,
                                               const OrvPhotoKit::ImageRequestOptions& options,
                                               const DataHandler& resultHandler) override;

    // The size of the image in a file as shown (its orientation applied); invalid
    // when the file is no image that can be read.
    static QSize shownSize(const QString& path);

private:
    struct Image
    {
        QImage image;
        QVariantMap info;
    };
    struct Data
    {
        QByteArray data;
        QString type;
        int orientation = 1;
        QVariantMap info;
    };
    Image image(const OrvPhotoKit::AssetPtr& asset, const QSizeF& target, OrvPhotoKit::ImageContentMode mode, int requestId);
    Data data(const OrvPhotoKit::AssetPtr& asset, int requestId);
    // An error result, and one debug line for its cause.
    QVariantMap failure(int requestId, const QString& reason, const QString& path, bool inCloud = false);

    std::weak_ptr<Package> myPackage;
    std::atomic<int> myNextRequestId{1};
    QMutex myMutex;
    QSet<QString> myTold;
};

} // namespace OrvPhotosLibrary
