#pragma once

#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

// Metadata of an iPhoto or Aperture foto: the file's, with the library's faces and rating.
class OrvFotoRetrieverMetaDataIPhoto : public OrvFotoRetrieverMetaDataFileInfo
{
public:
    OrvFotoRetrieverMetaDataIPhoto(const OrvExternalId& id, const OrvMediaDescriptor& descriptor);
    ~OrvFotoRetrieverMetaDataIPhoto() override;

    OrvFotoMetaData buildFotoMetaData(const OrvMediaDescriptor& descriptor) const override;

private:
    OrvExternalId myId;
};
