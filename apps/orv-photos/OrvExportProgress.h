#pragma once

#include <QElapsedTimer>
#include <QString>

// What `orv-photos export` shows of its progress on standard output: on a
// terminal one line redrawn in place (a bar, n of N, photos and megabytes per
// second, the current name); elsewhere, for scripts and logs, a line per photo
// written or skipped.
class OrvExportProgress
{
public:
    explicit OrvExportProgress(int total);

    // One photo done: result is an OrvFotoExporter::Result, bytes what was written.
    void fotoDone(int result, const QString& name, qint64 bytes);
    // Before any other line: the bar's line is cleared.
    void clear();

private:
    const int myTotal;
    const bool myTerminal;
    int myDone = 0;
    qint64 myBytes = 0;
    bool myDirty = false;
    QElapsedTimer myClock;
    QElapsedTimer myShown;
};
