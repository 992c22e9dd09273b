#include "OrvMacPasteboardMimePhotosAsset.h"

#include "OrvPhotoKitDatabase.h"
#include "OrvPlistBoundsCheck.h"
#include "OrvPlistCompat.h"

#include <QDataStream>
#include <QDebug>

#include <cstring>
#include <limits>

const QString OrvMacPasteboardMimePhotosAsset::MIME = QStringLiteral("text/x-orv-phasset");
const QString OrvMacPasteboardMimePhotosAsset::FLAVOR = QStringLiteral("com.apple.photos.object-reference.asset");

OrvMacPasteboardMimePhotosAsset::OrvMacPasteboardMimePhotosAsset() = default;

OrvMacPasteboardMimePhotosAsset::~OrvMacPasteboardMimePhotosAsset() = default;

QString OrvMacPasteboardMimePhotosAsset::convertorName() const { return QStringLiteral("Apple Photos Asset"); }

QString OrvMacPasteboardMimePhotosAsset::utiForMime(const QString& mime) const { return mime == MIME ? FLAVOR : QString(); }

QString OrvMacPasteboardMimePhotosAsset::mimeForUti(const QString& uti) const { return uti == FLAVOR ? MIME : QString(); }

bool OrvMacPasteboardMimePhotosAsset::canConvert(const QString& mime, const QString& uti) const
{
    return utiForMime(mime) == uti;
}

QList<QByteArray> OrvMacPasteboardMimePhotosAsset::convertFromMime(const QString&, const QVariant& data, const QString& uti) const
{
    // Passed through as it is, deliberately: the application writes this flavour in no other form.
    if (uti != FLAVOR)
        return {};
    return {data.toString().toLatin1()};
}

QUrl OrvMacPasteboardMimePhotosAsset::extractAssetUrl(const QString& localIdentifier)
{
    QUrl url;
    url.setScheme(QStringLiteral("photokit"));
    url.setPath(QStringLiteral("foto"), QUrl::DecodedMode);
    url.setFragment(OrvPhotoKitDatabase::fromLocalIdentifier(localIdentifier), QUrl::TolerantMode);
    return url;
}

QString OrvMacPasteboardMimePhotosAsset::localIdentifierOf(const QByteArray& propertyList)
{
    if (propertyList.isEmpty() || quint64(propertyList.size()) > std::numeric_limits<uint32_t>::max() ||
        !OrvPlistBoundsCheck::admits(propertyList))
        return {};
    plist_t root = OrvPlist::fromMemory(propertyList.constData(), uint32_t(propertyList.size()));
    if (!root)
        return {};
    QString identifier;
    if (plist_get_node_type(root) == PLIST_DICT) {
        const plist_t item = plist_dict_get_item(root, "localIdentifier");
        if (item && plist_get_node_type(item) == PLIST_STRING) {
            // Read with its length: libplist asserts (aborts) copying a string with a NUL inside.
            // One with a NUL names no asset: what follows the NUL would not reach the library.
            uint64_t length = 0;
            const char* text = plist_get_string_ptr(item, &length);
            if (text && length <= uint64_t(std::numeric_limits<qsizetype>::max()) && !std::memchr(text, 0, length))
                identifier = QString::fromUtf8(text, qsizetype(length));
        }
    }
    plist_free(root);
    return identifier;
}

QVariant OrvMacPasteboardMimePhotosAsset::convertToMime(const QString& mime, const QList<QByteArray>& data, const QString& uti) const
{
    if (uti != FLAVOR) {
        qWarning("QMime::convertToMime: unhandled mimetype: %s", qPrintable(mime));
        return QVariant();
    }
    QList<QUrl> urls;
    // An item that is no property list, or has no identifier, still gives a URL (with an empty fragment).
    for (const QByteArray& item : data)
        urls.append(extractAssetUrl(localIdentifierOf(item)));
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    stream << urls;
    return QVariant(payload);
}
