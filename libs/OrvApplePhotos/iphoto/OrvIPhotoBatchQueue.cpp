#include "OrvIPhotoBatchQueue.h"

namespace OrvIPhoto {

void BatchQueue::push(std::unique_ptr<Batch> batch)
{
    std::unique_lock<std::mutex> lock(myMutex);
    myRoom.wait(lock, [this] { return myBatches.size() < maxBatches; });
    myBatches.push_back(std::move(batch));
    myReady.notify_one();
}

std::unique_ptr<Batch> BatchQueue::pop()
{
    std::unique_lock<std::mutex> lock(myMutex);
    myReady.wait(lock, [this] { return !myBatches.empty() || myClosed; });
    if (myBatches.empty())
        return nullptr;
    std::unique_ptr<Batch> batch = std::move(myBatches.front());
    myBatches.pop_front();
    myRoom.notify_one();
    return batch;
}

void BatchQueue::close()
{
    const std::lock_guard<std::mutex> lock(myMutex);
    myClosed = true;
    myReady.notify_all();
}

} // namespace OrvIPhoto
