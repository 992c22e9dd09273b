#pragma once

// A PHAsset of the simulated library: an immutable snapshot of an AssetSpec; an
// edit makes a new object with the same local identifier.

#include "OrvPhotoKitModelAsset.h"
#include "OrvPhotoKitSimLibrary.h"

namespace OrvPhotoKitSim {

class SimAsset : public OrvPhotoKitModel::ModelAsset
{
public:
    explicit SimAsset(const AssetSpec& spec) : mySpec(spec) {}
    QString localIdentifier() const override { return mySpec.localIdentifier; }
    std::optional<QDateTime> creationDate() const override { return mySpec.creationDate; }
    QVariant valueForKey(const QString& key) const override
    {
        if (key == QLatin1String("localCreationDate"))
            return mySpec.localCreationDate ? QVariant(*mySpec.localCreationDate) : QVariant();
        if (key == QLatin1String("creationDate"))
            return mySpec.creationDate ? QVariant(*mySpec.creationDate) : QVariant();
        if (key == QLatin1String("localIdentifier"))
            return mySpec.localIdentifier;
        if (key == QLatin1String("favorite"))
            return mySpec.favorite;
        if (key == QLatin1String("pixelWidth"))
            return mySpec.pixelWidth;
        if (key == QLatin1String("pixelHeight"))
            return mySpec.pixelHeight;
        return {};
    }
    std::optional<OrvPhotoKit::Location> location() const override { return mySpec.location; }
    int pixelWidth() const override { return mySpec.pixelWidth; }
    int pixelHeight() const override { return mySpec.pixelHeight; }
    bool isFavorite() const override { return mySpec.favorite; }
    quint32 sourceType() const override { return mySpec.sourceType; }
    const AssetSpec& spec() const { return mySpec; }

private:
    AssetSpec mySpec;
};

} // namespace OrvPhotoKitSim
