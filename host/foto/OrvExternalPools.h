#pragma once

#include "OrvExternalAlbum.h"
#include "OrvExternalFoto.h"

#include <QHash>
#include <QSet>
#include "OrvSharedDataPointer.h"

#include <mutex>
#include <shared_mutex>

// Albums of a source in announcement order, with the tree edges between them.
class OrvExternalAlbumPool
{
public:
    OrvExternalAlbumPool();
    OrvExternalAlbumPool(const OrvExternalAlbumPool&);
    OrvExternalAlbumPool& operator=(const OrvExternalAlbumPool&);
    ~OrvExternalAlbumPool();

    // Adds an album or replaces the one with the same id (keeping its place).
    void add(const OrvExternalAlbum& album);
    void add(const OrvExternalAlbumPool& pool);
    // Records a child of an album: an album of this pool becomes a sub-album,
    // any other id (a foto) is added to the album's ids once. Unknown parents change nothing.
    void addKid(const OrvExternalId& parentId, const OrvExternalId& childId);
    // Removes the album and, with it, its sub-albums.
    void remove(const OrvExternalId& albumId);
    bool rename(const OrvExternalId& albumId, const QString& name);
    bool appendFotos(const OrvExternalId& albumId, const OrvExternalIdList& fotoIds);
    bool removeFotos(const OrvExternalId& albumId, const OrvExternalIdList& fotoIds);

    bool contains(const OrvExternalId& albumId) const;
    OrvExternalAlbum find(const OrvExternalId& albumId) const;
    OrvExternalAlbumList albums() const;
    // Sub-albums in announcement order; an invalid parent gives the top level.
    OrvExternalIdList children(const OrvExternalId& parentId) const;
    // The album and every album inside it, however deep, each once: depth
    // first, sub-albums in their order. Empty for an album the pool lacks.
    OrvExternalIdList albumTree(const OrvExternalId& albumId) const;
    int size() const;
    bool isEmpty() const { return size() == 0; }

private:
    struct Data;
    OrvSharedDataPointer<Data> d;
};

// Fotos of a source, looked up by id in constant time.
class OrvExternalFotoPool
{
public:
    OrvExternalFotoPool();
    OrvExternalFotoPool(const OrvExternalFotoPool&);
    OrvExternalFotoPool& operator=(const OrvExternalFotoPool&);
    ~OrvExternalFotoPool();

    // Adds a foto or replaces the one with the same id; invalid fotos are ignored.
    void add(const OrvExternalFoto& foto);
    void add(const OrvExternalFotoList& fotos);
    void remove(const OrvExternalIdList& ids);
    OrvExternalFoto find(const OrvExternalId& id) const;
    bool contains(const OrvExternalId& id) const;
    OrvExternalFotoList fotos() const;
    int size() const;
    void reserve(qsizetype count);

private:
    struct Data;
    OrvSharedDataPointer<Data> d;
};

// Everything a source shows: its albums and fotos. Safe to use from several
// threads; a copy is a snapshot.
class OrvExternalDataPool
{
public:
    OrvExternalDataPool() = default;
    OrvExternalDataPool(const OrvExternalAlbumPool& albums, const OrvExternalFotoPool& fotos);
    OrvExternalDataPool(const OrvExternalDataPool& other);
    OrvExternalDataPool& operator=(const OrvExternalDataPool& other);

    void setAlbums(const OrvExternalAlbumPool& albums);
    void setFotos(const OrvExternalFotoPool& fotos);
    OrvExternalAlbumPool albumPool() const;
    OrvExternalFotoPool fotoPool() const;

    void addAlbum(const OrvExternalAlbum& album);
    void removeAlbum(const OrvExternalId& albumId);
    bool renameAlbum(const OrvExternalId& albumId, const QString& name);
    // Adds the fotos to the pool and their ids to the album (when albumId names one).
    void insertFotos(const OrvExternalFotoList& fotos, const OrvExternalId& albumId);
    void removeFotoFromAlbum(const OrvExternalId& fotoId, const OrvExternalId& albumId);
    void removeFotosFromAlbum(const OrvExternalIdList& fotoIds, const OrvExternalId& albumId);

    OrvExternalAlbum findAlbum(const OrvExternalId& albumId) const;
    OrvExternalFoto findFoto(const OrvExternalId& fotoId) const;
    // The fotos the album lists, in its order; ids without a foto are left out.
    OrvExternalFotoList fotosInAlbum(const OrvExternalId& albumId) const;
    // What a folder shows: the album's own fotos, then those of the albums
    // inside it (depth first, in their order), each foto once.
    OrvExternalFotoList fotosInAlbumTree(const OrvExternalId& albumId) const;
    // Whether albumId is ancestorId or inside it, however deep.
    bool isInAlbumTree(const OrvExternalId& albumId, const OrvExternalId& ancestorId) const;
    OrvExternalIdList childAlbums(const OrvExternalId& parentId) const;
    OrvExternalIdList albumTree(const OrvExternalId& albumId) const;
    OrvExternalAlbumList albums() const;
    OrvExternalFotoList fotos() const;
    int countFotos() const;
    int countAlbums() const;

private:
    // A standard lock rather than QReadWriteLock: ThreadSanitizer understands it.
    mutable std::shared_mutex myLock;
    OrvExternalAlbumPool myAlbums;
    OrvExternalFotoPool myFotos;
};

Q_DECLARE_METATYPE(OrvExternalDataPool)
