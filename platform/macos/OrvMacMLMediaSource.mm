#include "OrvMacMLMediaSource.h"

#include "OrvMacFoundation.h"
#include "OrvMacMLMediaGroup.h"
#include "OrvMacMLMediaObject.h"
#include "OrvMacWrapperCache.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

using namespace OrvMediaLibrary;


std::shared_ptr<OrvMacMLMediaSource> OrvMacMLMediaSource::adapt(MLMediaSource* source)
{
    if (!source)
        return nullptr;
    return OrvMacWrapperCache<OrvMacMLMediaSource>::shared().get((__bridge const void*)source,
                          [source] { return std::shared_ptr<OrvMacMLMediaSource>(new OrvMacMLMediaSource(source)); });
}

OrvMacMLMediaSource::~OrvMacMLMediaSource()
{
    OrvMacWrapperCache<OrvMacMLMediaSource>::shared().forget((__bridge const void*)mySource);
}

QString OrvMacMLMediaSource::mediaSourceIdentifier() const
{
    return OrvMacFoundation::string(mySource.mediaSourceIdentifier);
}

MediaGroupPtr OrvMacMLMediaSource::rootMediaGroup()
{
    return OrvMacMLMediaGroup::adapt(mySource.rootMediaGroup);
}

MediaGroupPtr OrvMacMLMediaSource::mediaGroupForIdentifier(const QString& identifier)
{
    if (!mySource.rootMediaGroup)
        return nullptr;
    return OrvMacMLMediaGroup::adapt([mySource mediaGroupForIdentifier:identifier.toNSString()]);
}

MediaObjectPtr OrvMacMLMediaSource::mediaObjectForIdentifier(const QString& identifier)
{
    if (!mySource.rootMediaGroup)
        return nullptr;
    MLMediaObject* object = [mySource mediaObjectForIdentifier:identifier.toNSString()];
    return object ? std::make_shared<OrvMacMLMediaObject>(object) : nullptr;
}
