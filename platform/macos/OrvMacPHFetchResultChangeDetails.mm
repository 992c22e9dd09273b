#include "OrvMacPHFetchResultChangeDetails.h"

#include "OrvMacPHFetchResult.h"

OrvMacPHFetchResultChangeDetails::OrvMacPHFetchResultChangeDetails(PHFetchResultChangeDetails* details,
                                                                   OrvPhotoKit::FetchResultPtr before)
    : myDetails(details),
      myBefore(std::move(before)),
      myAfter(std::make_shared<OrvMacPHFetchResult>(details.fetchResultAfterChanges))
{
}

bool OrvMacPHFetchResultChangeDetails::hasIncrementalChanges() const
{
    return myDetails.hasIncrementalChanges;
}

// Without incremental changes the arrays are nil: no objects.
std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> OrvMacPHFetchResultChangeDetails::removedObjects() const
{
    return OrvMacPHFetchResult::adapt(myDetails.removedObjects);
}

std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> OrvMacPHFetchResultChangeDetails::insertedObjects() const
{
    return OrvMacPHFetchResult::adapt(myDetails.insertedObjects);
}

std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> OrvMacPHFetchResultChangeDetails::changedObjects() const
{
    return OrvMacPHFetchResult::adapt(myDetails.changedObjects);
}
