#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

// When a foto was taken, as sources put it into their fotos and metadata:
// - with an offset from UTC (or a time zone): the clock time where it was taken
//   and that place's offset (Photos' local creation date, EXIF with its offset);
// - in local time: a clock time whose place nobody knows (iPhoto and Aperture
//   keep only that, so does EXIF without an offset);
// - in UTC: an instant whose place nobody knows (a file's time, a date that
//   came without a local one); it is shown in this machine's time.
// Everything that shows a date, to people or to scripts, goes through here, so
// that the grid, the details and the command line say the same.
class OrvFotoDate
{
public:
    // The clock time to show: the foto's own, or this machine's for a bare instant.
    static QDateTime shown(const QDateTime& taken);
    // Whether the place's offset is known, and so worth showing to people.
    static bool knowsOffset(const QDateTime& taken);
    // ISO 8601 of shown(), with the offset wherever the instant is known
    // ("2023-06-21T21:10:00-07:00"), without for a clock time of unknown place;
    // "" without a date.
    static QString toIsoString(const QDateTime& taken);
    // The locale's date and time of shown(), followed by "UTC-07:00" where the
    // offset is known; never a zone name the foto does not carry.
    static QString toDisplayString(const QDateTime& taken, QLocale::FormatType format = QLocale::ShortFormat,
                                   const QLocale& locale = QLocale());
};
