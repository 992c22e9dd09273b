#include "Commands.h"

#include "OrvFotoDate.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoRegistries.h"
#include "OrvMimeConverterRegistry.h"
#include "OrvUserFile.h"

#include <QDataStream>
#include <QMimeData>
#include <QUrl>

#include <memory>

namespace {

const QString photosFlavor = QStringLiteral("com.apple.photos.object-reference.asset");
const QString photosMime = QStringLiteral("text/x-orv-phasset");

} // namespace

// A drop of Photos assets as the application gets it: each file is one
// pasteboard item of the Photos flavour; the registered converters turn them
// into the payload, whose URLs are printed and resolved through their source.
int commandPaste(const OrvArguments& parsed)
{
    const QStringList& arguments = parsed.arguments();
    QList<OrvPasteboardItem> items;
    for (const QString& path : arguments) {
        OrvUserFile::Status status = OrvUserFile::NotOpened;
        const QByteArray bytes = OrvUserFile::readAll(path, OrvUserFile::FotoList, &status);
        if (status != OrvUserFile::Ok) {
            fail("paste") << OrvCommandLine::tr("cannot read %1: %2").arg(path, OrvUserFile::describe(status, OrvUserFile::FotoList))
                          << "\n";
            return 1;
        }
        items.append(OrvPasteboardItem{{photosFlavor, bytes}});
    }
    const std::unique_ptr<QMimeData> dropped = OrvSingleton<OrvMimeConverterRegistry>::instance()->mimeDataForPasteboard(items);
    if (!dropped->hasFormat(photosMime)) {
        fail("paste") << OrvCommandLine::tr("no converter for %1").arg(photosFlavor) << "\n";
        return 2;
    }
    QByteArray payload = dropped->data(photosMime);
    QDataStream stream(&payload, QIODevice::ReadOnly);
    QList<QUrl> urls;
    stream >> urls;
    out() << photosMime << ": " << urls.size() << (urls.size() == 1 ? " URL\n" : " URLs\n");

    // The drop target resolves the URLs through the source of their scheme.
    QList<OrvExternalDatabase*> sources;
    for (const QUrl& url : std::as_const(urls)) {
        OrvExternalDatabase* source = OrvSingleton<OrvFotoDatabaseFactory>::instance()->databaseForService(url.scheme());
        if (source && !sources.contains(source))
            sources.append(source);
    }
    openAllAlbums(sources);
    int resolved = 0;
    for (qsizetype i = 0; i < urls.size(); ++i) {
        const QUrl& url = urls.at(i);
        // The converter gives an item it cannot read a URL without a fragment: the item failed,
        // not the lookup in the library.
        if (url.fragment().isEmpty()) {
            fail("paste") << OrvCommandLine::tr("cannot read %1: no Photos asset in it")
                                 .arg(urls.size() == arguments.size() ? arguments.at(i) : url.toString())
                          << "\n";
            err().flush();
            continue;
        }
        out() << url.toString(QUrl::FullyEncoded) << "\n";
        const OrvExternalId id(url);
        OrvExternalDatabase* source = OrvSingleton<OrvFotoDatabaseFactory>::instance()->databaseForService(url.scheme());
        const OrvExternalFoto foto = source && id.isValid() ? source->findExternalFoto(id) : OrvExternalFoto();
        if (!foto.isValid()) {
            out() << "  " << OrvCommandLine::tr("not in %1").arg(source ? source->service().displayName() : url.scheme()) << "\n";
            continue;
        }
        ++resolved;
        const QString taken = OrvFotoDate::toIsoString(foto.taken());
        out() << "  " << OrvFotoDate::nameOf(foto) << "  " << (taken.isEmpty() ? QStringLiteral("-") : taken) << "\n";
    }
    return resolved == urls.size() ? 0 : 2;
}
