#include "OrvExternalId.h"

OrvExternalId::OrvExternalId(const QString& serviceId, const QString& type, const QString& remoteId)
    : myServiceId(serviceId), myType(type), myRemoteId(remoteId)
{
}

OrvExternalId::OrvExternalId(const QUrl& url)
{
    if (!url.isValid() || url.scheme().isEmpty())
        return;
    myServiceId = url.scheme();
    myType = url.path(QUrl::FullyDecoded);
    myRemoteId = url.fragment(QUrl::FullyDecoded);
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
    return qHashMulti(0, myServiceId, myType, myRemoteId);
}
