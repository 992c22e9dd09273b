#include "OrvFotoExporter.h"

#include "OrvFotoDate.h"

#include "OrvExternalFoto.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaCheck.h"
#include "OrvMediaLoader.h"
#include "OrvUserFile.h"

#include <QFileInfo>

namespace {

OrvTargetFolder::Producer encoded(const QImage& image, const OrvMediaFormat& format)
{
    return [image, format](QIODevice* target) {
        return OrvSingleton<OrvMediaLoader>::instance()->encode(image, target, format);
    };
}

} // namespace

struct OrvFotoExporter::Writer
{
    explicit Writer(const QString& path) : folder(path) {}
    OrvTargetFolder folder;
    QString existing;  // the file the one being written is compared with
    bool same = false;  // the check found it of that file's size
};

OrvFotoExporter::OrvFotoExporter(const QString& folder, const Options& options, bool planOnly)
    : myOptions(options), myPlanOnly(planOnly), myPath(folder),
      // A plan makes nothing, not even the folder.
      myNaming(planOnly && !QFileInfo(folder).isDir() ? QString() : folder)
{
}

OrvFotoExporter::~OrvFotoExporter() = default;

OrvFotoExporter::Writer* OrvFotoExporter::takeWriter()
{
    std::lock_guard<std::mutex> lock(myWritersMutex);
    if (myIdle.empty()) {
        myWriters.push_back(std::make_unique<Writer>(myPath));
        Writer* writer = myWriters.back().get();
        // Whatever a source hands over, a file gets its name only as a whole image of the kind the name says.
        writer->folder.setCheck(
            [this, writer](OrvUserFile* file, QString* name, QString* why) { return accepts(writer, file, name, why); });
        return writer;
    }
    Writer* writer = myIdle.back();
    myIdle.pop_back();
    return writer;
}

void OrvFotoExporter::giveBack(Writer* writer)
{
    std::lock_guard<std::mutex> lock(myWritersMutex);
    myIdle.push_back(writer);
}

bool OrvFotoExporter::isThere(Writer* writer, OrvUserFile* file, const QString& firstName, QString* why) const
{
    const QFileInfo there(myPath + QLatin1Char('/') + firstName);
    if (firstName.isEmpty() || !there.isFile() || there.isSymLink() || there.size() != file->size())
        return false;
    writer->same = true;
    writer->existing = firstName;
    *why = QStringLiteral("%1 exists").arg(firstName);
    return true;
}

bool OrvFotoExporter::accepts(Writer* writer, OrvUserFile* file, QString* name, QString* why)
{
    if (isThere(writer, file, writer->existing, why))
        return false;
    const OrvMediaFormat named{QFileInfo(*name)};
    OrvMediaFormat found;
    const OrvMediaCheck::Verdict verdict = OrvMediaCheck::check(file, named, &found);
    // An original goes by what it holds (an edited photo's render, a file named
    // for another kind): under its name with the suffix of that kind.
    const bool renamable = myOptions.full && !myOptions.format.isValid() && found.isValid()
        && found.code() != OrvMediaFormat::Raw;
    if (verdict == OrvMediaCheck::OtherKind && renamable && OrvMediaCheck::check(file, found) == OrvMediaCheck::Whole) {
        const QString wanted = QFileInfo(*name).completeBaseName() + QLatin1Char('.') + found.suffix();
        // Named by what it holds, it is compared with the file of that name.
        if (myOptions.skipExisting && isThere(writer, file, OrvTargetFolder::fittingName(wanted), why))
            return false;
        std::lock_guard<std::mutex> lock(myNamesMutex);
        const QString renamed = reserveLocked(wanted);
        if (!renamed.isEmpty()) {
            // Reserved until the write ends, as the first name is.
            myUsed.remove(name->toLower());
            *name = renamed;
            return true;
        }
    }
    if (verdict != OrvMediaCheck::Whole)
        *why = OrvMediaCheck::describe(verdict, named, found);
    return verdict == OrvMediaCheck::Whole;
}

QString OrvFotoExporter::sourceName(const OrvExternalFoto& foto) const
{
    // Originals go by the name of the file they were (the asset's original file name in Photos).
    return myOptions.full && !myOptions.format.isValid() ? foto.fileName() : OrvFotoDate::nameOf(foto);
}

