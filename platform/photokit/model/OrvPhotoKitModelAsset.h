#pragma once

// A PHAsset of a library model. Fetches filter by the asset's source type, which
// the plug-in never reads itself but PhotoKit's fetches honour.

#include "OrvPhotoKit.h"

namespace OrvPhotoKitModel {

class ModelAsset : public OrvPhotoKit::Asset
{
public:
    // Bits of OrvPhotoKit::AssetSourceType.
    virtual quint32 sourceType() const = 0;
};

} // namespace OrvPhotoKitModel
