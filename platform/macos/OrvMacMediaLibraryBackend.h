#pragma once

#include "OrvMediaLibrary.h"

// MediaLibrary.framework as OrvMediaLibrary's backend, with security-scoped
// access to the files its objects name and NSWorkspace's running applications.
// The framework is not linked: its binary is loaded when asked for, its
// classes through NSBundle when they are not there yet.
class OrvMacMediaLibraryBackend : public OrvMediaLibrary::Backend
{
public:
    static constexpr const char* frameworkPath = "/System/Library/Frameworks/MediaLibrary.framework";

    std::unique_ptr<OrvMediaLibrary::FrameworkImage> loadFramework(const QString& path) override;
    bool classExists(const QString& name) override;
    // [[MLMediaLibrary alloc] initWithOptions:]; option values are text, numbers and lists of them.
    OrvMediaLibrary::MediaLibraryPtr createMediaLibrary(const QVariantMap& options) override;
    bool startAccessingSecurityScopedResource(const QUrl& url) override;
    void stopAccessingSecurityScopedResource(const QUrl& url) override;
    QList<OrvMediaLibrary::RunningApplication> runningApplications() override;
};
