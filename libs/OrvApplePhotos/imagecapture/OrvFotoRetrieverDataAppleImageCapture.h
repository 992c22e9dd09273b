#pragma once

#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

#include <functional>

class OrvAppleImageCaptureDatabase;

// Pixels and file bytes of a camera item: the device's thumbnail for a size,
// the downloaded file for the full image and the file.
class OrvFotoRetrieverDataAppleImageCapture : public OrvFotoRetrieverData
{
public:
    OrvFotoRetrieverDataAppleImageCapture(const OrvAppleImageCaptureDatabase* database, const OrvExternalId& id);
    ~OrvFotoRetrieverDataAppleImageCapture() override;

    OrvFetchDrawableResult drawable(const QSize& size) override;
    QByteArray file(const OrvMediaFormat& format) override;
    // The file as stored goes from the download to target in chunks, however
    // large. It is checked for being cut off, not decoded: the download was
    // checked against the device's own size, and a photo damaged inside on the
    // card is still the user's.
    bool writeFile(const OrvMediaFormat& format, QIODevice* target) override;
    // The downloaded file itself becomes the saved one: no second copy.
    bool saveFile(const OrvMediaFormat& format, OrvTargetFolder* folder, const QString& name) override;
    OrvFoto foto() const override;

private:
    // Whether format asks for the item's own format (they share a bit).
    bool isSourceFormat(const OrvMediaFormat& format) const;
    // The format asked for, an invalid one meaning the item's own.
    OrvMediaFormat askedFormat(const OrvMediaFormat& format) const;
    // Downloads the item and hands the file to use when it is not cut off; the file goes afterwards.
    bool withWholeDownload(const std::function<bool(const QString&)>& use) const;

    const OrvAppleImageCaptureDatabase* myDatabase;
    OrvExternalId myId;
};
