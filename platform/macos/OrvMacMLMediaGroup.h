#pragma once

#import <MediaLibrary/MediaLibrary.h>

#include "OrvMacKeyValueObservation.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

// MLMediaGroup as OrvMediaLibrary::MediaGroup: one adapter for each group
// while anyone holds it, since the plug-in keeps the groups it observes by
// their adapters. Its media objects are nil, so empty, until they loaded.
class OrvMacMLMediaGroup : public OrvMediaLibrary::MediaGroup, public std::enable_shared_from_this<OrvMacMLMediaGroup>
{
public:
    // Null for nil.
    static std::shared_ptr<OrvMacMLMediaGroup> adapt(MLMediaGroup* group);
    ~OrvMacMLMediaGroup() override;

    void addObserver(const std::weak_ptr<OrvMediaLibrary::KeyValueObserver>& observer, const QString& keyPath,
                     OrvMediaLibrary::KeyValueObservingOptions options, const void* context) override;
    void removeObserver(const OrvMediaLibrary::KeyValueObserver* observer, const QString& keyPath,
                        const void* context) override;

    QString identifier() const override;
    QString name() const override;
    QString typeIdentifier() const override;
    QString mediaSourceIdentifier() const override;
    OrvMediaLibrary::MediaGroupPtr parent() const override;
    QList<OrvMediaLibrary::MediaGroupPtr> childGroups() const override;
    QList<OrvMediaLibrary::MediaObjectPtr> mediaObjects() override;

private:
    explicit OrvMacMLMediaGroup(MLMediaGroup* group) : myGroup(group), myObservation(group) {}

    MLMediaGroup* myGroup;
    OrvMacKeyValueObservation myObservation;
};

#pragma clang diagnostic pop
