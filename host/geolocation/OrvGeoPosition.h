#pragma once

#include <QMetaType>
#include <cmath>

// A place on earth in degrees; default-constructed it means "no position".
class OrvGeoPosition
{
public:
    OrvGeoPosition() = default;
    OrvGeoPosition(double latitude, double longitude) : myLatitude(latitude), myLongitude(longitude), myValid(true) {}

    bool isValid() const
    {
        return myValid && std::isfinite(myLatitude) && std::isfinite(myLongitude) && std::fabs(myLatitude) <= 90.0
            && std::fabs(myLongitude) <= 180.0;
    }
    double latitude() const { return myLatitude; }
    double longitude() const { return myLongitude; }

    bool operator==(const OrvGeoPosition& other) const
    {
        return myValid == other.myValid && (!myValid || (myLatitude == other.myLatitude && myLongitude == other.myLongitude));
    }
    bool operator!=(const OrvGeoPosition& other) const { return !(*this == other); }

private:
    double myLatitude = 0.0;
    double myLongitude = 0.0;
    bool myValid = false;
};
Q_DECLARE_METATYPE(OrvGeoPosition)
