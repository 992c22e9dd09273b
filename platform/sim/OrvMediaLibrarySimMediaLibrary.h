#pragma once

// An MLMediaLibrary of the simulated framework. Its media sources load on
// first read; while they come empty and someone observes them, the framework
// reports them again.

#include "OrvMediaLibrarySimKeyValueRegistry.h"
#include "OrvMediaLibrarySimLazyProperty.h"

#include <QStringList>

#include <optional>

namespace OrvMediaLibrarySim {

class Backend;

class SimMediaLibrary : public Observable<OrvMediaLibrary::MediaLibrary>
{
public:
    // includedSources: the source identifiers to load; nothing means all.
    SimMediaLibrary(std::shared_ptr<Backend> backend, std::optional<QStringList> includedSources);

    QMap<QString, OrvMediaLibrary::MediaSourcePtr> mediaSources() override;

private:
    void startLoading();
    void loadSources();

    std::shared_ptr<Backend> myBackend;
    std::optional<QStringList> myIncluded;
    LazyProperty<QMap<QString, OrvMediaLibrary::MediaSourcePtr>> mySources;
};

} // namespace OrvMediaLibrarySim
