#pragma once

#include "OrvExternalId.h"
#include "OrvMediaDescriptor.h"

#include <QList>
#include <QMetaType>
#include <QString>

class OrvExternalDatabase;

// What names a foto for the host: a foto of a source, or a file.
class OrvFotoKey
{
public:
    virtual ~OrvFotoKey() = default;
    const OrvExternalDatabase* database() const { return myDatabase; }
    const OrvExternalId& externalId() const { return myId; }
    const QString& filePath() const { return myPath; }

protected:
    OrvFotoKey(const OrvExternalDatabase* database, const OrvExternalId& id, const QString& path)
        : myDatabase(database), myId(id), myPath(path)
    {
    }

private:
    const OrvExternalDatabase* myDatabase;
    OrvExternalId myId;
    QString myPath;
};

class OrvFotoKeyExternalService : public OrvFotoKey
{
public:
    OrvFotoKeyExternalService(const OrvExternalDatabase* database, const OrvExternalId& id)
        : OrvFotoKey(database, id, QString())
    {
    }
};

class OrvFotoKeyFile : public OrvFotoKey
{
public:
    explicit OrvFotoKeyFile(const QString& path) : OrvFotoKey(nullptr, OrvExternalId(), path) {}
};

// The host's handle of a foto, used as key of caches and registries.
class OrvFoto
{
public:
    OrvFoto() = default;
    explicit OrvFoto(const OrvFotoKey& key);
    explicit OrvFoto(const OrvMediaDescriptor& descriptor);

    bool isValid() const { return myId.isValid() || !myPath.isEmpty(); }
    bool isExternal() const { return myId.isValid(); }
    const OrvExternalDatabase* database() const { return myDatabase; }
    const OrvExternalId& externalId() const { return myId; }
    const QString& filePath() const { return myPath; }
    size_t hash() const;
    QString toString() const;

    bool operator==(const OrvFoto& other) const
    {
        return myDatabase == other.myDatabase && myId == other.myId && myPath == other.myPath;
    }
    bool operator!=(const OrvFoto& other) const { return !(*this == other); }

private:
    const OrvExternalDatabase* myDatabase = nullptr;
    OrvExternalId myId;
    QString myPath;
};

inline size_t qHash(const OrvFoto& foto, size_t seed = 0) { return foto.hash() ^ seed; }

class OrvFotoList : public QList<OrvFoto>
{
public:
    OrvFotoList() = default;
    OrvFotoList(const QList<OrvFoto>& fotos) : QList<OrvFoto>(fotos) {}
    OrvFotoList(std::initializer_list<OrvFoto> fotos) : QList<OrvFoto>(fotos) {}
};

Q_DECLARE_METATYPE(OrvFoto)
Q_DECLARE_METATYPE(OrvFotoList)
