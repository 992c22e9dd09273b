// Dates of fotos as people and scripts see them: the foto's own clock time,
// with the offset only where it is known, whatever zone the machine is in.

#include "OrvFotoDate.h"
#include "OrvQtCompat.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QTimeZone>

namespace {

const QLocale english(QLocale::English, QLocale::UnitedKingdom);
const QLocale german(QLocale::German, QLocale::Germany);

} // namespace

TEST(OrvFotoDate, AKnownOffsetIsShownWithTheClockTimeOfThePlace)
{
    for (const char* zone : {"UTC", "Europe/Berlin", "Asia/Kolkata"}) {
        const OrvTest::TimeZone machine(zone);
        // Taken at 21:10 in California, 04:10 UTC the next day.
        const QDateTime taken = OrvQt::withOffset(QDate(2023, 6, 21), QTime(21, 10), -7 * 3600);
        EXPECT_EQ(OrvFotoDate::toIsoString(taken), QStringLiteral("2023-06-21T21:10:00-07:00")) << zone;
        EXPECT_EQ(OrvFotoDate::toDisplayString(taken, QLocale::ShortFormat, english), QStringLiteral("21/06/2023 21:10 UTC-07:00"))
            << zone;
        EXPECT_EQ(OrvFotoDate::toDisplayString(taken, QLocale::ShortFormat, german), QStringLiteral("21.06.23 21:10 UTC-07:00"))
            << zone;
        const QString longText = OrvFotoDate::toDisplayString(taken, QLocale::LongFormat, english);
        EXPECT_TRUE(longText.contains(QStringLiteral("21 June 2023"))) << longText.toStdString();
        EXPECT_TRUE(longText.endsWith(QStringLiteral("21:10:00 UTC-07:00"))) << longText.toStdString();
        EXPECT_TRUE(OrvFotoDate::knowsOffset(taken));
        // A named zone tells its offset too.
        const QDateTime berlin(QDate(2023, 1, 5), QTime(8, 0), QTimeZone("Europe/Berlin"));
        EXPECT_EQ(OrvFotoDate::toIsoString(berlin), QStringLiteral("2023-01-05T08:00:00+01:00"));
        EXPECT_TRUE(OrvFotoDate::toDisplayString(berlin, QLocale::ShortFormat, english).endsWith(QStringLiteral("08:00 UTC+01:00")));
    }
}

TEST(OrvFotoDate, AClockTimeOfUnknownPlaceHasNoOffsetAndNoZoneName)
{
    for (const char* zone : {"UTC", "Europe/Berlin", "America/Los_Angeles"}) {
        const OrvTest::TimeZone machine(zone);
        const QDateTime taken = OrvQt::local(QDate(2010, 7, 5), QTime(10, 0, 0, 250));
        EXPECT_EQ(OrvFotoDate::toIsoString(taken), QStringLiteral("2010-07-05T10:00:00.250")) << zone;
        for (const QLocale& locale : {english, german}) {
            const QString longText = OrvFotoDate::toDisplayString(taken, QLocale::LongFormat, locale);
            EXPECT_TRUE(longText.endsWith(QStringLiteral("10:00:00"))) << zone << " " << longText.toStdString();
        }
        EXPECT_FALSE(OrvFotoDate::knowsOffset(taken));
    }
}

TEST(OrvFotoDate, ABareInstantIsShownInThisMachinesTime)
{
    const QDateTime instant = OrvQt::utc(QDate(2023, 6, 22), QTime(4, 10));
    {
        const OrvTest::TimeZone machine("America/Los_Angeles");
        EXPECT_EQ(OrvFotoDate::toIsoString(instant), QStringLiteral("2023-06-21T21:10:00-07:00"));
        EXPECT_EQ(OrvFotoDate::toDisplayString(instant, QLocale::ShortFormat, english), QStringLiteral("21/06/2023 21:10"))
            << "the place is not known: no offset shown";
    }
    {
        const OrvTest::TimeZone machine("UTC");
        EXPECT_EQ(OrvFotoDate::toIsoString(instant), QStringLiteral("2023-06-22T04:10:00+00:00"));
        EXPECT_EQ(OrvFotoDate::toDisplayString(instant, QLocale::LongFormat, english).right(8), QStringLiteral("04:10:00"));
    }
    EXPECT_EQ(OrvFotoDate::toIsoString(QDateTime()), QString());
    EXPECT_EQ(OrvFotoDate::toDisplayString(QDateTime()), QString());
    EXPECT_FALSE(OrvFotoDate::knowsOffset(QDateTime()));
}
