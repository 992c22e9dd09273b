#include "OrvMacPHAsset.h"

#include "OrvMacFoundation.h"

#import <CoreLocation/CoreLocation.h>

#include <QDebug>

#include <limits>

namespace {

int clampedSize(NSUInteger value)
{
    return value > NSUInteger(std::numeric_limits<int>::max()) ? std::numeric_limits<int>::max() : int(value);
}

} // namespace

PHAsset* OrvMacPHAsset::from(const OrvPhotoKit::AssetPtr& asset)
{
    const auto mine = std::dynamic_pointer_cast<const OrvMacPHAsset>(asset);
    return mine ? mine->myAsset : nil;
}

QString OrvMacPHAsset::localIdentifier() const
{
    @autoreleasepool {
        return OrvMacFoundation::string(myAsset.localIdentifier);
    }
}

std::optional<QDateTime> OrvMacPHAsset::creationDate() const
{
    @autoreleasepool {
        NSDate* date = myAsset.creationDate;
        if (!date)
            return std::nullopt;
        return QDateTime::fromNSDate(date).toUTC();
    }
}

QVariant OrvMacPHAsset::valueForKey(const QString& key) const
{
    @autoreleasepool {
        // Key-value coding raises for a key the class does not know; that is an answer of nothing here.
        @try {
            return OrvMacFoundation::variant([myAsset valueForKey:key.toNSString()]);
        } @catch (NSException* exception) {
            qDebug().noquote() << "PhotoKit: asset has no value for" << key << OrvMacFoundation::string(exception.reason);
            return {};
        }
    }
}

std::optional<OrvPhotoKit::Location> OrvMacPHAsset::location() const
{
    @autoreleasepool {
        CLLocation* location = myAsset.location;
        if (!location)
            return std::nullopt;
        const CLLocationCoordinate2D coordinate = location.coordinate;
        OrvPhotoKit::Location result;
        result.coordinate.latitude = coordinate.latitude;
        result.coordinate.longitude = coordinate.longitude;
        return result;
    }
}

int OrvMacPHAsset::pixelWidth() const
{
    return clampedSize(myAsset.pixelWidth);
}

int OrvMacPHAsset::pixelHeight() const
{
    return clampedSize(myAsset.pixelHeight);
}

bool OrvMacPHAsset::isFavorite() const
{
    return myAsset.favorite;
}
