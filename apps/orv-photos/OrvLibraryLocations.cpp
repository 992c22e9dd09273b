#include "OrvLibraryLocations.h"


#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>

namespace {

const QString xmlKey = QStringLiteral("XMLDataFilePath");
const QString rootKey = QStringLiteral("RootDirectory");
const QString organisation = QStringLiteral("apple");

// The library sources that read an application's preferences, and the file each looks for.
QString libraryFileName(const QString& service)
{
    if (service == QLatin1String("iphoto"))
        return QStringLiteral("AlbumData.xml");
    if (service == QLatin1String("aperture"))
        return QStringLiteral("ApertureData.xml");
    return QString();
}

// As the sources read a preference: every "~" is the home folder.
QString expandHome(QString path) { return path.replace(QLatin1Char('~'), QDir::homePath()); }

} // namespace

OrvLibraryLocations& OrvLibraryLocations::instance()
{
    static OrvLibraryLocations locations;
    return locations;
}

OrvLibraryLocations::OrvLibraryLocations() = default;
OrvLibraryLocations::~OrvLibraryLocations() = default;

bool OrvLibraryLocations::setLibrary(const QString& service, const QString& path, QString* why)
{
    const QString fileName = libraryFileName(service);
    const QFileInfo given(path);
    const QFileInfo file = given.isDir() ? QFileInfo(QDir(given.absoluteFilePath()), fileName) : given;
    if (path.isEmpty() || !file.isFile()) {
        *why = tr("not found: %1").arg(QDir::cleanPath(file.absoluteFilePath()));
        return false;
    }
    // The sources read "~" as the home folder wherever it stands; a folder that has one is reached through a link.
    if (file.fileName().contains(QLatin1Char('~'))) {
        *why = tr("%1: a file name with ~ cannot be handed on; give the folder with %2 in it")
                   .arg(file.absoluteFilePath(), fileName);
        return false;
    }
    myNamed.insert(service, QDir::cleanPath(file.absoluteFilePath()));
    return true;
}

bool OrvLibraryLocations::apply(QString* why)
{
    if (myNamed.isEmpty())
        return true;
    // What the user's preferences say, before this run's take their place.
    QHash<QString, QVariantHash> kept;
    for (const QString& service : {QStringLiteral("iphoto"), QStringLiteral("aperture")}) {
        const QSettings user(organisation, service);
        myPreferences.insert(service, user.fileName());
        for (const QString& key : {xmlKey, rootKey}) {
            if (user.contains(key))
                kept[service].insert(key, user.value(key));
        }
    }
    myRunPreferences = std::make_unique<QTemporaryDir>();
    if (!myRunPreferences->isValid()) {
        *why = tr("cannot make a folder for this run's preferences: %1").arg(myRunPreferences->errorString());
        return false;
    }
    const QString folder = myRunPreferences->path();
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder);
    for (const QString& service : {QStringLiteral("iphoto"), QStringLiteral("aperture")}) {
        QSettings run(organisation, service);
        if (myNamed.contains(service)) {
            QFileInfo file(myNamed.value(service));
            if (file.absolutePath().contains(QLatin1Char('~'))) {
                const QString link = folder + QLatin1Char('/') + service;
                if (!QFile::link(file.absolutePath(), link)) {
                    *why = tr("cannot hand %1 on").arg(file.absoluteFilePath());
                    return false;
                }
                file = QFileInfo(link + QLatin1Char('/') + file.fileName());
            }
            run.setValue(xmlKey, file.filePath());
        } else {
            const QVariantHash values = kept.value(service);
            for (auto it = values.cbegin(); it != values.cend(); ++it)
                run.setValue(it.key(), it.value());
        }
        run.sync();
        if (run.status() != QSettings::NoError) {
            *why = tr("cannot write this run's preferences into %1").arg(folder);
            return false;
        }
    }
    return true;
}

QString OrvLibraryLocations::libraryFile(const QString& service)
{
    const QString fileName = libraryFileName(service);
    if (fileName.isEmpty())
        return QString();
    const QSettings settings(organisation, service);
    const QString xmlPath = expandHome(settings.value(xmlKey).toString());
    if (!xmlPath.isEmpty())
        return QFileInfo(xmlPath).absoluteFilePath();
    return QFileInfo(QDir(expandHome(settings.value(rootKey).toString())), fileName).absoluteFilePath();
}

QString OrvLibraryLocations::whyEmpty(const QString& service) const
{
    const QString file = libraryFile(service);
    if (file.isEmpty())
        return QString();
    if (QFileInfo(file).isFile())
        return tr("no photos in %1").arg(file);
    const QString option = QStringLiteral("--%1-library").arg(service);
    if (myNamed.contains(service))
        return tr("not found: %1 (named by %2)").arg(file, option);
    const QSettings settings(organisation, service);
    const QString preferences = myPreferences.value(service, settings.fileName());
    if (settings.contains(xmlKey) && !settings.value(xmlKey).toString().isEmpty())
        return tr("not found: %1 (named by %2 in %3)").arg(file, xmlKey, preferences);
    if (settings.contains(rootKey) && !settings.value(rootKey).toString().isEmpty())
        return tr("not found: %1 (named by %2 in %3)").arg(file, rootKey, preferences);
    return tr("not found: %1 (the current folder: name the library with %2, or with %3 in %4)")
        .arg(file, option, xmlKey, preferences);
}
