#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

// PHAssetResource as OrvPhotoKit::AssetResource; the interface's resource types carry PhotoKit's values.
class API_AVAILABLE(macos(10.15)) OrvMacPHAssetResource : public OrvPhotoKit::AssetResource
{
public:
    explicit OrvMacPHAssetResource(PHAssetResource* resource) : myResource(resource) {}

    QString originalFilename() const override;
    OrvPhotoKit::AssetResourceType type() const override;

private:
    PHAssetResource* myResource;
};
