#pragma once

// A PHAssetResource of the simulated library: a name, a type and the file
// behind it.

#include "OrvPhotoKitSimLibrary.h"

namespace OrvPhotoKitSim {

class SimResource : public OrvPhotoKit::AssetResource
{
public:
    explicit SimResource(const ResourceSpec& spec) : mySpec(spec) {}
    QString originalFilename() const override { return mySpec.originalFilename; }
    OrvPhotoKit::AssetResourceType type() const override { return mySpec.type; }
    const ResourceSpec& spec() const { return mySpec; }

private:
    ResourceSpec mySpec;
};

} // namespace OrvPhotoKitSim
