#include "OrvMediaLibrarySimMediaLibrary.h"

#include "OrvMediaLibrarySimBackend.h"
#include "OrvMediaLibrarySimMediaSource.h"

using namespace OrvMediaLibrary;

namespace OrvMediaLibrarySim {

SimMediaLibrary::SimMediaLibrary(std::shared_ptr<Backend> backend, std::optional<QStringList> includedSources)
    : myBackend(std::move(backend)), myIncluded(std::move(includedSources))
{
}

QMap<QString, MediaSourcePtr> SimMediaLibrary::mediaSources()
{
    bool startLoad = false;
    const QMap<QString, MediaSourcePtr> sources = mySources.read(&startLoad);
    if (startLoad)
        startLoading();
    return sources;
}

void SimMediaLibrary::startLoading()
{
    Backend::post(std::static_pointer_cast<SimMediaLibrary>(shared_from_this()), &SimMediaLibrary::loadSources);
}

void SimMediaLibrary::loadSources()
{
    const bool empty = myBackend->takeEmptyReport();
    QMap<QString, MediaSourcePtr> sources;
    if (!empty) {
        const QString identifier = myBackend->photosLibrary()->sourceIdentifier;
        if (!myIncluded || myIncluded->contains(identifier)) {
            auto source = std::make_shared<SimMediaSource>(myBackend, identifier);
            myBackend->sourceCreated(source);
            sources.insert(identifier, source);
        }
    }
    mySources.set(sources, empty);
    didChangeValueForKey(QStringLiteral("mediaSources"));
    if (!empty)
        return;
    if (observerCount(QStringLiteral("mediaSources")) > 0)
        startLoading();
    else
        mySources.unload();
}

} // namespace OrvMediaLibrarySim
