#include "OrvExternalPools.h"

// ---- album pool

struct OrvExternalAlbumPool::Data : QSharedData
{
    QList<OrvExternalAlbum> albums;
    QHash<OrvExternalId, qsizetype> index;
    QHash<OrvExternalId, OrvExternalIdList> children;  // invalid id: top level
    QHash<OrvExternalId, QSet<OrvExternalId>> kidSets;  // ids added through addKid, to add each once

    void reindex()
    {
        index.clear();
        index.reserve(albums.size());
        for (qsizetype i = 0; i < albums.size(); ++i)
            index.insert(albums.at(i).id(), i);
    }
    OrvExternalId parentKey(const OrvExternalAlbum& album) const
    {
        return album.parentAlbum().isValid() ? album.parentAlbum() : OrvExternalId();
    }
};

OrvExternalAlbumPool::OrvExternalAlbumPool() : d(new Data) {}
OrvExternalAlbumPool::OrvExternalAlbumPool(const OrvExternalAlbumPool&) = default;
OrvExternalAlbumPool& OrvExternalAlbumPool::operator=(const OrvExternalAlbumPool&) = default;
OrvExternalAlbumPool::~OrvExternalAlbumPool() = default;

void OrvExternalAlbumPool::add(const OrvExternalAlbum& album)
{
    if (!album.isValid())
        return;
    const auto it = d->index.constFind(album.id());
    if (it != d->index.constEnd()) {
        OrvExternalAlbum& old = d->albums[*it];
        if (old.parentAlbum() != album.parentAlbum()) {
            d->children[d->parentKey(old)].removeAll(album.id());
            d->children[d->parentKey(album)].append(album.id());
        }
        old = album;
        d->kidSets.remove(album.id());
        return;
    }
    d->index.insert(album.id(), d->albums.size());
    d->albums.append(album);
    d->children[d->parentKey(album)].append(album.id());
}

void OrvExternalAlbumPool::add(const OrvExternalAlbumPool& pool)
{
    for (const OrvExternalAlbum& album : pool.d->albums)
        add(album);
}

void OrvExternalAlbumPool::addKid(const OrvExternalId& parentId, const OrvExternalId& childId)
{
    const auto parent = d->index.constFind(parentId);
    if (parent == d->index.constEnd() || !childId.isValid() || childId == parentId)
        return;
    const auto child = d->index.constFind(childId);
    if (child != d->index.constEnd()) {
        OrvExternalAlbum album = d->albums.at(*child);
        album.setParentAlbum(parentId);
        add(album);
        return;
    }
    const qsizetype at = *parent;
    QSet<OrvExternalId>& kids = d->kidSets[parentId];
    if (kids.isEmpty()) {
        for (const OrvExternalId& id : d->albums.at(at).fotoIds())
            kids.insert(id);
    }
    if (kids.contains(childId))
        return;
    kids.insert(childId);
    d->albums[at].appendFotoId(childId);
}

void OrvExternalAlbumPool::remove(const OrvExternalId& albumId)
{
    if (!d->index.contains(albumId))
        return;
    // Collect the subtree first; removing changes the indices.
    const OrvExternalIdList tree = albumTree(albumId);
    const QSet<OrvExternalId> doomed(tree.cbegin(), tree.cend());
    const OrvExternalId parent = d->parentKey(d->albums.at(d->index.value(albumId)));
    d->children[parent].removeAll(albumId);
    for (const OrvExternalId& id : std::as_const(doomed)) {
        d->children.remove(id);
        d->kidSets.remove(id);
    }
    d->albums.removeIf([&doomed](const OrvExternalAlbum& album) { return doomed.contains(album.id()); });
    d->reindex();
}

bool OrvExternalAlbumPool::rename(const OrvExternalId& albumId, const QString& name)
{
    const auto it = d->index.constFind(albumId);
    if (it == d->index.constEnd())
        return false;
    d->albums[*it].setName(name);
    return true;
}

