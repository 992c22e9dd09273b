#include "OrvMacMLMediaGroup.h"

#include "OrvMacFoundation.h"
#include "OrvMacMLMediaObject.h"
#include "OrvMacWrapperCache.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

using namespace OrvMediaLibrary;

namespace {

// Never destroyed: adapters may outlive the program's static objects.
OrvMacWrapperCache<OrvMacMLMediaGroup>& adapters()
{
    static auto* cache = new OrvMacWrapperCache<OrvMacMLMediaGroup>;
    return *cache;
}

} // namespace

std::shared_ptr<OrvMacMLMediaGroup> OrvMacMLMediaGroup::adapt(MLMediaGroup* group)
{
    if (!group)
        return nullptr;
    return adapters().get((__bridge const void*)group,
                          [group] { return std::shared_ptr<OrvMacMLMediaGroup>(new OrvMacMLMediaGroup(group)); });
}

OrvMacMLMediaGroup::~OrvMacMLMediaGroup()
{
    adapters().forget((__bridge const void*)myGroup);
}

void OrvMacMLMediaGroup::addObserver(const std::weak_ptr<KeyValueObserver>& observer, const QString& keyPath,
                                     KeyValueObservingOptions options, const void* context)
{
    myObservation.add(observer, keyPath, options, context, weak_from_this());
}

void OrvMacMLMediaGroup::removeObserver(const KeyValueObserver* observer, const QString& keyPath, const void* context)
{
    myObservation.remove(observer, keyPath, context);
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
    QList<MediaGroupPtr> children;
    for (MLMediaGroup* child in myGroup.childGroups) {
        if (MediaGroupPtr adapted = adapt(child))
            children.append(adapted);
    }
    return children;
}

QList<MediaObjectPtr> OrvMacMLMediaGroup::mediaObjects()
{
    QList<MediaObjectPtr> objects;
    for (MLMediaObject* object in myGroup.mediaObjects)
        objects.append(std::make_shared<OrvMacMLMediaObject>(object));
    return objects;
}
