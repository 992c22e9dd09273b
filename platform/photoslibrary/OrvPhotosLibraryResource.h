#pragma once

// A PHAssetResource of a library package: one stored file of an asset, with
// the name PhotoKit gives it.

#include "OrvPhotoKit.h"

namespace OrvPhotosLibrary {

class Resource : public OrvPhotoKit::AssetResource
{
public:
    Resource(const QString& originalFilename, OrvPhotoKit::AssetResourceType type, const QString& filePath, bool inCloud = false)
        : myName(originalFilename), myType(type), myFilePath(filePath), myInCloud(inCloud)
    {
    }
    QString originalFilename() const override { return myName; }
    OrvPhotoKit::AssetResourceType type() const override { return myType; }
    // Empty when the file is not in the package (only in iCloud, or gone).
    QString filePath() const { return myFilePath; }
    bool isInCloud() const { return myInCloud; }

private:
    QString myName;
    OrvPhotoKit::AssetResourceType myType;
    QString myFilePath;
    bool myInCloud;
};

} // namespace OrvPhotosLibrary
