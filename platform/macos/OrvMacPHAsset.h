#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

// PHAsset as OrvPhotoKit::Asset.
class OrvMacPHAsset : public OrvPhotoKit::Asset
{
public:
    explicit OrvMacPHAsset(PHAsset* asset) : myAsset(asset) {}

    // The PHAsset behind an asset of this backend; nil for any other.
    static PHAsset* from(const OrvPhotoKit::AssetPtr& asset);

    QString localIdentifier() const override;
    std::optional<QDateTime> creationDate() const override;
    // Key-value coding; an invalid value for a key the asset does not know.
    QVariant valueForKey(const QString& key) const override;
    std::optional<OrvPhotoKit::Location> location() const override;
    int pixelWidth() const override;
    int pixelHeight() const override;
    bool isFavorite() const override;

private:
    PHAsset* myAsset;
};
