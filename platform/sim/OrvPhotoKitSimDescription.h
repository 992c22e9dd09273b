#pragma once

// A simulated Photos library as its description file gives it (README.md),
// read once. Each simulated framework builds its own model from it, so that
// PhotoKit and MediaLibrary show the same library.

#include "OrvPhotoKitSimLibrary.h"

#include <optional>

namespace OrvPhotoKitSim {

struct Description
{
    OrvPhotoKit::AuthorizationStatus status = OrvPhotoKit::AuthorizationStatus::Authorized;
    OrvPhotoKit::AuthorizationStatus answer = OrvPhotoKit::AuthorizationStatus::Authorized;
    // In document order: a folder comes before what it holds.
    QList<CollectionSpec> collections;
    QList<AssetSpec> assets;
    // Per asset, the album ids it names besides the albums' own lists.
    QList<QStringList> assetAlbums;

    // Nothing, and a message in error, when the file cannot be read or is malformed.
    static std::optional<Description> read(const QString& path, QString* error = nullptr);
};

} // namespace OrvPhotoKitSim