QString OrvFotoExporter::wantedName(const OrvExternalFoto& foto) const
{
    const QString fotoName = sourceName(foto);
    OrvMediaFormat format = myOptions.format;
    if (!format.isValid() && !myOptions.full) {
        format = foto.fileFormat();
        if (format != OrvMediaFormat(OrvMediaFormat::Png))
            format = OrvMediaFormat(OrvMediaFormat::Jpeg);
    }
    QString base = QFileInfo(fotoName).completeBaseName();
    const QString ending = format.isValid() ? format.suffix() : QFileInfo(fotoName).suffix();
    if (base.isEmpty())
        base = foto.id().remoteId().isEmpty() ? QStringLiteral("foto") : foto.id().remoteId();
    // Names come from the library: no hidden files (the folder shortens and cleans the rest).
    if (base.startsWith(QLatin1Char('.')))
        base.prepend(QLatin1Char('_'));
    return ending.isEmpty() ? base : base + QLatin1Char('.') + ending;
}

QString OrvFotoExporter::reserveLocked(const QString& name)
{
    const auto used = [this](const QString& taken) { return myUsed.contains(taken.toLower()); };
    QString unique;
    if (myNaming.isOpen()) {
        unique = myNaming.uniqueName(name, used);
    } else if (myPlanOnly) {
        // A folder still to be made: only the fotos' own names clash.
        const QString first = OrvTargetFolder::fittingName(name);
        const QFileInfo info(first);
        const QString ending = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
        for (int n = 1; unique.isEmpty() && n <= 10000; ++n) {
            const QString candidate
                = n == 1 ? first : OrvTargetFolder::fittingName(first.chopped(ending.size()) + QStringLiteral("-%1").arg(n) + ending);
            if (!used(candidate))
                unique = candidate;
        }
    }
    if (!unique.isEmpty())
        myUsed.insert(unique.toLower());
    return unique;
}

void OrvFotoExporter::release(const QString& name)
{
    std::lock_guard<std::mutex> lock(myNamesMutex);
    myUsed.remove(name.toLower());
}

OrvFotoExporter::Target OrvFotoExporter::reserve(const OrvExternalFoto& foto)
{
    const QString wanted = wantedName(foto);
    Target target;
    std::lock_guard<std::mutex> lock(myNamesMutex);
    if (myOptions.skipExisting && myNaming.isOpen()) {
        const QString first = OrvTargetFolder::fittingName(wanted);
        const QFileInfo there(myPath + QLatin1Char('/') + first);
        if (there.isFile() && !there.isSymLink()) {
            // Stored bytes are compared by their size once fetched; pixels made anew cannot be.
            if (myOptions.full && !myOptions.format.isValid()) {
                target.existing = first;
            } else {
                target.name = first;
                target.skip = true;
                return target;
            }
        }
    }
    target.name = reserveLocked(wanted);
    return target;
}

OrvFotoExporter::Result OrvFotoExporter::write(const OrvExternalFoto& foto, const Target& target,
                                               OrvFotoRetrieverInterface* retriever, QString* name, QString* error)
{
    if (name)
        *name = target.name;
    if (target.skip)
        return Skipped;
    if (target.name.isEmpty()) {
        std::lock_guard<std::mutex> lock(myNamesMutex);
        if (error)
            *error = myNaming.errorString();
        return myNaming.folderRefused() ? FolderRefused : Nothing;
    }
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
    Writer* writer = takeWriter();
    OrvTargetFolder& folder = writer->folder;
    writer->existing = target.existing;
    writer->same = false;
    const QString& fileName = target.name;
    // The file as asked: stored bytes are streamed, however large, or handed over whole.
    const bool tried = produce || (data && myOptions.full);
    bool written = produce ? folder.create(fileName, produce) : tried && data->saveFile(myOptions.format, &folder, fileName);
    // A format the source does not store the foto in (or stores other bytes under its name): its pixels, recoded.
    if (!written && !writer->same && data && myOptions.full && format.isValid() && !folder.writeFailed()
        && !folder.folderRefused()) {
        const OrvFetchDrawableResult pixels = data->drawable(FOTO_CACHE_SIZE_FULL);
        written = pixels.isValid() && folder.create(fileName, encoded(pixels.drawable().image(), format));
    }
    Result result = Written;
    if (writer->same)
        result = Skipped;
    else if (!written)
        result = tried && folder.folderRefused() ? FolderRefused : tried && folder.writeFailed() ? WriteFailed : Nothing;
    if (name)
        *name = result == Skipped ? writer->existing : written ? folder.createdName() : fileName;
    if (error && result != Written)
        *error = folder.errorString();
    writer->existing.clear();
    giveBack(writer);
    // The name given out goes back; one the check gave instead stays taken by the file now there.
    release(fileName);
    return result;
}
