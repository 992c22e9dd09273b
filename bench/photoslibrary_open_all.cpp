// Start and "All Photos" of a Photos library package through the PhotoKit
// source: the package read by its backend, the source started (its album tree)
// and "All Photos" opened until every photo it shows has reached the host.
// One run per process, so that a timer of the whole process and the peak
// memory see exactly this (scripts/bench-photoslibrary.sh runs it next to
// sqlite3 reading the same rows).
//
//   bench_photoslibrary_open_all LIBRARY.photoslibrary [--expect N]
//
// Without --expect the opening counts as done when no photo has come for a
// second (that second is not in the figures).

#include "OrvFotoCacheManager.h"
#include "OrvPhotoKitDatabase.h"
#include "PhotosLibraryBench.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    QElapsedTimer sinceStart;
    sinceStart.start();
    const qint64 startCpu = OrvBench::cpuNs();
    OrvBench::useOffscreenPlatform();
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments().mid(1);
    const QString package =
        OrvBench::packageArgument(arguments, "bench_photoslibrary_open_all LIBRARY.photoslibrary [--expect N]");
    if (package.isEmpty())
        return 2;
    const int expected = OrvBench::option(arguments, QStringLiteral("--expect"), QStringLiteral("-1")).toInt();
    const qint64 baseRss = OrvBench::statusField("VmRSS:");
    // Metadata of every photo stays in the cache, as in a session that keeps the library open.
    OrvSingleton<OrvFotoCacheManager>::instance()->setBudget(qint64(2) * 1024 * 1024 * 1024);

    if (!OrvBench::installPhotosLibrary(package))
        return 1;
    const qint64 openedMs = sinceStart.elapsed();
    OrvPhotoKitDatabase database;
    int inserted = 0;
    qint64 lastArrivalMs = 0;
    QObject::connect(&database, &OrvExternalDatabase::fotosInserted,
                     [&](const OrvExternalFotoList& fotos, const OrvExternalId& album) {
                         if (album == OrvBench::allPhotosId()) {
                             inserted += int(fotos.size());
                             lastArrivalMs = sinceStart.elapsed();
                         }
                     });
    database.doLazyInit();
    const qint64 startedMs = sinceStart.elapsed();
    database.fetchMore(OrvBench::allPhotosId().toUrl());
    bool complete = false;
    if (expected >= 0) {
        complete = OrvBench::runUntil([&] { return inserted >= expected; }, 600000);
    } else {
        OrvBench::runUntil([&] { return inserted > 0; }, 600000);
        complete = OrvBench::runUntil([&] { return inserted > 0 && sinceStart.elapsed() - lastArrivalMs > 1000; }, 600000);
    }
    const qint64 doneMs = inserted > 0 ? lastArrivalMs : sinceStart.elapsed();
    const qint64 cpuMs = (OrvBench::cpuNs() - startCpu) / 1000000;
    const qint64 peakKiB = OrvBench::statusField("VmHWM:");
    if (!complete || inserted <= 0 || (expected >= 0 && inserted != expected)) {
        std::fprintf(stderr, "All Photos: %d photos arrived, %d expected\n", inserted, expected);
        return 1;
    }
    std::printf("%7d photos  library read %6lld ms, source started %6lld ms, All Photos %6lld ms; "
                "total %6lld ms (%5.2f us/photo), CPU %6lld ms\n"
                "               memory: peak %lld MiB, %lld B/photo above the idle program (%lld MiB)\n",
                inserted, static_cast<long long>(openedMs), static_cast<long long>(startedMs - openedMs),
                static_cast<long long>(doneMs - startedMs), static_cast<long long>(doneMs),
                doneMs * 1000.0 / inserted, static_cast<long long>(cpuMs), static_cast<long long>(peakKiB / 1024),
                static_cast<long long>((peakKiB - baseRss) * 1024 / inserted), static_cast<long long>(baseRss / 1024));
    return 0;
}
