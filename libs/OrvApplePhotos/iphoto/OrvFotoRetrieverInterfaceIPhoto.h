#pragma once

#include "OrvExternalFoto.h"
#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

#include <QFileInfo>
#include <QSize>

// Pixels, bytes and metadata of one foto of the iPhoto or Aperture source.
class OrvFotoRetrieverInterfaceIPhoto : public OrvFotoRetrieverInterfaceReadOnly
{
public:
    explicit OrvFotoRetrieverInterfaceIPhoto(const OrvExternalId& id);
    ~OrvFotoRetrieverInterfaceIPhoto() override;

    OrvFotoRetrieverInterface* clone() const override;
    OrvFotoRetrieverData* retrieve(const QSize& size) override;
    OrvFotoRetrieverMetaData* retrieveMetaData() override;
    bool operator==(const OrvFotoRetrieverInterface& other) const override;
    size_t hash() const override;

    // The foto in its source: Aperture when the id's URL starts with "aperture", else iPhoto.
    OrvExternalFoto databaseFoto() const;
    // The local file that serves a size (full image or thumbnail).
    QFileInfo file(const QSize& size) const;
    // The file of the full image.
    QFileInfo primaryFile() const;
    const OrvExternalId& id() const { return myId; }

private:
    OrvExternalId myId;
};
