#pragma once

#include "OrvExternalFoto.h"
#include "OrvFotoExporter.h"

#include <QList>
#include <QObject>
#include <QPair>
#include <QString>

#include <atomic>
#include <memory>
#include <thread>

class OrvFotoRetrieverInterface;

// Fotos written into a folder by an OrvFotoExporter on a thread of its own,
// one after the other, so that the window goes on while they are fetched.
// The retrievers are made on the caller's thread (sources make them there).
// Cancelling stops after the foto being written. Progress and the end are
// reported on the thread the job lives in.
class OrvExportJob : public QObject
{
    Q_OBJECT
public:
    using Item = QPair<OrvExternalFoto, std::shared_ptr<OrvFotoRetrieverInterface>>;

    OrvExportJob(const QString& folder, const OrvFotoExporter::Options& options, const QList<Item>& items,
                 QObject* parent = nullptr);
    // Cancels and waits for the foto being written.
    ~OrvExportJob() override;

    // False when the folder cannot be made (errorString says why); nothing runs then.
    bool isOpen() const { return myExporter.isOpen(); }
    QString errorString() const { return myExporter.errorString(); }
    QString folderPath() const { return myExporter.folderPath(); }
    const OrvFotoExporter::Options& options() const { return myOptions; }

    void start();
    void cancel() { myCancelled = true; }
    bool isCancelled() const { return myCancelled; }
    bool isRunning() const { return myThread.joinable() && !myFinished; }

    int total() const { return int(myItems.size()); }
    int done() const { return myDone; }
    int written() const { return myWritten; }
    // The names of the files written, in the order of the fotos.
    QStringList writtenNames() const;

signals:
    void progressed(int done, int total);
    // stopped: cancelled, or the folder took no file at all.
    void finished(int written, int total, bool stopped);

private:
    void run();
    void end();

    OrvFotoExporter myExporter;
    const OrvFotoExporter::Options myOptions;
    const QList<Item> myItems;
    QStringList myNames;  // written by the thread; read once it is joined
    std::atomic<bool> myCancelled{false};
    std::atomic<bool> myStopped{false};
    std::atomic<int> myDone{0};
    std::atomic<int> myWritten{0};
    bool myFinished = false;
    std::thread myThread;
};
