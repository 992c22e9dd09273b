#include "OrvMediaLibrarySimMediaGroup.h"

#include "OrvMediaLibrarySimBackend.h"
#include "OrvMediaLibrarySimMediaObject.h"

using namespace OrvMediaLibrary;

namespace OrvMediaLibrarySim {

SimMediaGroup::SimMediaGroup(std::shared_ptr<Backend> backend, std::shared_ptr<const PhotosModel> library, int index)
    : myBackend(std::move(backend)), myLibrary(std::move(library)), myIndex(size_t(index))
{
}

void SimMediaGroup::link(const std::weak_ptr<SimMediaGroup>& parent, std::vector<std::weak_ptr<SimMediaGroup>> children)
{
    myParent = parent;
    myChildren = std::move(children);
}

QList<MediaGroupPtr> SimMediaGroup::childGroups() const
{
    QList<MediaGroupPtr> children;
    children.reserve(qsizetype(myChildren.size()));
    for (const auto& child : myChildren) {
        if (auto locked = child.lock())
            children.append(std::move(locked));
    }
    return children;
}

QList<MediaObjectPtr> SimMediaGroup::mediaObjects()
{
    bool startLoad = false;
    QList<MediaObjectPtr> objects = myObjects.read(&startLoad);
    if (startLoad)
        Backend::post(std::static_pointer_cast<SimMediaGroup>(shared_from_this()), &SimMediaGroup::loadObjects);
    return objects;
}

void SimMediaGroup::loadObjects()
{
    QList<MediaObjectPtr> objects;
    objects.reserve(record().objects.size());
    for (const int index : record().objects)
        objects.append(std::make_shared<SimMediaObject>(myLibrary, index));
    myObjects.set(objects);
    myBackend->mediaObjectsLoaded(record().identifier);
    didChangeValueForKey(QStringLiteral("mediaObjects"));
}

} // namespace OrvMediaLibrarySim
