#include "OrvMediaLibrary.h"

#include <QDebug>

#include <atomic>
#include <mutex>

namespace OrvMediaLibrary {

KeyValueObserver::~KeyValueObserver() = default;
Object::~Object() = default;
FrameworkImage::~FrameworkImage() = default;
Backend::~Backend() = default;

namespace {

std::mutex backendMutex;
std::shared_ptr<Backend>& installed()
{
    static std::shared_ptr<Backend> backend;
    return backend;
}

// The backend is used outside the lock: its calls may take their time.
std::shared_ptr<Backend> backend()
{
    std::shared_ptr<Backend> current;
    {
        std::lock_guard<std::mutex> lock(backendMutex);
        current = installed();
    }
    static std::atomic<bool> told{false};
    if (!current && !told.exchange(true))
        qDebug() << "MediaLibrary: no backend installed";
    return current;
}

} // namespace

void setBackend(std::shared_ptr<Backend> newBackend)
{
    std::lock_guard<std::mutex> lock(backendMutex);
    installed() = std::move(newBackend);
}

std::unique_ptr<FrameworkImage> loadFramework(const QString& path)
{
    const auto current = backend();
    return current ? current->loadFramework(path) : nullptr;
}

bool classExists(const QString& name)
{
    const auto current = backend();
    return current && current->classExists(name);
}

MediaLibraryPtr createMediaLibrary(const QVariantMap& options)
{
    const auto current = backend();
    return current ? current->createMediaLibrary(options) : nullptr;
}

bool startAccessingSecurityScopedResource(const QUrl& url)
{
    const auto current = backend();
    return current && current->startAccessingSecurityScopedResource(url);
}

void stopAccessingSecurityScopedResource(const QUrl& url)
{
    if (const auto current = backend())
        current->stopAccessingSecurityScopedResource(url);
}

QList<RunningApplication> runningApplications()
{
    const auto current = backend();
    return current ? current->runningApplications() : QList<RunningApplication>();
}

bool typeIdentifiersEqual(const QString& first, const QString& second)
{
    return first.compare(second, Qt::CaseInsensitive) == 0;
}

} // namespace OrvMediaLibrary
