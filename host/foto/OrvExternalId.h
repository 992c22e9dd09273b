#pragma once

#include <QExplicitlySharedDataPointer>
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

    const QString& serviceId() const { return d ? d->serviceId : nullString(); }
    const QString& type() const { return d ? d->type : nullString(); }
    const QString& remoteId() const { return d ? d->remoteId : nullString(); }

    bool isValid() const { return d && !d->serviceId.isEmpty() && !d->type.isEmpty(); }
    QUrl toUrl() const;
    QString toString() const { return toUrl().toString(QUrl::FullyEncoded); }
    size_t hash() const { return d ? d->hash : 0; }

    bool operator==(const OrvExternalId& other) const
    {
        return d == other.d
            || (hash() == other.hash() && remoteId() == other.remoteId() && type() == other.type()
                && serviceId() == other.serviceId());
    }
    bool operator!=(const OrvExternalId& other) const { return !(*this == other); }

private:
    // Ids are copied into every album, pool, month and cache that holds their
    // object, and hashed many times each: one shared, immutable record with
    // the hash worked out once keeps a copy at the size of a pointer.
    struct Data : QSharedData
    {
        QString serviceId;
        QString type;
        QString remoteId;
        size_t hash = 0;
    };
    static const QString& nullString();

    QExplicitlySharedDataPointer<const Data> d;
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
