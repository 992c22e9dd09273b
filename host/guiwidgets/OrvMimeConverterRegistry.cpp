#include "OrvMimeConverterRegistry.h"

#include "OrvMimeConverter.h"

#include <QMimeData>

void OrvMimeConverterRegistry::add(OrvMimeConverter* converter)
{
    QMutexLocker locker(&myMutex);
    if (converter && !myConverters.contains(converter))
        myConverters.append(converter);
}

void OrvMimeConverterRegistry::remove(OrvMimeConverter* converter)
{
    QMutexLocker locker(&myMutex);
    myConverters.removeAll(converter);
}

QList<OrvMimeConverter*> OrvMimeConverterRegistry::converters() const
{
    QMutexLocker locker(&myMutex);
    return myConverters;
}

std::unique_ptr<QMimeData> OrvMimeConverterRegistry::mimeDataForPasteboard(const QList<OrvPasteboardItem>& items) const
{
    auto mimeData = std::make_unique<QMimeData>();
    QStringList types;
    for (const OrvPasteboardItem& item : items) {
        for (auto it = item.cbegin(); it != item.cend(); ++it) {
            if (!types.contains(it.key()))
                types.append(it.key());
        }
    }
    // Converters registered later are more specific (the plug-ins'): they go first.
    const QList<OrvMimeConverter*> all = converters();
    for (auto converter = all.crbegin(); converter != all.crend(); ++converter) {
        for (const QString& uti : std::as_const(types)) {
            const QString mime = (*converter)->mimeForUti(uti);
            if (mime.isEmpty() || mimeData->hasFormat(mime) || !(*converter)->canConvert(mime, uti))
                continue;
            QList<QByteArray> data;
            for (const OrvPasteboardItem& item : items) {
                const auto found = item.constFind(uti);
                if (found != item.cend())
                    data.append(*found);
            }
            const QVariant converted = (*converter)->convertToMime(mime, data, uti);
            if (converted.isValid())
                mimeData->setData(mime, converted.toByteArray());
        }
    }
    return mimeData;
}