bool OrvExternalAlbumPool::appendFotos(const OrvExternalId& albumId, const OrvExternalIdList& fotoIds)
{
    const auto it = d->index.constFind(albumId);
    if (it == d->index.constEnd())
        return false;
    const qsizetype at = *it;
    QSet<OrvExternalId>& present = d->kidSets[albumId];
    if (present.isEmpty()) {
        for (const OrvExternalId& id : d->albums.at(at).fotoIds())
            present.insert(id);
    }
    OrvExternalIdList ids = d->albums.at(at).fotoIds();
    ids.reserve(ids.size() + fotoIds.size());
    // Growing a large set step by step rehashes it again and again.
    present.reserve(present.size() + fotoIds.size());
    for (const OrvExternalId& id : fotoIds) {
        if (!present.contains(id)) {
            present.insert(id);
            ids.append(id);
        }
    }
    d->albums[at].setFotoIds(ids);
    return true;
}

bool OrvExternalAlbumPool::removeFotos(const OrvExternalId& albumId, const OrvExternalIdList& fotoIds)
{
    const auto it = d->index.constFind(albumId);
    if (it == d->index.constEnd())
        return false;
    const QSet<OrvExternalId> gone(fotoIds.cbegin(), fotoIds.cend());
    OrvExternalIdList ids = d->albums.at(*it).fotoIds();
    ids.removeIf([&gone](const OrvExternalId& id) { return gone.contains(id); });
    d->albums[*it].setFotoIds(ids);
    const auto kids = d->kidSets.find(albumId);
    if (kids != d->kidSets.end()) {
        for (const OrvExternalId& id : fotoIds)
            kids->remove(id);
    }
    return true;
}

bool OrvExternalAlbumPool::contains(const OrvExternalId& albumId) const { return d->index.contains(albumId); }

OrvExternalAlbum OrvExternalAlbumPool::find(const OrvExternalId& albumId) const
{
    const auto it = d->index.constFind(albumId);
    return it == d->index.constEnd() ? OrvExternalAlbum() : d->albums.at(*it);
}

OrvExternalAlbumList OrvExternalAlbumPool::albums() const { return OrvExternalAlbumList(d->albums); }

OrvExternalIdList OrvExternalAlbumPool::children(const OrvExternalId& parentId) const
{
    return d->children.value(parentId.isValid() ? parentId : OrvExternalId());
}

OrvExternalIdList OrvExternalAlbumPool::albumTree(const OrvExternalId& albumId) const
{
    OrvExternalIdList tree;
    if (!d->index.contains(albumId))
        return tree;
    QSet<OrvExternalId> seen;
    OrvExternalIdList pending{albumId};
    while (!pending.isEmpty()) {
        const OrvExternalId id = pending.takeLast();
        // A tree that a source got wrong into a circle is walked once round.
        if (seen.contains(id))
            continue;
        seen.insert(id);
        tree.append(id);
        const OrvExternalIdList kids = d->children.value(id);
        for (auto it = kids.crbegin(); it != kids.crend(); ++it)
            pending.append(*it);
    }
    return tree;
}

int OrvExternalAlbumPool::size() const { return int(d->albums.size()); }

// ---- foto pool

struct OrvExternalFotoPool::Data : QSharedData
{
    QList<OrvExternalFoto> fotos;
    QHash<OrvExternalId, qsizetype> index;
};

OrvExternalFotoPool::OrvExternalFotoPool() : d(new Data) {}
OrvExternalFotoPool::OrvExternalFotoPool(const OrvExternalFotoPool&) = default;
OrvExternalFotoPool& OrvExternalFotoPool::operator=(const OrvExternalFotoPool&) = default;
OrvExternalFotoPool::~OrvExternalFotoPool() = default;

void OrvExternalFotoPool::add(const OrvExternalFoto& foto)
{
    if (!foto.isValid())
        return;
    const OrvExternalId id = foto.id();
    const auto it = d->index.constFind(id);
    if (it != d->index.constEnd()) {
        d->fotos[*it] = foto;
        return;
    }
    d->index.insert(id, d->fotos.size());
    d->fotos.append(foto);
}

