#pragma once

#include "OrvExternalFace.h"
#include "OrvExternalId.h"
#include "OrvFotoMetaData.h"
#include "OrvGeoPosition.h"
#include "OrvMediaFormat.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSize>
#include <QString>
#include <QUrl>

enum class OrvExternalVideoStatusEnum { Unknown, Ready, NotReady };

class OrvExternalVideoStatus
{
public:
    explicit OrvExternalVideoStatus(OrvExternalVideoStatusEnum status = OrvExternalVideoStatusEnum::Unknown) : myStatus(status) {}
    OrvExternalVideoStatusEnum status() const { return myStatus; }

private:
    OrvExternalVideoStatusEnum myStatus;
};

// The data of one foto of a source. Sources derive from it for their own kinds of fotos.
class OrvExternalFotoImplData
{
public:
    OrvExternalFotoImplData(const OrvExternalId& id, const QString& name, const QDateTime& taken, const QSize& size,
                            const OrvGeoPosition& position, const OrvExternalFaceList& faces = {});
    virtual ~OrvExternalFotoImplData();

    virtual OrvExternalFotoImplData* clone() const;
    virtual bool operator==(const OrvExternalFotoImplData& other) const;
    virtual size_t hash() const;
    virtual bool isVisible() const;
    // Faces as the metadata carries them; withNames is kept for sources that know names.
    virtual OrvFacePositions createFacePositions(bool withNames) const;
    // Where the pixels for a display size come from; empty when there is no direct URL.
    virtual QUrl dataUrl(const QSize& size) const;
    virtual OrvMediaFormat fileFormat() const;
    virtual OrvMediaFormat fileFormat(const QSize& size) const;
    virtual bool isVideo() const;
    virtual bool isVideoReady() const;
    virtual QString fileName() const;
    // A name without asking the platform; for long lists.
    virtual QString fileNameFast() const;

    const OrvExternalId& id() const { return myId; }
    const QString& name() const { return myName; }
    const QDateTime& taken() const { return myTaken; }
    const QSize& size() const { return mySize; }
    const OrvGeoPosition& position() const { return myPosition; }
    const OrvExternalFaceList& faces() const { return myFaces; }
    int adobeRating() const { return myAdobeRating; }
    void setAdobeRating(int rating) { myAdobeRating = rating; }

protected:
    OrvExternalFotoImplData(const OrvExternalFotoImplData&) = default;

private:
    OrvExternalId myId;
    QString myName;
    QDateTime myTaken;
    QSize mySize;
    OrvGeoPosition myPosition;
    OrvExternalFaceList myFaces;
    int myAdobeRating = 0;
};

// A foto that is a file on the local disk, with an optional thumbnail file.
class OrvExternalFotoImplDataLocalDatabase : public OrvExternalFotoImplData
{
public:
    // Requested sizes up to this edge length are served from the thumbnail file.
    static constexpr int thumbnailBound = 360;

    OrvExternalFotoImplDataLocalDatabase(const OrvExternalId& id, const QString& name, const QDateTime& taken,
                                         const QFileInfo& imageFile, const QFileInfo& thumbnailFile,
                                         const OrvExternalFaceList& faces);
    // Same with plain paths, for parsers that make many fotos.
    OrvExternalFotoImplDataLocalDatabase(const OrvExternalId& id, const QString& name, const QDateTime& taken,
                                         const QString& imagePath, const QString& thumbnailPath,
                                         const OrvExternalFaceList& faces);

    OrvExternalFotoImplData* clone() const override;
    QUrl dataUrl(const QSize& size) const override;
    OrvMediaFormat fileFormat() const override;
    QString fileName() const override;

    const QString& imagePath() const { return myImagePath; }
    const QString& thumbnailPath() const { return myThumbnailPath; }

private:
    QString myImagePath;
    QString myThumbnailPath;
};

// A foto that a service delivers on request; it has no file of its own.
class OrvExternalFotoImplDataWebService : public OrvExternalFotoImplData
{
public:
    OrvExternalFotoImplDataWebService(const OrvExternalId& id, const QString& name, const OrvMediaFormat& format,
                                      const QDateTime& taken, const QSize& size,
                                      const OrvGeoPosition& position = OrvGeoPosition());
    OrvExternalFotoImplData* clone() const override;
    OrvMediaFormat fileFormat() const override;

private:
    OrvMediaFormat myFormat;
};
