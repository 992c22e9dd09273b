#include "OrvPhotoKitModelChange.h"

#include "OrvPhotoKitModelChangeDetails.h"
#include "OrvPhotoKitModelFetchEvaluation.h"
#include "OrvPhotoKitModelFetchResult.h"
#include "OrvPhotoKitModelState.h"

#include <QHash>
#include <QSet>

#include <algorithm>

using namespace OrvPhotoKit;

namespace OrvPhotoKitModel {

ModelChange::ModelChange(std::shared_ptr<const State> after, bool incremental, std::optional<QSet<QString>> touchedAssets)
    : myAfter(std::move(after)), myIncremental(incremental), myTouched(std::move(touchedAssets))
{
}

FetchResultChangeDetailsPtr ModelChange::changeDetailsForFetchResult(const FetchResultPtr& fetchResult) const
{
    const auto* result = dynamic_cast<const ModelFetchResult*>(fetchResult.get());
    if (!result)
        return {};
    {
        std::lock_guard<std::mutex> lock(myMutex);
        const auto it = myDetails.find(result);
        if (it != myDetails.end())
            return it->second;
    }
    FetchResultChangeDetailsPtr details = diff(fetchResult, *result);
    std::lock_guard<std::mutex> lock(myMutex);
    myKeepAlive.push_back(fetchResult);
    return myDetails.emplace(result, details).first->second;
}

std::vector<ObjectPtr> ModelChange::placeTouched(const ModelFetchResult& result) const
{
    const Selection& selection = *result.selection();
    std::vector<ObjectPtr> after;
    after.reserve(result.objects().size() + size_t(myTouched->size()));
    for (const ObjectPtr& object : result.objects()) {
        if (!myTouched->contains(object->localIdentifier()))
            after.push_back(object);
    }
    // In the selection's order, ties in library order: what a stable sort of the library gives.
    const auto precedes = [&](const ObjectPtr& a, const ObjectPtr& b) {
        for (const SortDescriptor& descriptor : selection.order) {
            const int c = compareValues(valueOf(a, descriptor.key), valueOf(b, descriptor.key));
            if (c != 0)
                return descriptor.ascending ? c < 0 : c > 0;
        }
        return myAfter->assetIndex.value(a->localIdentifier()) < myAfter->assetIndex.value(b->localIdentifier());
    };
    for (const QString& id : *myTouched) {
        ObjectPtr asset = myAfter->asset(id);
        if (asset && selection.accepts(asset))
            after.insert(std::upper_bound(after.begin(), after.end(), asset, precedes), std::move(asset));
    }
    return after;
}

FetchResultChangeDetailsPtr ModelChange::diff(const FetchResultPtr& fetchResult, const ModelFetchResult& result) const
{
    const std::vector<ObjectPtr>& beforeObjects = result.objects();
    // A selection of the version just before: only the touched assets can differ.
    if (myTouched && result.selection() && result.version() + 1 == myAfter->version) {
        std::vector<ObjectPtr> afterObjects = placeTouched(result);
        QHash<QString, ObjectPtr> before;
        for (const ObjectPtr& object : beforeObjects) {
            if (myTouched->contains(object->localIdentifier()))
                before.insert(object->localIdentifier(), object);
        }
        std::vector<ObjectPtr> inserted;
        std::vector<ObjectPtr> changed;
        for (const ObjectPtr& object : afterObjects) {
            if (!myTouched->contains(object->localIdentifier()))
                continue;
            const ObjectPtr old = before.take(object->localIdentifier());
            if (!old)
                inserted.push_back(object);
            else if (old != object)
                changed.push_back(object);
        }
        std::vector<ObjectPtr> removed;
        for (const ObjectPtr& object : beforeObjects) {
            if (before.contains(object->localIdentifier()))
                removed.push_back(object);
        }
        if (removed.empty() && inserted.empty() && changed.empty() && afterObjects == beforeObjects)
            return {};
        return details(fetchResult, result, std::move(afterObjects), std::move(removed), std::move(inserted), std::move(changed));
    }

    std::vector<ObjectPtr> afterObjects = result.query()(*myAfter);
    // Most objects are the very same objects before and after: they are told apart
    // by address, and only those that differ are compared by identifier.
    if (afterObjects == beforeObjects)
        return {};
    QSet<const Object*> beforeSet;
    beforeSet.reserve(qsizetype(beforeObjects.size()));
    for (const ObjectPtr& object : beforeObjects)
        beforeSet.insert(object.get());
    QSet<const Object*> afterSet;
    afterSet.reserve(qsizetype(afterObjects.size()));
    for (const ObjectPtr& object : afterObjects)
        afterSet.insert(object.get());
    // Objects no longer there are removed, or changed when one with their identifier came.
    QHash<QString, const Object*> gone;
    for (const ObjectPtr& object : beforeObjects) {
        if (!afterSet.contains(object.get()))
            gone.insert(object->localIdentifier(), object.get());
    }
    std::vector<ObjectPtr> inserted;
    std::vector<ObjectPtr> changed;
    for (const ObjectPtr& object : afterObjects) {
        if (beforeSet.contains(object.get()))
            continue;
        if (gone.remove(object->localIdentifier()))
            changed.push_back(object);
        else
            inserted.push_back(object);
    }
    std::vector<ObjectPtr> removed;
    for (const ObjectPtr& object : beforeObjects) {
        if (!afterSet.contains(object.get()) && gone.contains(object->localIdentifier()))
            removed.push_back(object);
    }
    return details(fetchResult, result, std::move(afterObjects), std::move(removed), std::move(inserted), std::move(changed));
}

FetchResultChangeDetailsPtr ModelChange::details(const FetchResultPtr& fetchResult, const ModelFetchResult& result,
                                                 std::vector<ObjectPtr> afterObjects, std::vector<ObjectPtr> removed,
                                                 std::vector<ObjectPtr> inserted, std::vector<ObjectPtr> changed) const
{
    auto details = std::make_shared<ModelChangeDetails>();
    details->before = fetchResult;
    details->after = std::make_shared<ModelFetchResult>(result.query(), std::move(afterObjects), myAfter->version, result.selection());
    details->incremental = myIncremental;
    if (!myIncremental) {
        removed.clear();
        inserted.clear();
        changed.clear();
    }
    details->removed = std::make_shared<ObjectArray>(std::move(removed));
    details->inserted = std::make_shared<ObjectArray>(std::move(inserted));
    details->changed = std::make_shared<ObjectArray>(std::move(changed));
    return details;
}

} // namespace OrvPhotoKitModel
