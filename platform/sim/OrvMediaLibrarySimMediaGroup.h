#pragma once

// An MLMediaGroup of the simulated framework: one group of the library
// snapshot its source loaded. Parent and children are not retained (a broken
// library may link groups in a circle); the source's tree holds them.

#include "OrvMediaLibrarySimKeyValueRegistry.h"
#include "OrvMediaLibrarySimLazyProperty.h"
#include "OrvMediaLibrarySimModel.h"

#include <vector>

namespace OrvMediaLibrarySim {

class Backend;

class SimMediaGroup : public Observable<OrvMediaLibrary::MediaGroup>
{
public:
    SimMediaGroup(std::shared_ptr<Backend> backend, std::shared_ptr<const PhotosModel> library, int index);
    // Called once by the source while it builds its tree, before anyone sees the group.
    void link(const std::weak_ptr<SimMediaGroup>& parent, std::vector<std::weak_ptr<SimMediaGroup>> children);

    QString identifier() const override { return record().identifier; }
    QString name() const override { return record().name; }
    QString typeIdentifier() const override { return record().typeIdentifier; }
    QString mediaSourceIdentifier() const override { return myLibrary->sourceIdentifier; }
    OrvMediaLibrary::MediaGroupPtr parent() const override { return myParent.lock(); }
    QList<OrvMediaLibrary::MediaGroupPtr> childGroups() const override;
    QList<OrvMediaLibrary::MediaObjectPtr> mediaObjects() override;

private:
    const PhotosModel::Group& record() const { return myLibrary->groups[myIndex]; }
    void loadObjects();

    std::shared_ptr<Backend> myBackend;
    std::shared_ptr<const PhotosModel> myLibrary;
    size_t myIndex;
    std::weak_ptr<SimMediaGroup> myParent;
    std::vector<std::weak_ptr<SimMediaGroup>> myChildren;
    LazyProperty<QList<OrvMediaLibrary::MediaObjectPtr>> myObjects;
};

} // namespace OrvMediaLibrarySim
