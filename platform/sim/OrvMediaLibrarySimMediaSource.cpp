#include "OrvMediaLibrarySimMediaSource.h"

#include "OrvMediaLibrarySimBackend.h"
#include "OrvMediaLibrarySimMediaGroup.h"
#include "OrvMediaLibrarySimMediaObject.h"

using namespace OrvMediaLibrary;

namespace OrvMediaLibrarySim {

SimMediaSource::SimMediaSource(std::shared_ptr<Backend> backend, const QString& identifier)
    : myBackend(std::move(backend)), myIdentifier(identifier)
{
}

MediaGroupPtr SimMediaSource::rootMediaGroup()
{
    bool startLoad = false;
    const std::shared_ptr<const Tree> tree = myTree.read(&startLoad);
    if (startLoad)
        Backend::post(std::static_pointer_cast<SimMediaSource>(shared_from_this()), &SimMediaSource::loadRootGroup);
    return tree ? tree->groups[PhotosModel::rootIndex] : nullptr;
}

void SimMediaSource::reloadRootGroup()
{
    if (!myTree.isLoaded())
        return;
    myTree.set(myTree.value(), true);
    Backend::post(std::static_pointer_cast<SimMediaSource>(shared_from_this()), &SimMediaSource::loadRootGroup);
}

void SimMediaSource::loadRootGroup()
{
    auto tree = std::make_shared<Tree>();
    tree->library = myBackend->photosLibrary();
    const std::vector<PhotosModel::Group>& groups = tree->library->groups;
    tree->groups.reserve(groups.size());
    for (size_t i = 0; i < groups.size(); ++i)
        tree->groups.push_back(std::make_shared<SimMediaGroup>(myBackend, tree->library, int(i)));
    for (size_t i = 0; i < groups.size(); ++i) {
        std::vector<std::weak_ptr<SimMediaGroup>> children;
        children.reserve(size_t(groups[i].children.size()));
        for (const int child : groups[i].children)
            children.push_back(tree->groups[size_t(child)]);
        const int parent = groups[i].parent;
        tree->groups[i]->link(parent >= 0 ? std::weak_ptr<SimMediaGroup>(tree->groups[size_t(parent)])
                                          : std::weak_ptr<SimMediaGroup>(),
                              std::move(children));
    }
    myTree.set(tree);
    didChangeValueForKey(QStringLiteral("rootMediaGroup"));
}

MediaGroupPtr SimMediaSource::mediaGroupForIdentifier(const QString& identifier)
{
    const std::shared_ptr<const Tree> tree = myTree.value();
    if (!tree)
        return nullptr;
    const int index = tree->library->groupIndex.value(identifier, -1);
    return index >= 0 ? tree->groups[size_t(index)] : nullptr;
}

MediaObjectPtr SimMediaSource::mediaObjectForIdentifier(const QString& identifier)
{
    const std::shared_ptr<const Tree> tree = myTree.value();
    if (!tree)
        return nullptr;
    const int index = tree->library->objectIndex.value(identifier, -1);
    return index >= 0 ? std::make_shared<SimMediaObject>(tree->library, index) : nullptr;
}

} // namespace OrvMediaLibrarySim
