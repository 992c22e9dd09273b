#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

// PHImageManager's default manager as OrvPhotoKit::ImageManager. Requests go
// to PhotoKit as they are: a synchronous one blocks its caller until PhotoKit
// has called the handler, on that thread; an asynchronous one calls it where
// PhotoKit does. An asset of no backend's answers at once with nothing and an
// error in the info.
class API_AVAILABLE(macos(10.15)) OrvMacPHImageManager : public OrvPhotoKit::ImageManager
{
public:
    OrvMacPHImageManager();

    int requestImageForAsset(const OrvPhotoKit::AssetPtr& asset, const QSizeF& targetSize,
                             OrvPhotoKit::ImageContentMode contentMode, const OrvPhotoKit::ImageRequestOptions& options,
                             const ImageHandler& resultHandler) override;
    // PhotoKit's own data request; macOS has it from 10.15 on (the request without
    // the orientation is not on macOS), and this backend only from there.
    int requestImageDataAndOrientationForAsset(const OrvPhotoKit::AssetPtr& asset,
                                               const OrvPhotoKit::ImageRequestOptions& options,
                                               const DataHandler& resultHandler) override;

    // The result info as the interface's keys name it.
    static QVariantMap info(NSDictionary* info);

private:
    PHImageManager* myManager;
};
