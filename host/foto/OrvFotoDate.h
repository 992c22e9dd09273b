#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

class OrvExternalDatabase;
class OrvExternalFoto;

// When a foto was taken, as sources put it into their fotos and metadata:
// - with an offset from UTC (or a time zone): the clock time where it was taken
//   and that place's offset (Photos' local creation date, EXIF with its offset);
// - in local time: a clock time whose place nobody knows (iPhoto and Aperture
//   keep only that, so does EXIF without an offset);
// - in UTC: an instant whose place nobody knows (a file's time, a date that
//   came without a local one); it is shown in this machine's time.
// Everything that shows a date, to people or to scripts, goes through here, so
// that the grid, the details and the command line say the same.
//
// A Photos asset without a date reaches the host with a stand-in: a random
// moment in the first 49.7 days of 1970 (UTC), another on every run, and a
// name made of it. That is shown as no date, and the foto is named by its id.
class OrvFotoDate
{
public:
    // Whether taken is a real date: valid and no stand-in.
    static bool isKnown(const QDateTime& taken);
    // Whether taken lies where stand-ins do: from the epoch, less than 2^32 ms after it.
    static bool isStandIn(const QDateTime& taken);
    // When the foto was taken: its own date, else the date its source's metadata
    // gives (a camera lists its items without dates; its catalogue has them).
    // Without load, only metadata the foto cache has already.
    static QDateTime takenOf(const OrvExternalDatabase* database, const OrvExternalFoto& foto, bool load = true);
    // The name to show and to write the foto under: its own, but the first part
    // of its id (before "/") where the name is that of a stand-in date.
    static QString nameOf(const OrvExternalFoto& foto);

    // The clock time to show: the foto's own, or this machine's for a bare instant.
    static QDateTime shown(const QDateTime& taken);
    // Whether the place's offset is known, and so worth showing to people.
    static bool knowsOffset(const QDateTime& taken);
    // ISO 8601 of shown(), with the offset wherever the instant is known
    // ("2023-06-21T21:10:00-07:00"), without for a clock time of unknown place;
    // "" without a known date.
    static QString toIsoString(const QDateTime& taken);
    // The locale's date and time of shown(), followed by "UTC-07:00" where the
    // offset is known; never a zone name the foto does not carry.
    static QString toDisplayString(const QDateTime& taken, QLocale::FormatType format = QLocale::ShortFormat,
                                   const QLocale& locale = QLocale());
};
