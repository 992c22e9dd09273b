#pragma once

// The PHFetchResultChangeDetails of a library model: what ModelChange found
// for one fetch result.

#include "OrvPhotoKit.h"

#include <memory>

namespace OrvPhotoKitModel {

class ModelChangeDetails : public OrvPhotoKit::FetchResultChangeDetails
{
public:
    OrvPhotoKit::FetchResultPtr before;
    OrvPhotoKit::FetchResultPtr after;
    bool incremental = true;
    std::shared_ptr<const OrvPhotoKit::ObjectArray> removed;
    std::shared_ptr<const OrvPhotoKit::ObjectArray> inserted;
    std::shared_ptr<const OrvPhotoKit::ObjectArray> changed;

    OrvPhotoKit::FetchResultPtr fetchResultBeforeChanges() const override { return before; }
    OrvPhotoKit::FetchResultPtr fetchResultAfterChanges() const override { return after; }
    bool hasIncrementalChanges() const override { return incremental; }
    std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> removedObjects() const override { return removed; }
    std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> insertedObjects() const override { return inserted; }
    std::shared_ptr<const OrvPhotoKit::ObjectEnumeration> changedObjects() const override { return changed; }
};

} // namespace OrvPhotoKitModel
