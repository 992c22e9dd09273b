#pragma once

#include <QHashFunctions>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QUrl>

// Identifier of one object of a photo source: service id, type word, remote id.
// URL form: <service>:<type>#<remote id>.
class OrvExternalId
{
public:
    OrvExternalId() = default;
    OrvExternalId(const QString& serviceId, const QString& type, const QString& remoteId);
    explicit OrvExternalId(const QUrl& url);

    const QString& serviceId() const { return myServiceId; }
    const QString& type() const { return myType; }
    const QString& remoteId() const { return myRemoteId; }

    bool isValid() const { return !myServiceId.isEmpty() && !myType.isEmpty(); }
    QUrl toUrl() const;
    QString toString() const { return toUrl().toString(QUrl::FullyEncoded); }
    size_t hash() const;

    bool operator==(const OrvExternalId& other) const
    {
        return myHash == other.myHash && myRemoteId == other.myRemoteId && myType == other.myType
            && myServiceId == other.myServiceId;
    }
    bool operator!=(const OrvExternalId& other) const { return !(*this == other); }

private:
    QString myServiceId;
    QString myType;
    QString myRemoteId;
    // Ids are keys of every pool and cache, hashed many times each: computed once.
    size_t myHash = 0;
};

inline size_t qHash(const OrvExternalId& id, size_t seed = 0) { return id.hash() ^ seed; }

class OrvExternalIdList : public QList<OrvExternalId>
{
public:
    OrvExternalIdList() = default;
    OrvExternalIdList(const QList<OrvExternalId>& ids) : QList<OrvExternalId>(ids) {}
    OrvExternalIdList(std::initializer_list<OrvExternalId> ids) : QList<OrvExternalId>(ids) {}
};

// Makes ids of one source.
class OrvExternalUrlBuilder
{
public:
    OrvExternalUrlBuilder() = default;
    explicit OrvExternalUrlBuilder(const QString& serviceId) : myServiceId(serviceId) {}
    const QString& serviceId() const { return myServiceId; }
    OrvExternalId build(const QString& type, const QString& remoteId) const { return {myServiceId, type, remoteId}; }

private:
    QString myServiceId;
};

// Ids of fotos, albums and faces of one source, from their remote ids.
class OrvExternalAccess
{
public:
    explicit OrvExternalAccess(const OrvExternalUrlBuilder& builder) : myBuilder(builder) {}
    virtual ~OrvExternalAccess() = default;

    OrvExternalId buildFotoId(const QString& remoteId) const { return myBuilder.build(QStringLiteral("foto"), remoteId); }
    OrvExternalId buildAlbumId(const QString& remoteId) const { return myBuilder.build(QStringLiteral("album"), remoteId); }
    OrvExternalId buildFaceId(const QString& remoteId) const { return myBuilder.build(QStringLiteral("face"), remoteId); }
    const OrvExternalUrlBuilder& urlBuilder() const { return myBuilder; }

private:
    OrvExternalUrlBuilder myBuilder;
};

Q_DECLARE_METATYPE(OrvExternalId)
