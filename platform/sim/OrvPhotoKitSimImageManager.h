#pragma once

// PHImageManager of the simulated library. It renders the asset's photo
// resource as Photos shows it (the full-size render of an edited photo, else
// the original) through the installed image I/O backend, and delivers data
// requests as the resource's bytes with the type read from them.
//
// Originals kept only in the cloud are downloaded: with network access the
// result comes after the download delay, delivered on the main queue (as
// downloads finish there). A synchronous request waits for it, except on the
// main thread itself, which cannot wait for its own queue: there the request
// returns and the handler runs when the main thread next runs its event loop.
// Without network access the handler gets nothing; a failing download gives
// data requests nothing and image requests the small local preview, marked
// degraded.

#include "OrvPhotoKit.h"

#include <QMutex>

#include <atomic>
#include <memory>

namespace OrvPhotoKitSim {

class Library;
class SimAsset;
struct ResourceSpec;

// One request as the manager received it, for tests that check what was asked.
struct ImageRequestRecord
{
    enum Kind { Image, Data };
    Kind kind = Image;
    QString localIdentifier;
    QSizeF targetSize;
    OrvPhotoKit::ImageContentMode contentMode = OrvPhotoKit::ImageContentMode::AspectFit;
    OrvPhotoKit::ImageRequestOptions options;
    bool onMainThread = false;
};

class SimImageManager : public OrvPhotoKit::ImageManager
{
public:
    explicit SimImageManager(const std::weak_ptr<Library>& library);

    int requestImageForAsset(const OrvPhotoKit::AssetPtr& asset, const QSizeF& targetSize,
                             OrvPhotoKit::ImageContentMode contentMode, const OrvPhotoKit::ImageRequestOptions& options,
                             const ImageHandler& resultHandler) override;
    int requestImageDataAndOrientationForAsset(const OrvPhotoKit::AssetPtr& asset,
                                               const OrvPhotoKit::ImageRequestOptions& options,
                                               const DataHandler& resultHandler) override;

    // Downloads of cloud originals: how long they take, and whether they fail.
    void setDownloadDelay(int milliseconds) { myDownloadDelay = milliseconds; }
    void setDownloadsFail(bool fail) { myDownloadsFail = fail; }
    QList<ImageRequestRecord> requests() const;
    void clearRequests();

    // The pixel size that content mode gives an image of size for the target:
    // AspectFill the smallest that covers it, AspectFit the largest that fits;
    // never larger than the image. An invalid target is the full size.
    static QSize renderedSize(const QSize& size, const QSizeF& target, OrvPhotoKit::ImageContentMode mode);

private:
    struct Rendition;
    Rendition renditionOf(const OrvPhotoKit::AssetPtr& asset) const;
    void record(ImageRequestRecord::Kind kind, const OrvPhotoKit::AssetPtr& asset, const QSizeF& target,
                OrvPhotoKit::ImageContentMode mode, const OrvPhotoKit::ImageRequestOptions& options);
    // Runs deliver once the cloud original is here (see above); false when no download is allowed.
    bool download(const OrvPhotoKit::ImageRequestOptions& options, const std::function<void(bool failed)>& deliver);

    std::weak_ptr<Library> myLibrary;
    std::atomic<int> myDownloadDelay{200};
    std::atomic<bool> myDownloadsFail{false};
    std::atomic<int> myNextRequestId{1};
    mutable QMutex myMutex;
    QList<ImageRequestRecord> myRequests;
};

} // namespace OrvPhotoKitSim
