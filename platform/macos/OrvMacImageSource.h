#pragma once

#import <Foundation/Foundation.h>
#import <ImageIO/ImageIO.h>

#include "OrvImageIO.h"

// CGImageSource over bytes in memory as OrvImageIO::ImageSource: the bytes are
// lent to ImageIO, not copied. Images above the host loader's pixel bound are
// not decoded (neither full nor as thumbnails), as the Qt backend keeps it;
// their properties are read.
//
// Properties: ImageIO hands out an image's metadata as property dictionaries
// and as its XMP tree; the EXIF and IPTC blocks as stored are not among them.
// So exif and iptc stay empty, xmp is the whole tree serialized (EXIF, TIFF,
// GPS and IPTC values included, in their XMP namespaces), and values holds the
// property dictionaries under the Exiv2 family names ("Exif.Photo.", "Exif.Image.",
// "Exif.GPSInfo.GPS", "Iptc.Application2.") followed by ImageIO's key.
class OrvMacImageSource : public OrvImageIO::ImageSource
{
public:
    // Null when the bytes are no image ImageIO knows.
    static std::shared_ptr<OrvMacImageSource> create(const QByteArray& data, const OrvImageIO::SourceOptions& options);
    ~OrvMacImageSource() override;

    CGImageSourceRef source() const { return mySource; }
    // Whether the image at index has a size within the bound (so it may be decoded).
    bool decodable(int index) const;

    QString type() const override;
    int count() const override;
    std::optional<OrvImageIO::Properties> copyPropertiesAtIndex(int index,
                                                                const OrvImageIO::SourceOptions& options) const override;
    QImage createImageAtIndex(int index, const OrvImageIO::SourceOptions& options) const override;
    QImage createThumbnailAtIndex(int index, const OrvImageIO::SourceOptions& options) const override;

    // The image-source options as ImageIO's dictionary; thumbnail keys only for thumbnails.
    static NSDictionary* dictionary(const OrvImageIO::SourceOptions& options, bool thumbnail);

private:
    OrvMacImageSource(const QByteArray& data, CGImageSourceRef source);
    NSDictionary* properties(int index) const;
    QImage decode(int index, const OrvImageIO::SourceOptions& options, bool thumbnail) const;

    QByteArray myData;
    CGImageSourceRef mySource;
};
