#include "OrvGPhoto2TaskThread.h"

namespace OrvGPhoto2 {

TaskThread::TaskThread() : myThread([this] { run(); }) {}

TaskThread::~TaskThread()
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myStopping = true;
        mySuspended = false;
        myTasks[Normal].clear();
        myTasks[Low].clear();
    }
    myWake.notify_all();
    if (isCurrentThread())
        myThread.detach();
    else
        myThread.join();
}

void TaskThread::post(Priority priority, std::function<void()> task)
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        if (myStopping && priority != High)
            return;
        myTasks[priority].push_back(std::move(task));
    }
    myWake.notify_one();
}

bool TaskThread::isCurrentThread() const { return std::this_thread::get_id() == myThread.get_id(); }

bool TaskThread::hasWaiting(Priority priority) const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return !myTasks[priority].empty();
}

void TaskThread::holdLow(std::chrono::milliseconds duration)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myLowHeldUntil = std::chrono::steady_clock::now() + duration;
}

void TaskThread::waitIdle()
{
    if (isCurrentThread())
        return;
    std::unique_lock<std::mutex> lock(myMutex);
    myIdle.wait(lock, [this] {
        return myTasks[High].empty() && myTasks[Normal].empty() && myTasks[Low].empty() && !myBusy;
    });
}

void TaskThread::suspend()
{
    std::lock_guard<std::mutex> lock(myMutex);
    mySuspended = true;
}

void TaskThread::resume()
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        mySuspended = false;
    }
    myWake.notify_all();
}

void TaskThread::run()
{
    std::unique_lock<std::mutex> lock(myMutex);
    for (;;) {
        myWake.wait(lock, [this] {
            return myStopping || (!mySuspended && (!myTasks[High].empty() || !myTasks[Normal].empty() || !myTasks[Low].empty()));
        });
        if (!myStopping && myTasks[High].empty() && myTasks[Normal].empty() && !myTasks[Low].empty()
            && std::chrono::steady_clock::now() < myLowHeldUntil) {
            myWake.wait_until(lock, myLowHeldUntil);
            continue;
        }
        std::deque<std::function<void()>>* queue = nullptr;
        for (auto& tasks : myTasks) {
            if (!tasks.empty()) {
                queue = &tasks;
                break;
            }
        }
        if (!queue)
            return;  // stopping, nothing left
        std::function<void()> task = std::move(queue->front());
        queue->pop_front();
        myBusy = true;
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
        myBusy = false;
        if (myTasks[High].empty() && myTasks[Normal].empty() && myTasks[Low].empty())
            myIdle.notify_all();
    }
}

} // namespace OrvGPhoto2
