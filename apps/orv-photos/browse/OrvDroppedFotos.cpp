#include "OrvDroppedFotos.h"

#include "OrvMimeConverter.h"
#include "OrvMimeConverterRegistry.h"

#include <QDataStream>
#include <QMimeData>
#include <QUrl>

const char* const OrvDroppedFotos::mimeType = "text/x-orv-phasset";

QList<OrvExternalId> OrvDroppedFotos::ids(const QMimeData* data)
{
    QList<OrvExternalId> ids;
    if (!data)
        return ids;
    const QByteArray payload = data->data(QString::fromLatin1(mimeType));
    QList<QUrl> urls;
    QDataStream stream(payload);
    stream >> urls;
    if (stream.status() != QDataStream::Ok || !stream.atEnd()) {
        urls.clear();
        for (const QByteArray& line : payload.split('\n')) {
            const QUrl url(QString::fromUtf8(line.trimmed()));
            if (url.isValid() && !url.scheme().isEmpty())
                urls.append(url);
        }
    }
    for (const QUrl& url : std::as_const(urls)) {
        const OrvExternalId id(url);
        if (id.isValid())
            ids.append(id);
    }
    return ids;
}

QMap<QString, QByteArray> OrvDroppedFotos::convertibleTypes(const QMimeData* data)
{
    OrvPasteboardItem item;
    const QList<OrvMimeConverter*> converters = OrvSingleton<OrvMimeConverterRegistry>::instance()->converters();
    for (const QString& format : data->formats()) {
        for (const OrvMimeConverter* converter : converters) {
            if (!converter->mimeForUti(format).isEmpty()) {
                item.insert(format, data->data(format));
                break;
            }
        }
    }
    return item;
}

bool OrvDroppedFotos::isAcceptable(const QMimeData* data)
{
    return data && (data->hasFormat(QString::fromLatin1(mimeType)) || !convertibleTypes(data).isEmpty());
}
