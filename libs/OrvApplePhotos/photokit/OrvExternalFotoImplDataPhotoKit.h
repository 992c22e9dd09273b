#pragma once

#include "OrvExternalFotoImplData.h"

// A foto of the Photos library: the host's data plus the asset's original file
// name, looked up once when first asked for.
class OrvExternalFotoImplDataPhotoKit : public OrvExternalFotoImplData
{
public:
    OrvExternalFotoImplDataPhotoKit(const OrvExternalId& id, const QString& name, const QDateTime& taken, const QSize& size,
                                    const OrvGeoPosition& position);
    ~OrvExternalFotoImplDataPhotoKit() override;

    OrvExternalFotoImplData* clone() const override;
    OrvFacePositions createFacePositions(bool withNames) const override;
    QUrl dataUrl(const QSize& size) const override;
    OrvMediaFormat fileFormat() const override;
    using OrvExternalFotoImplData::fileFormat;
    QString fileName() const override;
    QString fileNameFast() const override;

    // The original file name of the asset's first resource that is neither an
    // edited rendition nor a movie part; else the last one's; empty without asset.
    QString detectFileName() const;

private:
    OrvExternalFotoImplDataPhotoKit(const OrvExternalFotoImplDataPhotoKit& other);

    mutable QString myFileName;
};
