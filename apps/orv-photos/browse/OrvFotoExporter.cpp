#include "OrvFotoExporter.h"

#include "OrvFotoDate.h"

#include "OrvExternalFoto.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaCheck.h"
#include "OrvMediaLoader.h"

#include <QFileInfo>

#include <memory>

namespace {

OrvTargetFolder::Producer encoded(const QImage& image, const OrvMediaFormat& format)
{
    return [image, format](QIODevice* target) {
        return OrvSingleton<OrvMediaLoader>::instance()->encode(image, target, format);
    };
}

} // namespace

OrvFotoExporter::OrvFotoExporter(const QString& folder, const Options& options) : myFolder(folder), myOptions(options)
{
    // Whatever a source hands over, a file gets its name only as a whole image of the kind the name says.
    myFolder.setCheck([this](OrvUserFile* file, QString* name, QString* why) { return accepts(file, name, why); });
}

bool OrvFotoExporter::accepts(OrvUserFile* file, QString* name, QString* why)
{
    const OrvMediaFormat named{QFileInfo(*name)};
    OrvMediaFormat found;
    const OrvMediaCheck::Verdict verdict = OrvMediaCheck::check(file, named, &found);
    // An original goes by what it holds (an edited photo's render, a file named
    // for another kind): under its name with the suffix of that kind.
    const bool renamable = myOptions.full && !myOptions.format.isValid() && found.isValid()
        && found.code() != OrvMediaFormat::Raw;
    if (verdict == OrvMediaCheck::OtherKind && renamable && OrvMediaCheck::check(file, found) == OrvMediaCheck::Whole) {
        const QString renamed = myFolder.uniqueName(QFileInfo(*name).completeBaseName() + QLatin1Char('.') + found.suffix(),
                                                    [this](const QString& taken) { return myUsed.contains(taken.toLower()); });
        if (!renamed.isEmpty()) {
            *name = renamed;
            return true;
        }
    }
    if (verdict != OrvMediaCheck::Whole)
        *why = OrvMediaCheck::describe(verdict, named, found);
    return verdict == OrvMediaCheck::Whole;
}

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
        // The stand-in a source shows for a picture it does not have is no photo.
        if (result.isValid() && !OrvFotoCacheDrawable::isPlaceHolder(result.drawable())) {
            // Sources may deliver a little more than asked (Photos: what covers the square); fit it.
            QImage image = result.drawable().image();
            const QSize fitted = OrvMediaLoader::fittedSize(image.size(), size);
            if (fitted != image.size())
                image = image.scaled(fitted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            produce = encoded(image, format);
        }
    }
    // Originals go by the name of the file they were (the asset's original file name in Photos).
    const QString fotoName = myOptions.full && !myOptions.format.isValid() ? foto.fileName() : OrvFotoDate::nameOf(foto);
    const QString fileName = uniqueName(foto, fotoName, format.isValid() ? format.suffix() : QString());
    if (name)
        *name = fileName;
    if (fileName.isEmpty())
        return myFolder.folderRefused() ? FolderRefused : Nothing;
    // The file as asked: stored bytes are streamed, however large, or handed over whole.
    const bool tried = produce || (data && myOptions.full);
    bool written = produce ? myFolder.create(fileName, produce) : tried && data->saveFile(myOptions.format, &myFolder, fileName);
    // A format the source does not store the foto in (or stores other bytes under its name): its pixels, recoded.
    if (!written && data && myOptions.full && format.isValid() && !myFolder.writeFailed() && !myFolder.folderRefused()) {
        const OrvFetchDrawableResult pixels = data->drawable(FOTO_CACHE_SIZE_FULL);
        written = pixels.isValid() && myFolder.create(fileName, encoded(pixels.drawable().image(), format));
    }
    myUsed.remove(fileName.toLower());
    if (!written) {
        if (tried && myFolder.folderRefused())
            return FolderRefused;
        return tried && myFolder.writeFailed() ? WriteFailed : Nothing;
    }
    // The folder may have named the file by what it holds.
    myUsed.insert(myFolder.createdName().toLower());
    if (name)
        *name = myFolder.createdName();
    return Written;
}
