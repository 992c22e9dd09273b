#pragma once

#import <MediaLibrary/MediaLibrary.h>

#include "OrvMacKeyValueObservation.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

// MLMediaLibrary as OrvMediaLibrary::MediaLibrary. Its media sources are nil,
// so none, until they loaded.
class OrvMacMLMediaLibrary : public OrvMediaLibrary::MediaLibrary,
                             public std::enable_shared_from_this<OrvMacMLMediaLibrary>
{
public:
    explicit OrvMacMLMediaLibrary(MLMediaLibrary* library) : myLibrary(library), myObservation(library) {}

    void addObserver(const std::weak_ptr<OrvMediaLibrary::KeyValueObserver>& observer, const QString& keyPath,
                     OrvMediaLibrary::KeyValueObservingOptions options, const void* context) override;
    void removeObserver(const OrvMediaLibrary::KeyValueObserver* observer, const QString& keyPath,
                        const void* context) override;

    QMap<QString, OrvMediaLibrary::MediaSourcePtr> mediaSources() override;

private:
    MLMediaLibrary* myLibrary;
    OrvMacKeyValueObservation myObservation;
};

#pragma clang diagnostic pop
