#include "Commands.h"

#include "OrvExportJob.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoExporter.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaLoader.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include <memory>

namespace {

// SIGINT and SIGTERM as a byte on a pipe, read by the event loop.
int interruptPipe[2] = {-1, -1};

void onInterrupt(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(interruptPipe[1], &byte, 1);
}

// Catches SIGINT and SIGTERM while it lives; the first one calls stop, a second one ends the program as usual.
class OrvInterruptGuard
{
public:
    explicit OrvInterruptGuard(const std::function<void()>& stop)
    {
        if (::pipe2(interruptPipe, O_CLOEXEC | O_NONBLOCK) != 0)
            return;
        myNotifier = std::make_unique<QSocketNotifier>(interruptPipe[0], QSocketNotifier::Read);
        QObject::connect(myNotifier.get(), &QSocketNotifier::activated, [this, stop] {
            char byte = 0;
            while (::read(interruptPipe[0], &byte, 1) > 0) {
            }
            restore();
            stop();
        });
        struct sigaction action {};
        action.sa_handler = onInterrupt;
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGINT, &action, &myOldInt);
        ::sigaction(SIGTERM, &action, &myOldTerm);
        myInstalled = true;
    }
    ~OrvInterruptGuard()
    {
        restore();
        myNotifier.reset();
        for (int& fd : interruptPipe) {
            if (fd >= 0)
                ::close(fd);
            fd = -1;
        }
    }

private:
    void restore()
    {
        if (!myInstalled)
            return;
        myInstalled = false;
        ::sigaction(SIGINT, &myOldInt, nullptr);
        ::sigaction(SIGTERM, &myOldTerm, nullptr);
    }

    std::unique_ptr<QSocketNotifier> myNotifier;
    struct sigaction myOldInt {};
    struct sigaction myOldTerm {};
    bool myInstalled = false;
};

// On a terminal one line redrawn in place; elsewhere a line per foto.
class OrvExportProgress
{
public:
    explicit OrvExportProgress(int total) : myTotal(total), myTerminal(::isatty(STDOUT_FILENO) == 1) { myClock.start(); }

    void fotoDone(int result, const QString& name, qint64 bytes)
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
    // Before any other line: the bar's line is cleared.
    void clear()
    {
        if (!myDirty)
            return;
        myDirty = false;
        out() << "\r\x1b[K";
        out().flush();
    }

private:
    const int myTotal;
    const bool myTerminal;
    int myDone = 0;
    qint64 myBytes = 0;
    bool myDirty = false;
    QElapsedTimer myClock;
    QElapsedTimer myShown;
};

QString skippedText(int skipped)
{
    return skipped > 0 ? OrvCommandLine::tr("; %1 skipped, there already").arg(skipped) : QString();
}

// What would be written, by the names the fotos would get; nothing is made.
int planExport(const OrvExternalFotoList& fotos, const QString& outDir, const OrvFotoExporter::Options& options)
{
    OrvFotoExporter exporter(outDir, options, true);
    if (!exporter.isOpen() && QFileInfo(outDir).exists()) {
        fail("export") << OrvCommandLine::tr("cannot create %1: %2").arg(outDir, exporter.errorString()) << "\n";
        return 1;
    }
    int named = 0;
    int skipped = 0;
    for (const OrvExternalFoto& foto : fotos) {
        const OrvFotoExporter::Target target = exporter.reserve(foto);
        const QString source = exporter.sourceName(foto).isEmpty() ? foto.id().toString() : exporter.sourceName(foto);
        if (target.name.isEmpty()) {
            fail("export") << OrvCommandLine::tr("no free name for %1").arg(source) << "\n";
            continue;
        }
        // Names only: nothing is fetched to compare sizes.
        if (target.skip || !target.existing.isEmpty()) {
            out() << OrvCommandLine::tr("%1 → %2 (there already, skipped)")
                         .arg(source, target.skip ? target.name : target.existing)
                  << "\n";
            ++skipped;
            continue;
        }
        ++named;
        out() << OrvCommandLine::tr("%1 → %2").arg(source, target.name) << "\n";
    }
    const QString shownPath = QDir::cleanPath(QFileInfo(outDir).absoluteFilePath());
    out() << OrvCommandLine::tr("would write %1 of %2 to %3").arg(named).arg(photoCount(fotos.size()), shownPath)
          << skippedText(skipped) << "\n";
    return named + skipped == fotos.size() ? 0 : 2;
}

} // namespace

