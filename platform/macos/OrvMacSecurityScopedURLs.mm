#include "OrvMacSecurityScopedURLs.h"

#include <mutex>

namespace {

std::mutex urlsMutex;

// Keyed by the URL's text; bounded by the objects of the library whose URLs were read.
NSMutableDictionary<NSString*, NSURL*>* urls()
{
    static NSMutableDictionary<NSString*, NSURL*>* remembered = [[NSMutableDictionary alloc] init];
    return remembered;
}

} // namespace

void OrvMacSecurityScopedURLs::remember(NSURL* url)
{
    if (!url || !url.absoluteString)
        return;
    std::lock_guard<std::mutex> lock(urlsMutex);
    [urls() setObject:url forKey:url.absoluteString];
}

NSURL* OrvMacSecurityScopedURLs::urlFor(const QUrl& url)
{
    if (!url.isValid())
        return nil;
    NSURL* given = url.toNSURL();
    {
        std::lock_guard<std::mutex> lock(urlsMutex);
        if (NSURL* remembered = given.absoluteString ? [urls() objectForKey:given.absoluteString] : nil)
            return remembered;
    }
    return given;
}

bool OrvMacSecurityScopedURLs::startAccessing(const QUrl& url)
{
    NSURL* resolved = urlFor(url);
    return resolved && CFURLStartAccessingSecurityScopedResource((__bridge CFURLRef)resolved);
}

void OrvMacSecurityScopedURLs::stopAccessing(const QUrl& url)
{
    if (NSURL* resolved = urlFor(url))
        CFURLStopAccessingSecurityScopedResource((__bridge CFURLRef)resolved);
}
