#include "OrvPhotoKitModelFetchEvaluation.h"

#include "OrvPhotoKitModelAssetCollection.h"
#include "OrvPhotoKitModelPredicateEvaluator.h"
#include "OrvPhotoKitModelState.h"

#include <algorithm>

using namespace OrvPhotoKit;

namespace OrvPhotoKitModel {

QVariant valueOf(const ObjectPtr& object, const QString& key)
{
    if (key == QLatin1String("localIdentifier"))
        return object->localIdentifier();
    if (const auto asset = asAsset(object))
        return asset->valueForKey(key);
    if (const auto collection = asCollection(object)) {
        if (key == QLatin1String("localizedTitle") || key == QLatin1String("title"))
            return collection->localizedTitle();
    }
    return {};
}

int compareValues(const QVariant& a, const QVariant& b)
{
    if (!a.isValid() || !b.isValid())
        return int(a.isValid()) - int(b.isValid());
    if (a.typeId() == QMetaType::QDateTime && b.typeId() == QMetaType::QDateTime) {
        const qint64 x = a.toDateTime().toMSecsSinceEpoch();
        const qint64 y = b.toDateTime().toMSecsSinceEpoch();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    if (a.typeId() == QMetaType::QString || b.typeId() == QMetaType::QString)
        return a.toString().compare(b.toString());
    const double x = a.toDouble();
    const double y = b.toDouble();
    return x < y ? -1 : (x > y ? 1 : 0);
}

void sortObjects(std::vector<ObjectPtr>& objects, const SortDescriptors& descriptors)
{
    if (descriptors.isEmpty())
        return;
    // Sort keys read once per object: comparing through valueForKey would dominate large fetches.
    struct Keyed
    {
        ObjectPtr object;
        QVariantList keys;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(objects.size());
    for (ObjectPtr& object : objects) {
        QVariantList keys;
        for (const SortDescriptor& descriptor : descriptors)
            keys.append(valueOf(object, descriptor.key));
        keyed.push_back({std::move(object), std::move(keys)});
    }
    std::stable_sort(keyed.begin(), keyed.end(), [&](const Keyed& a, const Keyed& b) {
        for (qsizetype i = 0; i < descriptors.size(); ++i) {
            const int c = compareValues(a.keys[i], b.keys[i]);
            if (c != 0)
                return descriptors[i].ascending ? c < 0 : c > 0;
        }
        return false;
    });
    for (size_t i = 0; i < keyed.size(); ++i)
        objects[i] = std::move(keyed[i].object);
}

std::vector<ObjectPtr> applyOptions(std::vector<ObjectPtr> candidates, const std::optional<FetchOptions>& options,
                                    quint32 defaultSourceTypes)
{
    const quint32 sourceTypes = options && options->includeAssetSourceTypes != AssetSourceTypeNone
        ? options->includeAssetSourceTypes
        : defaultSourceTypes;
    const PredicateEvaluator predicate(options ? options->predicate : std::nullopt);
    std::vector<ObjectPtr> result;
    result.reserve(candidates.size());
    for (ObjectPtr& object : candidates) {
        if (object->kind() == ObjectKind::Asset
            && (static_cast<const ModelAsset&>(*object).sourceType() & sourceTypes) == 0)
            continue;
        if (!predicate.matches(object))
            continue;
        result.push_back(std::move(object));
    }
    if (options)
        sortObjects(result, options->sortDescriptors);
    return result;
}

std::optional<FetchOptions> copyOptions(const FetchOptions* options)
{
    return options ? std::optional<FetchOptions>(*options) : std::nullopt;
}

std::vector<ObjectPtr> assetsOfAlbum(const State& state, const ModelAssetCollection& album)
{
    std::vector<ObjectPtr> result;
    if (album.collectionKind() == CollectionKind::SmartAlbum
        && album.smartSubtype() == AssetCollectionSubtype::SmartAlbumFavorites) {
        for (const auto& asset : state.assets) {
            if (asset->isFavorite())
                result.push_back(asset);
        }
        return result;
    }
    for (const QString& id : state.albumAssets.value(album.localIdentifier())) {
        if (auto asset = state.asset(id))
            result.push_back(std::move(asset));
    }
    return result;
}

bool isUserCollection(const ObjectPtr& object)
{
    if (object->kind() == ObjectKind::CollectionList)
        return true;
    const auto* album = dynamic_cast<const ModelAssetCollection*>(object.get());
    return album && album->collectionKind() == CollectionKind::UserAlbum;
}

} // namespace OrvPhotoKitModel
