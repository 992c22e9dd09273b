#include "OrvIPhotoBuilder.h"

#include "OrvIPhotoValues.h"

#include <memory>

namespace OrvIPhoto {

namespace {

// The text of an element is empty when it has none, and null when there is no element at all (as in a DOM).
QString toQString(QByteArrayView text, bool present)
{
    if (!text.isEmpty())
        return QString::fromUtf8(text);
    return present ? QStringLiteral("") : QString();
}

// The file name of a path, as QFileInfo::fileName gives it.
QString fileNameOf(const QString& path) { return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1); }

} // namespace

Builder::Builder(const OrvIPhotoDatabaseParser& parser, bool pooled)
    : myParser(parser), myEpochMSecs(OrvIPhotoDatabaseParser::iPhotoEpoch().toMSecsSinceEpoch()), myPooled(pooled)
{
}

void Builder::take(const Batch& batch)
{
    for (const AlbumRecord& record : batch.albums) {
        OrvExternalIdList ids;
        ids.reserve(record.keyCount);
        for (quint32 i = record.firstKey; i < record.firstKey + record.keyCount; ++i)
            ids.append(fotoId(batch, batch.keys[i]));
        const OrvExternalAlbumType type = record.hasType ? myParser.albumType(string(batch, record.type))
                                                         : OrvExternalAlbumType(OrvExternalAlbumType::Special);
        const OrvExternalAlbum album(myParser.buildAlbumId(string(batch, record.id)), string(batch, record.name), ids, type);
        if (album.isValid())
            albums.add(album);
    }
    for (const FotoRecord& record : batch.fotos) {
        OrvExternalFaceList faces;
        faces.reserve(record.faceCount);
        for (quint32 i = record.firstFace; i < record.firstFace + record.faceCount; ++i) {
            const FaceRecord& face = batch.faces[i];
            faces.add(OrvExternalFace(face.hasKey ? faceId(batch, face.key) : OrvExternalId(), face.rect));
        }
        const QString imagePath = string(batch, record.imagePath);
        auto data = std::make_shared<OrvExternalFotoImplDataLocalDatabase>(
            fotoId(batch, record.key), fileNameOf(imagePath), date(record), imagePath,
            string(batch, record.thumbPath), faces);
        data->setAdobeRating(record.rating);
        OrvExternalFoto foto(std::shared_ptr<const OrvExternalFotoImplData>(std::move(data)));
        if (myPooled)
            fotos.add(foto);
        else
            fotoList.append(foto);
    }
    for (const PersonRecord& record : batch.persons) {
        const OrvExternalAlbum person(faceId(batch, record.key), string(batch, record.name),
                                      OrvExternalIdList(), OrvExternalAlbumType(OrvExternalAlbumType::Person));
        if (person.isValid())
            persons.add(person);
    }
}

inline QString Builder::string(const Batch& batch, Text text) { return toQString(batch.view(text), text.present); }

inline OrvExternalId Builder::fotoId(const Batch& batch, Text text)
{
    return text.length == 0 ? myParser.buildFotoId(string(batch, text)) : myFotoIds.intern(batch.view(text));
}

inline OrvExternalId Builder::faceId(const Batch& batch, Text text)
{
    return text.length == 0 ? myParser.buildFaceId(string(batch, text)) : myFaceIds.intern(batch.view(text));
}

inline QDateTime Builder::date(const FotoRecord& record) const
{
    return record.hasDate ? dateAfterEpoch(record.seconds, myEpochMSecs) : QDateTime();
}

} // namespace OrvIPhoto
