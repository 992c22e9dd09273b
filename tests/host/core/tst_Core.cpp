#include "OrvFileSystemWatcher.h"
#include "OrvInitializer.h"
#include "OrvPlatformIndependent.h"
#include "OrvQtCompat.h"
#include "OrvXMLLoader.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

struct RecordingInitializer : OrvInitializerAbstract
{
    RecordingInitializer(QStringList* log, QString name, OrvInitializerAbstract* registersLater = nullptr)
        : myLog(log), myName(std::move(name)), myLater(registersLater)
    {
    }
    void setup(OrvInitializerOption) override
    {
        myLog->append(QStringLiteral("setup ") + myName);
        // A setup may load more code that registers further initializers.
        if (myLater)
            OrvSingleton<OrvInitializer>::instance()->registerInitializer(myLater);
    }
    void teardown() override { myLog->append(QStringLiteral("teardown ") + myName); }

    QStringList* myLog;
    QString myName;
    OrvInitializerAbstract* myLater;
};

} // namespace

TEST(OrvInitializer, RunsEachSetupOnceInRegistrationOrderAndTearsDownInReverse)
{
    OrvInitializer* registry = OrvSingleton<OrvInitializer>::instance();
    QStringList log;
    RecordingInitializer late(&log, QStringLiteral("late"));
    RecordingInitializer first(&log, QStringLiteral("first"), &late);
    RecordingInitializer second(&log, QStringLiteral("second"));
    registry->registerInitializer(&first);
    registry->registerInitializer(&second);
    registry->registerInitializer(&first);  // twice is once

    EXPECT_EQ(registry->setupAll(), 3);
    EXPECT_EQ(registry->setupAll(), 0);
    registry->teardownAll();
    EXPECT_EQ(log, (QStringList{"setup first", "setup second", "setup late", "teardown late", "teardown second",
                                "teardown first"}));
    for (auto* initializer : {&first, &second, &late})
        registry->unregisterInitializer(initializer);
}

TEST(OrvPlatformIndependent, ParsesAndOverridesTheOperatingSystem)
{
    const auto catalina = OrvPlatformIndependent::parseOperatingSystem(QStringLiteral("macos:10.15.0"));
    ASSERT_TRUE(catalina);
    EXPECT_EQ(catalina->type(), QOperatingSystemVersion::MacOS);
    EXPECT_EQ(catalina->microVersion(), 0);
    const auto mojave = OrvPlatformIndependent::parseOperatingSystem(QStringLiteral("macos:10.14.6"));
    ASSERT_TRUE(mojave);
    EXPECT_TRUE(*mojave < QOperatingSystemVersion(QOperatingSystemVersion::MacOS, 10, 15));
    EXPECT_TRUE(*catalina >= QOperatingSystemVersion(QOperatingSystemVersion::MacOS, 10, 15));
    EXPECT_TRUE(OrvPlatformIndependent::parseOperatingSystem(QStringLiteral("linux")));
    for (const char* bad : {"macos", "macos:", "macos:x.1", "macos:1.2.3.4", "beos:5", "macos:-1"})
        EXPECT_FALSE(OrvPlatformIndependent::parseOperatingSystem(QString::fromLatin1(bad))) << bad;

    OrvPlatformIndependent* platform = OrvSingleton<OrvPlatformIndependent>::instance();
    platform->setOperatingSystemVersion(*mojave);
    EXPECT_TRUE(platform->isMacOS());
    EXPECT_EQ(platform->operatingSystemVersion().minorVersion(), 14);
    platform->resetOperatingSystemVersion();
    EXPECT_EQ(platform->operatingSystemVersion().type(), QOperatingSystemVersion::current().type());
    EXPECT_EQ(platform->operatingSystemVersion().version(), QOperatingSystemVersion::current().version());
}

TEST(OrvXMLLoader, GivesTheDocumentElementOrANullOne)
{
    QTemporaryDir dir;
    const QString good = dir.filePath(QStringLiteral("good.xml"));
    OrvTest::writeFile(good, "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><string>b</string></dict></plist>");
    const QDomElement root = OrvXMLLoader::loadDocumentElement(QFileInfo(good));
    EXPECT_EQ(root.tagName(), QStringLiteral("plist"));
    EXPECT_EQ(root.firstChildElement(QStringLiteral("dict")).firstChildElement().text(), QStringLiteral("a"));

    const QString broken = dir.filePath(QStringLiteral("broken.xml"));
    OrvTest::writeFile(broken, "<plist><dict>");
    EXPECT_TRUE(OrvXMLLoader::loadDocumentElement(QFileInfo(broken)).isNull());
    EXPECT_TRUE(OrvXMLLoader::loadDocumentElement(QFileInfo(dir.filePath(QStringLiteral("missing.xml")))).isNull());
}

// Qt 6.5 replaced time specs with lightweight zones; the values must not change with it.
TEST(OrvQtCompat, DatesKeepTheirKindOfTimeOnEveryQt)
{
    const QDate date(2024, 2, 29);
    const QTime time(23, 30, 15, 250);
    const QDateTime utc = OrvQt::utc(date, time);
    EXPECT_EQ(utc.timeSpec(), Qt::UTC);
    EXPECT_EQ(utc.toString(Qt::ISODateWithMs), QStringLiteral("2024-02-29T23:30:15.250Z"));
    const QDateTime ahead = OrvQt::withOffset(date, time, -(9 * 3600 + 1800));
    EXPECT_EQ(ahead.timeSpec(), Qt::OffsetFromUTC);
    EXPECT_EQ(ahead.toString(Qt::ISODate), QStringLiteral("2024-02-29T23:30:15-09:30"));
    EXPECT_EQ(ahead.toUTC(), OrvQt::utc(QDate(2024, 3, 1), QTime(9, 0, 15, 250)));
    const QDateTime local = OrvQt::local(date, time);
    EXPECT_EQ(local.timeSpec(), Qt::LocalTime);
    EXPECT_EQ(local.time(), time);
    EXPECT_EQ(OrvQt::utcFromMSecs(utc.toMSecsSinceEpoch()), utc);
    EXPECT_EQ(OrvQt::utcFromSecs(86400), OrvQt::utc(QDate(1970, 1, 2), QTime(0, 0)));
    EXPECT_EQ(OrvQt::localFromMSecs(local.toMSecsSinceEpoch()).timeSpec(), Qt::LocalTime);
    QDateTime moved = local;
    OrvQt::setUtc(&moved);
    EXPECT_EQ(moved, utc);
}

TEST(OrvFileSystemWatcher, ReportsAChangedFile)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("watched.xml"));
    OrvTest::writeFile(path, "one");
    OrvFileSystemWatcher* watcher = OrvSingleton<OrvFileSystemWatcher>::instance();
    QSignalSpy spy(watcher, &OrvFileSystemWatcher::filesChanged);
    watcher->addFile(QFileInfo(path));
    EXPECT_TRUE(watcher->watchedFiles().contains(path));
    OrvTest::writeFile(path, "two, longer");
    EXPECT_TRUE(OrvTest::waitFor([&] { return !spy.isEmpty(); }));
    ASSERT_FALSE(spy.isEmpty());
    EXPECT_EQ(spy.first().first().value<QList<QString>>(), QList<QString>{path});
    watcher->removeFile(QFileInfo(path));
}
