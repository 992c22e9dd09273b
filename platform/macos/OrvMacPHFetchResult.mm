#include "OrvMacPHFetchResult.h"

#include "OrvMacPHAsset.h"
#include "OrvMacPHAssetCollection.h"
#include "OrvMacPHCollectionList.h"

PHFetchResult* OrvMacPHFetchResult::from(const OrvPhotoKit::FetchResultPtr& result)
{
    const auto mine = std::dynamic_pointer_cast<const OrvMacPHFetchResult>(result);
    return mine ? mine->myResult : nil;
}

qsizetype OrvMacPHFetchResult::count() const
{
    return myResult ? qsizetype(myResult.count) : 0;
}

OrvPhotoKit::ObjectPtr OrvMacPHFetchResult::objectAtIndex(qsizetype index) const
{
    @autoreleasepool {
        // PhotoKit raises for an index outside the result.
        if (index < 0 || index >= count())
            return {};
        return adapt([myResult objectAtIndex:NSUInteger(index)]);
    }
}

OrvPhotoKit::ObjectPtr OrvMacPHFetchResult::adapt(id object)
{
    if ([object isKindOfClass:[PHAsset class]])
        return std::make_shared<OrvMacPHAsset>(static_cast<PHAsset*>(object));
    if ([object isKindOfClass:[PHAssetCollection class]])
        return std::make_shared<OrvMacPHAssetCollection>(static_cast<PHAssetCollection*>(object));
    if ([object isKindOfClass:[PHCollectionList class]])
        return std::make_shared<OrvMacPHCollectionList>(static_cast<PHCollectionList*>(object));
    return {};
}

std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> OrvMacPHFetchResult::adapt(NSArray* objects)
{
    std::vector<OrvPhotoKit::ObjectPtr> adapted;
    adapted.reserve(objects.count);
    for (id object in objects) {
        if (OrvPhotoKit::ObjectPtr one = adapt(object))
            adapted.push_back(std::move(one));
    }
    return std::make_shared<OrvPhotoKit::ObjectArray>(std::move(adapted));
}
