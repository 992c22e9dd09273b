#pragma once

#import <MediaLibrary/MediaLibrary.h>

#include "OrvMacKeyValueObservation.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

// MLMediaObject as OrvMediaLibrary::MediaObject. Its URL is remembered for the
// security-scoped access that comes later.
class OrvMacMLMediaObject : public OrvMacObserved<OrvMediaLibrary::MediaObject, OrvMacMLMediaObject>
{
public:
    explicit OrvMacMLMediaObject(MLMediaObject* object) : OrvMacObserved(object), myObject(object) {}

    QString identifier() const override;
    QString name() const override;
    OrvMediaLibrary::MediaType mediaType() const override;
    OrvMediaLibrary::URL url() const override;
    QString mediaSourceIdentifier() const override;

private:
    MLMediaObject* myObject;
};

#pragma clang diagnostic pop
