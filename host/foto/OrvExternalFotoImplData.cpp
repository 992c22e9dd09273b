#include "OrvExternalFotoImplData.h"

OrvExternalFotoImplData::OrvExternalFotoImplData(const OrvExternalId& id, const QString& name, const QDateTime& taken,
                                                 const QSize& size, const OrvGeoPosition& position,
                                                 const OrvExternalFaceList& faces)
    : myId(id), myName(name), myTaken(taken), mySize(size), myPosition(position), myFaces(faces)
{
}

OrvExternalFotoImplData::~OrvExternalFotoImplData() = default;

OrvExternalFotoImplData* OrvExternalFotoImplData::clone() const { return new OrvExternalFotoImplData(*this); }

bool OrvExternalFotoImplData::operator==(const OrvExternalFotoImplData& other) const { return myId == other.myId; }

size_t OrvExternalFotoImplData::hash() const { return myId.hash(); }

bool OrvExternalFotoImplData::isVisible() const { return true; }

OrvFacePositions OrvExternalFotoImplData::createFacePositions(bool) const
{
    OrvFacePositions positions;
    positions.reserve(myFaces.size());
    for (const OrvExternalFace& face : myFaces)
        positions.append({face.id().toString(), QString(), face.rect()});
    return positions;
}

QUrl OrvExternalFotoImplData::dataUrl(const QSize&) const { return {}; }

OrvMediaFormat OrvExternalFotoImplData::fileFormat() const { return OrvMediaFormat(QFileInfo(myName)); }

OrvMediaFormat OrvExternalFotoImplData::fileFormat(const QSize&) const { return fileFormat(); }

bool OrvExternalFotoImplData::isVideo() const { return fileFormat().isVideo(); }

bool OrvExternalFotoImplData::isVideoReady() const { return true; }

QString OrvExternalFotoImplData::fileName() const { return myName; }

QString OrvExternalFotoImplData::fileNameFast() const { return myName; }

OrvExternalFotoImplDataLocalDatabase::OrvExternalFotoImplDataLocalDatabase(
    const OrvExternalId& id, const QString& name, const QDateTime& taken, const QFileInfo& imageFile,
    const QFileInfo& thumbnailFile, const OrvExternalFaceList& faces)
    : OrvExternalFotoImplDataLocalDatabase(id, name, taken, imageFile.filePath(), thumbnailFile.filePath(), faces)
{
}

OrvExternalFotoImplDataLocalDatabase::OrvExternalFotoImplDataLocalDatabase(
    const OrvExternalId& id, const QString& name, const QDateTime& taken, const QString& imagePath,
    const QString& thumbnailPath, const OrvExternalFaceList& faces)
    : OrvExternalFotoImplData(id, name, taken, QSize(), OrvGeoPosition(), faces),
      myImagePath(imagePath),
      myThumbnailPath(thumbnailPath)
{
}

OrvExternalFotoImplData* OrvExternalFotoImplDataLocalDatabase::clone() const
{
    return new OrvExternalFotoImplDataLocalDatabase(*this);
}

QUrl OrvExternalFotoImplDataLocalDatabase::dataUrl(const QSize& size) const
{
    const bool small = size.isValid() && size.width() <= thumbnailBound && size.height() <= thumbnailBound;
    const QString& path = (small && !myThumbnailPath.isEmpty()) ? myThumbnailPath : myImagePath;
    return path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path);
}

OrvMediaFormat OrvExternalFotoImplDataLocalDatabase::fileFormat() const
{
    return OrvMediaFormat(QFileInfo(myImagePath));
}

QString OrvExternalFotoImplDataLocalDatabase::fileName() const
{
    const QString name = QFileInfo(myImagePath).fileName();
    return name.isEmpty() ? OrvExternalFotoImplData::fileName() : name;
}

OrvExternalFotoImplDataWebService::OrvExternalFotoImplDataWebService(const OrvExternalId& id, const QString& name,
                                                                     const OrvMediaFormat& format,
                                                                     const QDateTime& taken, const QSize& size,
                                                                     const OrvGeoPosition& position)
    : OrvExternalFotoImplData(id, name, taken, size, position), myFormat(format)
{
}

OrvExternalFotoImplData* OrvExternalFotoImplDataWebService::clone() const
{
    return new OrvExternalFotoImplDataWebService(*this);
}

OrvMediaFormat OrvExternalFotoImplDataWebService::fileFormat() const { return myFormat; }
