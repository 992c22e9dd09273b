#include "OrvPhotosLibraryChoice.h"

#include "OrvCommandLine.h"
#include "OrvUserFile.h"
#include "sim/OrvPhotoKitSimLibrary.h"
#ifdef ORV_HAVE_PHOTOSLIBRARY
#include "OrvPhotosLibrary.h"
#endif

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>

namespace OrvPhotosLibraryChoice {

namespace {

bool installPackage(const QString& path, QString* message)
{
#ifdef ORV_HAVE_PHOTOSLIBRARY
    QString why;
    const auto library = OrvPhotosLibrary::openLibrary(path, &why);
    if (!library) {
        *message = OrvCommandLine::tr("cannot read the Photos library %1: %2").arg(QDir::toNativeSeparators(path), why);
        return false;
    }
    OrvPhotosLibrary::install(library);
    return true;
#else
    *message = OrvCommandLine::tr("this build cannot read Photos library packages (%1)").arg(QDir::toNativeSeparators(path));
    return false;
#endif
}

} // namespace

bool install(const QString& path, QString* message)
{
    message->clear();
    if (path.isEmpty()) {
        const QString own = QDir::home().filePath(QStringLiteral("Pictures/Photos Library.photoslibrary"));
        // The user's own library when there is one; one that cannot be read leaves the source empty.
        if (!QFileInfo(own).isDir() || !installPackage(own, message))
            OrvPhotoKitSim::install();
        return true;
    }
    if (QFileInfo(path).isDir())
        return installPackage(path, message);
    // The simulation reads the description when the plug-in first asks for the library.
    OrvUserFile::Status status = OrvUserFile::NotOpened;
    const QByteArray description = OrvUserFile::readAll(path, OrvUserFile::LibraryDescription, &status);
    if (status != OrvUserFile::Ok) {
        *message = OrvCommandLine::tr("cannot read %1: %2").arg(path, OrvUserFile::describe(status, OrvUserFile::LibraryDescription));
        return false;
    }
    if (!QJsonDocument::fromJson(description).isObject()) {
        *message = OrvCommandLine::tr("%1 is no Photos library description").arg(path);
        return false;
    }
    qputenv("ORV_PHOTOS_LIBRARY", QFileInfo(path).absoluteFilePath().toLocal8Bit());
    OrvPhotoKitSim::install();
    return true;
}

} // namespace OrvPhotosLibraryChoice
