#include "OrvExternalAlbum.h"

#include <QCollator>

#include <algorithm>

struct OrvExternalAlbum::Data : QSharedData
{
    OrvExternalId id;
    QString name;
    OrvExternalIdList fotoIds;
    OrvExternalAlbumType type;
    OrvExternalId parent;
};

OrvExternalAlbum::OrvExternalAlbum() : d(new Data) {}

OrvExternalAlbum::OrvExternalAlbum(const OrvExternalId& id, const QString& name, const OrvExternalIdList& fotoIds,
                                   const OrvExternalAlbumType& type)
    : d(new Data)
{
    d->id = id;
    d->name = name;
    d->fotoIds = fotoIds;
    d->type = type;
}

OrvExternalAlbum::OrvExternalAlbum(const OrvExternalAlbum&) = default;
OrvExternalAlbum& OrvExternalAlbum::operator=(const OrvExternalAlbum&) = default;
OrvExternalAlbum::~OrvExternalAlbum() = default;

bool OrvExternalAlbum::isValid() const { return d->id.isValid(); }
const OrvExternalId& OrvExternalAlbum::id() const { return d->id; }
QUrl OrvExternalAlbum::url() const { return d->id.toUrl(); }
const QString& OrvExternalAlbum::name() const { return d->name; }
void OrvExternalAlbum::setName(const QString& name) { d->name = name; }
const OrvExternalIdList& OrvExternalAlbum::fotoIds() const { return d->fotoIds; }
void OrvExternalAlbum::setFotoIds(const OrvExternalIdList& ids) { d->fotoIds = ids; }
void OrvExternalAlbum::appendFotoId(const OrvExternalId& id) { d->fotoIds.append(id); }
const OrvExternalAlbumType& OrvExternalAlbum::type() const { return d->type; }
const OrvExternalId& OrvExternalAlbum::parentAlbum() const { return d->parent; }
void OrvExternalAlbum::setParentAlbum(const OrvExternalId& parent) { d->parent = parent; }

bool OrvExternalAlbum::operator==(const OrvExternalAlbum& other) const
{
    return d == other.d
        || (d->id == other.d->id && d->name == other.d->name && d->type == other.d->type
            && d->parent == other.d->parent && d->fotoIds == other.d->fotoIds);
}

QStringList OrvExternalAlbumList::albumNamesSorted() const
{
    QStringList names;
    names.reserve(size());
    for (const OrvExternalAlbum& album : *this)
        names.append(album.name());
    QCollator collator;
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(names.begin(), names.end(),
                     [&collator](const QString& a, const QString& b) { return collator.compare(a, b) < 0; });
    return names;
}

OrvExternalId OrvExternalAlbumList::findAlbumIdByVisibleName(const QString& name) const
{
    for (const OrvExternalAlbum& album : *this) {
        if (album.name() == name)
            return album.id();
    }
    return {};
}

OrvExternalAlbumList OrvExternalAlbumList::filter(const OrvExternalAlbumType& type, bool keep) const
{
    OrvExternalAlbumList result;
    for (const OrvExternalAlbum& album : *this) {
        if ((album.type() == type) == keep)
            result.append(album);
    }
    return result;
}
