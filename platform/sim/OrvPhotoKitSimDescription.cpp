// Reading a simulated Photos library from its description file (README.md).

#include "OrvPhotoKitSimDescription.h"

#include "OrvImageIO.h"
#include "OrvPhotoKitSimLibrary.h"
#include "OrvUserFile.h"
#include "OrvQtCompat.h"

#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace OrvPhotoKit;

namespace OrvPhotoKitSim {

namespace {

bool fail(QString* error, const QString& message)
{
    if (error)
        *error = message;
    return false;
}

std::optional<AuthorizationStatus> statusFromName(const QString& name)
{
    if (name == QLatin1String("notDetermined"))
        return AuthorizationStatus::NotDetermined;
    if (name == QLatin1String("restricted"))
        return AuthorizationStatus::Restricted;
    if (name == QLatin1String("denied"))
        return AuthorizationStatus::Denied;
    if (name == QLatin1String("authorized"))
        return AuthorizationStatus::Authorized;
    return std::nullopt;
}

// ISO 8601; without a zone the time is taken as UTC.
bool readDate(const QJsonObject& object, const char* key, std::optional<QDateTime>* date, QString* error)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined() || value.isNull())
        return true;
    QDateTime parsed = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
    if (!parsed.isValid())
        return fail(error, QStringLiteral("bad %1 \"%2\"").arg(QLatin1String(key), value.toString()));
    if (parsed.timeSpec() == Qt::LocalTime)
        OrvQt::setUtc(&parsed);
    *date = parsed.toUTC();
    return true;
}

QSize shownSize(const QString& path)
{
    OrvUserFile image(path, OrvUserFile::Image);
    if (!image.open())
        return {};
    QImageReader reader(&image);
    reader.setAutoTransform(true);
    const QSize stored = reader.size();
    if (stored.isValid())
        return reader.transformation().testFlag(QImageIOHandler::TransformationRotate90) ? stored.transposed() : stored;
    // Formats Qt has no reader for (HEIC) through the image I/O, where one is installed.
    const OrvImageIO::ImageIOPtr imageIO = OrvImageIO::sharedImageIO();
    const OrvImageIO::ImageSourcePtr source = imageIO ? imageIO->createImageSourceWithURL(path, {}) : nullptr;
    const auto properties = source ? source->copyPropertiesAtIndex(0, {}) : std::nullopt;
    if (!properties)
        return {};
    const QSize size(properties->pixelWidth, properties->pixelHeight);
    return properties->orientation >= 5 ? size.transposed() : size;
}

bool readAsset(const QJsonObject& object, const QDir& base, AssetSpec* asset, QStringList* albums, QString* error)
{
    asset->localIdentifier = object.value(QLatin1String("id")).toString();
    if (asset->localIdentifier.isEmpty())
        return fail(error, QStringLiteral("asset without id"));
    if (!readDate(object, "creationDate", &asset->creationDate, error)
        || !readDate(object, "localCreationDate", &asset->localCreationDate, error))
        return false;
    const QJsonValue location = object.value(QLatin1String("location"));
    if (location.isArray()) {
        const QJsonArray pair = location.toArray();
        if (pair.size() != 2 || !pair[0].isDouble() || !pair[1].isDouble())
            return fail(error, QStringLiteral("bad location of %1").arg(asset->localIdentifier));
        asset->location = Location{Coordinate{pair[0].toDouble(), pair[1].toDouble()}};
    }
    asset->favorite = object.value(QLatin1String("favorite")).toBool();
    const QString source = object.value(QLatin1String("source")).toString(QStringLiteral("userLibrary"));
    if (source == QLatin1String("userLibrary"))
        asset->sourceType = AssetSourceTypeUserLibrary;
    else if (source == QLatin1String("cloudShared"))
        asset->sourceType = AssetSourceTypeCloudShared;
    else if (source == QLatin1String("iTunesSynced"))
        asset->sourceType = AssetSourceTypeiTunesSynced;
    else
        return fail(error, QStringLiteral("bad source \"%1\"").arg(source));
    static const QHash<QString, AssetResourceType> types = {
        {QStringLiteral("photo"), AssetResourceType::Photo},
        {QStringLiteral("video"), AssetResourceType::Video},
        {QStringLiteral("fullSizePhoto"), AssetResourceType::FullSizePhoto},
        {QStringLiteral("pairedVideo"), AssetResourceType::PairedVideo},
        {QStringLiteral("alternatePhoto"), AssetResourceType::AlternatePhoto},
        {QStringLiteral("adjustmentData"), AssetResourceType::AdjustmentData},
    };
    for (const QJsonValue& value : object.value(QLatin1String("resources")).toArray()) {
        const QJsonObject entry = value.toObject();
        ResourceSpec resource;
        resource.originalFilename = entry.value(QLatin1String("name")).toString();
        const QString type = entry.value(QLatin1String("type")).toString(QStringLiteral("photo"));
        if (!types.contains(type))
            return fail(error, QStringLiteral("bad resource type \"%1\"").arg(type));
        resource.type = types.value(type);
        const QString file = entry.value(QLatin1String("file")).toString();
        if (!file.isEmpty())
            resource.filePath = QDir::cleanPath(base.absoluteFilePath(file));
        resource.inCloud = entry.value(QLatin1String("inCloud")).toBool();
        asset->resources.append(resource);
    }
    asset->pixelWidth = object.value(QLatin1String("width")).toInt();
    asset->pixelHeight = object.value(QLatin1String("height")).toInt();
    for (const ResourceSpec& resource : std::as_const(asset->resources)) {
        if (asset->pixelWidth > 0 && asset->pixelHeight > 0)
            break;
        if (resource.filePath.isEmpty())
            continue;
        // The size of the first image file as shown (Photos reports it so).
        const QSize size = shownSize(resource.filePath);
        if (size.isValid()) {
            asset->pixelWidth = size.width();
            asset->pixelHeight = size.height();
        }
    }
    for (const QJsonValue& album : object.value(QLatin1String("albums")).toArray())
        albums->append(album.toString());
    return true;
}

