#pragma once

// Change computation of the simulated library: a committed change (PHChange)
// answers for any fetch result by evaluating its query again on the library as
// the change left it and diffing by local identifier.

#include "OrvPhotoKit.h"

#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace OrvPhotoKitSim {

struct State;
class SimFetchResult;

class SimChange : public OrvPhotoKit::Change
{
public:
    SimChange(std::shared_ptr<const State> after, bool incremental);

    OrvPhotoKit::FetchResultChangeDetailsPtr
    changeDetailsForFetchResult(const OrvPhotoKit::FetchResultPtr& fetchResult) const override;

private:
    OrvPhotoKit::FetchResultChangeDetailsPtr diff(const OrvPhotoKit::FetchResultPtr& fetchResult,
                                                  const SimFetchResult& result) const;

    std::shared_ptr<const State> myAfter;
    bool myIncremental;
    mutable std::mutex myMutex;
    mutable std::map<const SimFetchResult*, OrvPhotoKit::FetchResultChangeDetailsPtr> myDetails;
    mutable std::vector<OrvPhotoKit::FetchResultPtr> myKeepAlive;  // keeps the keys of myDetails from being reused
};

} // namespace OrvPhotoKitSim
