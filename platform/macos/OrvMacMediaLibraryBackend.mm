#include "OrvMacMediaLibraryBackend.h"

#include "OrvMacFoundation.h"
#include "OrvMacFrameworkImage.h"
#include "OrvMacMLMediaLibrary.h"
#include "OrvMacSecurityScopedURLs.h"

#import <AppKit/AppKit.h>

// MediaLibrary is the Photos library's framework before macOS 10.15, which deprecated it.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

using namespace OrvMediaLibrary;

namespace {

// The class by name, loading MediaLibrary's bundle once when the class is not registered yet.
Class classNamed(NSString* name)
{
    if (Class found = NSClassFromString(name))
        return found;
    static const bool loaded = [[NSBundle bundleWithPath:@(OrvMacMediaLibraryBackend::frameworkPath)] load];
    return loaded ? NSClassFromString(name) : nil;
}

} // namespace

std::unique_ptr<FrameworkImage> OrvMacMediaLibraryBackend::loadFramework(const QString& path)
{
    return OrvMacFrameworkImage::open(path);
}

bool OrvMacMediaLibraryBackend::classExists(const QString& name)
{
    return classNamed(name.toNSString()) != nil;
}

MediaLibraryPtr OrvMacMediaLibraryBackend::createMediaLibrary(const QVariantMap& options)
{
    Class libraryClass = classNamed(@"MLMediaLibrary");
    if (!libraryClass)
        return nullptr;
    MLMediaLibrary* library = [[libraryClass alloc] initWithOptions:OrvMacFoundation::dictionary(options)];
    return library ? std::make_shared<OrvMacMLMediaLibrary>(library) : nullptr;
}

bool OrvMacMediaLibraryBackend::startAccessingSecurityScopedResource(const QUrl& url)
{
    return OrvMacSecurityScopedURLs::startAccessing(url);
}

void OrvMacMediaLibraryBackend::stopAccessingSecurityScopedResource(const QUrl& url)
{
    OrvMacSecurityScopedURLs::stopAccessing(url);
}

QList<RunningApplication> OrvMacMediaLibraryBackend::runningApplications()
{
    QList<RunningApplication> applications;
    for (NSRunningApplication* application in [[NSWorkspace sharedWorkspace] runningApplications]) {
        RunningApplication running;
        running.bundleIdentifier = OrvMacFoundation::string(application.bundleIdentifier);
        running.localizedName = OrvMacFoundation::string(application.localizedName);
        running.processIdentifier = qint64(application.processIdentifier);
        applications.append(running);
    }
    return applications;
}
