#include "Commands.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaLoader.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QSet>

#include <memory>

namespace {

QString usage()
{
    return QStringLiteral("usage: orv-photos export --source SERVICE --album NAME_OR_URL --size N|full "
                          "--format jpeg|png|original --out DIR\n");
}

// A file name from the foto's name with the format's suffix, not yet used in dir.
QString uniqueName(const QDir& dir, const OrvExternalFoto& foto, const QString& suffix, QSet<QString>& used)
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
    for (int n = 2; used.contains(name.toLower()) || dir.exists(name); ++n)
        name = base + QStringLiteral("-%1").arg(n) + dot;
    used.insert(name.toLower());
    return name;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

} // namespace

int commandExport(const QStringList& arguments)
{
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
    openAllAlbums({database});
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

    QDir dir(outDir);
    if (!dir.mkpath(QStringLiteral("."))) {
        err() << "orv-photos export: cannot create " << outDir << "\n";
        return 1;
    }
    const OrvExternalFotoList fotos = database->getExternalDataPoolConst().fotosInAlbum(albumId);
    const QSize size = full ? FOTO_CACHE_SIZE_FULL : QSize(edge, edge);
    QSet<QString> used;
    int written = 0;
    for (const OrvExternalFoto& foto : fotos) {
        const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database->createRetrieverInterface(foto.id()));
        const std::unique_ptr<OrvFotoRetrieverData> data(retriever ? retriever->retrieve(size) : nullptr);
        QByteArray bytes;
        OrvMediaFormat writtenFormat = format;
        if (data && full) {
            bytes = data->file(format);
        } else if (data) {
            // Pixels of that size, encoded as asked ("original": the stored format where it can be written).
            const OrvFetchDrawableResult result = data->drawable(size);
            if (!writtenFormat.isValid()) {
                writtenFormat = foto.fileFormat();
                if (writtenFormat != OrvMediaFormat(OrvMediaFormat::Png))
                    writtenFormat = OrvMediaFormat(OrvMediaFormat::Jpeg);
            }
            QBuffer buffer(&bytes);
            buffer.open(QIODevice::WriteOnly);
            if (!result.isValid() || !OrvSingleton<OrvMediaLoader>::instance()->encode(result.drawable(), &buffer, writtenFormat))
                bytes.clear();
        }
        if (bytes.isEmpty()) {
            err() << "orv-photos export: nothing for " << foto.id().toString() << "\n";
            continue;
        }
        const QString name = uniqueName(dir, foto, writtenFormat.isValid() ? writtenFormat.suffix() : QString(), used);
        if (!writeFile(dir.filePath(name), bytes)) {
            err() << "orv-photos export: cannot write " << dir.filePath(name) << "\n";
            continue;
        }
        ++written;
    }
    out() << "wrote " << written << " of " << fotos.size() << " fotos to " << dir.absolutePath() << "\n";
    return written == fotos.size() ? 0 : 2;
}
