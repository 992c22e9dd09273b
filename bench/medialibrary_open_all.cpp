// Opening every album of a large Photos library through the MediaLibrary
// source, next to the PhotoKit source on the same library description: the
// source starts (its album tree is announced), then every album and folder it
// shows is opened until nothing new appears, and every foto is inserted.
// PhotoKit's "all" and year nodes are not opened: both sources open the same
// albums. A library description comes from scripts/make-photos-library.py.
//
//   bench_medialibrary_open_all [--source applephotos|photokit] DESCRIPTION
//
// Without --source both run, each in a child process of its own (so that peak
// memory is its own), and the ratio of their costs per foto is printed.

#include "BenchSupport.h"
#include "OrvApplePhotosDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvPhotoKitDatabase.h"
#include "sim/OrvMediaLibrarySimBackend.h"
#include "sim/OrvPhotoKitSimLibrary.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>

#include <cstdio>

#include <malloc.h>

namespace {

using OrvBench::cpuNs;
using OrvBench::statusField;

// The nodes both sources show for the library's albums and folders.
bool isAlbumNode(const OrvExternalAlbum& album)
{
    return album.id().type() == QLatin1String("album") || album.id().type() == QLatin1String("folder");
}

// Heap bytes in use: unlike resident memory, not blurred by freed memory being reused.
qint64 heapBytes() { return qint64(mallinfo2().uordblks); }

struct Run
{
    qint64 treeCpu = 0;
    qint64 openCpu = 0;
    qint64 wallNs = 0;
    qint64 fotos = 0;
    int albums = 0;
};

// Starts the source, then opens what it shows until nothing new appears; settle waits for the platform.
Run openEverything(OrvExternalDatabase& database, const std::function<void()>& settle)
{
    Run run;
    QObject::connect(&database, &OrvExternalDatabase::fotosInserted, &database,
                     [&run](const OrvExternalFotoList& fotos, const OrvExternalId&) { run.fotos += fotos.size(); },
                     Qt::DirectConnection);
    QElapsedTimer wall;
    wall.start();
    qint64 cpu = cpuNs();
    database.doLazyInit();
    settle();
    run.treeCpu = cpuNs() - cpu;
    cpu = cpuNs();
    QSet<OrvExternalId> opened;
    for (bool more = true; more;) {
        more = false;
        for (const OrvExternalAlbum& album : database.albums()) {
            if (!isAlbumNode(album) || opened.contains(album.id()))
                continue;
            opened.insert(album.id());
            database.fetchMore(album.url());
            more = true;
        }
        settle();
    }
    run.openCpu = cpuNs() - cpu;
    run.wallNs = wall.nsecsElapsed();
    run.albums = int(opened.size());
    return run;
}

int runOne(const QString& source, const QString& path)
{
    const qint64 baseHeap = heapBytes();
    OrvSingleton<OrvFotoCacheManager>::instance()->setBudget(qint64(2) * 1024 * 1024 * 1024);
    QString error;
    std::unique_ptr<OrvExternalDatabase> database;
    std::function<void()> settle;
    std::shared_ptr<OrvMediaLibrarySim::Backend> backend;
    if (source == QLatin1String("applephotos")) {
        backend = OrvMediaLibrarySim::Backend::create();
        if (!backend->loadDescription(path, &error)) {
            std::fprintf(stderr, "cannot load %s: %s\n", qPrintable(path), qPrintable(error));
            return 1;
        }
        OrvMediaLibrary::setBackend(backend);
        database = std::make_unique<OrvApplePhotosDatabase>();
        settle = [backend] {
            backend->waitForQueue();
            QCoreApplication::processEvents();
        };
    } else {
        auto library = OrvPhotoKitSim::Library::loadDescription(path, &error);
        if (!library) {
            std::fprintf(stderr, "cannot load %s: %s\n", qPrintable(path), qPrintable(error));
            return 1;
        }
        OrvPhotoKitSim::install();
        OrvPhotoKitSim::setSharedLibrary(library);
        database = std::make_unique<OrvPhotoKitDatabase>();
        settle = [library] {
            library->waitForQueue();
            QCoreApplication::processEvents();
        };
    }
    const qint64 libraryHeap = heapBytes();
    const qint64 libraryPeakKiB = statusField("VmHWM:");
    const Run run = openEverything(*database, settle);
    const qint64 afterHeap = heapBytes();
    if (run.fotos == 0) {
        std::fprintf(stderr, "%s: no fotos inserted\n", qPrintable(source));
        return 1;
    }
    std::printf("%-11s %6d albums %7lld fotos inserted (%d in the pool)\n"
                "            tree: %7.1f ms CPU   albums: %7.1f ms CPU   together %6.2f us/foto   wall %7.1f ms\n"
                "            heap: library %lld MiB, source and what it loaded %lld MiB (%lld B/foto); peak resident %lld MiB (%lld MiB after reading the library)\n",
                qPrintable(source), run.albums, run.fotos, database->countFotos(), run.treeCpu / 1e6, run.openCpu / 1e6,
                double(run.treeCpu + run.openCpu) / double(run.fotos) / 1000.0, run.wallNs / 1e6,
                (libraryHeap - baseHeap) >> 20, (afterHeap - libraryHeap) >> 20, (afterHeap - libraryHeap) / run.fotos,
                statusField("VmHWM:") / 1024, libraryPeakKiB / 1024);
    std::fflush(stdout);
    if (backend)
        OrvMediaLibrary::setBackend(nullptr);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStringList arguments = app.arguments().mid(1);
    QString source;
    if (arguments.size() == 3 && arguments.first() == QLatin1String("--source")) {
        source = arguments.at(1);
        arguments = arguments.mid(2);
    }
    if (arguments.size() != 1 || (!source.isEmpty() && source != QLatin1String("applephotos") && source != QLatin1String("photokit"))) {
        std::fprintf(stderr, "usage: bench_medialibrary_open_all [--source applephotos|photokit] DESCRIPTION\n");
        return 1;
    }
    if (!source.isEmpty())
        return runOne(source, arguments.first());

    // Both, one child each; the cost per foto of each from its second line.
    QHash<QString, double> perFoto;
    for (const QString& each : {QStringLiteral("applephotos"), QStringLiteral("photokit")}) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(app.applicationFilePath(), {QStringLiteral("--source"), each, arguments.first()});
        process.waitForFinished(-1);
        const QByteArray output = process.readAllStandardOutput();
        std::fputs(output.constData(), stdout);
        const QRegularExpressionMatch match =
            QRegularExpression(QStringLiteral("together +([0-9.]+) us/foto")).match(QString::fromUtf8(output));
        if (process.exitCode() != 0 || !match.hasMatch())
            return 1;
        perFoto.insert(each, match.captured(1).toDouble());
    }
    std::printf("MediaLibrary / PhotoKit cost per foto: %.2f\n",
                perFoto.value(QStringLiteral("applephotos")) / perFoto.value(QStringLiteral("photokit")));
    return 0;
}
