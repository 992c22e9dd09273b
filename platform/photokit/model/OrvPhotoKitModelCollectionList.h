#pragma once

// A PHCollectionList of a library model: a folder.

#include "OrvPhotoKit.h"

namespace OrvPhotoKitModel {

class ModelCollectionList : public OrvPhotoKit::CollectionList
{
public:
    ModelCollectionList(const QString& id, const QString& title) : myId(id), myTitle(title) {}
    QString localIdentifier() const override { return myId; }
    QString localizedTitle() const override { return myTitle; }
    OrvPhotoKit::CollectionListType collectionListType() const override { return OrvPhotoKit::CollectionListType::Folder; }

private:
    QString myId;
    QString myTitle;
};

} // namespace OrvPhotoKitModel
