#include "OrvExternalId.h"

namespace {

// 0 for the empty id, so that a default-constructed id and one made of empty strings hash alike.
size_t computeHash(const QString& serviceId, const QString& type, const QString& remoteId)
{
    if (serviceId.isEmpty() && type.isEmpty() && remoteId.isEmpty())
        return 0;
    return qHashMulti(0, serviceId, type, remoteId);
}

} // namespace

OrvExternalId::OrvExternalId(const QString& serviceId, const QString& type, const QString& remoteId)
    : myServiceId(serviceId), myType(type), myRemoteId(remoteId), myHash(computeHash(serviceId, type, remoteId))
{
}

OrvExternalId::OrvExternalId(const QUrl& url)
{
    if (!url.isValid() || url.scheme().isEmpty())
        return;
    myServiceId = url.scheme();
    myType = url.path(QUrl::FullyDecoded);
    myRemoteId = url.fragment(QUrl::FullyDecoded);
    myHash = computeHash(myServiceId, myType, myRemoteId);
}

QUrl OrvExternalId::toUrl() const
{
    if (!isValid())
        return {};
    QUrl url;
    url.setScheme(myServiceId);
    url.setPath(myType, QUrl::DecodedMode);
    // DecodedMode keeps "%" and "#" of the remote id as data, not as escapes.
    if (!myRemoteId.isNull())
        url.setFragment(myRemoteId, QUrl::DecodedMode);
    return url;
}

size_t OrvExternalId::hash() const
{
    return myHash;
}
