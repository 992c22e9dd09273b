#include "OrvExternalAlbum.h"

#include <algorithm>

namespace {

// Natural order, independent of the process locale: case-insensitive, and
// runs of digits compare by their value ("Album 9" before "album 10").
int naturalCompare(const QString& a, const QString& b)
{
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < a.size() && j < b.size()) {
        if (a.at(i).isDigit() && b.at(j).isDigit()) {
            qsizetype endA = i;
            qsizetype endB = j;
            while (endA < a.size() && a.at(endA).isDigit())
                ++endA;
            while (endB < b.size() && b.at(endB).isDigit())
                ++endB;
            QStringView numberA = QStringView(a).mid(i, endA - i);
            QStringView numberB = QStringView(b).mid(j, endB - j);
            while (numberA.size() > 1 && numberA.front() == QLatin1Char('0'))
                numberA = numberA.mid(1);
            while (numberB.size() > 1 && numberB.front() == QLatin1Char('0'))
                numberB = numberB.mid(1);
            if (numberA.size() != numberB.size())
                return numberA.size() < numberB.size() ? -1 : 1;
            if (const int c = numberA.compare(numberB); c != 0)
                return c;
            i = endA;
            j = endB;
            continue;
        }
        const QChar ca = a.at(i).toCaseFolded();
        const QChar cb = b.at(j).toCaseFolded();
        if (ca != cb)
            return ca < cb ? -1 : 1;
        ++i;
        ++j;
    }
    if (a.size() - i != b.size() - j)
        return (a.size() - i) < (b.size() - j) ? -1 : 1;
    return a.compare(b);
}

} // namespace

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
    std::stable_sort(names.begin(), names.end(),
                     [](const QString& a, const QString& b) { return naturalCompare(a, b) < 0; });
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
