#pragma once

// Qt 6.4 to 6.10 as the host and the plug-in use it, outside the file engine (which has its
// own seam). Qt 6.5 brought lightweight time zones (QTimeZone::UTC, LocalTime and fixed
// offsets) and later versions deprecate the Qt::TimeSpec forms they replace; 6.5 also gave
// QDomDocument::setContent a ParseResult, and later versions deprecate the out-parameters.
// The helpers make the same values on every version: timeSpec() stays UTC, LocalTime or
// OffsetFromUTC.


#include <QDateTime>
#include <QString>
#include <QtGlobal>
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
#include <QTimeZone>
#endif

class QByteArray;
class QDomDocument;

namespace OrvQt {

#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
inline QDateTime utc(QDate date, QTime time) { return QDateTime(date, time, QTimeZone::UTC); }
inline QDateTime local(QDate date, QTime time) { return QDateTime(date, time, QTimeZone::LocalTime); }
inline QDateTime withOffset(QDate date, QTime time, int seconds)
{
    return QDateTime(date, time, QTimeZone::fromSecondsAheadOfUtc(seconds));
}
inline QDateTime utcFromMSecs(qint64 msecs) { return QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone::UTC); }
inline QDateTime localFromMSecs(qint64 msecs) { return QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone::LocalTime); }
// The same wall clock, read as UTC.
inline void setUtc(QDateTime* time) { time->setTimeZone(QTimeZone::UTC); }
#else
inline QDateTime utc(QDate date, QTime time) { return QDateTime(date, time, Qt::UTC); }
inline QDateTime local(QDate date, QTime time) { return QDateTime(date, time, Qt::LocalTime); }
inline QDateTime withOffset(QDate date, QTime time, int seconds)
{
    return QDateTime(date, time, Qt::OffsetFromUTC, seconds);
}
inline QDateTime utcFromMSecs(qint64 msecs) { return QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC); }
inline QDateTime localFromMSecs(qint64 msecs) { return QDateTime::fromMSecsSinceEpoch(msecs, Qt::LocalTime); }
inline void setUtc(QDateTime* time) { time->setTimeSpec(Qt::UTC); }
#endif

inline QDateTime utcFromSecs(qint64 secs) { return utcFromMSecs(secs * 1000); }

// Parses XML into the document, without namespace processing; on failure the message
// says where and why.
bool setDomContent(QDomDocument* document, const QByteArray& bytes, QString* message);

} // namespace OrvQt
