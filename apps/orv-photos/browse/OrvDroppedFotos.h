#pragma once

#include "OrvExternalId.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

class QMimeData;

// What a drop onto the browser names: Photos assets as their payload
// ("text/x-orv-phasset": a serialized list of URLs, or URLs one per line), or
// what the registered pasteboard converters turn into that payload.
class OrvDroppedFotos
{
public:
    static const char* const mimeType;

    // The fotos the payload names; ids that are no foto URL are left out.
    static QList<OrvExternalId> ids(const QMimeData* data);
    // The types of the drag that a registered converter takes, as one pasteboard item.
    static QMap<QString, QByteArray> convertibleTypes(const QMimeData* data);
    // Whether a drop of this is worth accepting.
    static bool isAcceptable(const QMimeData* data);
};
