#include "OrvMacPHChange.h"

#include "OrvMacPHFetchResult.h"
#include "OrvMacPHFetchResultChangeDetails.h"

OrvPhotoKit::FetchResultChangeDetailsPtr OrvMacPHChange::changeDetailsForFetchResult(
    const OrvPhotoKit::FetchResultPtr& fetchResult) const
{
    PHFetchResult* result = OrvMacPHFetchResult::from(fetchResult);
    if (!result)
        return {};
    PHFetchResultChangeDetails* details = [myChange changeDetailsForFetchResult:result];
    if (!details)
        return {};
    return std::make_shared<OrvMacPHFetchResultChangeDetails>(details, fetchResult);
}
