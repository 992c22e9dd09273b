#pragma once

// A property that the framework loads on first read: the read answers what is
// there (nothing at first) and tells the caller to start loading, once.

#include <mutex>

namespace OrvMediaLibrarySim {

template <class T>
class LazyProperty
{
public:
    // The value so far; *startLoad is true for the read that has to start loading.
    T read(bool* startLoad)
    {
        std::lock_guard<std::mutex> lock(myMutex);
        *startLoad = myState == State::NotLoaded;
        if (*startLoad)
            myState = State::Loading;
        return myValue;
    }
    T value() const
    {
        std::lock_guard<std::mutex> lock(myMutex);
        return myValue;
    }
    bool isLoaded() const
    {
        std::lock_guard<std::mutex> lock(myMutex);
        return myState == State::Loaded;
    }
    // Loading finished with value; reloading marks it loading again.
    void set(const T& value, bool reloading = false)
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myValue = value;
        myState = reloading ? State::Loading : State::Loaded;
    }
    // The next read loads again.
    void unload()
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myState = State::NotLoaded;
    }

private:
    enum class State { NotLoaded, Loading, Loaded };
    mutable std::mutex myMutex;
    T myValue{};
    State myState = State::NotLoaded;
};

} // namespace OrvMediaLibrarySim
