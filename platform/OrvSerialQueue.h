#pragma once

// A framework's own serial queue (a dispatch queue): one thread working off
// posted tasks in order. The backends deliver their callbacks on one.

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

class OrvSerialQueue
{
public:
    OrvSerialQueue();
    ~OrvSerialQueue();
    OrvSerialQueue(const OrvSerialQueue&) = delete;
    OrvSerialQueue& operator=(const OrvSerialQueue&) = delete;

    void post(std::function<void()> task);
    // Blocks until every task posted so far has run (not on the queue itself).
    void waitIdle();
    bool isCurrentThread() const;

private:
    // Shared with the thread: a task may drop the last owner of the queue, and the
    // thread must still find its lock and flags when that task returns.
    struct State
    {
        std::mutex mutex;
        std::condition_variable wake;
        std::condition_variable idle;
        std::deque<std::function<void()>> tasks;
        bool busy = false;
        bool stopping = false;
        bool abandoned = false;  // the owner went away on the thread itself
    };
    static void run(const std::shared_ptr<State>& state);

    std::shared_ptr<State> myState;
    std::thread myThread;
};