void OrvExternalFotoPool::add(const OrvExternalFotoList& fotos)
{
    // Room for a large batch at once, but growing as appending does: a reserve
    // of exactly one batch more copied the whole pool for each of a source's
    // many one-foto albums.
    const qsizetype needed = d->fotos.size() + fotos.size();
    if (needed > d->fotos.capacity())
        reserve(qMax(needed, 2 * d->fotos.size()));
    for (const OrvExternalFoto& foto : fotos)
        add(foto);
}

void OrvExternalFotoPool::remove(const OrvExternalIdList& ids)
{
    bool any = false;
    for (const OrvExternalId& id : ids)
        any = any || d->index.contains(id);
    if (!any)
        return;
    const QSet<OrvExternalId> gone(ids.cbegin(), ids.cend());
    d->fotos.removeIf([&gone](const OrvExternalFoto& foto) { return gone.contains(foto.id()); });
    d->index.clear();
    for (qsizetype i = 0; i < d->fotos.size(); ++i)
        d->index.insert(d->fotos.at(i).id(), i);
}

OrvExternalFoto OrvExternalFotoPool::find(const OrvExternalId& id) const
{
    const auto it = d->index.constFind(id);
    return it == d->index.constEnd() ? OrvExternalFoto() : d->fotos.at(*it);
}

bool OrvExternalFotoPool::contains(const OrvExternalId& id) const { return d->index.contains(id); }

OrvExternalFotoList OrvExternalFotoPool::fotos() const { return OrvExternalFotoList(d->fotos); }

int OrvExternalFotoPool::size() const { return int(d->fotos.size()); }

void OrvExternalFotoPool::reserve(qsizetype count)
{
    d->fotos.reserve(count);
    d->index.reserve(count);
}

// ---- data pool

OrvExternalDataPool::OrvExternalDataPool(const OrvExternalAlbumPool& albums, const OrvExternalFotoPool& fotos)
    : myAlbums(albums), myFotos(fotos)
{
}

OrvExternalDataPool::OrvExternalDataPool(const OrvExternalDataPool& other)
{
    std::shared_lock locker(other.myLock);
    myAlbums = other.myAlbums;
    myFotos = other.myFotos;
}

OrvExternalDataPool& OrvExternalDataPool::operator=(const OrvExternalDataPool& other)
{
    if (this == &other)
        return *this;
    OrvExternalAlbumPool albums;
    OrvExternalFotoPool fotos;
    {
        std::shared_lock locker(other.myLock);
        albums = other.myAlbums;
        fotos = other.myFotos;
    }
    std::unique_lock locker(myLock);
    myAlbums = albums;
    myFotos = fotos;
    return *this;
}

void OrvExternalDataPool::setAlbums(const OrvExternalAlbumPool& albums)
{
    std::unique_lock locker(myLock);
    myAlbums = albums;
}

void OrvExternalDataPool::setFotos(const OrvExternalFotoPool& fotos)
{
    std::unique_lock locker(myLock);
    myFotos = fotos;
}

OrvExternalAlbumPool OrvExternalDataPool::albumPool() const
{
    std::shared_lock locker(myLock);
    return myAlbums;
}

OrvExternalFotoPool OrvExternalDataPool::fotoPool() const
{
    std::shared_lock locker(myLock);
    return myFotos;
}

void OrvExternalDataPool::addAlbum(const OrvExternalAlbum& album)
{
    std::unique_lock locker(myLock);
    myAlbums.add(album);
}

void OrvExternalDataPool::removeAlbum(const OrvExternalId& albumId)
{
    std::unique_lock locker(myLock);
    myAlbums.remove(albumId);
}

bool OrvExternalDataPool::renameAlbum(const OrvExternalId& albumId, const QString& name)
{
    std::unique_lock locker(myLock);
    return myAlbums.rename(albumId, name);
}

