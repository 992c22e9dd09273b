#pragma once

// Key-value observation of one framework object on behalf of the interface's
// observers: each registration is a Foundation observer of its own that hands
// notifications to the interface's observer, naming the adapter of the
// observed object. What is still registered when the adapter goes is removed
// with it. Foundation delivers on the thread of the change; an observation
// asked for with the initial option hears the current value inside add().

#import <Foundation/Foundation.h>

#include "OrvMediaLibrary.h"

#include <memory>
#include <mutex>
#include <vector>

class OrvMacKeyValueObservation
{
public:
    explicit OrvMacKeyValueObservation(id observed) : myObserved(observed) {}
    ~OrvMacKeyValueObservation();
    OrvMacKeyValueObservation(const OrvMacKeyValueObservation&) = delete;
    OrvMacKeyValueObservation& operator=(const OrvMacKeyValueObservation&) = delete;

    // The interface's options and change kinds are Foundation's values.
    void add(const std::weak_ptr<OrvMediaLibrary::KeyValueObserver>& observer, const QString& keyPath,
             OrvMediaLibrary::KeyValueObservingOptions options, const void* context,
             const std::weak_ptr<OrvMediaLibrary::Object>& observed);
    // The first registration that matches; a debug line when none does.
    void remove(const OrvMediaLibrary::KeyValueObserver* observer, const QString& keyPath, const void* context);

private:
    struct Registration
    {
        const OrvMediaLibrary::KeyValueObserver* observer;
        QString keyPath;
        const void* context;
        id forwarder;
    };
    static void unregister(id observed, const Registration& registration);

    id myObserved;
    std::mutex myMutex;
    std::vector<Registration> myRegistrations;
};

// A framework object as one of the interface's observable objects: registrations
// go to its observation, and notifications name this adapter.
template <class Interface, class Adapter>
class OrvMacObserved : public Interface, public std::enable_shared_from_this<Adapter>
{
public:
    void addObserver(const std::weak_ptr<OrvMediaLibrary::KeyValueObserver>& observer, const QString& keyPath,
                     OrvMediaLibrary::KeyValueObservingOptions options, const void* context) override
    {
        myObservation.add(observer, keyPath, options, context, this->weak_from_this());
    }
    void removeObserver(const OrvMediaLibrary::KeyValueObserver* observer, const QString& keyPath,
                        const void* context) override
    {
        myObservation.remove(observer, keyPath, context);
    }

protected:
    explicit OrvMacObserved(id observed) : myObservation(observed) {}

private:
    OrvMacKeyValueObservation myObservation;
};
