#pragma once

// The file URLs MediaLibrary handed out, as it made them: a security scope
// belongs to the URL object the framework resolved, not to a new URL of the
// same path. Access is asked for on the remembered one; a URL never seen is
// made from its path (and its access then usually refused).

#import <Foundation/Foundation.h>

#include <QUrl>

class OrvMacSecurityScopedURLs
{
public:
    static void remember(NSURL* url);
    static NSURL* urlFor(const QUrl& url);
    static bool startAccessing(const QUrl& url);
    static void stopAccessing(const QUrl& url);
};
