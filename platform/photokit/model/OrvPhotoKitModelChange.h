#pragma once

// Change computation of a library model: a published change (PHChange) answers
// for any fetch result by evaluating its query again on the library as the
// change left it and diffing by local identifier; an object with the same
// identifier that is no longer the same object has changed.

#include "OrvPhotoKit.h"

#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace OrvPhotoKitModel {

struct State;
class ModelFetchResult;

class ModelChange : public OrvPhotoKit::Change
{
public:
    ModelChange(std::shared_ptr<const State> after, bool incremental);

    OrvPhotoKit::FetchResultChangeDetailsPtr
    changeDetailsForFetchResult(const OrvPhotoKit::FetchResultPtr& fetchResult) const override;

private:
    OrvPhotoKit::FetchResultChangeDetailsPtr diff(const OrvPhotoKit::FetchResultPtr& fetchResult,
                                                  const ModelFetchResult& result) const;

    std::shared_ptr<const State> myAfter;
    bool myIncremental;
    mutable std::mutex myMutex;
    mutable std::map<const ModelFetchResult*, OrvPhotoKit::FetchResultChangeDetailsPtr> myDetails;
    mutable std::vector<OrvPhotoKit::FetchResultPtr> myKeepAlive;  // keeps the keys of myDetails from being reused
};

} // namespace OrvPhotoKitModel
