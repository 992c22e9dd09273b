#pragma once

#include "OrvGeoPosition.h"

#include <QColorSpace>
#include <QDateTime>
#include <QList>
#include <QRectF>
#include <QSharedDataPointer>
#include <QSize>
#include <QString>

// Colour facts of an image that decoding needs (embedded profile).
class OrvMetaData
{
public:
    OrvMetaData() = default;
    explicit OrvMetaData(const QColorSpace& colorSpace) : myColorSpace(colorSpace) {}
    const QColorSpace& colorSpace() const { return myColorSpace; }
    void setColorSpace(const QColorSpace& colorSpace) { myColorSpace = colorSpace; }

private:
    QColorSpace myColorSpace;
};

// One recognised person on a photo: id (URL form) and rectangle in fractions of
// the image, origin top left.
struct OrvFacePosition
{
    QString personId;
    QString name;
    QRectF rect;
    bool operator==(const OrvFacePosition& other) const
    {
        return personId == other.personId && name == other.name && rect == other.rect;
    }
};
using OrvFacePositions = QList<OrvFacePosition>;

enum OrvFotoMetaDataFlag : quint32 {
    OrvFotoMetaDataNoFlag = 0,
    OrvFotoMetaDataFromFile = 1,
    // Faces and rating come from the source's library and override the file's.
    OrvFotoMetaDataLibraryAuthoritative = 2,
    OrvFotoMetaDataEdited = 4,
};
using OrvFotoMetaDataFlags = quint32;

class OrvNativeMetaData;

// The metadata of one photo as the host shows it.
class OrvFotoMetaData
{
public:
    OrvFotoMetaData();
    explicit OrvFotoMetaData(const OrvNativeMetaData& native);
    OrvFotoMetaData(const OrvFotoMetaData&);
    OrvFotoMetaData& operator=(const OrvFotoMetaData&);
    ~OrvFotoMetaData();

    // Valid once filled from a native record or marked valid by a setter.
    bool isValid() const;
    void setValid(bool valid);

    QDateTime pictureTaken() const;
    void setPictureTaken(const QDateTime& taken);
    // Pixel size as displayed (orientation applied).
    QSize preferredSize() const;
    void setPreferredSize(const QSize& size);
    OrvGeoPosition geoPosition() const;
    void setGeoPosition(const OrvGeoPosition& position);
    int adobeRating() const;
    void setAdobeRating(int rating);
    // EXIF orientation 1..8; 1 when unknown.
    int orientation() const;
    void setOrientation(int orientation);
    QString cameraMake() const;
    void setCameraMake(const QString& make);
    QString cameraModel() const;
    void setCameraModel(const QString& model);
    QString caption() const;
    void setCaption(const QString& caption);
    const OrvMetaData& colorInfo() const;
    void setColorInfo(const OrvMetaData& info);

    const OrvFacePositions& faces() const;
    // Replaces the faces; the size is the image size the rectangles refer to,
    // invalid when they are fractions already.
    void updateFaces(const QSize& imageSize, const OrvFacePositions& faces);

    OrvFotoMetaDataFlags flags() const;
    bool testFlag(OrvFotoMetaDataFlag flag) const;
    void setFlag(OrvFotoMetaDataFlags flag, bool on);

    // Rough bytes for cache budgets.
    qint64 byteCount() const;

    bool operator==(const OrvFotoMetaData& other) const;
    bool operator!=(const OrvFotoMetaData& other) const { return !(*this == other); }

private:
    struct Data;
    QSharedDataPointer<Data> d;
};
