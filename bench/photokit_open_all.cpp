// Opening "all" of a large Photos library through the PhotoKit source, on the
// simulated library: the years pass of startFetch, then fetchMore("all"), which
// builds one foto per asset, caches its metadata and hands all to the host in
// one fotosInserted.
//
//   bench_photokit_open_all [ASSETS ...]     (default: 10000 100000)
//
// Each size runs in a child process of its own, so that peak memory is its own.

#include "BenchSupport.h"
#include "OrvFotoCacheManager.h"
#include "OrvPhotoKitDatabase.h"
#include "OrvPhotoKitLoader.h"
#include "sim/OrvPhotoKitSimLibrary.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>

#include <cstdio>

namespace {

using OrvBench::cpuNs;
using OrvBench::statusField;

std::shared_ptr<OrvPhotoKitSim::Library> makeLibrary(int count)
{
    auto library = OrvPhotoKitSim::Library::create();
    library->setAuthorizationStatus(OrvPhotoKit::AuthorizationStatus::Authorized);
    const QDateTime start = QDateTime::fromString(QStringLiteral("2005-01-01T08:00:00Z"), Qt::ISODate);
    library->performChanges([&] {
        for (int i = 0; i < count; ++i) {
            OrvPhotoKitSim::AssetSpec asset;
            asset.localIdentifier = QStringLiteral("%1-4F2A-9C3E-%2/L0/001").arg(i, 8, 16, QLatin1Char('0')).arg(i % 977, 12, 10, QLatin1Char('0'));
            // Spread over twenty years, some without date, most with a local time.
            if (i % 500 != 7)
                asset.creationDate = start.addSecs(qint64(i) * (20 * 365 * 86400LL / count));
            if (i % 3 != 0 && asset.creationDate)
                asset.localCreationDate = asset.creationDate->addSecs(3600 * ((i % 7) - 3));
            if (i % 4 == 0)
                asset.location = OrvPhotoKit::Location{{48.0 + (i % 100) / 100.0, 11.0 + (i % 37) / 37.0}};
            asset.pixelWidth = 4032;
            asset.pixelHeight = 3024;
            asset.favorite = i % 50 == 0;
            library->addAsset(asset);
        }
    });
    return library;
}

int runOne(int count)
{
    const qint64 baseRss = statusField("VmRSS:");
    auto library = makeLibrary(count);
    OrvPhotoKitSim::install();
    OrvPhotoKitSim::setSharedLibrary(library);
    const qint64 libraryRss = statusField("VmRSS:");
    OrvSingleton<OrvFotoCacheManager>::instance()->setBudget(qint64(2) * 1024 * 1024 * 1024);

    OrvPhotoKitDatabase database;
    QElapsedTimer timer;
    timer.start();
    qint64 cpu = cpuNs();
    database.doLazyInit();  // startFetch: the tree's first level with the years pass
    const qint64 startFetchNs = timer.nsecsElapsed();
    const qint64 startFetchCpu = cpuNs() - cpu;

    // The simulated fetch alone, sorted as the loader asks, to tell the model's share from ours.
    OrvPhotoKit::FetchOptions options;
    options.sortDescriptors = database.loader()->sortDescriptors();
    cpu = cpuNs();
    const auto fetched = library->fetchAssetsWithOptions(&options);
    const qint64 fetchCpu = cpuNs() - cpu;

    int inserted = 0;
    QObject::connect(&database, &OrvExternalDatabase::fotosInserted,
                     [&](const OrvExternalFotoList& fotos, const OrvExternalId&) { inserted += int(fotos.size()); });
    const qint64 beforeOpenRss = statusField("VmRSS:");
    timer.restart();
    cpu = cpuNs();
    database.fetchMore(OrvExternalId(QStringLiteral("photokit"), QStringLiteral("all"), QString()).toUrl());
    const qint64 openCpu = cpuNs() - cpu;
    const qint64 openNs = timer.nsecsElapsed();
    const qint64 afterOpenRss = statusField("VmRSS:");

    if (inserted != count || database.countFotos() != count) {
        std::fprintf(stderr, "expected %d fotos, got %d inserted, %d in the pool\n", count, inserted, database.countFotos());
        return 1;
    }
    std::printf("%7d assets  startFetch: %7.1f ms CPU (%5.2f us/asset), %7.1f ms wall\n"
                "               open all:   %7.1f ms CPU (%5.2f us/asset; %5.2f us/asset without the simulated fetch), "
                "%7.1f ms wall\n"
                "               memory: library %lld MiB, fotos+metadata %lld MiB (%lld B/asset), peak %lld MiB\n",
                count, startFetchCpu / 1e6, double(startFetchCpu) / count / 1000.0, startFetchNs / 1e6, openCpu / 1e6,
                double(openCpu) / count / 1000.0, double(openCpu - fetchCpu) / count / 1000.0, openNs / 1e6,
                (libraryRss - baseRss) / 1024, (afterOpenRss - beforeOpenRss) / 1024,
                (afterOpenRss - beforeOpenRss) * 1024 / count, statusField("VmHWM:") / 1024);
    std::fflush(stdout);
    Q_UNUSED(fetched);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStringList sizes = app.arguments().mid(1);
    const bool child = sizes.size() == 2 && sizes.first() == QLatin1String("--one");
    if (child)
        return runOne(sizes.last().toInt());
    if (sizes.isEmpty())
        sizes = {QStringLiteral("10000"), QStringLiteral("100000")};
    int status = 0;
    for (const QString& size : sizes) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(app.applicationFilePath(), {QStringLiteral("--one"), size});
        process.waitForFinished(-1);
        status |= process.exitCode();
    }
    return status;
}
