#pragma once

// A PHFetchResult of a library model: the objects a query found, and the query
// itself, so that a change can evaluate it again.

#include "OrvPhotoKit.h"

#include <functional>
#include <vector>

namespace OrvPhotoKitModel {

struct State;

class ModelFetchResult : public OrvPhotoKit::FetchResult
{
public:
    using Query = std::function<std::vector<OrvPhotoKit::ObjectPtr>(const State&)>;
    ModelFetchResult(Query query, std::vector<OrvPhotoKit::ObjectPtr> objects)
        : myQuery(std::move(query)), myObjects(std::move(objects))
    {
    }
    qsizetype count() const override { return qsizetype(myObjects.size()); }
    OrvPhotoKit::ObjectPtr objectAtIndex(qsizetype index) const override
    {
        return index >= 0 && index < count() ? myObjects[size_t(index)] : OrvPhotoKit::ObjectPtr();
    }
    const Query& query() const { return myQuery; }
    const std::vector<OrvPhotoKit::ObjectPtr>& objects() const { return myObjects; }

private:
    Query myQuery;
    std::vector<OrvPhotoKit::ObjectPtr> myObjects;
};

} // namespace OrvPhotoKitModel
