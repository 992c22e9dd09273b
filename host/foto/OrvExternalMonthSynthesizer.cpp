#include "OrvExternalMonthSynthesizer.h"

#include <QLocale>
#include <QMap>

#include <algorithm>

OrvExternalAlbumList OrvExternalMonthSynthesizer::synthetiseMonthAlbums() const
{
    struct Entry
    {
        QDateTime taken;
        OrvExternalId id;
    };
    QMap<int, QList<Entry>> months;  // yyyymm
    QString serviceId;
    for (const OrvExternalFoto& foto : myFotos) {
        const OrvExternalFotoImplData* data = foto.data();
        if (!data || !data->taken().isValid() || !data->id().isValid())
            continue;
        if (serviceId.isEmpty())
            serviceId = data->id().serviceId();
        const QDate date = data->taken().date();
        months[date.year() * 100 + date.month()].append({data->taken(), data->id()});
    }
    OrvExternalAlbumList albums;
    const QLocale locale;
    for (auto it = months.end(); it != months.begin();) {
        --it;
        QList<Entry>& entries = *it;
        // QDateTime's own order: no conversion to UTC (a time zone look-up each) for dates of one time spec.
        std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.taken < b.taken; });
        OrvExternalIdList ids;
        ids.reserve(entries.size());
        for (const Entry& entry : std::as_const(entries))
            ids.append(entry.id);
        const int year = it.key() / 100;
        const int month = it.key() % 100;
        const QString remoteId = QStringLiteral("%1-%2").arg(year, 4, 10, QLatin1Char('0')).arg(month, 2, 10, QLatin1Char('0'));
        const QString name = locale.standaloneMonthName(month) + QLatin1Char(' ') + QString::number(year);
        albums.append(OrvExternalAlbum(OrvExternalId(serviceId, QStringLiteral("month"), remoteId), name, ids,
                                       OrvExternalAlbumType::Month));
    }
    return albums;
}
