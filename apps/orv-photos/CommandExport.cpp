#include "Commands.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaLoader.h"
#include "OrvFotoExporter.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <memory>

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
    openAllAlbums({database}, waitMs);
    const OrvExternalId albumId = findAlbum(database, albumName, "export");
    if (!albumId.isValid())
        return 1;

    OrvFotoExporter::Options options;
    options.full = full;
    options.edge = edge;
    options.format = format;
    OrvFotoExporter exporter(outDir, options);
    if (!exporter.isOpen()) {
        fail("export") << OrvCommandLine::tr("cannot create %1: %2").arg(outDir, exporter.errorString()) << "\n";
        return 1;
    }
    // A folder: the fotos of its albums.
    const OrvExternalFotoList fotos = database->getExternalDataPoolConst().fotosInAlbumTree(albumId);
    int written = 0;
    bool refused = false;
    for (const OrvExternalFoto& foto : fotos) {
        if (refused)
            break;
        const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database->createRetrieverInterface(foto.id()));
        QString name;
        switch (exporter.write(foto, retriever.get(), &name)) {
        case OrvFotoExporter::Written:
            ++written;
            break;
        case OrvFotoExporter::WriteFailed:
            fail("export") << OrvCommandLine::tr("cannot write %1: %2").arg(exporter.folderPath() + QLatin1Char('/') + name, exporter.errorString())
                           << "\n";
            break;
        case OrvFotoExporter::FolderRefused:
            // Said once: every other foto would fail alike.
            fail("export") << OrvCommandLine::tr("cannot write into %1: %2").arg(exporter.folderPath(), exporter.errorString()) << "\n";
            refused = true;
            break;
        case OrvFotoExporter::Nothing:
            fail("export") << OrvCommandLine::tr("nothing for %1").arg(foto.id().toString()) << "\n";
            break;
        }
    }
    const QString shownPath = QFileInfo(outDir).absoluteFilePath();
    out() << OrvCommandLine::tr("wrote %1 of %2 to %3").arg(written).arg(photoCount(fotos.size()), QDir::cleanPath(shownPath)) << "\n";
    return written == fotos.size() ? 0 : 2;
}
