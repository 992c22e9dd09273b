#pragma once

// What a library shows, as one version of the PhotoKit model, with the row
// keys that following its changes needs. Read whole when a library is opened
// (or when its history cannot tell what changed), and otherwise made from the
// last version by reading again only the rows that the history names. Objects
// that did not change stay the same objects, which is how the model's change
// details tell a changed asset or renamed album from an unchanged one.

#include "OrvPhotosLibraryReader.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>

namespace OrvPhotoKitModel {
struct State;
}

namespace OrvPhotosLibrary {

class Catalogue
{
public:
    // Rows a stretch of the library's history wrote.
    struct Touched
    {
        QList<qint64> assets;
        QList<qint64> deletedAssets;
        QList<qint64> albums;
        bool isEmpty() const { return assets.isEmpty() && deletedAssets.isEmpty() && albums.isEmpty(); }
    };

    Catalogue();

    // The whole library; nothing and the reason when the database fails midway.
    static std::optional<Catalogue> read(Reader& reader, const QString& storeUuid, QString* error);
    // This version with the touched rows read again.
    std::optional<Catalogue> updated(Reader& reader, const Touched& touched, QString* error) const;
    // Objects of old that are as they were take the place of the ones just read.
    void keepUnchanged(Reader& reader, const Catalogue& old);
    // Whether observers would see any difference from old.
    bool differsFrom(const Catalogue& old) const;

    // This version, to publish (never changed afterwards: a new version is a copy).
    std::shared_ptr<OrvPhotoKitModel::State> state() const { return myState; }
    // The local identifiers of the assets added, changed or removed since the
    // version this one was made from (updated or compared).
    const QSet<QString>& touchedAssets() const { return myTouched; }
    // The asset's row key; 0 when the library does not show it.
    qint64 primaryKeyOf(const QString& localIdentifier) const;

private:
    void setAlbums(const std::vector<AlbumRow>& rows);
    // The collections and album contents; of previous, the objects that did not
    // change, and the contents of albums not in fresh (all are made when it is null).
    void buildCollections(Reader& reader, const OrvPhotoKitModel::State* previous, const QSet<qint64>* fresh);
    void setMembers(qint64 album, const QString& id, const OrvPhotoKitModel::State* previous, const QSet<qint64>* fresh);

    // The asset of a row key: the library's assets are kept in the order of their keys.
    const Asset* assetOfKey(qint64 key) const;

    std::shared_ptr<OrvPhotoKitModel::State> myState;
    QHash<qint64, AlbumRow> myAlbums;           // row key -> row
    QList<qint64> myAlbumOrder;                 // row keys in sibling order
    QHash<qint64, QList<qint64>> myMembers;     // album row key -> asset row keys, in album order
    QString myFavoritesId;
    std::vector<qint64> myAssetKeys;  // of the assets, in their order, while collections are built
    QSet<QString> myTouched;
};

} // namespace OrvPhotosLibrary
