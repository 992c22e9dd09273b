#pragma once

#include "OrvFotoRetriever.h"

// Pixels and file bytes of one Photos foto, from the PhotoKit source.
class OrvFotoRetrieverDataPhotoKit : public OrvFotoRetrieverData
{
public:
    explicit OrvFotoRetrieverDataPhotoKit(const OrvExternalId& id);
    ~OrvFotoRetrieverDataPhotoKit() override;

    OrvFetchDrawableResult drawable(const QSize& size) override;
    QByteArray file(const OrvMediaFormat& format) override;
    // Only bytes whose image is whole: Photos hands over what it has, a cut-off file too.
    bool writeFile(const OrvMediaFormat& format, QIODevice* target) override;
    OrvFoto foto() const override;

private:
    OrvExternalId myId;
};
