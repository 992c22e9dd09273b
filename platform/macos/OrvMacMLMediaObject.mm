#include "OrvMacMLMediaObject.h"

#include "OrvMacFoundation.h"
#include "OrvMacSecurityScopedURLs.h"

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

using namespace OrvMediaLibrary;

QString OrvMacMLMediaObject::identifier() const
{
    return OrvMacFoundation::string(myObject.identifier);
}

QString OrvMacMLMediaObject::name() const
{
    return OrvMacFoundation::string(myObject.name);
}

MediaType OrvMacMLMediaObject::mediaType() const
{
    // The interface's media types are MediaLibrary's bits.
    return MediaType(quint32(myObject.mediaType));
}

URL OrvMacMLMediaObject::url() const
{
    NSURL* url = myObject.URL;
    if (!url)
        return std::nullopt;
    OrvMacSecurityScopedURLs::remember(url);
    return QUrl::fromNSURL(url);
}

QString OrvMacMLMediaObject::mediaSourceIdentifier() const
{
    return OrvMacFoundation::string(myObject.mediaSourceIdentifier);
}
