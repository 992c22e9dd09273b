#include "OrvExportJob.h"

#include "OrvFotoRetriever.h"

#include <QFileInfo>
#include <QMetaObject>

OrvExportJob::OrvExportJob(const QString& folder, const OrvFotoExporter::Options& options, const QList<Item>& items,
                           QObject* parent, int threads)
    : QObject(parent), myExporter(folder, options), myOptions(options), myItems(items),
      myThreadCount(threads > 0 ? threads : qBound(2, int(std::thread::hardware_concurrency()), 4))
{
    myNames.resize(myItems.size());
}

OrvExportJob::~OrvExportJob()
{
    myCancelled = true;
    for (std::thread& thread : myThreads) {
        if (thread.joinable())
            thread.join();
    }
}

void OrvExportJob::start()
{
    if (!myThreads.empty() || myFinished)
        return;
    if (!isOpen() || myItems.isEmpty()) {
        // Said on the next turn of the event loop, as a running job would.
        myStopped = !isOpen();
        QMetaObject::invokeMethod(this, &OrvExportJob::end, Qt::QueuedConnection);
        return;
    }
    const int count = qMin(myThreadCount, int(myItems.size()));
    myRunning = count;
    for (int i = 0; i < count; ++i)
        myThreads.emplace_back([this] { run(); });
}

void OrvExportJob::run()
{
    for (;;) {
        int index = 0;
        OrvFotoExporter::Target target;
        {
            // Taken and named in one step: the names follow the fotos' order.
            std::lock_guard<std::mutex> lock(myMutex);
            if (myCancelled || myStopped || myNext >= myItems.size())
                break;
            index = myNext++;
            target = myExporter.reserve(myItems.at(index).first);
        }
        const Item& item = myItems.at(index);
        QString name;
        QString error;
        const OrvFotoExporter::Result result = myExporter.write(item.first, target, item.second.get(), &name, &error);
        if (result == OrvFotoExporter::FolderRefused)
            myStopped = true;
        qint64 bytes = 0;
        if (result == OrvFotoExporter::Written) {
            bytes = QFileInfo(myExporter.folderPath() + QLatin1Char('/') + name).size();
            std::lock_guard<std::mutex> lock(myMutex);
            myNames[index] = name;
            ++myWritten;
        } else if (result == OrvFotoExporter::Skipped) {
            ++mySkipped;
        }
        const int done = ++myDone;
        QMetaObject::invokeMethod(
            this,
            [this, done, index, result, name, bytes, error] {
                emit fotoDone(index, int(result), name, bytes, error);
                emit progressed(done, total());
            },
            Qt::QueuedConnection);
    }
    std::lock_guard<std::mutex> lock(myMutex);
    if (--myRunning == 0)
        QMetaObject::invokeMethod(this, &OrvExportJob::end, Qt::QueuedConnection);
}

void OrvExportJob::end()
{
    if (myFinished)
        return;
    for (std::thread& thread : myThreads) {
        if (thread.joinable())
            thread.join();
    }
    myFinished = true;
    // A cancel that came after the last foto stopped nothing.
    emit finished(myWritten, total(), (myCancelled && myDone < total()) || myStopped);
}

QStringList OrvExportJob::writtenNames() const
{
    if (!myFinished)
        return {};
    QStringList names;
    for (const QString& name : myNames) {
        if (!name.isEmpty())
            names.append(name);
    }
    return names;
}
