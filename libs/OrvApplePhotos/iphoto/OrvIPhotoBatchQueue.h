#pragma once

// Batches between the two threads; a full queue holds the reader back, so
// memory stays bounded. Private to the iphoto folder.

#include "OrvIPhotoBatch.h"

#include <QtGlobal>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

namespace OrvIPhoto {

class Q_DECL_HIDDEN BatchQueue
{
public:
    void push(std::unique_ptr<Batch> batch);
    // Null once the reader is done and everything was taken.
    std::unique_ptr<Batch> pop();
    void close();

private:
    static constexpr size_t maxBatches = 4;
    std::mutex myMutex;
    std::condition_variable myReady;
    std::condition_variable myRoom;
    std::deque<std::unique_ptr<Batch>> myBatches;
    bool myClosed = false;
};

} // namespace OrvIPhoto
