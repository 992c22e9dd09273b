#include "OrvFotoDate.h"

#include "OrvExternalFoto.h"
#include "OrvFotoCacheManager.h"

namespace {

// The locale's time format without its zone ("t", "tt", ...), which would name
// this machine's zone for a foto taken anywhere.
QString withoutZone(const QString& format)
{
    QString result;
    bool quoted = false;
    for (const QChar c : format) {
        if (c == QLatin1Char('\''))
            quoted = !quoted;
        if (!quoted && c == QLatin1Char('t'))
            continue;
        result.append(c);
    }
    return result.simplified();
}

QString offsetText(int seconds)
{
    const int minutes = qAbs(seconds) / 60;
    return (seconds < 0 ? QLatin1Char('-') : QLatin1Char('+'))
        + QStringLiteral("%1:%2").arg(minutes / 60, 2, 10, QLatin1Char('0')).arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

bool OrvFotoDate::isStandIn(const QDateTime& taken)
{
    if (!taken.isValid())
        return false;
    const qint64 msecs = taken.toMSecsSinceEpoch();
    return msecs >= 0 && msecs <= qint64(0xffffffff);
}

bool OrvFotoDate::isKnown(const QDateTime& taken) { return taken.isValid() && !isStandIn(taken); }

QDateTime OrvFotoDate::takenOf(const OrvExternalDatabase* database, const OrvExternalFoto& foto, bool load)
{
    if (foto.taken().isValid() || !database || !foto.isValid())
        return foto.taken();
    return OrvSingleton<OrvFotoCacheManager>::instance()
        ->metaData(OrvFoto(OrvFotoKeyExternalService(database, foto.id())), OrvPriorityNormal, load)
        .pictureTaken();
}

QString OrvFotoDate::nameOf(const OrvExternalFoto& foto)
{
    const QString name = foto.name();
    if (!isStandIn(foto.taken()) || !name.startsWith(QLatin1String("1970-")))
        return name;
    // Ids carry the asset's local identifier with its "/" escaped as "_2F".
    QString first = foto.id().remoteId();
    for (const QString& separator : {QStringLiteral("_2F"), QStringLiteral("/")}) {
        const qsizetype at = first.indexOf(separator);
        if (at >= 0)
            first.truncate(at);
    }
    if (first.isEmpty())
        return name;
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? first : first + name.mid(dot);
}

QDateTime OrvFotoDate::shown(const QDateTime& taken)
{
    return taken.isValid() && taken.timeSpec() == Qt::UTC ? taken.toLocalTime() : taken;
}

bool OrvFotoDate::knowsOffset(const QDateTime& taken)
{
    return taken.isValid() && (taken.timeSpec() == Qt::OffsetFromUTC || taken.timeSpec() == Qt::TimeZone);
}

QString OrvFotoDate::toIsoString(const QDateTime& taken)
{
    if (!isKnown(taken))
        return QString();
    const QDateTime clock = shown(taken);
    const QTime time = clock.time();
    QString text = clock.date().toString(Qt::ISODate) + QLatin1Char('T')
        + time.toString(time.msec() ? QStringLiteral("HH:mm:ss.zzz") : QStringLiteral("HH:mm:ss"));
    if (taken.timeSpec() != Qt::LocalTime)
        text += offsetText(clock.offsetFromUtc());
    return text;
}

QString OrvFotoDate::toDisplayString(const QDateTime& taken, QLocale::FormatType format, const QLocale& locale)
{
    if (!isKnown(taken))
        return QString();
    const QDateTime clock = shown(taken);
    QString text = locale.toString(clock.date(), format) + QLatin1Char(' ')
        + locale.toString(clock.time(), withoutZone(locale.timeFormat(format)));
    if (knowsOffset(taken))
        text += QStringLiteral(" UTC") + offsetText(clock.offsetFromUtc());
    return text;
}
