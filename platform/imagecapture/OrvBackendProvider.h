#pragma once

// Where a backend installs itself: the function that makes a framework's
// entry object. The program that runs the plug-in installs a backend before
// the plug-in first asks; the plug-in never names one.

#include <QDebug>

#include <atomic>
#include <functional>
#include <mutex>

template<typename Result>
class OrvBackendProvider
{
public:
    using Function = std::function<Result()>;

    void install(Function function)
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myFunction = std::move(function);
    }

    // The installed backend's answer; empty, and one debug line, while none is installed.
    Result make(const char* framework)
    {
        Function current;
        {
            std::lock_guard<std::mutex> lock(myMutex);
            current = myFunction;
        }
        // Called outside the lock: a backend may take its time.
        if (current)
            return current();
        if (!myTold.exchange(true))
            qDebug().noquote() << framework << "no backend installed";
        return {};
    }

private:
    std::mutex myMutex;
    Function myFunction;
    std::atomic<bool> myTold{false};
};
