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

namespace {

QString usage()
{
    return QStringLiteral("usage: orv-photos export --source SERVICE --album NAME_OR_URL --size N|full "
                          "--format jpeg|png|original --out DIR [--wait SECONDS]\n");
}

} // namespace

int commandExport(const QStringList& givenArguments)
{
    QStringList arguments = givenArguments;
    int waitMs = 0;
    if (!takeWaitOption(arguments, "export", &waitMs))
        return 1;
    QString service;
    QString albumName;
    QString sizeText;
    QString formatText;
    QString outDir;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        QString* target = argument == QLatin1String("--source") ? &service
            : argument == QLatin1String("--album")             ? &albumName
            : argument == QLatin1String("--size")              ? &sizeText
            : argument == QLatin1String("--format")            ? &formatText
            : argument == QLatin1String("--out")               ? &outDir
                                                               : nullptr;
        if (!target || i + 1 >= arguments.size()) {
            err() << "orv-photos export: unknown or incomplete argument " << argument << "\n" << usage();
            return 1;
        }
        *target = arguments.at(++i);
    }
    if (service.isEmpty() || albumName.isEmpty() || sizeText.isEmpty() || formatText.isEmpty() || outDir.isEmpty()) {
        err() << usage();
        return 1;
    }
    const bool full = sizeText == QLatin1String("full");
    bool ok = full;
    const int edge = full ? 0 : sizeText.toInt(&ok);
    if (!ok || (!full && edge <= 0)) {
        err() << "orv-photos export: --size must be a positive number or full\n";
        return 1;
    }
    const bool original = formatText == QLatin1String("original");
    const OrvMediaFormat format = original ? OrvMediaFormat() : OrvMediaFormat(formatText);
    if (!original && format != OrvMediaFormat(OrvMediaFormat::Jpeg) && format != OrvMediaFormat(OrvMediaFormat::Png)) {
        err() << "orv-photos export: --format must be jpeg, png or original\n";
        return 1;
    }

    OrvExternalDatabase* database = nullptr;
    for (const auto& source : registeredSources()) {
        if (source.second->serviceId() == service)
            database = source.second;
    }
    if (!database) {
        err() << "orv-photos export: no source " << service << "\n";
        return 1;
    }
    openAllAlbums({database}, waitMs);
    OrvExternalId albumId;
    for (const OrvExternalAlbum& album : database->albums()) {
        if (album.url().toString() == albumName || album.url().toString(QUrl::FullyEncoded) == albumName) {
            albumId = album.id();
            break;
        }
    }
    if (!albumId.isValid())
        albumId = database->albums().findAlbumIdByVisibleName(albumName);
    if (!albumId.isValid()) {
        err() << "orv-photos export: no album " << albumName << " in " << service << "\n";
        return 1;
    }

    OrvFotoExporter::Options options;
    options.full = full;
    options.edge = edge;
    options.format = format;
    OrvFotoExporter exporter(outDir, options);
    if (!exporter.isOpen()) {
        err() << "orv-photos export: cannot create " << outDir << ": " << exporter.errorString() << "\n";
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
            err() << "orv-photos export: cannot write " << exporter.folderPath() << "/" << name << ": "
                  << exporter.errorString() << "\n";
            break;
        case OrvFotoExporter::FolderRefused:
            // Said once: every other foto would fail alike.
            err() << "orv-photos export: cannot write into " << exporter.folderPath() << ": " << exporter.errorString()
                  << "\n";
            refused = true;
            break;
        case OrvFotoExporter::Nothing:
            err() << "orv-photos export: nothing for " << foto.id().toString() << "\n";
            break;
        }
    }
    const QString shownPath = QFileInfo(outDir).absoluteFilePath();
    out() << "wrote " << written << " of " << fotos.size() << " fotos to " << QDir::cleanPath(shownPath) << "\n";
    return written == fotos.size() ? 0 : 2;
}
