#pragma once

#include "OrvFotoMetaData.h"

#include <QBuffer>
#include <QByteArray>
#include <QFileInfo>

#include <memory>

// Metadata in a form close to where it came from.
class OrvNativeMetaData
{
public:
    virtual ~OrvNativeMetaData() = default;
    virtual OrvFotoMetaData metaData() const = 0;
};

// Metadata built from values a source knows (no file behind it).
class OrvNativeMetaDataGeneric : public OrvNativeMetaData
{
public:
    OrvNativeMetaDataGeneric();
    void setAdobeRating(int rating);
    void setGeoPosition(const OrvGeoPosition& position);
    void setPictureTaken(const QDateTime& taken);
    void setPreferredSize(const QSize& size);
    OrvFotoMetaData metaData() const override;

private:
    OrvFotoMetaData myData;
};

// EXIF, IPTC and XMP of an image file, read and written with Exiv2.
class OrvNativeMetaDataExiv2 : public OrvNativeMetaData
{
public:
    // Reads the metadata of the image in bytes; the file names it (for the format
    // and for error messages). Unreadable bytes give an object whose metaData() is invalid.
    OrvNativeMetaDataExiv2(const QFileInfo& file, const QByteArray& bytes);
    // Reads the file from disk.
    explicit OrvNativeMetaDataExiv2(const QFileInfo& file);
    // EXIF built from the host's record: date taken, rating, GPS, orientation, camera.
    explicit OrvNativeMetaDataExiv2(const OrvFotoMetaData& data);
    ~OrvNativeMetaDataExiv2() override;
    OrvNativeMetaDataExiv2(const OrvNativeMetaDataExiv2&) = delete;
    OrvNativeMetaDataExiv2& operator=(const OrvNativeMetaDataExiv2&) = delete;

    bool isValid() const;
    OrvFotoMetaData metaData() const override;
    int exifOrientation() const;  // 1..8, 1 when there is none
    // Removes the orientation tag, so that viewers show the pixels as stored.
    void clearExifRotation();
    // Writes this metadata into the image held by the buffer, replacing the
    // buffer's bytes with the result. False (and the buffer untouched) when the
    // bytes are no image Exiv2 can write to.
    bool store(QBuffer* buffer) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