int commandExport(const OrvArguments& arguments)
{
    int waitMs = 0;
    if (!waitOption(arguments, "export", &waitMs))
        return 1;
    const QString service = arguments.value(QStringLiteral("source"));
    const QString albumName = arguments.value(QStringLiteral("album"));
    const QString sizeText = arguments.value(QStringLiteral("size"));
    const QString formatText = arguments.value(QStringLiteral("format"));
    const QString outDir = arguments.value(QStringLiteral("out"));
    const bool full = sizeText == QLatin1String("full");
    bool ok = full;
    const int edge = full ? 0 : sizeText.toInt(&ok);
    if (!ok || (!full && edge <= 0)) {
        fail("export") << OrvCommandLine::tr("--size takes a positive number or full, not %1").arg(sizeText) << "\n";
        return 1;
    }
    if (outDir.isEmpty()) {
        fail("export") << OrvCommandLine::tr("--out needs a folder") << "\n";
        return 1;
    }
    const bool original = formatText == QLatin1String("original");
    const OrvMediaFormat format = original ? OrvMediaFormat() : OrvMediaFormat(formatText);

    OrvExternalDatabase* database = findSource(service, "export");
    if (!database)
        return 1;
    // A device's catalogue says when it is complete: once it has the album, no quiet time is waited for.
    const auto albumThere = [database, &albumName] {
        const OrvExternalAlbumList albums = database->albums();
        for (const OrvExternalAlbum& album : albums) {
            if (album.url().toString() == albumName || album.url().toString(QUrl::FullyEncoded) == albumName)
                return true;
        }
        return albums.findAlbumIdByVisibleName(albumName).isValid();
    };
    openAllAlbums({database}, waitMs, waitMs > 0 ? std::function<bool()>(albumThere) : std::function<bool()>());
    const OrvExternalId albumId = findAlbum(database, albumName, "export");
    if (!albumId.isValid())
        return 1;

    OrvFotoExporter::Options options;
    options.full = full;
    options.edge = edge;
    options.format = format;
    options.skipExisting = arguments.isSet(QStringLiteral("skip-existing"));
    // A folder: the fotos of its albums.
    const OrvExternalFotoList fotos = database->getExternalDataPoolConst().fotosInAlbumTree(albumId);
    if (arguments.isSet(QStringLiteral("dry-run")))
        return planExport(fotos, outDir, options);

    // Made here, on the thread the sources live on; the job's threads call them.
    QList<OrvExportJob::Item> items;
    for (const OrvExternalFoto& foto : fotos)
        items.append({foto, std::shared_ptr<OrvFotoRetrieverInterface>(database->createRetrieverInterface(foto.id()))});
    OrvExportJob job(outDir, options, items, nullptr, 0);
    if (!job.isOpen()) {
        fail("export") << OrvCommandLine::tr("cannot create %1: %2").arg(outDir, job.errorString()) << "\n";
        return 1;
    }
    OrvExportProgress progress(int(fotos.size()));
    bool refused = false;
    QObject::connect(&job, &OrvExportJob::fotoDone,
                     [&](int index, int result, const QString& name, qint64 bytes, const QString& error) {
                         const QString path = job.folderPath() + QLatin1Char('/') + name;
                         if (result == OrvFotoExporter::WriteFailed) {
                             progress.clear();
                             fail("export") << OrvCommandLine::tr("cannot write %1: %2").arg(path, error) << "\n";
                         } else if (result == OrvFotoExporter::FolderRefused && !refused) {
                             // Said once: every other foto would fail alike.
                             progress.clear();
                             fail("export")
                                 << OrvCommandLine::tr("cannot write into %1: %2").arg(job.folderPath(), error) << "\n";
                             refused = true;
                         } else if (result == OrvFotoExporter::Nothing) {
                             progress.clear();
                             fail("export") << OrvCommandLine::tr("nothing for %1").arg(fotos.at(index).id().toString())
                                            << "\n";
                         }
                         progress.fotoDone(result, name, bytes);
                     });
    QEventLoop loop;
    QObject::connect(&job, &OrvExportJob::finished, &loop, &QEventLoop::quit);
    bool interrupted = false;
    {
        // The fotos being written are finished (or leave nothing); no new one is begun.
        const OrvInterruptGuard guard([&] {
            interrupted = true;
            job.cancel();
        });
        job.start();
        loop.exec();
    }
    progress.clear();
    if (interrupted)
        fail("export") << OrvCommandLine::tr("interrupted") << "\n";
    const QString shownPath = QFileInfo(outDir).absoluteFilePath();
    out() << OrvCommandLine::tr("wrote %1 of %2 to %3").arg(job.written()).arg(photoCount(fotos.size()), QDir::cleanPath(shownPath))
          << skippedText(job.skipped()) << "\n";
    out().flush();
    if (interrupted)
        return 130;
    return job.written() + job.skipped() == fotos.size() ? 0 : 2;
}
