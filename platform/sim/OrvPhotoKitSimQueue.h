#pragma once

// The framework's own serial queue: one thread working off posted tasks.

#include <condition_variable>
#include <deque>
#include <functional>
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
    void run();

    mutable std::mutex myMutex;
    std::condition_variable myWake;
    std::condition_variable myIdle;
    std::deque<std::function<void()>> myTasks;
    bool myBusy = false;
    bool myStopping = false;
    std::thread myThread;
};

} // namespace OrvPhotoKitSim
