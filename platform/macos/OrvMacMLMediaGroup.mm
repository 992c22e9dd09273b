#include "OrvMacMLMediaGroup.h"

#include "OrvMacFoundation.h"
#include "OrvMacMLMediaObject.h"
#include "OrvMacWrapperCache.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

using namespace OrvMediaLibrary;


std::shared_ptr<OrvMacMLMediaGroup> OrvMacMLMediaGroup::adapt(MLMediaGroup* group)
{
    if (!group)
        return nullptr;
    return OrvMacWrapperCache<OrvMacMLMediaGroup>::shared().get((__bridge const void*)group,
                          [group] { return std::shared_ptr<OrvMacMLMediaGroup>(new OrvMacMLMediaGroup(group)); });
}

OrvMacMLMediaGroup::~OrvMacMLMediaGroup()
{
    OrvMacWrapperCache<OrvMacMLMediaGroup>::shared().forget((__bridge const void*)myGroup);
}

QString OrvMacMLMediaGroup::identifier() const
{
    return OrvMacFoundation::string(myGroup.identifier);
}

QString OrvMacMLMediaGroup::name() const
{
    return OrvMacFoundation::string(myGroup.name);
}

QString OrvMacMLMediaGroup::typeIdentifier() const
{
    return OrvMacFoundation::string(myGroup.typeIdentifier);
}

QString OrvMacMLMediaGroup::mediaSourceIdentifier() const
{
    return OrvMacFoundation::string(myGroup.mediaSourceIdentifier);
}

MediaGroupPtr OrvMacMLMediaGroup::parent() const
{
    return adapt(myGroup.parent);
}

QList<MediaGroupPtr> OrvMacMLMediaGroup::childGroups() const
{
    @autoreleasepool {
        QList<MediaGroupPtr> children;
        for (MLMediaGroup* child in myGroup.childGroups) {
            if (MediaGroupPtr adapted = adapt(child))
                children.append(adapted);
        }
        return children;
    }
}

QList<MediaObjectPtr> OrvMacMLMediaGroup::mediaObjects()
{
    @autoreleasepool {
        QList<MediaObjectPtr> objects;
        for (MLMediaObject* object in myGroup.mediaObjects)
            objects.append(std::make_shared<OrvMacMLMediaObject>(object));
        return objects;
    }
}
