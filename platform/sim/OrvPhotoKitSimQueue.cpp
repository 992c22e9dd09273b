#include "OrvPhotoKitSimQueue.h"

namespace OrvPhotoKitSim {

Queue::Queue() : myThread([this] { run(); }) {}

Queue::~Queue()
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myStopping = true;
    }
    myWake.notify_all();
    // The last owner may let go on the queue itself (from inside a task).
    if (isCurrentThread())
        myThread.detach();
    else
        myThread.join();
}

void Queue::post(std::function<void()> task)
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myTasks.push_back(std::move(task));
    }
    myWake.notify_one();
}

void Queue::waitIdle()
{
    if (isCurrentThread())
        return;
    std::unique_lock<std::mutex> lock(myMutex);
    myIdle.wait(lock, [this] { return myTasks.empty() && !myBusy; });
}

bool Queue::isCurrentThread() const { return std::this_thread::get_id() == myThread.get_id(); }

void Queue::run()
{
    std::unique_lock<std::mutex> lock(myMutex);
    for (;;) {
        myWake.wait(lock, [this] { return myStopping || !myTasks.empty(); });
        if (myTasks.empty())
            return;  // stopping, nothing left
        std::function<void()> task = std::move(myTasks.front());
        myTasks.pop_front();
        myBusy = true;
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
        myBusy = false;
        if (myTasks.empty())
            myIdle.notify_all();
    }
}

} // namespace OrvPhotoKitSim
