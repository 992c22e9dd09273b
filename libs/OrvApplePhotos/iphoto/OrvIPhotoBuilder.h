#pragma once

// Turns the records into the host's albums, fotos and persons (on the caller's
// thread). Private to the iphoto folder.

#include "OrvIPhotoBatch.h"
#include "OrvIPhotoDatabaseParser.h"
#include "OrvIPhotoIdInterner.h"

#include "OrvExternalAlbum.h"
#include "OrvExternalFoto.h"
#include "OrvExternalPools.h"

#include <QDateTime>
#include <QString>

namespace OrvIPhoto {

class Q_DECL_HIDDEN Builder
{
public:
    // Unpooled: the fotos are only listed, in order (the pool that takes them dedupes).
    explicit Builder(const OrvIPhotoDatabaseParser& parser, bool pooled = true);

    void take(const Batch& batch);

    OrvExternalAlbumPool albums;
    OrvExternalFotoPool fotos;
    OrvExternalFotoList fotoList;
    OrvExternalAlbumPool persons;

private:
    static QString string(const Batch& batch, Text text);

    // An empty key keeps its null-or-empty text in the id, which interning would lose.
    OrvExternalId fotoId(const Batch& batch, Text text);
    OrvExternalId faceId(const Batch& batch, Text text);

    QDateTime date(const FotoRecord& record) const;

    const OrvIPhotoDatabaseParser& myParser;
    // The epoch's instant in the time zone of this parse (the epoch is local midnight).
    const qint64 myEpochMSecs;
    const bool myPooled;
    IdInterner myFotoIds{myParser, &OrvExternalAccess::buildFotoId};
    IdInterner myFaceIds{myParser, &OrvExternalAccess::buildFaceId};
};

} // namespace OrvIPhoto
