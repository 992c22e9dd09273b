#pragma once

#import <MediaLibrary/MediaLibrary.h>

#include "OrvMacKeyValueObservation.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

// MLMediaObject as OrvMediaLibrary::MediaObject. Its URL is remembered for the
// security-scoped access that comes later.
class OrvMacMLMediaObject : public OrvMediaLibrary::MediaObject, public std::enable_shared_from_this<OrvMacMLMediaObject>
{
public:
    explicit OrvMacMLMediaObject(MLMediaObject* object) : myObject(object), myObservation(object) {}

    void addObserver(const std::weak_ptr<OrvMediaLibrary::KeyValueObserver>& observer, const QString& keyPath,
                     OrvMediaLibrary::KeyValueObservingOptions options, const void* context) override;
    void removeObserver(const OrvMediaLibrary::KeyValueObserver* observer, const QString& keyPath,
                        const void* context) override;

    QString identifier() const override;
    QString name() const override;
    OrvMediaLibrary::MediaType mediaType() const override;
    OrvMediaLibrary::URL url() const override;
    QString mediaSourceIdentifier() const override;

private:
    MLMediaObject* myObject;
    OrvMacKeyValueObservation myObservation;
};

#pragma clang diagnostic pop
