#pragma once

// A PHCollectionList of the simulated library: a folder.

#include "OrvPhotoKitSimLibrary.h"

namespace OrvPhotoKitSim {

class SimCollectionList : public OrvPhotoKit::CollectionList
{
public:
    SimCollectionList(const QString& id, const QString& title) : myId(id), myTitle(title) {}
    QString localIdentifier() const override { return myId; }
    QString localizedTitle() const override { return myTitle; }
    OrvPhotoKit::CollectionListType collectionListType() const override { return OrvPhotoKit::CollectionListType::Folder; }

private:
    QString myId;
    QString myTitle;
};

} // namespace OrvPhotoKitSim
