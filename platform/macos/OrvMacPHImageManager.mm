#include "OrvMacPHImageManager.h"

#include "OrvMacFoundation.h"
#include "OrvMacImageConversion.h"
#include "OrvMacPHAsset.h"

using namespace OrvPhotoKit;

namespace {

API_AVAILABLE(macos(10.15))
PHImageRequestOptions* requestOptions(const ImageRequestOptions& options)
{
    PHImageRequestOptions* result = [[PHImageRequestOptions alloc] init];
    result.synchronous = options.synchronous;
    result.networkAccessAllowed = options.networkAccessAllowed;
    result.deliveryMode = PHImageRequestOptionsDeliveryMode(int(options.deliveryMode));
    return result;
}

QVariantMap noAsset()
{
    return {{ImageErrorKey, QStringLiteral("no asset of PhotoKit")}};
}

} // namespace

OrvMacPHImageManager::OrvMacPHImageManager() : myManager([PHImageManager defaultManager]) {}

QVariantMap OrvMacPHImageManager::info(NSDictionary* info)
{
    QVariantMap result;
    if (!info)
        return result;
    if (NSNumber* degraded = [info objectForKey:PHImageResultIsDegradedKey])
        result.insert(ImageResultIsDegradedKey, bool(degraded.boolValue));
    if (NSNumber* inCloud = [info objectForKey:PHImageResultIsInCloudKey])
        result.insert(ImageResultIsInCloudKey, bool(inCloud.boolValue));
    if (NSError* error = [info objectForKey:PHImageErrorKey])
        result.insert(ImageErrorKey, OrvMacFoundation::describe(error));
    if (NSNumber* request = [info objectForKey:PHImageResultRequestIDKey])
        result.insert(ImageResultRequestIDKey, int(request.intValue));
    return result;
}

int OrvMacPHImageManager::requestImageForAsset(const AssetPtr& asset, const QSizeF& targetSize,
                                               ImageContentMode contentMode, const ImageRequestOptions& options,
                                               const ImageHandler& resultHandler)
{
    @autoreleasepool {
        PHAsset* phAsset = OrvMacPHAsset::from(asset);
        if (!phAsset) {
            resultHandler(QImage(), noAsset());
            return 0;
        }
        // A size without extent asks for the largest image, as ImageManagerMaximumSize does.
        const CGSize size = targetSize.width() < 0 || targetSize.height() < 0
            ? PHImageManagerMaximumSize
            : CGSizeMake(targetSize.width(), targetSize.height());
        const ImageHandler handler = resultHandler;
        return int([myManager requestImageForAsset:phAsset
                                        targetSize:size
                                       contentMode:PHImageContentMode(int(contentMode))
                                           options:requestOptions(options)
                                     resultHandler:^(NSImage* image, NSDictionary* info) {
                                         handler(OrvMacImageConversion::fromNSImage(image), OrvMacPHImageManager::info(info));
                                     }]);
    }
}

int OrvMacPHImageManager::requestImageDataAndOrientationForAsset(const AssetPtr& asset,
                                                                 const ImageRequestOptions& options,
                                                                 const DataHandler& resultHandler)
{
    @autoreleasepool {
        PHAsset* phAsset = OrvMacPHAsset::from(asset);
        if (!phAsset) {
            resultHandler(QByteArray(), QString(), 1, noAsset());
            return 0;
        }
        const DataHandler handler = resultHandler;
        return int([myManager requestImageDataAndOrientationForAsset:phAsset
                                                             options:requestOptions(options)
                                                       resultHandler:^(NSData* data, NSString* dataUTI,
                                                                       CGImagePropertyOrientation orientation,
                                                                       NSDictionary* info) {
                                                           // Copied: the bytes outlive the request in the caller's hands.
                                                           handler(data ? QByteArray::fromNSData(data) : QByteArray(),
                                                                   OrvMacFoundation::string(dataUTI), int(orientation),
                                                                   OrvMacPHImageManager::info(info));
                                                       }]);
    }
}
