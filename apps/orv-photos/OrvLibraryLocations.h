#pragma once

#include <QCoreApplication>
#include <QHash>
#include <QString>

#include <memory>

class QTemporaryDir;

// Where the plug-in's library sources find their libraries. The iPhoto and
// Aperture sources read the applications' preferences (organisation "apple",
// application "iphoto" or "aperture", keys XMLDataFilePath and RootDirectory);
// a library named on the command line is handed to them the same way, through
// preferences of this run only: the user's own files are read, never written.
class OrvLibraryLocations
{
    Q_DECLARE_TR_FUNCTIONS(OrvLibraryLocations)
public:
    static OrvLibraryLocations& instance();
    ~OrvLibraryLocations();

    // The library of service ("iphoto" or "aperture"): its folder or its XML
    // file. False and why when there is no library file there.
    bool setLibrary(const QString& service, const QString& path, QString* why);
    // Makes the libraries named so far the ones the sources read; before the
    // plug-in makes its sources. False and why when that cannot be done.
    bool apply(QString* why);

    // Why the source of service shows nothing, as one line for the user: the
    // library file it looked for and where that came from; empty for a source
    // that reads no library file, or whose file is there.
    QString whyEmpty(const QString& service) const;
    // The library file the source of service reads, as it locates it.
    static QString libraryFile(const QString& service);

private:
    OrvLibraryLocations();

    QHash<QString, QString> myNamed; // service -> library file named on the command line
    QHash<QString, QString> myPreferences; // service -> the user's preference file, as it was
    std::unique_ptr<QTemporaryDir> myRunPreferences;
};
