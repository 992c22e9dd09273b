#include "OrvMediaLibrarySimModel.h"

#include "OrvPhotoKitSimDescription.h"

#include <QFileInfo>
#include <QSet>

using OrvMediaLibrary::MediaType;
using OrvPhotoKit::AssetResourceType;
using OrvPhotoKitSim::AssetSpec;
using OrvPhotoKitSim::CollectionKind;
using OrvPhotoKitSim::CollectionSpec;
using OrvPhotoKitSim::ResourceSpec;

namespace OrvMediaLibrarySim {

namespace Constant {
const Export exports[] = {
    {"MLMediaLoadIncludeSourcesKey", includeSourcesKey},
    {"MLPhotosRootGroupTypeIdentifier", rootGroupType},
    {"MLPhotosAllPhotosAlbumTypeIdentifier", allPhotosAlbumType},
    {"MLPhotosAlbumTypeIdentifier", albumType},
    {"MLPhotosFolderTypeIdentifier", folderType},
    {"MLPhotosSmartAlbumTypeIdentifier", smartAlbumType},
    {"MLPhotosFavoritesGroupTypeIdentifier", favoritesGroupType},
    {"MLPhotosPublishedAlbumTypeIdentifier", publishedAlbumType},
};
const int exportCount = int(sizeof(exports) / sizeof(exports[0]));
} // namespace Constant

namespace {

const ResourceSpec* firstResource(const AssetSpec& asset, std::initializer_list<AssetResourceType> types)
{
    for (const AssetResourceType type : types) {
        for (const ResourceSpec& resource : asset.resources) {
            if (resource.type == type && !resource.filePath.isEmpty())
                return &resource;
        }
    }
    return nullptr;
}

// A photo's URL is its current version (an edit's rendition before the
// original), a movie's its movie; the name is that of the original.
PhotosModel::MediaObject mediaObjectOf(const AssetSpec& asset)
{
    PhotosModel::MediaObject object;
    object.identifier = asset.localIdentifier;
    const ResourceSpec* original = firstResource(asset, {AssetResourceType::Photo, AssetResourceType::AlternatePhoto});
    const ResourceSpec* current = firstResource(asset, {AssetResourceType::FullSizePhoto, AssetResourceType::Photo,
                                                        AssetResourceType::AlternatePhoto});
    if (!current) {
        const ResourceSpec* movie = firstResource(asset, {AssetResourceType::FullSizeVideo, AssetResourceType::Video});
        if (movie) {
            object.mediaType = MediaType::Movie;
            original = current = movie;
        }
    }
    if (current)
        object.url = QUrl::fromLocalFile(current->filePath);
    if (original)
        object.name = original->originalFilename.isEmpty() ? QFileInfo(original->filePath).fileName()
                                                           : original->originalFilename;
    return object;
}

QString typeOf(const CollectionSpec& collection)
{
    switch (collection.kind) {
    case CollectionKind::Folder:
        return QString::fromLatin1(Constant::folderType);
    case CollectionKind::SmartAlbum:
        return QString::fromLatin1(collection.smartSubtype == OrvPhotoKit::AssetCollectionSubtype::SmartAlbumFavorites
                                       ? Constant::favoritesGroupType
                                       : Constant::smartAlbumType);
    case CollectionKind::SharedAlbum:
        return QString::fromLatin1(Constant::publishedAlbumType);
    case CollectionKind::UserAlbum:
        break;
    }
    return QString::fromLatin1(Constant::albumType);
}

// Builds the model with each group's members kept once.
class Builder
{
public:
    Builder() : myModel(std::make_shared<PhotosModel>())
    {
        addGroup(QStringLiteral("TopLevelAlbums"), QStringLiteral("Fotos"), QString::fromLatin1(Constant::rootGroupType), -1);
        addGroup(QStringLiteral("allPhotosAlbum"), QStringLiteral("Fotos"), QString::fromLatin1(Constant::allPhotosAlbumType),
                 PhotosModel::rootIndex);
    }

