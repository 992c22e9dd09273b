#pragma once

#include "OrvExternalFotoImplData.h"

#include <QList>
#include <QMetaType>
#include <memory>

// A foto of a source: a shared, read-only handle on its data.
class OrvExternalFoto
{
public:
    OrvExternalFoto() = default;
    // Takes ownership of data.
    explicit OrvExternalFoto(OrvExternalFotoImplData* data) : myData(data) {}
    explicit OrvExternalFoto(std::shared_ptr<const OrvExternalFotoImplData> data) : myData(std::move(data)) {}

    bool isValid() const { return myData && myData->id().isValid(); }
    OrvExternalId id() const { return myData ? myData->id() : OrvExternalId(); }
    QString name() const { return myData ? myData->name() : QString(); }
    QDateTime taken() const { return myData ? myData->taken() : QDateTime(); }
    QSize size() const { return myData ? myData->size() : QSize(); }
    OrvGeoPosition position() const { return myData ? myData->position() : OrvGeoPosition(); }
    int adobeRating() const { return myData ? myData->adobeRating() : 0; }
    QUrl dataUrl(const QSize& size) const { return myData ? myData->dataUrl(size) : QUrl(); }
    OrvMediaFormat fileFormat() const { return myData ? myData->fileFormat() : OrvMediaFormat(); }
    QString fileName() const { return myData ? myData->fileName() : QString(); }
    QString fileNameFast() const { return myData ? myData->fileNameFast() : QString(); }
    bool isVideo() const { return myData && myData->isVideo(); }
    OrvExternalFaceList faces() const { return myData ? myData->faces() : OrvExternalFaceList(); }
    OrvFacePositions createFacePositions(bool withNames) const
    {
        return myData ? myData->createFacePositions(withNames) : OrvFacePositions();
    }
    // Ids of the persons on this foto, in the order of its faces.
    QList<OrvExternalId> allPersonsOnThisFoto() const;

    const OrvExternalFotoImplData* data() const { return myData.get(); }

    bool operator==(const OrvExternalFoto& other) const
    {
        return myData == other.myData || (myData && other.myData && *myData == *other.myData);
    }
    bool operator!=(const OrvExternalFoto& other) const { return !(*this == other); }

private:
    std::shared_ptr<const OrvExternalFotoImplData> myData;
};

class OrvExternalFotoList : public QList<OrvExternalFoto>
{
public:
    OrvExternalFotoList() = default;
    OrvExternalFotoList(const QList<OrvExternalFoto>& fotos) : QList<OrvExternalFoto>(fotos) {}
    OrvExternalFotoList(QList<OrvExternalFoto>&& fotos) : QList<OrvExternalFoto>(std::move(fotos)) {}
    OrvExternalFotoList(std::initializer_list<OrvExternalFoto> fotos) : QList<OrvExternalFoto>(fotos) {}
};

Q_DECLARE_METATYPE(OrvExternalFoto)
Q_DECLARE_METATYPE(OrvExternalFotoList)
