#pragma once

#import <MediaLibrary/MediaLibrary.h>

#include "OrvMacKeyValueObservation.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

// MLMediaSource as OrvMediaLibrary::MediaSource, one adapter for each source
// while anyone holds it. Looking groups and objects up before the root group
// loaded is undefined in MediaLibrary: until then they are not found.
class OrvMacMLMediaSource : public OrvMacObserved<OrvMediaLibrary::MediaSource, OrvMacMLMediaSource>
{
public:
    // Null for nil.
    static std::shared_ptr<OrvMacMLMediaSource> adapt(MLMediaSource* source);
    ~OrvMacMLMediaSource() override;

    QString mediaSourceIdentifier() const override;
    OrvMediaLibrary::MediaGroupPtr rootMediaGroup() override;
    OrvMediaLibrary::MediaGroupPtr mediaGroupForIdentifier(const QString& identifier) override;
    OrvMediaLibrary::MediaObjectPtr mediaObjectForIdentifier(const QString& identifier) override;

private:
    explicit OrvMacMLMediaSource(MLMediaSource* source) : OrvMacObserved(source), mySource(source) {}

    MLMediaSource* mySource;
};

#pragma clang diagnostic pop