void OrvExternalDataPool::insertFotos(const OrvExternalFotoList& fotos, const OrvExternalId& albumId)
{
    OrvExternalIdList ids;
    ids.reserve(fotos.size());
    for (const OrvExternalFoto& foto : fotos) {
        if (foto.isValid())
            ids.append(foto.id());
    }
    std::unique_lock locker(myLock);
    myFotos.add(fotos);
    if (albumId.isValid())
        myAlbums.appendFotos(albumId, ids);
}

void OrvExternalDataPool::removeFotoFromAlbum(const OrvExternalId& fotoId, const OrvExternalId& albumId)
{
    removeFotosFromAlbum(OrvExternalIdList{fotoId}, albumId);
}

void OrvExternalDataPool::removeFotosFromAlbum(const OrvExternalIdList& fotoIds, const OrvExternalId& albumId)
{
    std::unique_lock locker(myLock);
    myAlbums.removeFotos(albumId, fotoIds);
}

OrvExternalAlbum OrvExternalDataPool::findAlbum(const OrvExternalId& albumId) const
{
    std::shared_lock locker(myLock);
    return myAlbums.find(albumId);
}

OrvExternalFoto OrvExternalDataPool::findFoto(const OrvExternalId& fotoId) const
{
    std::shared_lock locker(myLock);
    return myFotos.find(fotoId);
}

OrvExternalFotoList OrvExternalDataPool::fotosInAlbum(const OrvExternalId& albumId) const
{
    std::shared_lock locker(myLock);
    OrvExternalFotoList result;
    const OrvExternalAlbum album = myAlbums.find(albumId);
    result.reserve(album.fotoIds().size());
    for (const OrvExternalId& id : album.fotoIds()) {
        const OrvExternalFoto foto = myFotos.find(id);
        if (foto.isValid())
            result.append(foto);
    }
    return result;
}

OrvExternalFotoList OrvExternalDataPool::fotosInAlbumTree(const OrvExternalId& albumId) const
{
    std::shared_lock locker(myLock);
    OrvExternalFotoList result;
    QSet<OrvExternalId> seen;
    for (const OrvExternalId& id : myAlbums.albumTree(albumId)) {
        const OrvExternalAlbum album = myAlbums.find(id);
        for (const OrvExternalId& fotoId : album.fotoIds()) {
            if (seen.contains(fotoId))
                continue;
            const OrvExternalFoto foto = myFotos.find(fotoId);
            if (!foto.isValid())
                continue;
            seen.insert(fotoId);
            result.append(foto);
        }
    }
    return result;
}

OrvExternalIdList OrvExternalDataPool::albumTree(const OrvExternalId& albumId) const
{
    std::shared_lock locker(myLock);
    return myAlbums.albumTree(albumId);
}

bool OrvExternalDataPool::isInAlbumTree(const OrvExternalId& albumId, const OrvExternalId& ancestorId) const
{
    if (!albumId.isValid() || !ancestorId.isValid())
        return false;
    std::shared_lock locker(myLock);
    QSet<OrvExternalId> seen;
    for (OrvExternalId at = albumId; at.isValid() && !seen.contains(at); at = myAlbums.find(at).parentAlbum()) {
        if (at == ancestorId)
            return true;
        seen.insert(at);
    }
    return false;
}

OrvExternalIdList OrvExternalDataPool::childAlbums(const OrvExternalId& parentId) const
{
    std::shared_lock locker(myLock);
    return myAlbums.children(parentId);
}

OrvExternalAlbumList OrvExternalDataPool::albums() const
{
    std::shared_lock locker(myLock);
    return myAlbums.albums();
}

OrvExternalFotoList OrvExternalDataPool::fotos() const
{
    std::shared_lock locker(myLock);
    return myFotos.fotos();
}

int OrvExternalDataPool::countFotos() const
{
    std::shared_lock locker(myLock);
    return myFotos.size();
}

int OrvExternalDataPool::countAlbums() const
{
    std::shared_lock locker(myLock);
    return myAlbums.size();
}
