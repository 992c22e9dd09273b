#include "OrvMediaLibrarySimKeyValueRegistry.h"

#include <QDebug>

using namespace OrvMediaLibrary;

namespace OrvMediaLibrarySim {

KeyValueRegistry& KeyValueRegistry::shared()
{
    // Never destroyed: objects may outlive the end of main.
    static auto* registry = new KeyValueRegistry;
    return *registry;
}

void KeyValueRegistry::add(const Object* object, const std::weak_ptr<KeyValueObserver>& observer, const QString& keyPath,
                           KeyValueObservingOptions options, const void* context)
{
    const auto locked = observer.lock();
    if (!locked)
        return;
    std::lock_guard<std::mutex> lock(myMutex);
    myRegistrations[object].append(Registration{observer, locked.get(), keyPath, options, context});
}

void KeyValueRegistry::remove(const Object* object, const KeyValueObserver* observer, const QString& keyPath,
                              const void* context)
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        const auto it = myRegistrations.find(object);
        if (it != myRegistrations.end()) {
            QList<Registration>& registrations = *it;
            for (qsizetype i = registrations.size() - 1; i >= 0; --i) {
                const Registration& entry = registrations.at(i);
                if (entry.identity == observer && entry.keyPath == keyPath && entry.context == context) {
                    registrations.removeAt(i);
                    if (registrations.isEmpty())
                        myRegistrations.erase(it);
                    return;
                }
            }
        }
    }
    ++myUnmatchedRemovals;
    qDebug() << "MediaLibrary simulation: removing an observer of" << keyPath << "that is not registered";
}

void KeyValueRegistry::forget(const Object* object)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myRegistrations.remove(object);
}

int KeyValueRegistry::observerCount(const Object* object, const QString& keyPath) const
{
    std::lock_guard<std::mutex> lock(myMutex);
    int count = 0;
    for (const Registration& entry : myRegistrations.value(object))
        count += entry.keyPath == keyPath ? 1 : 0;
    return count;
}

void KeyValueRegistry::notify(const Object* object, const ObjectPtr& self, const QString& keyPath) const
{
    QList<Registration> targets;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        for (const Registration& entry : myRegistrations.value(object)) {
            if (entry.keyPath == keyPath)
                targets.append(entry);
        }
    }
    for (const Registration& entry : std::as_const(targets)) {
        if (const auto observer = entry.observer.lock())
            observer->observeValueForKeyPath(keyPath, self, KeyValueChange{KeyValueChangeKind::Setting}, entry.context);
    }
}

} // namespace OrvMediaLibrarySim
