#pragma once

// Where a backend of a platform framework installs itself: the program that
// runs the plug-in sets a provider, the plug-in asks for the framework's
// object. Without a provider the answer is null, and one debug line says so.

#include <QDebug>

#include <atomic>
#include <functional>
#include <mutex>

template <typename Ptr>
class OrvBackendSlot
{
public:
    using Provider = std::function<Ptr()>;

    explicit OrvBackendSlot(const char* noBackend) : myNoBackend(noBackend) {}

    void set(Provider provider)
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myProvider = std::move(provider);
    }

    Ptr get()
    {
        Provider current;
        {
            std::lock_guard<std::mutex> lock(myMutex);
            current = myProvider;
        }
        // Called outside the lock: a backend may take its time to make its object.
        if (current)
            return current();
        if (!myTold.exchange(true))
            qDebug() << myNoBackend;
        return {};
    }

private:
    const char* myNoBackend;
    std::mutex myMutex;
    Provider myProvider;
    std::atomic<bool> myTold{false};
};
