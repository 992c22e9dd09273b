#pragma once

#include "OrvExternalFoto.h"
#include "OrvFotoExporter.h"

#include <QList>
#include <QObject>
#include <QPair>
#include <QString>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class OrvFotoRetrieverInterface;

// Fotos written into a folder by an OrvFotoExporter on a few threads of its
// own, so that the window (or the command line's event loop, which the
// sources' downloads are delivered on) goes on while they are fetched. The
// fotos are taken, and named, in their order; a slow one (a camera's
// download) does not hold up the others. The retrievers are made on the
// caller's thread (sources make them there). Cancelling stops taking fotos;
// those being written are finished. Progress and the end are reported on the
// thread the job lives in.
class OrvExportJob : public QObject
{
    Q_OBJECT
public:
    using Item = QPair<OrvExternalFoto, std::shared_ptr<OrvFotoRetrieverInterface>>;

    // threads 0: two to four, by the processors there are; the window's
    // exports take one (a cancel there stops after the foto being written).
    OrvExportJob(const QString& folder, const OrvFotoExporter::Options& options, const QList<Item>& items,
                 QObject* parent = nullptr, int threads = 1);
    // Cancels and waits for the fotos being written.
    ~OrvExportJob() override;

    // False when the folder cannot be made (errorString says why); nothing runs then.
    bool isOpen() const { return myExporter.isOpen(); }
    QString errorString() const { return myExporter.errorString(); }
    QString folderPath() const { return myExporter.folderPath(); }
    const OrvFotoExporter::Options& options() const { return myOptions; }

    void start();
    void cancel() { myCancelled = true; }
    bool isCancelled() const { return myCancelled; }
    bool isRunning() const { return !myThreads.empty() && !myFinished; }

    int total() const { return int(myItems.size()); }
    int done() const { return myDone; }
    int written() const { return myWritten; }
    int skipped() const { return mySkipped; }
    // The names of the files written, in the order of the fotos.
    QStringList writtenNames() const;

signals:
    void progressed(int done, int total);
    // One foto done: what became of it (an OrvFotoExporter::Result), the
    // name it got, the bytes written and, when it was not written, why.
    void fotoDone(int index, int result, const QString& name, qint64 bytes, const QString& error);
    // stopped: cancelled, or the folder took no file at all.
    void finished(int written, int total, bool stopped);

private:
    void run();
    void end();

    OrvFotoExporter myExporter;
    const OrvFotoExporter::Options myOptions;
    const QList<Item> myItems;
    const int myThreadCount;
    std::mutex myMutex;
    int myNext = 0;              // the next foto to take; under myMutex
    QStringList myNames;         // by foto; under myMutex
    int myRunning = 0;           // threads not yet through; under myMutex
    std::atomic<bool> myCancelled{false};
    std::atomic<bool> myStopped{false};
    std::atomic<int> myDone{0};
    std::atomic<int> myWritten{0};
    std::atomic<int> mySkipped{0};
    bool myFinished = false;
    std::vector<std::thread> myThreads;
};
