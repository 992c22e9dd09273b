#include "OrvFotoMetaData.h"
#include "OrvNativeMetaData.h"

#include <cmath>

// What a file's metadata says beyond date, size, place and rating: most records
// (a library's, one per photo) have none of it, and share one empty set.
struct OrvFotoMetaDataExtra : public QSharedData
{
    QString cameraMake;
    QString cameraModel;
    QString caption;
    OrvMetaData colorInfo;
    OrvFacePositions faces;

    static const QSharedDataPointer<OrvFotoMetaDataExtra>& none()
    {
        static const QSharedDataPointer<OrvFotoMetaDataExtra> empty(new OrvFotoMetaDataExtra);
        return empty;
    }
};

struct OrvFotoMetaData::Data : public QSharedData
{
    bool valid = false;
    OrvFotoMetaDataFlags flags = OrvFotoMetaDataNoFlag;
    int adobeRating = 0;
    int orientation = 1;
    QSize preferredSize;
    QDateTime pictureTaken;
    OrvGeoPosition geoPosition;
    QSharedDataPointer<OrvFotoMetaDataExtra> extra = OrvFotoMetaDataExtra::none();
};

namespace {

bool isFinite(const QRectF& rect)
{
    return std::isfinite(rect.x()) && std::isfinite(rect.y()) && std::isfinite(rect.width())
        && std::isfinite(rect.height());
}

} // namespace

OrvFotoMetaData::OrvFotoMetaData()
{
    // Shared by all default-constructed records so that they cost one pointer.
    static const QSharedDataPointer<Data> empty(new Data);
    d = empty;
}

OrvFotoMetaData::OrvFotoMetaData(const OrvNativeMetaData& native) : d(native.metaData().d) {}

OrvFotoMetaData::OrvFotoMetaData(const OrvFotoMetaData&) = default;
OrvFotoMetaData& OrvFotoMetaData::operator=(const OrvFotoMetaData&) = default;
OrvFotoMetaData::~OrvFotoMetaData() = default;

bool OrvFotoMetaData::isValid() const { return d->valid; }

void OrvFotoMetaData::setValid(bool valid)
{
    if (d.constData()->valid != valid)
        d->valid = valid;
}

QDateTime OrvFotoMetaData::pictureTaken() const { return d->pictureTaken; }

void OrvFotoMetaData::setPictureTaken(const QDateTime& taken)
{
    d->pictureTaken = taken;
    d->valid = true;
}

QSize OrvFotoMetaData::preferredSize() const { return d->preferredSize; }

void OrvFotoMetaData::setPreferredSize(const QSize& size)
{
    d->preferredSize = size;
    d->valid = true;
}

OrvGeoPosition OrvFotoMetaData::geoPosition() const { return d->geoPosition; }

void OrvFotoMetaData::setGeoPosition(const OrvGeoPosition& position)
{
    d->geoPosition = position;
    d->valid = true;
}

int OrvFotoMetaData::adobeRating() const { return d->adobeRating; }

void OrvFotoMetaData::setAdobeRating(int rating)
{
    // -1 is "rejected", 0 "unrated", 1..5 stars.
    d->adobeRating = qBound(-1, rating, 5);
    d->valid = true;
}

int OrvFotoMetaData::orientation() const { return d->orientation; }

void OrvFotoMetaData::setOrientation(int orientation)
{
    d->orientation = (orientation >= 1 && orientation <= 8) ? orientation : 1;
    d->valid = true;
}

QString OrvFotoMetaData::cameraMake() const { return d->extra->cameraMake; }

void OrvFotoMetaData::setCameraMake(const QString& make)
{
    d->extra->cameraMake = make;
    d->valid = true;
}

QString OrvFotoMetaData::cameraModel() const { return d->extra->cameraModel; }

void OrvFotoMetaData::setCameraModel(const QString& model)
{
    d->extra->cameraModel = model;
    d->valid = true;
}

QString OrvFotoMetaData::caption() const { return d->extra->caption; }

