#include "Commands.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaLoader.h"
#include "OrvTargetFolder.h"

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

// A file name from the foto's name with the format's suffix, not yet used in the folder.
QString uniqueName(const OrvTargetFolder& folder, const OrvExternalFoto& foto, const QString& suffix, QSet<QString>& used)
{
    QString base = QFileInfo(foto.name()).completeBaseName();
    QString ending = suffix.isEmpty() ? QFileInfo(foto.name()).suffix() : suffix;
    if (base.isEmpty())
        base = foto.id().remoteId().isEmpty() ? QStringLiteral("foto") : foto.id().remoteId();
    // Names come from the library: keep them inside the folder.
    base.replace(QLatin1Char('/'), QLatin1Char('_'));
    if (base.startsWith(QLatin1Char('.')))
        base.prepend(QLatin1Char('_'));
    const QString dot = ending.isEmpty() ? QString() : QStringLiteral(".") + ending;
    QString name = base + dot;
    for (int n = 2; used.contains(name.toLower()) || folder.isTaken(name); ++n)
        name = base + QStringLiteral("-%1").arg(n) + dot;
    used.insert(name.toLower());
    return name;
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

    OrvTargetFolder folder(outDir);
    if (!folder.isOpen()) {
        err() << "orv-photos export: cannot create " << outDir << ": " << folder.errorString() << "\n";
        return 1;
    }
    const OrvExternalFotoList fotos = database->getExternalDataPoolConst().fotosInAlbum(albumId);
    const QSize size = full ? FOTO_CACHE_SIZE_FULL : QSize(edge, edge);
    QSet<QString> used;
    int written = 0;
    for (const OrvExternalFoto& foto : fotos) {
        const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database->createRetrieverInterface(foto.id()));
        const std::unique_ptr<OrvFotoRetrieverData> data(retriever ? retriever->retrieve(size) : nullptr);
        OrvMediaFormat writtenFormat = format;
        OrvTargetFolder::Producer produce;
        if (data && full) {
            // The file as asked; stored bytes are streamed, however large.
            produce = [&](QIODevice* target) { return data->writeFile(format, target); };
        } else if (data) {
            // Pixels of that size, encoded as asked ("original": the stored format where it can be written).
            const OrvFetchDrawableResult result = data->drawable(size);
            if (!writtenFormat.isValid()) {
                writtenFormat = foto.fileFormat();
                if (writtenFormat != OrvMediaFormat(OrvMediaFormat::Png))
                    writtenFormat = OrvMediaFormat(OrvMediaFormat::Jpeg);
            }
            if (result.isValid()) {
                produce = [result, writtenFormat](QIODevice* target) {
                    return OrvSingleton<OrvMediaLoader>::instance()->encode(result.drawable(), target, writtenFormat);
                };
            }
        }
        const QString name = uniqueName(folder, foto, writtenFormat.isValid() ? writtenFormat.suffix() : QString(), used);
        if (!produce || !folder.create(name, produce)) {
            if (produce && folder.writeFailed())
                err() << "orv-photos export: cannot write " << folder.path() << "/" << name << ": " << folder.errorString() << "\n";
            else
                err() << "orv-photos export: nothing for " << foto.id().toString() << "\n";
            used.remove(name.toLower());
            continue;
        }
        ++written;
    }
    const QString shownPath = QFileInfo(outDir).absoluteFilePath();
    out() << "wrote " << written << " of " << fotos.size() << " fotos to " << QDir::cleanPath(shownPath) << "\n";
    return written == fotos.size() ? 0 : 2;
}
