#pragma once

#include "OrvExternalId.h"
#include "OrvFotoMetaData.h"
#include "OrvPhotoKit.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <functional>

class OrvPhotoKitDatabase;

// The loader's requests for pixels, bytes and metadata of one asset (the
// loader forwards its operations of the same names here). Every request is
// synchronous and feeds the host's foto cache on the way. On the main thread
// the caller keeps the event loop turning while it waits for the handler, so
// that work PhotoKit needs from the main thread can proceed; on other threads
// the synchronous request has called the handler when it returns.
class OrvPhotoKitRetrieval
{
public:
    // The database is asked for on every request: it goes away before the loader does.
    using DatabaseGetter = std::function<OrvPhotoKitDatabase*()>;
    explicit OrvPhotoKitRetrieval(DatabaseGetter database);

    // A bitmap that covers size (AspectFill); an invalid size asks for the full
    // image first, then for the largest rendition PhotoKit has (not cached).
    QImage requestImage(const OrvExternalId& id, const QSize& targetSize, bool immediately);
    // The full image: decoded from the delivered bytes (recoded to JPEG first
    // when they are of another type), orientation applied, in sRGB; its
    // metadata goes into the foto cache and is announced.
    QImage requestFullImage(const OrvExternalId& id);
    // Date, pixel size and location as PhotoKit knows them; nothing is read from the file.
    OrvFotoMetaData metaData(const OrvExternalId& id);
    // The delivered bytes when they are of destinationUti (or it is empty: "as
    // stored"), else converted with their properties kept; empty on failure.
    QByteArray file(const OrvExternalId& id, const QString& destinationUti);

    // Recodes bytes of one type into another, the properties carried over as
    // they are; empty (and "Failed to write image") when that fails.
    static QByteArray convert(const QByteArray& data, const QString& sourceUti, const QString& destinationUti);
    QImage readImageAndInsertMetaData(const OrvPhotoKit::AssetPtr& asset, const QByteArray& data, const QString& dataUti);

private:
    // The shared library of the moment, as PhotoKit's class methods reach it.
    static OrvPhotoKit::AssetPtr lookUp(const QString& localIdentifier);
    static OrvPhotoKit::ImageRequestOptions requestOptions(OrvPhotoKit::ImageRequestDeliveryMode mode);

    DatabaseGetter myDatabase;
};
