#include "OrvExportProgress.h"

#include "Commands.h"
#include "OrvFotoExporter.h"

#include <unistd.h>

OrvExportProgress::OrvExportProgress(int total) : myTotal(total), myTerminal(::isatty(STDOUT_FILENO) == 1)
{
    myClock.start();
}

void OrvExportProgress::fotoDone(int result, const QString& name, qint64 bytes)
{
    ++myDone;
    myBytes += bytes;
    if (!myTerminal) {
        if (result == OrvFotoExporter::Written)
            out() << OrvCommandLine::tr("wrote %1 (%2 of %3)").arg(name).arg(myDone).arg(myTotal) << "\n";
        else if (result == OrvFotoExporter::Skipped)
            out() << OrvCommandLine::tr("skipped %1, it is there already (%2 of %3)").arg(name).arg(myDone).arg(myTotal)
                  << "\n";
        out().flush();
        return;
    }
    // Redrawn a few times a second at most: a terminal is slower than a fast camera.
    if (myDone < myTotal && myShown.isValid() && myShown.elapsed() < 100)
        return;
    myShown.start();
    const double seconds = qMax<qint64>(1, myClock.elapsed()) / 1000.0;
    const int width = 20;
    const int filled = myTotal > 0 ? int(qint64(myDone) * width / myTotal) : width;
    const QString shownName = name.size() > 40 ? name.left(39) + QChar(0x2026) : name;
    out() << "\r[" << QString(filled, QLatin1Char('#')) << QString(width - filled, QLatin1Char('.')) << "] "
          << OrvCommandLine::tr("%1 of %2").arg(myDone).arg(myTotal) << "  "
          << OrvCommandLine::tr("%1 photos/s").arg(myDone / seconds, 0, 'f', 1) << "  "
          << OrvCommandLine::tr("%1 MB/s").arg(myBytes / seconds / 1e6, 0, 'f', 1) << "  " << shownName << "\x1b[K";
    out().flush();
    myDirty = true;
}

void OrvExportProgress::clear()
{
    if (!myDirty)
        return;
    myDirty = false;
    out() << "\r\x1b[K";
    out().flush();
}
