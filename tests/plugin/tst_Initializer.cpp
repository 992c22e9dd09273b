#include "OrvApplePhotosInitializer.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoRegistries.h"
#include "OrvMimeConverter.h"
#include "OrvMimeConverterRegistry.h"
#include "OrvPlatformIndependent.h"
#include "OrvProgramConfig.h"
#include "sim/OrvPhotoKitSimLibrary.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QTemporaryDir>

namespace {

QStringList messages;
void recordMessage(QtMsgType, const QMessageLogContext&, const QString& text) { messages.append(text); }

OrvApplePhotosInitializer* pluginInitializer()
{
    for (OrvInitializerAbstract* initializer : OrvSingleton<OrvInitializer>::instance()->initializers()) {
        if (auto* ours = dynamic_cast<OrvApplePhotosInitializer*>(initializer))
            return ours;
    }
    return nullptr;
}

struct InitializerFixture : ::testing::Test
{
    void SetUp() override
    {
        OrvSingleton<OrvFotoDatabaseFactory>::instance()->clear();
        OrvSingleton<OrvFotoSettings>::instance()->setFotoListExportPath(QString());
        // The PhotoKit source sees an empty simulated library.
        OrvPhotoKitSim::install();
        // Keep the test away from the user's own libraries.
        qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit());
    }
    void TearDown() override { OrvSingleton<OrvPlatformIndependent>::instance()->resetOperatingSystemVersion(); }

    QList<quint32> setUpOn(const char* os, int programId = 1)
    {
        OrvSingleton<OrvPlatformIndependent>::instance()->setOperatingSystemVersion(
            *OrvPlatformIndependent::parseOperatingSystem(QString::fromLatin1(os)));
        OrvSingleton<OrvProgramConfig>::instance()->setProgramID(programId);
        OrvSingleton<OrvFotoDatabaseFactory>::instance()->clear();
        pluginInitializer()->setup(OrvInitializerOption::Default);
        QList<quint32> types;
        for (const OrvFotoDatabaseType& type : OrvSingleton<OrvFotoDatabaseFactory>::instance()->types())
            types.append(type.code());
        return types;
    }

    QTemporaryDir config;
};

} // namespace

TEST_F(InitializerFixture, LoadingTheLibraryRegistersOneInitializer)
{
    int ours = 0;
    for (OrvInitializerAbstract* initializer : OrvSingleton<OrvInitializer>::instance()->initializers())
        ours += dynamic_cast<OrvApplePhotosInitializer*>(initializer) ? 1 : 0;
    EXPECT_EQ(ours, 1);
}

// Before any other set-up with program id 8: the handler, once there, stays for the process.
TEST_F(InitializerFixture, TheFileEngineOnlyForProgramEightTheConverterAlways)
{
    const QString pseudo = QStringLiteral("photokitfs:/photokit:foto#X.jpeg");
    setUpOn("macos:14.0", 1);
    EXPECT_FALSE(QFileInfo(pseudo).exists());
    int photosConverters = 0;
    for (const OrvMimeConverter* converter : OrvSingleton<OrvMimeConverterRegistry>::instance()->converters())
        photosConverters += converter->mimeForUti(QStringLiteral("com.apple.photos.object-reference.asset"))
            == QLatin1String("text/x-orv-phasset");
    EXPECT_EQ(photosConverters, 1);
    setUpOn("linux", 8);
    EXPECT_TRUE(QFileInfo(pseudo).exists());
    EXPECT_TRUE(QFileInfo(pseudo).isSymLink());
    EXPECT_TRUE(QFileInfo(QStringLiteral("photokitfs:")).isDir());
}

