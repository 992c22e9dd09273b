#pragma once

#include "OrvExternalFoto.h"
#include "OrvFotoRetriever.h"

#include <QFileInfo>

class OrvApplePhotosDatabase;

// Entry point of the host's loading threads for one foto of the MediaLibrary
// source: its file, read through the host's file retrievers.
class OrvFotoRetrieverInterfaceApplePhotos : public OrvFotoRetrieverInterfaceReadOnly
{
public:
    OrvFotoRetrieverInterfaceApplePhotos(OrvApplePhotosDatabase* database, const OrvExternalId& id);
    ~OrvFotoRetrieverInterfaceApplePhotos() override;

    OrvFotoRetrieverInterface* clone() const override;
    OrvFotoRetrieverData* retrieve(const QSize& size) override;
    OrvFotoRetrieverMetaData* retrieveMetaData() override;
    bool operator==(const OrvFotoRetrieverInterface& other) const override;
    size_t hash() const override;

    OrvExternalFoto databaseFoto() const;
    // The local file for a size; built from the library when the foto's album was not opened yet.
    QFileInfo file(const QSize& size) const;
    const OrvExternalId& id() const { return myId; }
    // Shown while fotos are on their way.
    static QString placeholderText();

private:
    OrvApplePhotosDatabase* myDatabase;
    OrvExternalId myId;
};
