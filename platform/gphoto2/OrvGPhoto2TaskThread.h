#pragma once

// One thread working off posted tasks by priority: what one camera (or the
// detection) does, in the order that keeps the user waiting least. Tasks of
// equal priority run in the order they were posted.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace OrvGPhoto2 {

class TaskThread
{
public:
    enum Priority { High = 0, Normal = 1, Low = 2 };

    TaskThread();
    // Runs what is still posted only if it is High; the rest is dropped.
    ~TaskThread();
    TaskThread(const TaskThread&) = delete;
    TaskThread& operator=(const TaskThread&) = delete;

    void post(Priority priority, std::function<void()> task);
    bool isCurrentThread() const;
    // Whether a task of that priority waits: long work of lower priority steps aside for it.
    bool hasWaiting(Priority priority) const;
    // Low tasks wait until then, unless nothing else is left to do by then:
    // a run of downloads is not broken up by thumbnails, which go on after it.
    void holdLow(std::chrono::milliseconds duration);
    // Blocks until every task posted so far has run (not on the thread itself).
    void waitIdle();
    // Tests hold the thread between tasks, to line up what it will find.
    void suspend();
    void resume();

private:
    void run();

    mutable std::mutex myMutex;
    std::condition_variable myWake;
    std::condition_variable myIdle;
    std::deque<std::function<void()>> myTasks[3];
    std::chrono::steady_clock::time_point myLowHeldUntil;
    bool myBusy = false;
    bool mySuspended = false;
    bool myStopping = false;
    std::thread myThread;
};

} // namespace OrvGPhoto2
