#include "OrvMediaLibrarySimBackend.h"

#include "OrvMediaLibrarySimMediaLibrary.h"
#include "OrvMediaLibrarySimMediaSource.h"
#include "OrvMediaLibrarySimWorkspace.h"
#include "OrvPhotoKitSimDescription.h"
#include "OrvSerialQueue.h"

#include <QDebug>

#include <algorithm>
#include <cstring>

using namespace OrvMediaLibrary;

namespace OrvMediaLibrarySim {

namespace {

// The framework's thread. Never destroyed: the objects that post to it may be
// released on it, and a thread cannot wait for itself to end.
OrvSerialQueue& frameworkQueue()
{
    static auto* queue = new OrvSerialQueue;
    return *queue;
}

// The framework binary, loaded: it answers its exported constants.
class SimFrameworkImage : public FrameworkImage
{
public:
    explicit SimFrameworkImage(std::shared_ptr<Backend> backend) : myBackend(std::move(backend)) {}
    ~SimFrameworkImage() override { myBackend->imageClosed(); }
    std::optional<QString> stringConstant(const char* name) const override
    {
        for (int i = 0; i < Constant::exportCount; ++i) {
            if (std::strcmp(Constant::exports[i].name, name) == 0)
                return QString::fromLatin1(Constant::exports[i].value);
        }
        return std::nullopt;
    }

private:
    std::shared_ptr<Backend> myBackend;
};

} // namespace

std::shared_ptr<Backend> Backend::create() { return std::shared_ptr<Backend>(new Backend()); }

Backend::~Backend() = default;

void Backend::post(std::function<void()> task) { frameworkQueue().post(std::move(task)); }

void Backend::waitForQueue() { frameworkQueue().waitIdle(); }

bool Backend::isFrameworkThread() const { return frameworkQueue().isCurrentThread(); }

void Backend::setPhotosLibrary(std::shared_ptr<const PhotosModel> library)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myLibrary = std::move(library);
}

std::shared_ptr<const PhotosModel> Backend::photosLibrary()
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        if (myLibrary)
            return myLibrary;
    }
    // Read outside the lock; should two threads both read, the first to finish is kept.
    std::shared_ptr<const PhotosModel> loaded;
    const QString path = qEnvironmentVariable("ORV_PHOTOS_LIBRARY");
    QString error;
    if (!path.isEmpty()) {
        if (const auto description = OrvPhotoKitSim::Description::read(path, &error))
            loaded = PhotosModel::fromDescription(*description);
        else
            qDebug() << "MediaLibrary simulation: cannot load" << path << ":" << error;
    }
    if (!loaded)
        loaded = PhotosModel::empty();
    std::lock_guard<std::mutex> lock(myMutex);
    if (!myLibrary)
        myLibrary = loaded;
    return myLibrary;
}

bool Backend::loadDescription(const QString& path, QString* error)
{
    const auto description = OrvPhotoKitSim::Description::read(path, error);
    if (!description)
        return false;
    setPhotosLibrary(PhotosModel::fromDescription(*description));
    return true;
}

void Backend::replaceRootGroup()
{
    std::vector<std::weak_ptr<SimMediaSource>> sources;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        sources = mySources;
    }
    for (const auto& source : sources) {
        if (const auto locked = source.lock())
            locked->reloadRootGroup();
    }
}

int Backend::securityScopedStarts() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myStarts;
}

int Backend::securityScopedStops() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myStops;
}

int Backend::unbalancedSecurityScopedURLs() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return int(std::count_if(myAccessBalance.cbegin(), myAccessBalance.cend(), [](int balance) { return balance != 0; }));
}

QStringList Backend::mediaObjectLoads() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myObjectLoads;
}

void Backend::mediaObjectsLoaded(const QString& groupIdentifier)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myObjectLoads.append(groupIdentifier);
}

int Backend::unmatchedObserverRemovals() const { return KeyValueRegistry::shared().unmatchedRemovals(); }

std::unique_ptr<FrameworkImage> Backend::loadFramework(const QString& path)
{
    if (!myInstalled || path != QLatin1String(frameworkPath))
        return nullptr;
    ++myImages;
    return std::make_unique<SimFrameworkImage>(shared_from_this());
}

bool Backend::classExists(const QString& name) { return myInstalled && name == QLatin1String("MLMediaLibrary"); }

MediaLibraryPtr Backend::createMediaLibrary(const QVariantMap& options)
{
    if (!myInstalled)
        return nullptr;
    const QString includeKey = QString::fromLatin1(Constant::includeSourcesKey);
    std::optional<QStringList> included;
    if (options.contains(includeKey))
        included = options.value(includeKey).toStringList();
    return std::make_shared<SimMediaLibrary>(shared_from_this(), included);
}

bool Backend::startAccessingSecurityScopedResource(const QUrl& url)
{
    std::lock_guard<std::mutex> lock(myMutex);
    ++myStarts;
    ++myAccessBalance[url.toString()];
    return url.isLocalFile();
}

void Backend::stopAccessingSecurityScopedResource(const QUrl& url)
{
    std::lock_guard<std::mutex> lock(myMutex);
    ++myStops;
    --myAccessBalance[url.toString()];
}

QList<RunningApplication> Backend::runningApplications() { return Workspace::runningApplications(); }

bool Backend::takeEmptyReport()
{
    ++myReports;
    int remaining = myEmptyReports.load();
    // -1 stays -1; a positive count goes down to 0.
    while (remaining > 0 && !myEmptyReports.compare_exchange_weak(remaining, remaining - 1)) {
    }
    return remaining != 0;
}

void Backend::sourceCreated(const std::shared_ptr<SimMediaSource>& source)
{
    std::lock_guard<std::mutex> lock(myMutex);
    mySources.erase(std::remove_if(mySources.begin(), mySources.end(),
                                   [](const std::weak_ptr<SimMediaSource>& entry) { return entry.expired(); }),
                    mySources.end());
    mySources.push_back(source);
}

void install() { OrvMediaLibrary::setBackend(sharedBackend()); }

std::shared_ptr<Backend> sharedBackend()
{
    static const std::shared_ptr<Backend> backend = Backend::create();
    return backend;
}

} // namespace OrvMediaLibrarySim