TEST_F(InitializerFixture, RegistersTheSourcesInTheirFixedOrderForTheSystem)
{
    // The operating system decides the Photos source; whatever the program id.
    for (int programId : {1, 8}) {
        EXPECT_EQ(setUpOn("macos:14.0", programId), (QList<quint32>{OrvFotoDatabaseType::IPhoto, OrvFotoDatabaseType::Aperture, OrvFotoDatabaseType::PhotoKit, OrvFotoDatabaseType::AppleImageCapture}));
        EXPECT_EQ(setUpOn("macos:10.15.0", programId), (QList<quint32>{OrvFotoDatabaseType::IPhoto, OrvFotoDatabaseType::Aperture, OrvFotoDatabaseType::PhotoKit, OrvFotoDatabaseType::AppleImageCapture}));
        EXPECT_EQ(setUpOn("macos:10.14.6", programId), (QList<quint32>{OrvFotoDatabaseType::IPhoto, OrvFotoDatabaseType::Aperture, OrvFotoDatabaseType::ApplePhotos, OrvFotoDatabaseType::AppleImageCapture}));
        EXPECT_EQ(setUpOn("linux", programId), (QList<quint32>{OrvFotoDatabaseType::IPhoto, OrvFotoDatabaseType::Aperture, OrvFotoDatabaseType::ApplePhotos, OrvFotoDatabaseType::AppleImageCapture}));
    }
    OrvFotoDatabaseFactory* factory = OrvSingleton<OrvFotoDatabaseFactory>::instance();
    setUpOn("macos:14.0");
    EXPECT_EQ(factory->database(OrvFotoDatabaseType(OrvFotoDatabaseType::IPhoto))->serviceId(), QStringLiteral("iphoto"));
    EXPECT_EQ(factory->database(OrvFotoDatabaseType(OrvFotoDatabaseType::Aperture))->serviceId(), QStringLiteral("aperture"));
    EXPECT_EQ(factory->database(OrvFotoDatabaseType(OrvFotoDatabaseType::PhotoKit))->serviceId(), QStringLiteral("photokit"));
    setUpOn("macos:10.14.6");
    EXPECT_EQ(factory->database(OrvFotoDatabaseType(OrvFotoDatabaseType::ApplePhotos))->serviceId(), QStringLiteral("applephotos"));
    EXPECT_FALSE(factory->database(OrvFotoDatabaseType(OrvFotoDatabaseType::PhotoKit)));
    setUpOn("macos:14.0");
    EXPECT_FALSE(factory->database(OrvFotoDatabaseType(OrvFotoDatabaseType::ApplePhotos)));
    // Singletons: a second set-up registers the same objects again.
    OrvExternalDatabase* photokit = factory->database(OrvFotoDatabaseType(OrvFotoDatabaseType::PhotoKit));
    setUpOn("macos:14.0");
    EXPECT_EQ(factory->database(OrvFotoDatabaseType(OrvFotoDatabaseType::PhotoKit)), photokit);
}

TEST_F(InitializerFixture, ReloadsTheControllersAfterRegistering)
{
    OrvFotoSourceControllerRegistry* controllers = OrvSingleton<OrvFotoSourceControllerRegistry>::instance();
    const int before = controllers->reloadCount();
    const QList<quint32> types = setUpOn("macos:14.0");
    EXPECT_EQ(controllers->reloadCount(), before + 1);
    EXPECT_EQ(controllers->controllers().size(), types.size());
    // Every source is also a foto builder, in the same order.
    const QList<OrvExternalDatabase*> builders = OrvSingleton<OrvFotoBuilder>::instance()->builders();
    for (OrvExternalDatabase* database : OrvSingleton<OrvFotoDatabaseFactory>::instance()->databases())
        EXPECT_TRUE(builders.contains(database));
}

TEST_F(InitializerFixture, ReadsTheFotoListOnlyWhenThePhotoKitBranchIsTaken)
{
    QTemporaryDir dir;
    const QString catalina = dir.filePath(QStringLiteral("catalina.orvfotos"));
    const QString mojave = dir.filePath(QStringLiteral("mojave.orvfotos"));
    OrvTest::writeFile(catalina, "#orv-fotolist 1\nname: exported\nphotokit:foto#A\n");
    OrvTest::writeFile(mojave, "#orv-fotolist 1\nname: exported\nphotokit:foto#A\n");
    OrvFotoListRegistry* lists = OrvSingleton<OrvFotoListRegistry>::instance();

    OrvSingleton<OrvFotoSettings>::instance()->setFotoListExportPath(catalina);
    setUpOn("macos:10.15.0");
    EXPECT_TRUE(lists->entry(catalina).isLoaded());
    EXPECT_EQ(lists->entry(catalina).fotoUrls().size(), 1);

    OrvSingleton<OrvFotoSettings>::instance()->setFotoListExportPath(mojave);
    setUpOn("macos:10.14.6");
    EXPECT_FALSE(lists->entry(mojave).isLoaded());
    setUpOn("linux");
    EXPECT_FALSE(lists->entry(mojave).isLoaded());
}

TEST_F(InitializerFixture, MissingOrEmptyFotoListPathIsSilentlySkipped)
{
    QTemporaryDir dir;
    OrvFotoListRegistry* lists = OrvSingleton<OrvFotoListRegistry>::instance();
    const QStringList before = lists->paths();
    messages.clear();
    QtMessageHandler previous = qInstallMessageHandler(recordMessage);
    OrvSingleton<OrvFotoSettings>::instance()->setFotoListExportPath(dir.filePath(QStringLiteral("absent")));
    setUpOn("macos:10.15.0");
    OrvSingleton<OrvFotoSettings>::instance()->setFotoListExportPath(QString());
    setUpOn("macos:10.15.0");
    qInstallMessageHandler(previous);
    EXPECT_EQ(lists->paths(), before);
    for (const QString& message : std::as_const(messages))
        EXPECT_FALSE(message.contains(QStringLiteral("list"), Qt::CaseInsensitive)) << qPrintable(message);
}
