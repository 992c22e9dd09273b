#include "OrvPhotosLibraryAsset.h"

#include "OrvQtCompat.h"

namespace OrvPhotosLibrary {

Asset::Asset(Row row)
    : myLocalIdentifier(std::move(row.uuid.append(QLatin1String(suffix)))),
      myPrimaryKey(row.primaryKey),
      myCreated(row.created),
      myTimeZoneOffset(row.timeZoneOffset),
      myLocation(row.location),
      myAdjusted(row.adjusted),
      myWidth(row.width),
      myHeight(row.height),
      mySourceType(row.sourceType),
      myMediaType(row.mediaType),
      myFavorite(row.favorite)
{
}

bool Asset::sameAs(const Asset& other) const
{
    const bool sameLocation = myLocation.has_value() == other.myLocation.has_value()
        && (!myLocation
            || (myLocation->coordinate.latitude == other.myLocation->coordinate.latitude
                && myLocation->coordinate.longitude == other.myLocation->coordinate.longitude));
    return myLocalIdentifier == other.myLocalIdentifier && myPrimaryKey == other.myPrimaryKey && myCreated == other.myCreated
        && myTimeZoneOffset == other.myTimeZoneOffset && sameLocation && myAdjusted == other.myAdjusted
        && myWidth == other.myWidth && myHeight == other.myHeight && mySourceType == other.mySourceType
        && myMediaType == other.myMediaType && myFavorite == other.myFavorite;
}

std::optional<QDateTime> Asset::creationDate() const
{
    if (!myCreated)
        return std::nullopt;
    return OrvQt::utcFromMSecs(*myCreated);
}

QVariant Asset::valueForKey(const QString& key) const
{
    if (key == QLatin1String("creationDate"))
        return myCreated ? QVariant(*creationDate()) : QVariant();
    if (key == QLatin1String("localCreationDate")) {
        // The wall-clock time where it was taken, written as UTC (as Photos keeps it).
        if (!myCreated || !myTimeZoneOffset)
            return QVariant();
        return OrvQt::utcFromMSecs(*myCreated + qint64(*myTimeZoneOffset) * 1000);
    }
    if (key == QLatin1String("localIdentifier"))
        return myLocalIdentifier;
    if (key == QLatin1String("favorite"))
        return myFavorite;
    if (key == QLatin1String("pixelWidth"))
        return myWidth;
    if (key == QLatin1String("pixelHeight"))
        return myHeight;
    if (key == QLatin1String("mediaType"))
        return int(myMediaType);
    return QVariant();
}

} // namespace OrvPhotosLibrary
