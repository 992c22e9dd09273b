#pragma once

#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

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
    // The file as stored goes from the download to target in chunks, however large.
    bool writeFile(const OrvMediaFormat& format, QIODevice* target) override;
    OrvFoto foto() const override;

private:
    // Whether format asks for the item's own format (they share a bit).
    bool isSourceFormat(const OrvMediaFormat& format) const;

    const OrvAppleImageCaptureDatabase* myDatabase;
    OrvExternalId myId;
};
