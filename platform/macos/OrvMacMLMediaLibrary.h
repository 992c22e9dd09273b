#pragma once

#import <MediaLibrary/MediaLibrary.h>

#include "OrvMacKeyValueObservation.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

// MLMediaLibrary as OrvMediaLibrary::MediaLibrary. Its media sources are nil,
// so none, until they loaded.
class OrvMacMLMediaLibrary : public OrvMacObserved<OrvMediaLibrary::MediaLibrary, OrvMacMLMediaLibrary>
{
public:
    explicit OrvMacMLMediaLibrary(MLMediaLibrary* library) : OrvMacObserved(library), myLibrary(library) {}

    QMap<QString, OrvMediaLibrary::MediaSourcePtr> mediaSources() override;

private:
    MLMediaLibrary* myLibrary;
};

#pragma clang diagnostic pop
