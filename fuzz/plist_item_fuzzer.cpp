// libFuzzer target: one pasteboard item of the Photos flavour (a property list
// in any format, read with libplist) through the converter, as a drop would
// bring it. Every item gives exactly one photo URL, of scheme "photokit" and
// path "foto", and its fragment reads back to the identifier the item held,
// which never has a NUL; anything else is a finding.

#include "OrvMacPasteboardMimePhotosAsset.h"
#include "OrvPhotoKitDatabase.h"

#include <QCoreApplication>
#include <QDataStream>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void finding(const char* what)
{
    std::fprintf(stderr, "plist_item_fuzzer: %s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argc = 1;
    static char name[] = "plist_item_fuzzer";
    static char* argv[] = {name, nullptr};
    static QCoreApplication* app = new QCoreApplication(argc, argv);
    Q_UNUSED(app);
    static const OrvMacPasteboardMimePhotosAsset* converter = new OrvMacPasteboardMimePhotosAsset;

    const QByteArray item(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString identifier = OrvMacPasteboardMimePhotosAsset::localIdentifierOf(item);
    if (identifier.contains(QChar(0)))
        finding("an identifier with a NUL");
    QByteArray payload = converter->convertToMime(OrvMacPasteboardMimePhotosAsset::MIME, {item, item},
                                                  OrvMacPasteboardMimePhotosAsset::FLAVOR)
                             .toByteArray();
    QDataStream stream(&payload, QIODevice::ReadOnly);
    QList<QUrl> urls;
    stream >> urls;
    if (stream.status() != QDataStream::Ok || urls.size() != 2)
        finding("not one URL an item");
    for (const QUrl& url : urls) {
        if (url.scheme() != QLatin1String("photokit") || url.path() != QLatin1String("foto"))
            finding("not a photo URL");
        // Identifiers with "_" of their own do not read back (the remote id's escape); the rest must.
        if (!identifier.contains(QLatin1Char('_')) && OrvPhotoKitDatabase::toLocalIdentifier(url.fragment()) != identifier)
            finding("the fragment does not read back to the identifier");
    }
    return 0;
}
