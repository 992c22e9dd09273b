#pragma once

// One adapter for each framework object while anyone holds the adapter: the
// plug-in tells devices, items and media groups apart by their adapters'
// addresses. Adapters are made on demand and forget themselves as they go.

#include <map>
#include <memory>
#include <mutex>

template <class Wrapper>
class OrvMacWrapperCache
{
public:
    // The cache of this kind of adapter; never destroyed, as adapters may outlive the program's static objects.
    static OrvMacWrapperCache& shared()
    {
        static auto* cache = new OrvMacWrapperCache;
        return *cache;
    }

    // The live adapter of object, or the one make() builds now. make may wrap
    // other objects (an item's folder) through the same cache.
    template <class Make>
    std::shared_ptr<Wrapper> get(const void* object, Make make)
    {
        std::lock_guard<std::recursive_mutex> lock(myMutex);
        if (const auto existing = myWrappers[object].lock())
            return existing;
        std::shared_ptr<Wrapper> made = make();
        myWrappers[object] = made;
        return made;
    }

    // The live adapter of object; null when none lives.
    std::shared_ptr<Wrapper> find(const void* object) const
    {
        std::lock_guard<std::recursive_mutex> lock(myMutex);
        const auto it = myWrappers.find(object);
        return it == myWrappers.end() ? nullptr : it->second.lock();
    }

    // From an adapter's destructor: its entry goes, unless a new adapter took its place meanwhile.
    void forget(const void* object)
    {
        std::lock_guard<std::recursive_mutex> lock(myMutex);
        const auto it = myWrappers.find(object);
        if (it != myWrappers.end() && it->second.expired())
            myWrappers.erase(it);
    }

private:
    mutable std::recursive_mutex myMutex;
    std::map<const void*, std::weak_ptr<Wrapper>> myWrappers;
};
