#pragma once

// A drivable model of the MediaLibrary framework as it shows the Photos
// library, with the platform calls around it (security-scoped access, running
// applications). Once installed (install()), the plug-in reaches it through
// the functions of OrvMediaLibrary.h. The library loads lazily and announces
// what it loaded on the framework's own thread, never the main thread.

#include "OrvMediaLibrary.h"
#include "OrvMediaLibrarySimModel.h"

#include <QHash>
#include <QStringList>

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

namespace OrvMediaLibrarySim {

class SimMediaSource;

class Backend : public OrvMediaLibrary::Backend, public std::enable_shared_from_this<Backend>
{
public:
    static constexpr const char* frameworkPath = "/System/Library/Frameworks/MediaLibrary.framework/MediaLibrary";

    static std::shared_ptr<Backend> create();
    ~Backend() override;

    // The Photos library the media sources load. Until one is set, the first
    // load reads the description named by $ORV_PHOTOS_LIBRARY, or takes an empty one.
    void setPhotosLibrary(std::shared_ptr<const PhotosModel> library);
    std::shared_ptr<const PhotosModel> photosLibrary();
    // A library from a description file (platform/sim/README.md); false and a message on failure.
    bool loadDescription(const QString& path, QString* error = nullptr);

    // Test hooks.
    // Without the framework there is no binary to load and no class MLMediaLibrary.
    void setFrameworkInstalled(bool installed) { myInstalled = installed; }
    // The next count reports of the media sources come empty (-1: every one).
    // The framework keeps reporting while someone observes "mediaSources".
    void setEmptyMediaSourceReports(int count) { myEmptyReports = count; }
    int mediaSourceReports() const { return myReports.load(); }
    // Every media source that loaded its root group loads it again from the
    // current library and announces the new root group.
    void replaceRootGroup();
    int securityScopedStarts() const;
    int securityScopedStops() const;
    // URLs whose starts and stops do not match.
    int unbalancedSecurityScopedURLs() const;
    int loadedFrameworkImages() const { return myImages.load(); }
    // Identifiers of the groups whose media objects loaded, in order.
    QStringList mediaObjectLoads() const;
    // Observer removals that matched no registration (a fault of the caller).
    int unmatchedObserverRemovals() const;
    // Waits until the framework's thread has delivered everything posted so far.
    void waitForQueue();
    bool isFrameworkThread() const;

    // OrvMediaLibrary::Backend
    std::unique_ptr<OrvMediaLibrary::FrameworkImage> loadFramework(const QString& path) override;
    bool classExists(const QString& name) override;
    OrvMediaLibrary::MediaLibraryPtr createMediaLibrary(const QVariantMap& options) override;
    bool startAccessingSecurityScopedResource(const QUrl& url) override;
    void stopAccessingSecurityScopedResource(const QUrl& url) override;
    QList<OrvMediaLibrary::RunningApplication> runningApplications() override;

    // For the simulated objects.
    // Whether this report of the media sources comes empty.
    bool takeEmptyReport();
    void sourceCreated(const std::shared_ptr<SimMediaSource>& source);
    void imageClosed() { --myImages; }
    void mediaObjectsLoaded(const QString& groupIdentifier);
    // Runs task on the framework's thread.
    static void post(std::function<void()> task);
    // Calls method of object on the framework's thread, unless the object is gone by then.
    template <class Object>
    static void post(const std::shared_ptr<Object>& object, void (Object::*method)())
    {
        post([weak = std::weak_ptr<Object>(object), method] {
            if (const auto locked = weak.lock())
                (locked.get()->*method)();
        });
    }

private:
    Backend() = default;

    mutable std::mutex myMutex;
    std::shared_ptr<const PhotosModel> myLibrary;
    std::vector<std::weak_ptr<SimMediaSource>> mySources;
    QHash<QString, int> myAccessBalance;
    QStringList myObjectLoads;
    int myStarts = 0;
    int myStops = 0;
    std::atomic<bool> myInstalled{true};
    std::atomic<int> myEmptyReports{0};
    std::atomic<int> myReports{0};
    std::atomic<int> myImages{0};
};

// Makes the simulation the MediaLibrary backend, with sharedBackend().
void install();
std::shared_ptr<Backend> sharedBackend();

} // namespace OrvMediaLibrarySim
