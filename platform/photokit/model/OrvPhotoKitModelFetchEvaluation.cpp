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
    // Sort keys read once per object, dates and numbers kept as numbers: comparing
    // through valueForKey and QVariant would dominate large fetches.
    struct Key
    {
        enum Kind : quint8 { Other, Time, Number };
        QVariant value;
        qint64 time = 0;
        double number = 0;
        Kind kind = Other;
    };
    // The keys of all objects in one array (object by object), sorted through an
    // order of indexes: no allocation per object.
    const size_t width = size_t(descriptors.size());
    std::vector<Key> keys(objects.size() * width);
    for (size_t o = 0; o < objects.size(); ++o) {
        for (size_t i = 0; i < width; ++i) {
            Key& key = keys[o * width + i];
            const QString& name = descriptors[qsizetype(i)].key;
            const auto asset = name == QLatin1String("creationDate") ? asAsset(objects[o]) : nullptr;
            if (asset) {
                // The most common sort: no QVariant on the way.
                const std::optional<QDateTime> created = asset->creationDate();
                if (created) {
                    key.kind = Key::Time;
                    key.time = created->toMSecsSinceEpoch();
                    key.value = QVariant::fromValue(true);
                }
                continue;
            }
            key.value = valueOf(objects[o], name);
            switch (key.value.typeId()) {
            case QMetaType::QDateTime:
                key.kind = Key::Time;
                key.time = key.value.toDateTime().toMSecsSinceEpoch();
                break;
            case QMetaType::Bool:
            case QMetaType::Int:
            case QMetaType::LongLong:
            case QMetaType::Double:
                key.kind = Key::Number;
                key.number = key.value.toDouble();
                break;
            default:
                break;
            }
        }
    }
    const auto compare = [](const Key& a, const Key& b) {
        if (a.kind == b.kind && a.kind == Key::Time)
            return a.time < b.time ? -1 : (a.time > b.time ? 1 : 0);
        if (a.kind == b.kind && a.kind == Key::Number)
            return a.number < b.number ? -1 : (a.number > b.number ? 1 : 0);
        return compareValues(a.value, b.value);
    };
    std::vector<size_t> order(objects.size());
    for (size_t o = 0; o < order.size(); ++o)
        order[o] = o;
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        for (size_t i = 0; i < width; ++i) {
            const int c = compare(keys[a * width + i], keys[b * width + i]);
            if (c != 0)
                return descriptors[qsizetype(i)].ascending ? c < 0 : c > 0;
        }
        return false;
    });
    std::vector<ObjectPtr> sorted;
    sorted.reserve(objects.size());
    for (size_t o : order)
        sorted.push_back(std::move(objects[o]));
    objects = std::move(sorted);
}

std::function<bool(const ObjectPtr&)> optionFilter(const std::optional<FetchOptions>& options, quint32 defaultSourceTypes)
{
    const quint32 sourceTypes = options && options->includeAssetSourceTypes != AssetSourceTypeNone
        ? options->includeAssetSourceTypes
        : defaultSourceTypes;
    return [sourceTypes, predicate = PredicateEvaluator(options ? options->predicate : std::nullopt)](const ObjectPtr& object) {
        if (object->kind() == ObjectKind::Asset && (static_cast<const ModelAsset&>(*object).sourceType() & sourceTypes) == 0)
            return false;
        return predicate.matches(object);
    };
}

std::vector<ObjectPtr> applyOptions(std::vector<ObjectPtr> candidates, const std::optional<FetchOptions>& options,
                                    quint32 defaultSourceTypes)
{
    const std::function<bool(const ObjectPtr&)> accepts = optionFilter(options, defaultSourceTypes);
    std::vector<ObjectPtr> result;
    result.reserve(candidates.size());
    for (ObjectPtr& object : candidates) {
        if (accepts(object))
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

bool isFavoritesAlbum(const ModelAssetCollection& album)
{
    return album.collectionKind() == CollectionKind::SmartAlbum && album.smartSubtype() == AssetCollectionSubtype::SmartAlbumFavorites;
}

std::vector<ObjectPtr> assetsOfAlbum(const State& state, const ModelAssetCollection& album)
{
    std::vector<ObjectPtr> result;
    if (isFavoritesAlbum(album)) {
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
