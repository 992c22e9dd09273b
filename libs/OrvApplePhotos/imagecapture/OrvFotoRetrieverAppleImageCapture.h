#pragma once

#include "OrvExternalFoto.h"
#include "OrvExternalId.h"
#include "OrvFotoRetriever.h"

class OrvAppleImageCaptureDatabase;

// Pixels, bytes and metadata of one camera item.
class OrvFotoRetrieverAppleImageCapture : public OrvFotoRetrieverInterfaceReadOnly
{
public:
    OrvFotoRetrieverAppleImageCapture(const OrvAppleImageCaptureDatabase* database, const OrvExternalId& id);
    ~OrvFotoRetrieverAppleImageCapture() override;

    OrvFotoRetrieverInterface* clone() const override;
    OrvFotoRetrieverData* retrieve(const QSize& size) override;
    OrvFotoRetrieverMetaData* retrieveMetaData() override;
    // Equal for equal ids, whichever source made them.
    bool operator==(const OrvFotoRetrieverInterface& other) const override;
    size_t hash() const override;

    OrvExternalFoto databaseFoto() const;
    static QString placeholderText();

private:
    const OrvAppleImageCaptureDatabase* myDatabase;
    OrvExternalId myId;
};
