#pragma once

// The Photos library as the simulated MediaLibrary framework sees it: one
// immutable snapshot of groups and media objects, made from the same
// description the PhotoKit simulation reads. Media sources build their group
// objects from it when they load.

#include "OrvMediaLibrary.h"

#include <QHash>
#include <QList>
#include <QString>

#include <memory>
#include <vector>

namespace OrvPhotoKitSim {
struct Description;
}

namespace OrvMediaLibrarySim {

// The values behind the framework's exported constants, as the simulated
// framework binary exports them under their names.
namespace Constant {
constexpr const char* includeSourcesKey = "MLMediaLoadIncludeSourcesKey";
constexpr const char* photosSourceIdentifier = "com.apple.Photos";
constexpr const char* rootGroupType = "com.apple.Photos.RootGroup";
constexpr const char* allPhotosAlbumType = "com.apple.Photos.AllPhotosAlbum";
constexpr const char* albumType = "com.apple.Photos.Album";
constexpr const char* folderType = "com.apple.Photos.Folder";
constexpr const char* smartAlbumType = "com.apple.Photos.SmartAlbum";
constexpr const char* favoritesGroupType = "com.apple.Photos.FavoritesGroup";
constexpr const char* publishedAlbumType = "com.apple.Photos.PublishedAlbum";
// The exported symbols: name and value.
struct Export
{
    const char* name;
    const char* value;
};
extern const Export exports[];
extern const int exportCount;
} // namespace Constant

struct PhotosModel
{
    struct Group
    {
        QString identifier;
        QString name;
        QString typeIdentifier;
        int parent = -1;      // index of the parent group; -1 for the root
        QList<int> children;  // indices of the child groups, in order
        QList<int> objects;   // indices of the media objects, in order
    };
    struct MediaObject
    {
        QString identifier;
        QString name;
        OrvMediaLibrary::MediaType mediaType = OrvMediaLibrary::MediaType::Image;
        OrvMediaLibrary::URL url;
    };

    static constexpr int rootIndex = 0;
    static constexpr int allPhotosIndex = 1;

    QString sourceIdentifier = QString::fromLatin1(Constant::photosSourceIdentifier);
    std::vector<Group> groups;
    std::vector<MediaObject> objects;
    QHash<QString, int> groupIndex;
    QHash<QString, int> objectIndex;

    // A root group holding only the (empty) all-photos group.
    static std::shared_ptr<const PhotosModel> empty();
    // The description's library: the all-photos group (every asset of the
    // user's library) and the description's albums and folders under the root.
    static std::shared_ptr<const PhotosModel> fromDescription(const OrvPhotoKitSim::Description& description);
};

} // namespace OrvMediaLibrarySim
