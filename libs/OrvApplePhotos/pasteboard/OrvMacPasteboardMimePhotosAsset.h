#pragma once

#include "OrvPasteboardMimeConverterBase.h"

#include <QUrl>

// Photos assets dragged from the Photos application: each pasteboard item of
// the Photos flavour (a property list with the asset's "localIdentifier")
// becomes the PhotoKit photo URL the Photos source understands; the
// application gets the list of URLs, in pasteboard order, as "text/x-orv-phasset".
class OrvMacPasteboardMimePhotosAsset : public OrvPasteboardMimeConverterBase
{
public:
    static const QString MIME;    // "text/x-orv-phasset"
    static const QString FLAVOR;  // "com.apple.photos.object-reference.asset"

    OrvMacPasteboardMimePhotosAsset();
    ~OrvMacPasteboardMimePhotosAsset() override;

    QList<QByteArray> convertFromMime(const QString& mime, const QVariant& data, const QString& uti) const override;
    QString utiForMime(const QString& mime) const override;
    QString mimeForUti(const QString& uti) const override;
    // A QByteArray with the QDataStream of the QList<QUrl>; an empty variant
    // (and a warning) for another type.
    QVariant convertToMime(const QString& mime, const QList<QByteArray>& data, const QString& uti) const override;
    // Hides the base's, which Qt does not make virtual.
    bool canConvert(const QString& mime, const QString& uti) const;

    QString convertorName() const;
    // photokit:foto#<remote id of the local identifier>
    static QUrl extractAssetUrl(const QString& localIdentifier);
    // "localIdentifier" of an XML or binary property list; empty when it is none
    // within OrvPlistBoundsCheck's bounds, no dictionary, or has no such string,
    // or one with a NUL inside.
    static QString localIdentifierOf(const QByteArray& propertyList);
};
