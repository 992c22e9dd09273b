#pragma once

// Key-value observation of the simulated MediaLibrary objects: who observes
// which key path of which object, with what options and context. One registry
// for all objects, so that the many media objects nobody observes cost nothing.

#include "OrvMediaLibrary.h"

#include <QHash>
#include <QList>

#include <atomic>
#include <mutex>

namespace OrvMediaLibrarySim {

class KeyValueRegistry
{
public:
    static KeyValueRegistry& shared();

    void add(const OrvMediaLibrary::Object* object, const std::weak_ptr<OrvMediaLibrary::KeyValueObserver>& observer,
             const QString& keyPath, OrvMediaLibrary::KeyValueObservingOptions options, const void* context);
    // Removes the latest matching registration. One that does not exist is a
    // fault of the caller (the framework would throw): counted and logged.
    void remove(const OrvMediaLibrary::Object* object, const OrvMediaLibrary::KeyValueObserver* observer,
                const QString& keyPath, const void* context);
    // The object is going away.
    void forget(const OrvMediaLibrary::Object* object);

    int observerCount(const OrvMediaLibrary::Object* object, const QString& keyPath) const;
    // Tells the observers of keyPath that it was set. Called with no lock held:
    // observers call back into the objects.
    void notify(const OrvMediaLibrary::Object* object, const OrvMediaLibrary::ObjectPtr& self, const QString& keyPath) const;
    int unmatchedRemovals() const { return myUnmatchedRemovals.load(); }

private:
    struct Registration
    {
        std::weak_ptr<OrvMediaLibrary::KeyValueObserver> observer;
        const OrvMediaLibrary::KeyValueObserver* identity;
        QString keyPath;
        OrvMediaLibrary::KeyValueObservingOptions options;
        const void* context;
    };

    mutable std::mutex myMutex;
    QHash<const OrvMediaLibrary::Object*, QList<Registration>> myRegistrations;
    std::atomic<int> myUnmatchedRemovals{0};
};

// The observable part of a simulated object.
template <class Interface>
class Observable : public Interface, public std::enable_shared_from_this<Observable<Interface>>
{
public:
    ~Observable() override { KeyValueRegistry::shared().forget(this); }

    void addObserver(const std::weak_ptr<OrvMediaLibrary::KeyValueObserver>& observer, const QString& keyPath,
                     OrvMediaLibrary::KeyValueObservingOptions options, const void* context) override
    {
        KeyValueRegistry::shared().add(this, observer, keyPath, options, context);
        if (!(options & OrvMediaLibrary::KeyValueObservingOptionInitial))
            return;
        // The current value, at once and on this thread, as Foundation does.
        if (const auto locked = observer.lock())
            locked->observeValueForKeyPath(keyPath, self(), OrvMediaLibrary::KeyValueChange(), context);
    }
    void removeObserver(const OrvMediaLibrary::KeyValueObserver* observer, const QString& keyPath,
                        const void* context) override
    {
        KeyValueRegistry::shared().remove(this, observer, keyPath, context);
    }
    int observerCount(const QString& keyPath) const { return KeyValueRegistry::shared().observerCount(this, keyPath); }

protected:
    OrvMediaLibrary::ObjectPtr self() { return this->shared_from_this(); }
    void didChangeValueForKey(const QString& keyPath) { KeyValueRegistry::shared().notify(this, self(), keyPath); }
};

} // namespace OrvMediaLibrarySim
