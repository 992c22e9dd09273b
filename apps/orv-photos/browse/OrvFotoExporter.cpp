#include "OrvFotoExporter.h"

#include "OrvExternalFoto.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaLoader.h"

#include <QFileInfo>

#include <memory>

OrvFotoExporter::OrvFotoExporter(const QString& folder, const Options& options) : myFolder(folder), myOptions(options) {}

QString OrvFotoExporter::uniqueName(const OrvExternalFoto& foto, const QString& fotoName, const QString& suffix)
{
    QString base = QFileInfo(fotoName).completeBaseName();
    const QString ending = suffix.isEmpty() ? QFileInfo(fotoName).suffix() : suffix;
    if (base.isEmpty())
        base = foto.id().remoteId().isEmpty() ? QStringLiteral("foto") : foto.id().remoteId();
    // Names come from the library: no hidden files (the folder shortens and cleans the rest).
    if (base.startsWith(QLatin1Char('.')))
        base.prepend(QLatin1Char('_'));
    const QString dot = ending.isEmpty() ? QString() : QStringLiteral(".") + ending;
    const QString name = myFolder.uniqueName(base + dot, [this](const QString& taken) {
        return myUsed.contains(taken.toLower());
    });
    if (!name.isEmpty())
        myUsed.insert(name.toLower());
    return name;
}

OrvFotoExporter::Result OrvFotoExporter::write(const OrvExternalFoto& foto, OrvFotoRetrieverInterface* retriever, QString* name)
{
    const QSize size = myOptions.full ? FOTO_CACHE_SIZE_FULL : QSize(myOptions.edge, myOptions.edge);
    const std::unique_ptr<OrvFotoRetrieverData> data(retriever ? retriever->retrieve(size) : nullptr);
    OrvMediaFormat format = myOptions.format;
    OrvTargetFolder::Producer produce;
    if (data && !myOptions.full) {
        const OrvFetchDrawableResult result = data->drawable(size);
        if (!format.isValid()) {
            format = foto.fileFormat();
            if (format != OrvMediaFormat(OrvMediaFormat::Png))
                format = OrvMediaFormat(OrvMediaFormat::Jpeg);
        }
        if (result.isValid()) {
            // Sources may deliver a little more than asked (Photos: what covers the square); fit it.
            QImage image = result.drawable().image();
            const QSize fitted = OrvMediaLoader::fittedSize(image.size(), size);
            if (fitted != image.size())
                image = image.scaled(fitted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            produce = [image, format](QIODevice* target) {
                return OrvSingleton<OrvMediaLoader>::instance()->encode(image, target, format);
            };
        }
    }
    // Originals go by the name of the file they were (the asset's original file name in Photos).
    const QString fotoName = myOptions.full && !myOptions.format.isValid() ? foto.fileName() : foto.name();
    const QString fileName = uniqueName(foto, fotoName, format.isValid() ? format.suffix() : QString());
    if (name)
        *name = fileName;
    if (fileName.isEmpty())
        return myFolder.folderRefused() ? FolderRefused : Nothing;
    // The file as asked: stored bytes are streamed, however large, or handed over whole.
    const bool tried = produce || (data && myOptions.full);
    const bool written = produce ? myFolder.create(fileName, produce)
                                 : tried && data->saveFile(myOptions.format, &myFolder, fileName);
    if (!written) {
        myUsed.remove(fileName.toLower());
        if (tried && myFolder.folderRefused())
            return FolderRefused;
        return tried && myFolder.writeFailed() ? WriteFailed : Nothing;
    }
    return Written;
}
