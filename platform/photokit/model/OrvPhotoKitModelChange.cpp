#include "OrvPhotoKitModelChange.h"

#include "OrvPhotoKitModelChangeDetails.h"
#include "OrvPhotoKitModelFetchResult.h"
#include "OrvPhotoKitModelState.h"

#include <QHash>
#include <QSet>

using namespace OrvPhotoKit;

namespace OrvPhotoKitModel {

ModelChange::ModelChange(std::shared_ptr<const State> after, bool incremental)
    : myAfter(std::move(after)), myIncremental(incremental)
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

FetchResultChangeDetailsPtr ModelChange::diff(const FetchResultPtr& fetchResult, const ModelFetchResult& result) const
{
    std::vector<ObjectPtr> afterObjects = result.query()(*myAfter);
    const std::vector<ObjectPtr>& beforeObjects = result.objects();
    QHash<QString, const Object*> beforeIds;
    beforeIds.reserve(qsizetype(beforeObjects.size()));
    for (const ObjectPtr& object : beforeObjects)
        beforeIds.insert(object->localIdentifier(), object.get());
    QSet<QString> afterIds;
    afterIds.reserve(qsizetype(afterObjects.size()));
    std::vector<ObjectPtr> inserted;
    std::vector<ObjectPtr> changed;
    bool sameOrder = beforeObjects.size() == afterObjects.size();
    for (size_t i = 0; i < afterObjects.size(); ++i) {
        const ObjectPtr& object = afterObjects[i];
        const QString id = object->localIdentifier();
        afterIds.insert(id);
        const auto it = beforeIds.constFind(id);
        if (it == beforeIds.cend())
            inserted.push_back(object);
        else if (*it != object.get())
            changed.push_back(object);
        if (sameOrder && beforeObjects[i]->localIdentifier() != id)
            sameOrder = false;
    }
    std::vector<ObjectPtr> removed;
    for (const ObjectPtr& object : beforeObjects) {
        if (!afterIds.contains(object->localIdentifier()))
            removed.push_back(object);
    }
    if (removed.empty() && inserted.empty() && changed.empty() && sameOrder)
        return {};
    auto details = std::make_shared<ModelChangeDetails>();
    details->before = fetchResult;
    details->after = std::make_shared<ModelFetchResult>(result.query(), std::move(afterObjects));
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
