#include "OrvExportJob.h"

#include "OrvFotoRetriever.h"

#include <QMetaObject>

OrvExportJob::OrvExportJob(const QString& folder, const OrvFotoExporter::Options& options, const QList<Item>& items,
                           QObject* parent)
    : QObject(parent), myExporter(folder, options), myOptions(options), myItems(items)
{
}

OrvExportJob::~OrvExportJob()
{
    myCancelled = true;
    if (myThread.joinable())
        myThread.join();
}

void OrvExportJob::start()
{
    if (myThread.joinable() || myFinished)
        return;
    if (!isOpen() || myItems.isEmpty()) {
        // Said on the next turn of the event loop, as a running job would.
        myStopped = !isOpen();
        QMetaObject::invokeMethod(this, &OrvExportJob::end, Qt::QueuedConnection);
        return;
    }
    myThread = std::thread([this] { run(); });
}

void OrvExportJob::run()
{
    for (const Item& item : myItems) {
        if (myCancelled)
            break;
        QString name;
        const OrvFotoExporter::Result result = myExporter.write(item.first, item.second.get(), &name);
        if (result == OrvFotoExporter::FolderRefused) {
            myStopped = true;
            break;
        }
        if (result == OrvFotoExporter::Written) {
            myNames.append(name);
            ++myWritten;
        }
        const int done = ++myDone;
        QMetaObject::invokeMethod(this, [this, done] { emit progressed(done, total()); }, Qt::QueuedConnection);
    }
    QMetaObject::invokeMethod(this, &OrvExportJob::end, Qt::QueuedConnection);
}

void OrvExportJob::end()
{
    if (myFinished)
        return;
    if (myThread.joinable())
        myThread.join();
    myFinished = true;
    // A cancel that came after the last foto stopped nothing.
    emit finished(myWritten, total(), (myCancelled && myDone < total()) || myStopped);
}

QStringList OrvExportJob::writtenNames() const { return myFinished ? myNames : QStringList(); }
