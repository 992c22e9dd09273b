#pragma once

#include "OrvExternalId.h"

#include <QList>
#include <QRectF>

// A person on a foto: the person's id and a rectangle in fractions of the image, origin top left.
class OrvExternalFace
{
public:
    OrvExternalFace() = default;
    OrvExternalFace(const OrvExternalId& personId, const QRectF& rect) : myId(personId), myRect(rect) {}
    const OrvExternalId& id() const { return myId; }
    const QRectF& rect() const { return myRect; }
    bool operator==(const OrvExternalFace& other) const { return myId == other.myId && myRect == other.myRect; }

private:
    OrvExternalId myId;
    QRectF myRect;
};

class OrvExternalFaceList : public QList<OrvExternalFace>
{
public:
    using QList<OrvExternalFace>::QList;
    void add(const OrvExternalFace& face) { append(face); }
};
