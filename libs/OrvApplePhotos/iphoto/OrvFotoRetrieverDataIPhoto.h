#pragma once

#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

// Pixels and file bytes of an iPhoto or Aperture foto, read from its local file.
class OrvFotoRetrieverDataIPhoto : public OrvFotoRetrieverDataFileInfo
{
public:
    OrvFotoRetrieverDataIPhoto(const OrvExternalId& id, const OrvMediaDescriptor& descriptor);
    ~OrvFotoRetrieverDataIPhoto() override;

    // The file's bytes without the EXIF rotation tag: the library shows the pixels as stored.
    QByteArray file(const OrvMediaFormat& format) override;
    OrvFoto foto() const override;

private:
    OrvExternalId myId;
};