    int addGroup(const QString& identifier, const QString& name, const QString& type, int parent)
    {
        const int index = int(myModel->groups.size());
        myModel->groups.push_back(PhotosModel::Group{identifier, name, type, parent, {}, {}});
        myModel->groupIndex.insert(identifier, index);
        myChildSets.emplace_back();
        myObjectSets.emplace_back();
        if (parent >= 0)
            addChild(parent, index);
        return index;
    }
    void addChild(int parent, int child)
    {
        if (!myChildSets[size_t(parent)].contains(child)) {
            myChildSets[size_t(parent)].insert(child);
            myModel->groups[size_t(parent)].children.append(child);
        }
    }
    void addObject(int group, int object)
    {
        if (object >= 0 && !myObjectSets[size_t(group)].contains(object)) {
            myObjectSets[size_t(group)].insert(object);
            myModel->groups[size_t(group)].objects.append(object);
        }
    }
    std::shared_ptr<PhotosModel>& model() { return myModel; }

private:
    std::shared_ptr<PhotosModel> myModel;
    std::vector<QSet<int>> myChildSets;
    std::vector<QSet<int>> myObjectSets;
};

} // namespace

std::shared_ptr<const PhotosModel> PhotosModel::empty() { return Builder().model(); }

std::shared_ptr<const PhotosModel> PhotosModel::fromDescription(const OrvPhotoKitSim::Description& description)
{
    Builder builder;
    PhotosModel& model = *builder.model();

    // An asset listed again replaces the earlier one, as in PhotoKit.
    std::vector<const AssetSpec*> assetOf;
    model.objects.reserve(size_t(description.assets.size()));
    model.objectIndex.reserve(description.assets.size());
    for (const AssetSpec& asset : description.assets) {
        const auto known = model.objectIndex.constFind(asset.localIdentifier);
        if (known != model.objectIndex.cend()) {
            model.objects[size_t(*known)] = mediaObjectOf(asset);
            assetOf[size_t(*known)] = &asset;
            continue;
        }
        model.objectIndex.insert(asset.localIdentifier, int(model.objects.size()));
        model.objects.push_back(mediaObjectOf(asset));
        assetOf.push_back(&asset);
    }
    for (size_t i = 0; i < assetOf.size(); ++i) {
        if (assetOf[i]->sourceType & OrvPhotoKit::AssetSourceTypeUserLibrary)
            builder.addObject(allPhotosIndex, int(i));
    }

    // A group is its identifier: the first mention names it and places it,
    // every mention adds its children and objects. A folder that lists itself
    // (or an ancestor) again thus closes a cycle, as a broken library would.
    std::vector<int> favourites;
    for (const CollectionSpec& collection : description.collections) {
        const int parent = collection.parentFolder.isEmpty() ? rootIndex : model.groupIndex.value(collection.parentFolder, rootIndex);
        int group = model.groupIndex.value(collection.localIdentifier, -1);
        if (group < 0)
            group = builder.addGroup(collection.localIdentifier, collection.title, typeOf(collection), parent);
        else
            builder.addChild(parent, group);
        // Folders hold groups only, as in PhotoKit.
        if (collection.kind != CollectionKind::Folder) {
            for (const QString& asset : collection.assets)
                builder.addObject(group, model.objectIndex.value(asset, -1));
        }
        if (collection.kind == CollectionKind::SmartAlbum
            && collection.smartSubtype == OrvPhotoKit::AssetCollectionSubtype::SmartAlbumFavorites)
            favourites.push_back(group);
    }
    for (qsizetype i = 0; i < description.assets.size(); ++i) {
        const int object = model.objectIndex.value(description.assets.at(i).localIdentifier);
        for (const QString& album : description.assetAlbums.value(i)) {
            const int group = model.groupIndex.value(album, -1);
            if (group > allPhotosIndex && model.groups[size_t(group)].typeIdentifier != QLatin1String(Constant::folderType))
                builder.addObject(group, object);
        }
    }
    for (size_t i = 0; i < assetOf.size(); ++i) {
        if (assetOf[i]->favorite) {
            for (const int group : favourites)
                builder.addObject(group, int(i));
        }
    }
    return builder.model();
}

} // namespace OrvMediaLibrarySim
