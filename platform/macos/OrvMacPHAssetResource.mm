#include "OrvMacPHAssetResource.h"

#include "OrvMacFoundation.h"

QString OrvMacPHAssetResource::originalFilename() const
{
    return OrvMacFoundation::string(myResource.originalFilename);
}

OrvPhotoKit::AssetResourceType OrvMacPHAssetResource::type() const
{
    return OrvPhotoKit::AssetResourceType(int(myResource.type));
}
