#pragma once

// The framework's own serial queue: one thread working off posted tasks.

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace OrvPhotoKitSim {

class Queue
{
public:
    Queue();
    ~Queue();
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

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

} // namespace OrvPhotoKitSim
