#pragma once

// A PHAsset of a library package: what a row of the asset table says of one
// photo or video that Photos shows. Small on purpose (a library holds hundreds
// of thousands); its files are looked up when they are asked for.

#include "OrvPhotoKitModelAsset.h"

#include <optional>

namespace OrvPhotosLibrary {

class Asset : public OrvPhotoKitModel::ModelAsset
{
public:
    // PHAssetMediaType
    enum MediaType : quint8 { Unknown = 0, Image = 1, Video = 2 };

    struct Row
    {
        qint64 primaryKey = 0;
        QString uuid;
        MediaType mediaType = Image;
        int width = 0;  // as displayed (the orientation applied)
        int height = 0;
        bool favorite = false;
        std::optional<qint64> created;        // milliseconds since 1970, UTC
        std::optional<int> timeZoneOffset;    // seconds east of UTC where it was taken
        std::optional<OrvPhotoKit::Location> location;
        quint32 sourceType = OrvPhotoKit::AssetSourceTypeUserLibrary;
        double adjusted = 0;  // when the current edit was made; 0: never edited
    };

    // Takes the row's identifier over (with room for the suffix, no copy is made).
    explicit Asset(Row row);

    qint64 primaryKey() const { return myPrimaryKey; }
    QString uuid() const { return myLocalIdentifier.chopped(suffixLength); }
    MediaType mediaType() const { return myMediaType; }
    // Milliseconds since 1970, UTC.
    std::optional<qint64> created() const { return myCreated; }
    bool isEdited() const { return myAdjusted != 0; }
    // The same photo as Photos shows it, edits included.
    bool sameAs(const Asset& other) const;

    // OrvPhotoKit::Asset
    QString localIdentifier() const override { return myLocalIdentifier; }
    std::optional<QDateTime> creationDate() const override;
    QVariant valueForKey(const QString& key) const override;
    std::optional<OrvPhotoKit::Location> location() const override { return myLocation; }
    int pixelWidth() const override { return myWidth; }
    int pixelHeight() const override { return myHeight; }
    bool isFavorite() const override { return myFavorite; }
    quint32 sourceType() const override { return mySourceType; }

    static QString localIdentifierOf(const QString& uuid) { return uuid + QLatin1String(suffix); }
    static constexpr int suffixLength = 7;

private:
    static constexpr const char* suffix = "/L0/001";

    QString myLocalIdentifier;
    qint64 myPrimaryKey;
    std::optional<qint64> myCreated;
    std::optional<int> myTimeZoneOffset;
    std::optional<OrvPhotoKit::Location> myLocation;
    double myAdjusted;
    int myWidth;
    int myHeight;
    quint32 mySourceType;
    MediaType myMediaType;
    bool myFavorite;
};

} // namespace OrvPhotosLibrary
