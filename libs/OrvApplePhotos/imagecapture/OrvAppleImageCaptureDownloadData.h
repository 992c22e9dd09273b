#pragma once

#include <QString>

#include <condition_variable>

// One pending download: whom to wake and, once it is on disk, where the file is.
class OrvAppleImageCaptureDownloadData
{
public:
    OrvAppleImageCaptureDownloadData() = default;

    // Not owned: it lives on the waiting thread's stack.
    std::condition_variable* waitCondition() const { return myWaitCondition; }
    void setWaitCondition(std::condition_variable* waitCondition) { myWaitCondition = waitCondition; }
    const QString& uuidFilename() const { return myUuidFilename; }
    void setUuidFilename(const QString& path) { myUuidFilename = path; }

private:
    std::condition_variable* myWaitCondition = nullptr;
    QString myUuidFilename;
};
