#pragma once

// An MLMediaSource of the simulated framework: the Photos library. Its root
// group loads from the backend's library on first read; look-ups answer from
// the groups and objects of the last loaded root group.

#include "OrvMediaLibrarySimKeyValueRegistry.h"
#include "OrvMediaLibrarySimLazyProperty.h"
#include "OrvMediaLibrarySimModel.h"

#include <vector>

namespace OrvMediaLibrarySim {

class Backend;
class SimMediaGroup;

class SimMediaSource : public Observable<OrvMediaLibrary::MediaSource>
{
public:
    SimMediaSource(std::shared_ptr<Backend> backend, const QString& identifier);

    QString mediaSourceIdentifier() const override { return myIdentifier; }
    OrvMediaLibrary::MediaGroupPtr rootMediaGroup() override;
    OrvMediaLibrary::MediaGroupPtr mediaGroupForIdentifier(const QString& identifier) override;
    OrvMediaLibrary::MediaObjectPtr mediaObjectForIdentifier(const QString& identifier) override;

    // Loads the root group again (from the backend's library as it is now)
    // when it was loaded before.
    void reloadRootGroup();

private:
    // The group objects of one library snapshot, by index; they link to each other weakly.
    struct Tree
    {
        std::shared_ptr<const PhotosModel> library;
        std::vector<std::shared_ptr<SimMediaGroup>> groups;
    };
    void loadRootGroup();

    std::shared_ptr<Backend> myBackend;
    QString myIdentifier;
    LazyProperty<std::shared_ptr<const Tree>> myTree;
};

} // namespace OrvMediaLibrarySim
