#pragma once

// Change computation of a library model: a published change (PHChange) answers
// for any fetch result by evaluating its query again on the library as the
// change left it and diffing by local identifier; an object with the same
// identifier that is no longer the same object has changed. When the publisher
// says which assets it touched, a result of the version just before whose query
// is a selection of assets is brought up to date by placing just those.

#include "OrvPhotoKit.h"

#include <QSet>
#include <QString>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace OrvPhotoKitModel {

struct State;
class ModelFetchResult;

class ModelChange : public OrvPhotoKit::Change
{
public:
    // touchedAssets: the local identifiers of the assets added, changed or removed since
    // the version before after, when the publisher knows them.
    ModelChange(std::shared_ptr<const State> after, bool incremental, std::optional<QSet<QString>> touchedAssets = std::nullopt);

    OrvPhotoKit::FetchResultChangeDetailsPtr
    changeDetailsForFetchResult(const OrvPhotoKit::FetchResultPtr& fetchResult) const override;

private:
    OrvPhotoKit::FetchResultChangeDetailsPtr diff(const OrvPhotoKit::FetchResultPtr& fetchResult,
                                                  const ModelFetchResult& result) const;
    // The selection's objects after the change, from those before and the touched assets.
    std::vector<OrvPhotoKit::ObjectPtr> placeTouched(const ModelFetchResult& result) const;
    OrvPhotoKit::FetchResultChangeDetailsPtr details(const OrvPhotoKit::FetchResultPtr& fetchResult, const ModelFetchResult& result,
                                                     std::vector<OrvPhotoKit::ObjectPtr> afterObjects,
                                                     std::vector<OrvPhotoKit::ObjectPtr> removed,
                                                     std::vector<OrvPhotoKit::ObjectPtr> inserted,
                                                     std::vector<OrvPhotoKit::ObjectPtr> changed) const;

    std::shared_ptr<const State> myAfter;
    bool myIncremental;
    std::optional<QSet<QString>> myTouched;
    mutable std::mutex myMutex;
    mutable std::map<const ModelFetchResult*, OrvPhotoKit::FetchResultChangeDetailsPtr> myDetails;
    mutable std::vector<OrvPhotoKit::FetchResultPtr> myKeepAlive;  // keeps the keys of myDetails from being reused
};

} // namespace OrvPhotoKitModel
