#pragma once

#include "OrvExternalService.h"
#include "OrvFoto.h"
#include "OrvFotoMetaData.h"
#include "OrvSingleton.h"

#include <QFileInfo>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QSize>
#include <QSharedPointer>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

class OrvExternalDatabase;

// The photo sources by type code, in registration order.
class OrvFotoDatabaseFactory : public OrvSingleton<OrvFotoDatabaseFactory>
{
public:
    // A second registration under the same type replaces the first.
    void registerDatabase(const OrvFotoDatabaseType& type, OrvExternalDatabase* database);
    OrvExternalDatabase* database(const OrvFotoDatabaseType& type) const;
    OrvExternalDatabase* databaseForService(const QString& serviceId) const;
    QList<OrvFotoDatabaseType> types() const;
    QList<OrvExternalDatabase*> databases() const;
    void clear();

private:
    friend class OrvSingleton<OrvFotoDatabaseFactory>;
    OrvFotoDatabaseFactory() = default;
    mutable QMutex myMutex;
    QList<QPair<OrvFotoDatabaseType, OrvExternalDatabase*>> myDatabases;
};

// Turns ids of registered sources back into fotos.
class OrvFotoBuilder : public OrvSingleton<OrvFotoBuilder>
{
public:
    void addBuilder(OrvExternalDatabase* database);
    QList<OrvExternalDatabase*> builders() const;
    // The foto of a source id URL, invalid when no source knows the scheme.
    OrvFoto buildFoto(const QUrl& url) const;
    void clear();

private:
    friend class OrvSingleton<OrvFotoBuilder>;
    OrvFotoBuilder() = default;
    mutable QMutex myMutex;
    QList<OrvExternalDatabase*> myBuilders;
};

// One controller per registered source; the browser shows what the controllers hold.
class OrvFotoSourceController
{
public:
    OrvFotoSourceController(const OrvFotoDatabaseType& type, OrvExternalDatabase* database)
        : myType(type), myDatabase(database)
    {
    }
    const OrvFotoDatabaseType& type() const { return myType; }
    OrvExternalDatabase* database() const { return myDatabase; }

private:
    OrvFotoDatabaseType myType;
    OrvExternalDatabase* myDatabase;
};

class OrvFotoSourceControllerRegistry : public QObject, public OrvSingleton<OrvFotoSourceControllerRegistry>
{
    Q_OBJECT
public:
    // Rebuilds the controllers from the sources registered with the factory.
    void reloadControllers();
    QList<OrvFotoSourceController> controllers() const;
    int reloadCount() const;

signals:
    void controllersReloaded();

private:
    friend class OrvSingleton<OrvFotoSourceControllerRegistry>;
    OrvFotoSourceControllerRegistry() = default;
    mutable QMutex myMutex;
    QList<OrvFotoSourceController> myControllers;
    int myReloads = 0;
};

// Settings of the photo framework that the host program chooses.
class OrvFotoSettings : public OrvSingleton<OrvFotoSettings>
{
public:
    QString fotoListExportPath() const;
    void setFotoListExportPath(const QString& path);

private:
    friend class OrvSingleton<OrvFotoSettings>;
    OrvFotoSettings() = default;
    mutable QMutex myMutex;
    QString myFotoListExportPath;
};

// A list of fotos that a program saved to disk. File format: UTF-8 text,
// first line "#orv-fotolist 1", then "name: <list name>" once, then one foto
// URL per line (a source id URL or a file: URL); blank lines and lines starting
// with "#" are skipped.
class OrvFotoListRegistryEntry
{
public:
    OrvFotoListRegistryEntry() = default;
    explicit OrvFotoListRegistryEntry(const QString& path);

    const QString& path() const;
    // Reads the file; false (and the entry unchanged) when it is missing or not a foto list.
    bool readListFromDisk();
    bool isLoaded() const;
    QString name() const;
    QList<QUrl> fotoUrls() const;

private:
    struct State;
    QSharedPointer<State> myState;
};

class OrvFotoListRegistry : public OrvSingleton<OrvFotoListRegistry>
{
public:
    // The entry of a path; entries of one path share their state.
    OrvFotoListRegistryEntry entry(const QString& path) const;
    QStringList paths() const;
    QList<OrvFotoListRegistryEntry> loadedEntries() const;

private:
    friend class OrvSingleton<OrvFotoListRegistry>;
    OrvFotoListRegistry() = default;
    mutable QMutex myMutex;
    mutable QHash<QString, OrvFotoListRegistryEntry> myEntries;
};

enum class OrvFotoManifestationStatus { Unknown, Available, Loading, Missing, Failed };

// Per-foto status the browser shows (loading, missing, ...). Thread-safe.
class OrvFotoStatusRegistry : public OrvSingleton<OrvFotoStatusRegistry>
{
public:
    void setStatus(const OrvFoto& foto, OrvFotoManifestationStatus status);
    OrvFotoManifestationStatus status(const OrvFoto& foto) const;
    void invalidate(const OrvFoto& foto);
    int size() const;

private:
    friend class OrvSingleton<OrvFotoStatusRegistry>;
    OrvFotoStatusRegistry() = default;
    mutable QMutex myMutex;
    QHash<OrvFoto, OrvFotoManifestationStatus> myStatus;
};

class OrvFotoAccess
{
public:
    static void setManifestationStatus(const OrvFoto& foto, OrvFotoManifestationStatus status);
};

// Metadata of files read from disk, valid while the file keeps its size and time.
class OrvMetaDataCache : public OrvSingleton<OrvMetaDataCache>
{
public:
    OrvFotoMetaData metaData(const QFileInfo& file);
    void invalidate(const QFileInfo& file);
    int size() const;

private:
    friend class OrvSingleton<OrvMetaDataCache>;
    OrvMetaDataCache() = default;
    struct Entry
    {
        qint64 size;
        qint64 modified;
        OrvFotoMetaData data;
    };
    mutable QMutex myMutex;
    QHash<QString, Entry> myEntries;
};

// Tells views that metadata or a bitmap of a foto became available.
class OrvFotoChangeDispatcher : public QObject, public OrvSingleton<OrvFotoChangeDispatcher>
{
    Q_OBJECT
public:
    void dispatchMetadataAvailable(const OrvFoto& foto) const;
    void dispatchNewAvailableBitmap(const OrvFoto& foto, const QSize& size) const;

signals:
    void metadataAvailable(const OrvFoto& foto) const;
    void newAvailableBitmap(const OrvFoto& foto, const QSize& size) const;

private:
    friend class OrvSingleton<OrvFotoChangeDispatcher>;
    OrvFotoChangeDispatcher();
};

// Where sources put files that they create for the host (downloads, exports).
class OrvFotoSafeContainer : public OrvSingleton<OrvFotoSafeContainer>
{
public:
    // Created on first use, removed when the process ends.
    QString temporaryDir() const;
    // Where the folder is made on first use: the system's temporary folder, or
    // (a hidden folder in) the folder an export writes to, so that what the
    // sources download there becomes a file of the export without a copy.
    // False when the folder is in use already.
    bool setTemporaryParent(const QString& parent);
    // Removes the folder and what it holds now (an export's, when it is done);
    // a later use makes one anew in the system's temporary folder.
    void removeTemporaryDir();

private:
    friend class OrvSingleton<OrvFotoSafeContainer>;
    OrvFotoSafeContainer() = default;
    mutable QMutex myMutex;
    mutable std::unique_ptr<QTemporaryDir> myDir;
    QString myParent;
};
