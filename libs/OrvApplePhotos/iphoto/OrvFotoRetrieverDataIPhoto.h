#pragma once

#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

// Pixels and file bytes of an iPhoto or Aperture foto, read from its local file.
class OrvFotoRetrieverDataIPhoto : public OrvFotoRetrieverDataFileInfo
{
public:
    OrvFotoRetrieverDataIPhoto(const OrvExternalId& id, const OrvMediaDescriptor& descriptor);
    ~OrvFotoRetrieverDataIPhoto() override;

    // The file's bytes with the orientation set to "as stored": the library shows
    // the pixels as they are stored.
    QByteArray file(const OrvMediaFormat& format) override;
    bool writeFile(const OrvMediaFormat& format, QIODevice* target) override;
    OrvFoto foto() const override;

private:
    QByteArray withoutRotation(QByteArray bytes) const;

    OrvExternalId myId;
};
