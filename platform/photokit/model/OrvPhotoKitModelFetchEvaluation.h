#pragma once

// Fetch evaluation of a library model: which objects a fetch yields, by
// the fetch options (asset source types, predicate, sort descriptors), and the
// candidates of the fetches that look below the top of the library.

#include "OrvPhotoKit.h"

#include <QString>
#include <QVariant>

#include <functional>
#include <optional>
#include <vector>

namespace OrvPhotoKitModel {

struct State;
class ModelAssetCollection;

// The value of a key of an object as fetches read it; invalid when it has none.
QVariant valueOf(const OrvPhotoKit::ObjectPtr& object, const QString& key);
// Compares two values of one key: <0, 0, >0. A missing value sorts first (as nil does).
int compareValues(const QVariant& a, const QVariant& b);
// Stable sort by the descriptors, in their order.
void sortObjects(std::vector<OrvPhotoKit::ObjectPtr>& objects, const OrvPhotoKit::SortDescriptors& descriptors);
// Whether fetch options take an object: the asset source types, the predicate.
std::function<bool(const OrvPhotoKit::ObjectPtr&)> optionFilter(const std::optional<OrvPhotoKit::FetchOptions>& options,
                                                                quint32 defaultSourceTypes);
// Fetch options applied to candidates. Asset fetches over the whole library leave
// out shared-album assets unless asked for; other fetches take all source types.
std::vector<OrvPhotoKit::ObjectPtr> applyOptions(std::vector<OrvPhotoKit::ObjectPtr> candidates,
                                                 const std::optional<OrvPhotoKit::FetchOptions>& options,
                                                 quint32 defaultSourceTypes);

inline constexpr quint32 allSourceTypes =
    OrvPhotoKit::AssetSourceTypeUserLibrary | OrvPhotoKit::AssetSourceTypeCloudShared | OrvPhotoKit::AssetSourceTypeiTunesSynced;
inline constexpr quint32 librarySourceTypes = OrvPhotoKit::AssetSourceTypeUserLibrary | OrvPhotoKit::AssetSourceTypeiTunesSynced;

// Options kept by a fetch's query (the caller's pointer does not outlive the call).
std::optional<OrvPhotoKit::FetchOptions> copyOptions(const OrvPhotoKit::FetchOptions* options);
// An album's assets in album order; the favourites smart album holds every favourite.
std::vector<OrvPhotoKit::ObjectPtr> assetsOfAlbum(const State& state, const ModelAssetCollection& album);
bool isFavoritesAlbum(const ModelAssetCollection& album);
// User albums and folders: what lives at the top level or in folders.
bool isUserCollection(const OrvPhotoKit::ObjectPtr& object);

} // namespace OrvPhotoKitModel
