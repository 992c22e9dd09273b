#pragma once

#include "OrvSingleton.h"

#include <QMutex>
#include <QOperatingSystemVersion>
#include <QString>

#include <atomic>
#include <optional>

// What the process runs on. A host program or a test may pretend to run on
// another system; everything that branches on the system asks here.
class OrvPlatformIndependent : public OrvSingleton<OrvPlatformIndependent>
{
public:
    QOperatingSystemVersion operatingSystemVersion() const;
    void setOperatingSystemVersion(const QOperatingSystemVersion& version);
    void resetOperatingSystemVersion();

    bool isMacOS() const;

    // Whether the host wants photos only (no movies); sources that can tell leave movies out.
    bool imagesOnly() const { return myImagesOnly.load(); }
    void setImagesOnly(bool imagesOnly) { myImagesOnly.store(imagesOnly); }
    // "macos:14.0", "macos:10.14.6", "linux", "windows:10"; false for anything else.
    static std::optional<QOperatingSystemVersion> parseOperatingSystem(const QString& text);
    static QString describe(const QOperatingSystemVersion& version);

private:
    friend class OrvSingleton<OrvPlatformIndependent>;
    OrvPlatformIndependent() = default;

    mutable QMutex myMutex;
    std::optional<QOperatingSystemVersion> myOverride;
    std::atomic<bool> myImagesOnly{false};
};
