#include "OrvMacMLMediaLibrary.h"

#include "OrvMacFoundation.h"
#include "OrvMacMLMediaSource.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

using namespace OrvMediaLibrary;

void OrvMacMLMediaLibrary::addObserver(const std::weak_ptr<KeyValueObserver>& observer, const QString& keyPath,
                                       KeyValueObservingOptions options, const void* context)
{
    myObservation.add(observer, keyPath, options, context, weak_from_this());
}

void OrvMacMLMediaLibrary::removeObserver(const KeyValueObserver* observer, const QString& keyPath, const void* context)
{
    myObservation.remove(observer, keyPath, context);
}

QMap<QString, MediaSourcePtr> OrvMacMLMediaLibrary::mediaSources()
{
    QMap<QString, MediaSourcePtr> sources;
    NSDictionary<NSString*, MLMediaSource*>* loaded = myLibrary.mediaSources;
    for (NSString* key in loaded) {
        if (MediaSourcePtr source = OrvMacMLMediaSource::adapt([loaded objectForKey:key]))
            sources.insert(OrvMacFoundation::string(key), source);
    }
    return sources;
}
