#include "OrvSerialQueue.h"

OrvSerialQueue::OrvSerialQueue() : myState(std::make_shared<State>()), myThread(&OrvSerialQueue::run, myState) {}

OrvSerialQueue::~OrvSerialQueue()
{
    // The last owner may let go on the queue itself (from inside a task): then
    // the thread is left to end on its own, without the tasks still waiting.
    const bool onQueue = isCurrentThread();
    {
        std::lock_guard<std::mutex> lock(myState->mutex);
        myState->stopping = true;
        myState->abandoned = onQueue;
    }
    myState->wake.notify_all();
    if (onQueue)
        myThread.detach();
    else
        myThread.join();
}

void OrvSerialQueue::post(std::function<void()> task)
{
    {
        std::lock_guard<std::mutex> lock(myState->mutex);
        myState->tasks.push_back(std::move(task));
    }
    myState->wake.notify_one();
}

void OrvSerialQueue::waitIdle()
{
    if (isCurrentThread())
        return;
    std::unique_lock<std::mutex> lock(myState->mutex);
    myState->idle.wait(lock, [this] { return myState->tasks.empty() && !myState->busy; });
}

bool OrvSerialQueue::isCurrentThread() const { return std::this_thread::get_id() == myThread.get_id(); }

void OrvSerialQueue::run(const std::shared_ptr<State>& state)
{
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
        state->wake.wait(lock, [&] { return state->stopping || !state->tasks.empty(); });
        if (state->tasks.empty() || state->abandoned)
            break;  // stopping: what was posted before has run
        std::function<void()> task = std::move(state->tasks.front());
        state->tasks.pop_front();
        state->busy = true;
        lock.unlock();
        task();
        task = nullptr;  // may destroy the queue's owner, and the queue with it
        lock.lock();
        state->busy = false;
        if (state->tasks.empty())
            state->idle.notify_all();
    }
    // Tasks left behind by an abandoned queue go outside the lock: destroying one may take other locks.
    std::deque<std::function<void()>> left;
    left.swap(state->tasks);
    lock.unlock();
}
