#pragma once

#include "OrvExternalId.h"

#include <QList>
#include <QMetaType>
#include "OrvSharedDataPointer.h"
#include <QString>
#include <QStringList>

// The kind of an album as a bit-flag code.
class OrvExternalAlbumType
{
public:
    enum Code : quint32 {
        Other = 0,
        Regular = 1,
        Person = 2,
        Folder = 4,
        Month = 8,
        Year = 16,
        Special = 32,
        Smart = 64,
        Untitled = 128,
        Shared = 256,
        Project = 512,
        Device = 1024,
        Event = 2048,
        AllFotos = 4096,
    };

    OrvExternalAlbumType() = default;
    OrvExternalAlbumType(quint32 code) : myCode(code) {}
    virtual ~OrvExternalAlbumType() = default;
    quint32 code() const { return myCode; }
    bool operator==(const OrvExternalAlbumType& other) const { return myCode == other.myCode; }
    bool operator!=(const OrvExternalAlbumType& other) const { return myCode != other.myCode; }

private:
    quint32 myCode = Other;
};

// An album, folder or other group of fotos; the ids it lists may name fotos the pool does not hold.
class OrvExternalAlbum
{
public:
    OrvExternalAlbum();
    OrvExternalAlbum(const OrvExternalId& id, const QString& name, const OrvExternalIdList& fotoIds,
                     const OrvExternalAlbumType& type);
    OrvExternalAlbum(const OrvExternalAlbum&);
    OrvExternalAlbum& operator=(const OrvExternalAlbum&);
    ~OrvExternalAlbum();

    bool isValid() const;
    const OrvExternalId& id() const;
    QUrl url() const;
    const QString& name() const;
    void setName(const QString& name);
    const OrvExternalIdList& fotoIds() const;
    void setFotoIds(const OrvExternalIdList& ids);
    void appendFotoId(const OrvExternalId& id);
    const OrvExternalAlbumType& type() const;
    const OrvExternalId& parentAlbum() const;
    void setParentAlbum(const OrvExternalId& parent);

    bool operator==(const OrvExternalAlbum& other) const;

private:
    friend class OrvExternalAlbumPool;
    struct Data;
    OrvSharedDataPointer<Data> d;
};

class OrvExternalAlbumList : public QList<OrvExternalAlbum>
{
public:
    OrvExternalAlbumList() = default;
    OrvExternalAlbumList(const QList<OrvExternalAlbum>& albums) : QList<OrvExternalAlbum>(albums) {}

    // Names in the user's collation order.
    QStringList albumNamesSorted() const;
    // Id of the first album with exactly this name; invalid when there is none.
    OrvExternalId findAlbumIdByVisibleName(const QString& name) const;
    // The albums of this type (keep true) or of any other type (keep false).
    OrvExternalAlbumList filter(const OrvExternalAlbumType& type, bool keep) const;
};

Q_DECLARE_METATYPE(OrvExternalAlbum)
