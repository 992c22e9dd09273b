// A photo added to a Photos library package while the PhotoKit source shows it:
// scripts/make-photoslibrary.py --add-one writes it as Photos does (files, rows,
// one history transaction, committed to the write-ahead log) and says when it
// committed; the figure is the time from that commit until the source hands the
// photo to the host (fotosInserted). The library grows by one photo a round:
// run it on a copy.
//
//   bench_photoslibrary_change LIBRARY.photoslibrary [--rounds 5] [--expect N]

#include "OrvPhotoKitDatabase.h"
#include "PhotosLibraryBench.h"

#include <QApplication>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <algorithm>
#include <cstdio>

int main(int argc, char** argv)
{
    OrvBench::useOffscreenPlatform();
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments().mid(1);
    const QString package =
        OrvBench::packageArgument(arguments, "bench_photoslibrary_change LIBRARY.photoslibrary [--rounds N] [--expect N]");
    if (package.isEmpty())
        return 2;
    const int rounds = qMax(1, OrvBench::option(arguments, QStringLiteral("--rounds"), QStringLiteral("5")).toInt());
    const int expected = OrvBench::option(arguments, QStringLiteral("--expect"), QStringLiteral("-1")).toInt();
    const QString script = QStringLiteral(ORV_BENCH_SOURCE_DIR "/../scripts/make-photoslibrary.py");

    if (!OrvBench::installPhotosLibrary(package))
        return 1;
    OrvPhotoKitDatabase database;
    int inserted = 0;
    qint64 lastArrival = 0;
    // When each photo reached the host, by its remote id.
    QHash<QString, qint64> arrivals;
    QObject::connect(&database, &OrvExternalDatabase::fotosInserted,
                     [&](const OrvExternalFotoList& fotos, const OrvExternalId& album) {
                         const qint64 now = OrvBench::monotonicNs();
                         if (album == OrvBench::allPhotosId()) {
                             inserted += int(fotos.size());
                             lastArrival = now;
                         }
                         for (const OrvExternalFoto& foto : fotos)
                             arrivals.insert(foto.id().remoteId(), now);
                     });
    database.doLazyInit();
    database.fetchMore(OrvBench::allPhotosId().toUrl());
    const bool loaded = expected >= 0
        ? OrvBench::runUntil([&] { return inserted >= expected; }, 600000)
        : OrvBench::runUntil([&] { return inserted > 0 && OrvBench::monotonicNs() - lastArrival > 2000000000LL; }, 600000);
    if (!loaded) {
        std::fprintf(stderr, "All Photos did not open (%d photos)\n", inserted);
        return 1;
    }
    std::printf("All Photos open with %d photos\n", inserted);

    QList<double> latencies;
    for (int round = 0; round < rounds; ++round) {
        // Apart enough that each photo is a change of its own.
        const qint64 pause = OrvBench::monotonicNs();
        OrvBench::runUntil([&] { return OrvBench::monotonicNs() - pause > 1500000000LL; }, 5000);
        QProcess add;
        add.start(QStringLiteral("python3"), {script, QStringLiteral("--add-one"), package});
        if (!OrvBench::runUntil([&] { return add.state() == QProcess::NotRunning; }, 120000) || add.exitCode() != 0) {
            std::fprintf(stderr, "make-photoslibrary.py --add-one failed: %s\n", add.readAllStandardError().constData());
            return 1;
        }
        const QJsonObject added = QJsonDocument::fromJson(add.readAllStandardOutput()).object();
        const QString localIdentifier = added.value(QStringLiteral("localIdentifier")).toString();
        const QString remoteId = OrvPhotoKitDatabase::fromLocalIdentifier(localIdentifier);
        const qint64 committed = qint64(added.value(QStringLiteral("committedNs")).toDouble());
        if (remoteId.isEmpty() || committed <= 0) {
            std::fprintf(stderr, "make-photoslibrary.py --add-one said nothing of use\n");
            return 1;
        }
        if (!OrvBench::runUntil([&] { return arrivals.contains(remoteId); }, 30000)) {
            std::fprintf(stderr, "round %d: the photo did not arrive within 30 s of its commit\n", round + 1);
            return 1;
        }
        latencies.append((arrivals.value(remoteId) - committed) / 1e6);
        std::printf("round %d: %s arrived %.0f ms after its commit\n", round + 1,
                    qPrintable(added.value(QStringLiteral("uuid")).toString()), latencies.last());
        std::fflush(stdout);
    }
    std::sort(latencies.begin(), latencies.end());
    std::printf("commit to fotosInserted: median %.0f ms, max %.0f ms over %d rounds (%d photos in the library)\n",
                latencies.at(latencies.size() / 2), latencies.last(), int(latencies.size()), inserted);
    return 0;
}