bool readCollection(const QJsonObject& object, const QString& parent, QList<CollectionSpec>* collections, QString* error)
{
    CollectionSpec collection;
    collection.localIdentifier = object.value(QLatin1String("id")).toString();
    collection.title = object.value(QLatin1String("title")).toString();
    collection.parentFolder = parent;
    if (collection.localIdentifier.isEmpty())
        return fail(error, QStringLiteral("collection without id"));
    const QString kind = object.value(QLatin1String("kind")).toString(QStringLiteral("album"));
    if (kind == QLatin1String("album")) {
        collection.kind = CollectionKind::UserAlbum;
    } else if (kind == QLatin1String("sharedAlbum")) {
        collection.kind = CollectionKind::SharedAlbum;
    } else if (kind == QLatin1String("smartAlbum")) {
        collection.kind = CollectionKind::SmartAlbum;
        if (object.value(QLatin1String("subtype")).toString() == QLatin1String("favorites"))
            collection.smartSubtype = AssetCollectionSubtype::SmartAlbumFavorites;
    } else if (kind == QLatin1String("folder")) {
        collection.kind = CollectionKind::Folder;
    } else {
        return fail(error, QStringLiteral("bad collection kind \"%1\"").arg(kind));
    }
    for (const QJsonValue& asset : object.value(QLatin1String("assets")).toArray())
        collection.assets.append(asset.toString());
    collections->append(collection);
    if (collection.kind == CollectionKind::Folder) {
        for (const QJsonValue& child : object.value(QLatin1String("children")).toArray()) {
            if (!child.isObject())
                return fail(error, QStringLiteral("bad child of folder %1").arg(collection.localIdentifier));
            if (!readCollection(child.toObject(), collection.localIdentifier, collections, error))
                return false;
        }
    }
    return true;
}

} // namespace

std::optional<Description> Description::read(const QString& path, QString* error)
{
    OrvUserFile file(path, OrvUserFile::LibraryDescription);
    const QByteArray bytes = file.open() ? file.readWhole() : QByteArray();
    if (file.status() != OrvUserFile::Ok) {
        fail(error, file.reason());
        return std::nullopt;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (document.isNull() || !document.isObject()) {
        fail(error, parseError.error != QJsonParseError::NoError ? parseError.errorString() : QStringLiteral("not an object"));
        return std::nullopt;
    }
    const QJsonObject root = document.object();
    const QDir base = QFileInfo(path).absoluteDir();

    Description description;
    for (const QJsonValue& value : root.value(QLatin1String("collections")).toArray()) {
        if (!value.isObject() || !readCollection(value.toObject(), QString(), &description.collections, error))
            return std::nullopt;
    }
    for (const QJsonValue& value : root.value(QLatin1String("assets")).toArray()) {
        AssetSpec asset;
        QStringList albums;
        if (!value.isObject() || !readAsset(value.toObject(), base, &asset, &albums, error))
            return std::nullopt;
        description.assets.append(asset);
        description.assetAlbums.append(albums);
    }

    const QJsonObject authorization = root.value(QLatin1String("authorization")).toObject();
    // A library on disk is one the user has opened before: access granted unless it says otherwise.
    const auto status = statusFromName(authorization.value(QLatin1String("status")).toString(QStringLiteral("authorized")));
    const auto answer = statusFromName(authorization.value(QLatin1String("answer")).toString(QStringLiteral("authorized")));
    if (!status || !answer) {
        fail(error, QStringLiteral("bad authorization"));
        return std::nullopt;
    }
    description.status = *status;
    description.answer = *answer;
    return description;
}

std::shared_ptr<Library> Library::loadDescription(const QString& path, QString* error)
{
    const std::optional<Description> description = Description::read(path, error);
    if (!description)
        return nullptr;
    auto library = create();
    library->setAuthorizationStatus(description->status);
    library->setAuthorizationAnswer(description->answer);
    library->performChanges([&] {
        for (const CollectionSpec& collection : description->collections)
            library->addCollection(collection);
        for (qsizetype i = 0; i < description->assets.size(); ++i)
            library->addAsset(description->assets[i], description->assetAlbums[i]);
    });
    return library;
}

} // namespace OrvPhotoKitSim
