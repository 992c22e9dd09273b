#pragma once

#import <MediaLibrary/MediaLibrary.h>

#include "OrvMacKeyValueObservation.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

// MLMediaGroup as OrvMediaLibrary::MediaGroup: one adapter for each group
// while anyone holds it, since the plug-in keeps the groups it observes by
// their adapters. Its media objects are nil, so empty, until they loaded.
class OrvMacMLMediaGroup : public OrvMacObserved<OrvMediaLibrary::MediaGroup, OrvMacMLMediaGroup>
{
public:
    // Null for nil.
    static std::shared_ptr<OrvMacMLMediaGroup> adapt(MLMediaGroup* group);
    ~OrvMacMLMediaGroup() override;

    QString identifier() const override;
    QString name() const override;
    QString typeIdentifier() const override;
    QString mediaSourceIdentifier() const override;
    OrvMediaLibrary::MediaGroupPtr parent() const override;
    QList<OrvMediaLibrary::MediaGroupPtr> childGroups() const override;
    QList<OrvMediaLibrary::MediaObjectPtr> mediaObjects() override;

private:
    explicit OrvMacMLMediaGroup(MLMediaGroup* group) : OrvMacObserved(group), myGroup(group) {}

    MLMediaGroup* myGroup;
};

#pragma clang diagnostic pop
