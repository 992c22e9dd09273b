#include "OrvMacMLMediaLibrary.h"

#include "OrvMacFoundation.h"
#include "OrvMacMLMediaSource.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

using namespace OrvMediaLibrary;

QMap<QString, MediaSourcePtr> OrvMacMLMediaLibrary::mediaSources()
{
    @autoreleasepool {
        QMap<QString, MediaSourcePtr> sources;
        NSDictionary<NSString*, MLMediaSource*>* loaded = myLibrary.mediaSources;
        for (NSString* key in loaded) {
            if (MediaSourcePtr source = OrvMacMLMediaSource::adapt([loaded objectForKey:key]))
                sources.insert(OrvMacFoundation::string(key), source);
        }
        return sources;
    }
}
