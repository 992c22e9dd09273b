#pragma once

// A PHFetchResult of a library model: the objects a query found on one version
// of the library, and the query itself, so that a change can evaluate it again.
// A query that takes the library's assets one by one (every asset, or the
// favourites, filtered and sorted) also says so, as a selection: a change that
// touched a few assets then places just those, at a cost that does not grow
// with the library.

#include "OrvPhotoKit.h"

#include <functional>
#include <optional>
#include <vector>

namespace OrvPhotoKitModel {

struct State;

// Which of the library's assets a query takes, and in which order (ties in library order).
struct Selection
{
    std::function<bool(const OrvPhotoKit::ObjectPtr&)> accepts;
    OrvPhotoKit::SortDescriptors order;
};

class ModelFetchResult : public OrvPhotoKit::FetchResult
{
public:
    using Query = std::function<std::vector<OrvPhotoKit::ObjectPtr>(const State&)>;
    ModelFetchResult(Query query, std::vector<OrvPhotoKit::ObjectPtr> objects, quint64 version = 0,
                     std::optional<Selection> selection = std::nullopt)
        : myQuery(std::move(query)), myObjects(std::move(objects)), myVersion(version), mySelection(std::move(selection))
    {
    }
    qsizetype count() const override { return qsizetype(myObjects.size()); }
    OrvPhotoKit::ObjectPtr objectAtIndex(qsizetype index) const override
    {
        return index >= 0 && index < count() ? myObjects[size_t(index)] : OrvPhotoKit::ObjectPtr();
    }
    const Query& query() const { return myQuery; }
    const std::vector<OrvPhotoKit::ObjectPtr>& objects() const { return myObjects; }
    // The version of the library the objects were found on.
    quint64 version() const { return myVersion; }
    const std::optional<Selection>& selection() const { return mySelection; }

private:
    Query myQuery;
    std::vector<OrvPhotoKit::ObjectPtr> myObjects;
    quint64 myVersion;
    std::optional<Selection> mySelection;
};

} // namespace OrvPhotoKitModel
