#pragma once

// The part of Apple's ImageIO that the plug-in uses, as thin C++ interfaces:
// image sources over bytes (CGImageSource), their properties, and image
// destinations that write one image of a type into bytes (CGImageDestination).
// A backend implements them and installs itself with setImageIOProvider; the
// plug-in reaches it only through OrvImageIO::sharedImageIO().

#include <QByteArray>
#include <QImage>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace OrvImageIO {

// The image-source options (kCGImageSource...).
struct SourceOptions
{
    bool shouldCache = true;                      // kCGImageSourceShouldCache
    bool createThumbnailWithTransform = false;    // kCGImageSourceCreateThumbnailWithTransform
    bool createThumbnailFromImageAlways = false;  // kCGImageSourceCreateThumbnailFromImageAlways
    int thumbnailMaxPixelSize = 0;                // kCGImageSourceThumbnailMaxPixelSize; 0: the full size
    QString typeIdentifierHint;                   // kCGImageSourceTypeIdentifierHint
};

// The properties of one image of a source (CGImageSourceCopyPropertiesAtIndex).
// The metadata blocks travel as they are, so that a destination can carry them
// over unchanged.
struct Properties
{
    int pixelWidth = 0;   // kCGImagePropertyPixelWidth, as stored
    int pixelHeight = 0;  // kCGImagePropertyPixelHeight, as stored
    int orientation = 1;  // kCGImagePropertyOrientation, 1..8: how the stored pixels are to be shown
    bool hasAlpha = false;
    QByteArray iccProfile;  // the embedded colour profile
    QByteArray exif;        // EXIF in its TIFF structure, the GPS directory included
    QByteArray iptc;        // IPTC IIM records
    QByteArray xmp;         // the XMP packet
    // The values of those blocks by key ("Exif.Photo.DateTimeOriginal",
    // "Exif.GPSInfo.GPSLatitude", "Iptc.Application2.Caption", "Xmp.dc.title"), as text.
    QMap<QString, QString> values;
};

// CGImageSource. Thread-safe: every call is independent.
class ImageSource
{
public:
    virtual ~ImageSource();
    // CGImageSourceGetType: the uniform type identifier read from the bytes
    // (the hint only where the bytes do not tell); empty when unknown.
    virtual QString type() const = 0;
    // CGImageSourceGetCount
    virtual int count() const = 0;
    virtual std::optional<Properties> copyPropertiesAtIndex(int index, const SourceOptions& options) const = 0;
    // CGImageSourceCreateImageAtIndex: the full image with its pixels as stored;
    // null when it cannot be decoded.
    virtual QImage createImageAtIndex(int index, const SourceOptions& options) const = 0;
    // CGImageSourceCreateThumbnailAtIndex: at most thumbnailMaxPixelSize on its
    // longer side (0: full size), the orientation applied when asked for.
    virtual QImage createThumbnailAtIndex(int index, const SourceOptions& options) const = 0;
};
using ImageSourcePtr = std::shared_ptr<const ImageSource>;

// CGImageDestination of one type over a data object.
class ImageDestination
{
public:
    virtual ~ImageDestination();
    // CGImageDestinationAddImageFromSource; properties replace the source's own.
    virtual void addImageFromSource(const ImageSourcePtr& source, int index, const std::optional<Properties>& properties) = 0;
    // CGImageDestinationAddImage
    virtual void addImage(const QImage& image, const std::optional<Properties>& properties) = 0;
    // CGImageDestinationFinalize: writes the images into the data object; false
    // (and the data object left empty) when that fails.
    virtual bool finalize() = 0;
};
using ImageDestinationPtr = std::shared_ptr<ImageDestination>;

// The framework's functions that make sources and destinations.
class ImageIO
{
public:
    virtual ~ImageIO();
    // CGImageSourceCreateWithData: null when the bytes are no image of a known type.
    virtual ImageSourcePtr createImageSourceWithData(const QByteArray& data, const SourceOptions& options) = 0;
    // CGImageSourceCreateWithURL for a local file.
    virtual ImageSourcePtr createImageSourceWithURL(const QString& path, const SourceOptions& options) = 0;
    // CGImageDestinationCreateWithData: writes into *data on finalize; null for
    // a type that cannot be written. The data object must outlive the destination.
    virtual ImageDestinationPtr createImageDestinationWithData(QByteArray* data, const QString& type, int count) = 0;
    // CGImageDestinationCopyTypeIdentifiers
    virtual QStringList copyTypeIdentifiers() const = 0;
};
using ImageIOPtr = std::shared_ptr<ImageIO>;

// The installed backend; null (and one debug line) while none is installed.
ImageIOPtr sharedImageIO();

// The image at path through the installed backend, upright and at most
// maxPixelSize on its longer side (0: full size), made from the image itself
// (CGImageSourceCreateThumbnailAtIndex with transform, from the image always,
// not cached); null without a backend or an image.
QImage uprightThumbnail(const QString& path, int maxPixelSize);

using ImageIOProvider = std::function<ImageIOPtr()>;
void setImageIOProvider(ImageIOProvider provider);

} // namespace OrvImageIO