void OrvFotoMetaData::setCaption(const QString& caption)
{
    d->extra->caption = caption;
    d->valid = true;
}

const OrvMetaData& OrvFotoMetaData::colorInfo() const { return d->extra->colorInfo; }

void OrvFotoMetaData::setColorInfo(const OrvMetaData& info)
{
    d->extra->colorInfo = info;
    d->valid = true;
}

const OrvFacePositions& OrvFotoMetaData::faces() const { return d->extra->faces; }

void OrvFotoMetaData::updateFaces(const QSize& imageSize, const OrvFacePositions& faces)
{
    static const QRectF unit(0.0, 0.0, 1.0, 1.0);
    // A little slack: fractions computed elsewhere may overshoot by rounding.
    static const double fractionLimit = 1.0 + 1e-6;

    bool pixels = false;
    if (imageSize.isValid() && !imageSize.isEmpty()) {
        for (const OrvFacePosition& face : faces) {
            const QRectF r = face.rect.normalized();
            if (r.right() > fractionLimit || r.bottom() > fractionLimit) {
                pixels = true;
                break;
            }
        }
    }

    OrvFacePositions result;
    result.reserve(faces.size());
    for (OrvFacePosition face : faces) {
        QRectF r = isFinite(face.rect) ? face.rect.normalized() : QRectF();
        if (pixels)
            r = QRectF(r.x() / imageSize.width(), r.y() / imageSize.height(), r.width() / imageSize.width(),
                       r.height() / imageSize.height());
        // Keep the face (the person is still on the photo) even when its box is off the image.
        face.rect = r.isNull() ? QRectF() : r.intersected(unit);
        result.append(face);
    }
    d->extra->faces = result;
    d->valid = true;
}

OrvFotoMetaDataFlags OrvFotoMetaData::flags() const { return d->flags; }

bool OrvFotoMetaData::testFlag(OrvFotoMetaDataFlag flag) const { return flag != 0 && (d->flags & flag) == flag; }

void OrvFotoMetaData::setFlag(OrvFotoMetaDataFlags flag, bool on)
{
    const OrvFotoMetaDataFlags current = d.constData()->flags;
    const OrvFotoMetaDataFlags flags = on ? (current | flag) : (current & ~flag);
    if (flags != d.constData()->flags)
        d->flags = flags;
}

qint64 OrvFotoMetaData::byteCount() const
{
    auto stringBytes = [](const QString& s) { return qint64(s.capacity()) * qint64(sizeof(QChar)); };
    qint64 bytes = qint64(sizeof(OrvFotoMetaData)) + qint64(sizeof(Data));
    if (d->extra != OrvFotoMetaDataExtra::none())
        bytes += qint64(sizeof(OrvFotoMetaDataExtra));
    bytes += stringBytes(d->extra->cameraMake) + stringBytes(d->extra->cameraModel) + stringBytes(d->extra->caption);
    // Typical size of an embedded profile; serialising it here would cost more than it tells.
    bytes += d->extra->colorInfo.colorSpace().isValid() ? 600 : 0;
    for (const OrvFacePosition& face : d->extra->faces)
        bytes += qint64(sizeof(OrvFacePosition)) + stringBytes(face.personId) + stringBytes(face.name);
    return bytes;
}

bool OrvFotoMetaData::operator==(const OrvFotoMetaData& other) const
{
    if (d == other.d)
        return true;
    const Data& a = *d;
    const Data& b = *other.d;
    return a.valid == b.valid && a.pictureTaken == b.pictureTaken && a.preferredSize == b.preferredSize
        && a.geoPosition == b.geoPosition && a.adobeRating == b.adobeRating && a.orientation == b.orientation
        && a.extra->cameraMake == b.extra->cameraMake && a.extra->cameraModel == b.extra->cameraModel && a.extra->caption == b.extra->caption
        && a.extra->colorInfo.colorSpace() == b.extra->colorInfo.colorSpace() && a.extra->faces == b.extra->faces && a.flags == b.flags;
}
