#pragma once

#include "OrvExternalFoto.h"
#include "OrvFotoRetriever.h"

// Entry point of the host's loading threads for one Photos foto.
class OrvFotoRetrieverInterfacePhotoKit : public OrvFotoRetrieverInterfaceReadOnly
{
public:
    explicit OrvFotoRetrieverInterfacePhotoKit(const OrvExternalId& id);
    ~OrvFotoRetrieverInterfacePhotoKit() override;

    OrvFotoRetrieverInterface* clone() const override;
    OrvFotoRetrieverData* retrieve(const QSize& size) override;
    OrvFotoRetrieverMetaData* retrieveMetaData() override;
    bool operator==(const OrvFotoRetrieverInterface& other) const override;
    size_t hash() const override;

    OrvExternalFoto databaseFoto() const;
    const OrvExternalId& id() const { return myId; }
    // Shown while a foto is on its way.
    static QString placeholderText();

private:
    OrvExternalId myId;
};
