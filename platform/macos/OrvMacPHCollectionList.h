#pragma once

#import <Photos/Photos.h>

#include "OrvPhotoKit.h"

// PHCollectionList as OrvPhotoKit::CollectionList.
class OrvMacPHCollectionList : public OrvPhotoKit::CollectionList
{
public:
    explicit OrvMacPHCollectionList(PHCollectionList* list) : myList(list) {}

    PHCollectionList* list() const { return myList; }
    // The PHCollectionList behind a list of this backend; nil for any other.
    static PHCollectionList* from(const OrvPhotoKit::CollectionListPtr& list);

    QString localIdentifier() const override;
    QString localizedTitle() const override;
    OrvPhotoKit::CollectionListType collectionListType() const override;

private:
    PHCollectionList* myList;
};
