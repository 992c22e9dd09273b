#include "Commands.h"

#include "OrvExportJob.h"
#include "OrvExportProgress.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoExporter.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetriever.h"
#include "OrvInterruptGuard.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>

#include <memory>

namespace {

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
    // Stored bytes are mostly waited for (a camera's downloads): four at once keep the source busy.
    OrvExportJob job(outDir, options, items, nullptr, full && original ? 4 : 0);
    if (!job.isOpen()) {
        fail("export") << OrvCommandLine::tr("cannot create %1: %2").arg(outDir, job.errorString()) << "\n";
        return 1;
    }
    // A source's downloads go next to the photos they become: a link then, not a copy
    // (the system's temporary folder may be on another file system).
    OrvFotoSafeContainer* temporary = OrvSingleton<OrvFotoSafeContainer>::instance();
    const struct TemporaryNearby
    {
        OrvFotoSafeContainer* container;
        bool set;
        // Gone with the export: nothing of it stays in the folder but the photos.
        ~TemporaryNearby()
        {
            if (set)
                container->removeTemporaryDir();
        }
    } nearby{temporary, temporary->setTemporaryParent(job.folderPath())};
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
