#include "OrvFotoExporter.h"

#include "OrvExternalFoto.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaLoader.h"

#include <QFileInfo>

#include <memory>

OrvFotoExporter::OrvFotoExporter(const QString& folder, const Options& options) : myFolder(folder), myOptions(options) {}

QString OrvFotoExporter::uniqueName(const OrvExternalFoto& foto, const QString& suffix)
{
    QString base = QFileInfo(foto.name()).completeBaseName();
    const QString ending = suffix.isEmpty() ? QFileInfo(foto.name()).suffix() : suffix;
    if (base.isEmpty())
        base = foto.id().remoteId().isEmpty() ? QStringLiteral("foto") : foto.id().remoteId();
    // Names come from the library: keep them inside the folder.
    base.replace(QLatin1Char('/'), QLatin1Char('_'));
    if (base.startsWith(QLatin1Char('.')))
        base.prepend(QLatin1Char('_'));
    const QString dot = ending.isEmpty() ? QString() : QStringLiteral(".") + ending;
    QString name = base + dot;
    for (int n = 2; myUsed.contains(name.toLower()) || myFolder.isTaken(name); ++n)
        name = base + QStringLiteral("-%1").arg(n) + dot;
    myUsed.insert(name.toLower());
    return name;
}

OrvFotoExporter::Result OrvFotoExporter::write(const OrvExternalFoto& foto, OrvFotoRetrieverInterface* retriever, QString* name)
{
    const QSize size = myOptions.full ? FOTO_CACHE_SIZE_FULL : QSize(myOptions.edge, myOptions.edge);
    const std::unique_ptr<OrvFotoRetrieverData> data(retriever ? retriever->retrieve(size) : nullptr);
    OrvMediaFormat format = myOptions.format;
    OrvTargetFolder::Producer produce;
    if (data && myOptions.full) {
        // The file as asked; stored bytes are streamed, however large.
        produce = [&](QIODevice* target) { return data->writeFile(myOptions.format, target); };
    } else if (data) {
        const OrvFetchDrawableResult result = data->drawable(size);
        if (!format.isValid()) {
            format = foto.fileFormat();
            if (format != OrvMediaFormat(OrvMediaFormat::Png))
                format = OrvMediaFormat(OrvMediaFormat::Jpeg);
        }
        if (result.isValid()) {
            produce = [result, format](QIODevice* target) {
                return OrvSingleton<OrvMediaLoader>::instance()->encode(result.drawable(), target, format);
            };
        }
    }
    const QString fileName = uniqueName(foto, format.isValid() ? format.suffix() : QString());
    if (name)
        *name = fileName;
    if (!produce || !myFolder.create(fileName, produce)) {
        myUsed.remove(fileName.toLower());
        return produce && myFolder.writeFailed() ? WriteFailed : Nothing;
    }
    return Written;
}
