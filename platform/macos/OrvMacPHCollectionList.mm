#include "OrvMacPHCollectionList.h"

#include "OrvMacFoundation.h"

PHCollectionList* OrvMacPHCollectionList::from(const OrvPhotoKit::CollectionListPtr& list)
{
    const auto mine = std::dynamic_pointer_cast<const OrvMacPHCollectionList>(list);
    return mine ? mine->myList : nil;
}

QString OrvMacPHCollectionList::localIdentifier() const
{
    return OrvMacFoundation::string(myList.localIdentifier);
}

QString OrvMacPHCollectionList::localizedTitle() const
{
    return OrvMacFoundation::string(myList.localizedTitle);
}

OrvPhotoKit::CollectionListType OrvMacPHCollectionList::collectionListType() const
{
    return OrvPhotoKit::CollectionListType(int(myList.collectionListType));
}
