#pragma once

#include "OrvExternalDatabase.h"

#include <QFileInfo>
#include <QList>
#include <QString>

// The photo source of an iPhoto or Aperture library: the XML file that each of
// those applications keeps beside its database, parsed once when the source is
// made. Read-only; every foto is a local file.
class OrvIPhotoDatabase : public OrvExternalDatabase
{
    Q_OBJECT
public:
    // The iPhoto source (type 128) and the Aperture source (type 256); made on first use, never destroyed.
    static OrvIPhotoDatabase* instance();
    static OrvIPhotoDatabase* apertureInstance();

    // Parses the library at once. Public for tests; the program uses the two instances.
    OrvIPhotoDatabase(const QString& serviceName, const QString& visibleName, const QString& applicationPath,
                      const QString& albumDataFileName, const QString& databaseFile, const OrvFotoDatabaseType& type);
    ~OrvIPhotoDatabase() override;

    // The library file named by the application's preferences (looked up afresh at every call).
    QFileInfo standardAlbumDataFile() const;
    // The application's own database file beside the library file.
    QFileInfo watchFile() const;
    // Whether the application seems to be writing its library right now.
    bool appIsRunning() const;
    // Parses the library again; true once per lifetime when reportRunningApp is set and the application runs.
    bool parseStandardFile(bool reportRunningApp);
    // Parses one library file and shows its contents in place of the previous ones.
    void parseFile(const QFileInfo& file);
    QString externalName() const { return myVisibleName; }

    QFileInfo download(const OrvExternalId& id, const QSize& size) const override;
    QString filenameHint(const OrvExternalId& id, const QSize& size) const override;
    OrvFotoRetrieverInterface* createRetrieverInterface(const OrvExternalId& id) const override;
    bool wantsToBeShown() override;
    QUrl transformFileSystemUrlToExternalDatabaseUrlIfPossible(const QUrl& url) const override;
    OrvExternalId albumByVisibleName(const QString& name) const override;
    QStringList allRegularAlbums() const override;

public slots:
    // A changed library file is deliberately not re-read here.
    QList<QString> readChangedFiles(const QList<QString>& paths);

private:
    QString myAlbumDataFileName;
    QString myServiceName;
    QString myVisibleName;
    QString myDatabaseFile;
    bool myAppRunningReported = false;
};
