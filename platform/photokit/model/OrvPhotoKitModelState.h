#pragma once

// A library model: one version of a Photos library as PhotoKit presents it.
// Published versions are never changed again, so fetch results and changes can
// keep them without a lock.

#include "OrvPhotoKitModelAsset.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace OrvPhotoKitModel {

struct State
{
    quint64 version = 0;  // set when published, counting up
    std::vector<std::shared_ptr<const ModelAsset>> assets;  // library order
    QHash<QString, qsizetype> assetIndex;
    std::vector<OrvPhotoKit::ObjectPtr> collections;  // creation order
    QHash<QString, qsizetype> collectionIndex;
    QHash<QString, QString> parentOf;         // collection -> containing folder ("" at top level)
    QHash<QString, QStringList> albumAssets;  // album -> its assets in album order

    std::shared_ptr<const ModelAsset> asset(const QString& id) const
    {
        const auto it = assetIndex.constFind(id);
        return it == assetIndex.cend() ? nullptr : assets[size_t(*it)];
    }
    OrvPhotoKit::ObjectPtr collection(const QString& id) const
    {
        const auto it = collectionIndex.constFind(id);
        return it == collectionIndex.cend() ? nullptr : collections[size_t(*it)];
    }
    void reindexAssets()
    {
        assetIndex.clear();
        for (size_t i = 0; i < assets.size(); ++i)
            assetIndex.insert(assets[i]->localIdentifier(), qsizetype(i));
    }
    void reindexCollections()
    {
        collectionIndex.clear();
        for (size_t i = 0; i < collections.size(); ++i)
            collectionIndex.insert(collections[i]->localIdentifier(), qsizetype(i));
    }
    void replaceCollection(const OrvPhotoKit::ObjectPtr& object)
    {
        const auto it = collectionIndex.constFind(object->localIdentifier());
        if (it != collectionIndex.cend())
            collections[size_t(*it)] = object;
    }
};

} // namespace OrvPhotoKitModel
