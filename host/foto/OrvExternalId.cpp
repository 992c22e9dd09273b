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
{
    Data* data = new Data;
    data->serviceId = serviceId;
    data->type = type;
    data->remoteId = remoteId;
    data->hash = computeHash(serviceId, type, remoteId);
    d.reset(data);
}

OrvExternalId::OrvExternalId(const QUrl& url)
{
    if (!url.isValid() || url.scheme().isEmpty())
        return;
    *this = OrvExternalId(url.scheme(), url.path(QUrl::FullyDecoded), url.fragment(QUrl::FullyDecoded));
}

const QString& OrvExternalId::nullString()
{
    static const QString null;
    return null;
}

QUrl OrvExternalId::toUrl() const
{
    if (!isValid())
        return {};
    QUrl url;
    url.setScheme(d->serviceId);
    url.setPath(d->type, QUrl::DecodedMode);
    // DecodedMode keeps "%" and "#" of the remote id as data, not as escapes.
    if (!d->remoteId.isNull())
        url.setFragment(d->remoteId, QUrl::DecodedMode);
    return url;
}

