#pragma once

#import <Foundation/Foundation.h>
#import <ImageIO/ImageIO.h>

#include "OrvImageIO.h"

// CGImageDestination of one type over a data object as
// OrvImageIO::ImageDestination; finalize() copies the written bytes into the
// caller's QByteArray.
//
// An image added from one of this backend's sources travels as ImageIO copies
// it, with the source's own metadata; given properties replace its orientation
// (the properties this backend reads carry no EXIF block of their own to put
// back). An image added as pixels gets the properties' XMP tree, orientation
// and colour profile. Images above the host loader's pixel bound are not added.
class OrvMacImageDestination : public OrvImageIO::ImageDestination
{
public:
    // Null for a type ImageIO cannot write.
    static std::shared_ptr<OrvMacImageDestination> create(QByteArray* data, const QString& type, int count);
    ~OrvMacImageDestination() override;

    void addImageFromSource(const OrvImageIO::ImageSourcePtr& source, int index,
                            const std::optional<OrvImageIO::Properties>& properties) override;
    void addImage(const QImage& image, const std::optional<OrvImageIO::Properties>& properties) override;
    bool finalize() override;

private:
    OrvMacImageDestination(QByteArray* data, CFMutableDataRef written, CGImageDestinationRef destination);

    QByteArray* myData;
    CFMutableDataRef myWritten;
    CGImageDestinationRef myDestination;
    bool myFinalized = false;
};
