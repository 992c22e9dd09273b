#include "OrvApplePhotosInitializer.h"

#include "OrvApplePhotosDatabase.h"
#include "OrvApplePhotosFile.h"
#include "OrvMacPasteboardMimePhotosAsset.h"
#include "OrvAppleImageCaptureDatabase.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoRegistries.h"
#include "OrvIPhotoDatabase.h"
#include "OrvPhotoKitDatabase.h"
#include "OrvPlatformIndependent.h"
#include "OrvProgramConfig.h"

#include <QFileInfo>

namespace {

// Loading the library is enough to take part in the host's start-up.
OrvApplePhotosInitializer me;

void registerSource(const OrvFotoDatabaseType& type, OrvExternalDatabase* database)
{
    OrvSingleton<OrvFotoDatabaseFactory>::instance()->registerDatabase(type, database);
    OrvSingleton<OrvFotoBuilder>::instance()->addBuilder(database);
}

bool usesPhotoKit()
{
    const QOperatingSystemVersion os = OrvSingleton<OrvPlatformIndependent>::instance()->operatingSystemVersion();
    return os.type() == QOperatingSystemVersion::MacOS && os >= QOperatingSystemVersion(QOperatingSystemVersion::MacOS, 10, 15);
}

} // namespace

OrvApplePhotosInitializer::OrvApplePhotosInitializer()
{
    OrvSingleton<OrvInitializer>::instance()->registerInitializer(this);
}

OrvApplePhotosInitializer::~OrvApplePhotosInitializer() = default;

void OrvApplePhotosInitializer::setup(OrvInitializerOption)
{
    // Photos assets as files (only the host program that resolves such paths) and dragged in.
    if (OrvSingleton<OrvProgramConfig>::instance()->programID() == 8)
        OrvApplePhotosFile::installHandler();
    static OrvMacPasteboardMimePhotosAsset* photosAssetConverter = new OrvMacPasteboardMimePhotosAsset;
    Q_UNUSED(photosAssetConverter);
    registerSource(OrvFotoDatabaseType(OrvFotoDatabaseType::IPhoto), OrvIPhotoDatabase::instance());
    registerSource(OrvFotoDatabaseType(OrvFotoDatabaseType::Aperture), OrvIPhotoDatabase::apertureInstance());
    if (usesPhotoKit()) {
        registerSource(OrvFotoDatabaseType(OrvFotoDatabaseType::PhotoKit), OrvSingleton<OrvPhotoKitDatabase>::instance());
        // Another program may have exported a foto list for us to know before the user opens it.
        const QString path = OrvSingleton<OrvFotoSettings>::instance()->fotoListExportPath();
        if (!path.isEmpty() && QFileInfo::exists(path))
            OrvSingleton<OrvFotoListRegistry>::instance()->entry(path).readListFromDisk();
    } else {
        // Older systems (and any other) see the Photos library through MediaLibrary; no foto list there.
        registerSource(OrvFotoDatabaseType(OrvFotoDatabaseType::ApplePhotos), OrvSingleton<OrvApplePhotosDatabase>::instance());
    }
    registerSource(OrvFotoDatabaseType(OrvFotoDatabaseType::AppleImageCapture),
                   OrvSingleton<OrvAppleImageCaptureDatabase>::instance());
    OrvSingleton<OrvFotoSourceControllerRegistry>::instance()->reloadControllers();
}

void OrvApplePhotosInitializer::teardown() {}
