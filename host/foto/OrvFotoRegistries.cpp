#include "OrvFotoRegistries.h"
#include "OrvUserFile.h"

#include "OrvExternalDatabase.h"
#include "OrvNativeMetaData.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QDir>

// ---- database factory

void OrvFotoDatabaseFactory::registerDatabase(const OrvFotoDatabaseType& type, OrvExternalDatabase* database)
{
    if (!database)
        return;
    QMutexLocker locker(&myMutex);
    for (auto& entry : myDatabases) {
        if (entry.first == type) {
            entry.second = database;
            return;
        }
    }
    myDatabases.append({type, database});
}

OrvExternalDatabase* OrvFotoDatabaseFactory::database(const OrvFotoDatabaseType& type) const
{
    QMutexLocker locker(&myMutex);
    for (const auto& entry : myDatabases) {
        if (entry.first == type)
            return entry.second;
    }
    return nullptr;
}

OrvExternalDatabase* OrvFotoDatabaseFactory::databaseForService(const QString& serviceId) const
{
    QMutexLocker locker(&myMutex);
    for (const auto& entry : myDatabases) {
        if (entry.second->serviceId() == serviceId)
            return entry.second;
    }
    return nullptr;
}

QList<OrvFotoDatabaseType> OrvFotoDatabaseFactory::types() const
{
    QMutexLocker locker(&myMutex);
    QList<OrvFotoDatabaseType> result;
    for (const auto& entry : myDatabases)
        result.append(entry.first);
    return result;
}

QList<OrvExternalDatabase*> OrvFotoDatabaseFactory::databases() const
{
    QMutexLocker locker(&myMutex);
    QList<OrvExternalDatabase*> result;
    for (const auto& entry : myDatabases)
        result.append(entry.second);
    return result;
}

void OrvFotoDatabaseFactory::clear()
{
    QMutexLocker locker(&myMutex);
    myDatabases.clear();
}

// ---- foto builder

void OrvFotoBuilder::addBuilder(OrvExternalDatabase* database)
{
    QMutexLocker locker(&myMutex);
    if (database && !myBuilders.contains(database))
        myBuilders.append(database);
}

QList<OrvExternalDatabase*> OrvFotoBuilder::builders() const
{
    QMutexLocker locker(&myMutex);
    return myBuilders;
}

OrvFoto OrvFotoBuilder::buildFoto(const QUrl& url) const
{
    if (url.isLocalFile())
        return OrvFoto(OrvFotoKeyFile(url.toLocalFile()));
    const OrvExternalId id(url);
    if (!id.isValid())
        return {};
    QMutexLocker locker(&myMutex);
    for (OrvExternalDatabase* database : myBuilders) {
        if (database->serviceId() == id.serviceId())
            return database->createFoto(id);
    }
    return {};
}

void OrvFotoBuilder::clear()
{
    QMutexLocker locker(&myMutex);
    myBuilders.clear();
}

// ---- source controllers

void OrvFotoSourceControllerRegistry::reloadControllers()
{
    const OrvFotoDatabaseFactory* factory = OrvSingleton<OrvFotoDatabaseFactory>::instance();
    const QList<OrvFotoDatabaseType> types = factory->types();
    QList<OrvFotoSourceController> controllers;
    for (const OrvFotoDatabaseType& type : types) {
        if (OrvExternalDatabase* database = factory->database(type))
            controllers.append(OrvFotoSourceController(type, database));
    }
    {
        QMutexLocker locker(&myMutex);
        myControllers = controllers;
        ++myReloads;
    }
    emit controllersReloaded();
}

QList<OrvFotoSourceController> OrvFotoSourceControllerRegistry::controllers() const
{
    QMutexLocker locker(&myMutex);
    return myControllers;
}

int OrvFotoSourceControllerRegistry::reloadCount() const
{
    QMutexLocker locker(&myMutex);
    return myReloads;
}

// ---- settings

QString OrvFotoSettings::fotoListExportPath() const
{
    QMutexLocker locker(&myMutex);
    return myFotoListExportPath;
}

void OrvFotoSettings::setFotoListExportPath(const QString& path)
{
    QMutexLocker locker(&myMutex);
    myFotoListExportPath = path;
}

// ---- foto lists

struct OrvFotoListRegistryEntry::State
{
    QMutex mutex;
    QString path;
    bool loaded = false;
    QString name;
    QList<QUrl> urls;
};

OrvFotoListRegistryEntry::OrvFotoListRegistryEntry(const QString& path) : myState(new State)
{
    myState->path = path;
}

const QString& OrvFotoListRegistryEntry::path() const
{
    static const QString none;
    return myState ? myState->path : none;
}

bool OrvFotoListRegistryEntry::readListFromDisk()
{
    if (!myState)
        return false;
    OrvUserFile::Status status = OrvUserFile::NotOpened;
    const QByteArray bytes = OrvUserFile::readAll(myState->path, OrvUserFile::FotoList, &status);
    if (status != OrvUserFile::Ok)
        return false;
    const QList<QByteArray> lines = bytes.split('\n');
    if (lines.isEmpty() || lines.first().trimmed() != "#orv-fotolist 1") {
        qDebug() << "not a foto list:" << myState->path;
        return false;
    }
    QString name;
    QList<QUrl> urls;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QString line = QString::fromUtf8(lines.at(i)).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (line.startsWith(QLatin1String("name:"))) {
            name = line.mid(5).trimmed();
            continue;
        }
        const QUrl url(line, QUrl::StrictMode);
        if (url.isValid() && !url.scheme().isEmpty())
            urls.append(url);
    }
    QMutexLocker locker(&myState->mutex);
    myState->name = name;
    myState->urls = urls;
    myState->loaded = true;
    return true;
}

bool OrvFotoListRegistryEntry::isLoaded() const
{
    if (!myState)
        return false;
    QMutexLocker locker(&myState->mutex);
    return myState->loaded;
}

QString OrvFotoListRegistryEntry::name() const
{
    if (!myState)
        return {};
    QMutexLocker locker(&myState->mutex);
    return myState->name;
}

QList<QUrl> OrvFotoListRegistryEntry::fotoUrls() const
{
    if (!myState)
        return {};
    QMutexLocker locker(&myState->mutex);
    return myState->urls;
}

OrvFotoListRegistryEntry OrvFotoListRegistry::entry(const QString& path) const
{
    const QString key = QFileInfo(path).absoluteFilePath();
    QMutexLocker locker(&myMutex);
    auto it = myEntries.find(key);
    if (it == myEntries.end())
        it = myEntries.insert(key, OrvFotoListRegistryEntry(key));
    return *it;
}

QStringList OrvFotoListRegistry::paths() const
{
    QMutexLocker locker(&myMutex);
    return myEntries.keys();
}

QList<OrvFotoListRegistryEntry> OrvFotoListRegistry::loadedEntries() const
{
    QMutexLocker locker(&myMutex);
    QList<OrvFotoListRegistryEntry> result;
    for (const OrvFotoListRegistryEntry& entry : std::as_const(myEntries)) {
        if (entry.isLoaded())
            result.append(entry);
    }
    return result;
}

// ---- status

void OrvFotoStatusRegistry::setStatus(const OrvFoto& foto, OrvFotoManifestationStatus status)
{
    QMutexLocker locker(&myMutex);
    myStatus.insert(foto, status);
}

OrvFotoManifestationStatus OrvFotoStatusRegistry::status(const OrvFoto& foto) const
{
    QMutexLocker locker(&myMutex);
    return myStatus.value(foto, OrvFotoManifestationStatus::Unknown);
}

void OrvFotoStatusRegistry::invalidate(const OrvFoto& foto)
{
    QMutexLocker locker(&myMutex);
    myStatus.remove(foto);
}

int OrvFotoStatusRegistry::size() const
{
    QMutexLocker locker(&myMutex);
    return int(myStatus.size());
}

void OrvFotoAccess::setManifestationStatus(const OrvFoto& foto, OrvFotoManifestationStatus status)
{
    OrvSingleton<OrvFotoStatusRegistry>::instance()->setStatus(foto, status);
}

// ---- file metadata

OrvFotoMetaData OrvMetaDataCache::metaData(const QFileInfo& file)
{
    QFileInfo fresh(file.absoluteFilePath());
    if (!fresh.isFile())
        return {};
    const QString key = fresh.absoluteFilePath();
    const qint64 size = fresh.size();
    const qint64 modified = fresh.lastModified().toMSecsSinceEpoch();
    {
        QMutexLocker locker(&myMutex);
        const auto it = myEntries.constFind(key);
        if (it != myEntries.constEnd() && it->size == size && it->modified == modified)
            return it->data;
    }
    const OrvFotoMetaData data = OrvNativeMetaDataExiv2(fresh).metaData();
    QMutexLocker locker(&myMutex);
    myEntries.insert(key, {size, modified, data});
    return data;
}

void OrvMetaDataCache::invalidate(const QFileInfo& file)
{
    QMutexLocker locker(&myMutex);
    myEntries.remove(file.absoluteFilePath());
}

int OrvMetaDataCache::size() const
{
    QMutexLocker locker(&myMutex);
    return int(myEntries.size());
}

// ---- change dispatcher

OrvFotoChangeDispatcher::OrvFotoChangeDispatcher()
{
    qRegisterMetaType<OrvFoto>();
}

void OrvFotoChangeDispatcher::dispatchMetadataAvailable(const OrvFoto& foto) const { emit metadataAvailable(foto); }

void OrvFotoChangeDispatcher::dispatchNewAvailableBitmap(const OrvFoto& foto, const QSize& size) const
{
    emit newAvailableBitmap(foto, size);
}

// ---- safe container

namespace {
std::unique_ptr<QTemporaryDir>* safeContainerDir = nullptr;
void removeSafeContainerDir()
{
    if (safeContainerDir)
        safeContainerDir->reset();
}
} // namespace

QString OrvFotoSafeContainer::temporaryDir() const
{
    QMutexLocker locker(&myMutex);
    if (!myDir && !myParent.isEmpty()) {
        myDir = std::make_unique<QTemporaryDir>(myParent + QStringLiteral("/.orv-photos-XXXXXX"));
        if (!myDir->isValid())
            myDir.reset();
    }
    if (!myDir) {
        myDir = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/orv-photos-XXXXXX"));
        if (!myDir->isValid()) {
            qWarning() << "cannot create a temporary folder:" << myDir->errorString();
            myDir.reset();
            return QDir::tempPath();
        }
        // Singletons live forever; the folder should not outlive the application.
        safeContainerDir = &myDir;
        qAddPostRoutine(removeSafeContainerDir);
    }
    return myDir->path();
}

void OrvFotoSafeContainer::removeTemporaryDir()
{
    QMutexLocker locker(&myMutex);
    myDir.reset();
    myParent.clear();
}

bool OrvFotoSafeContainer::setTemporaryParent(const QString& parent)
{
    QMutexLocker locker(&myMutex);
    if (myDir)
        return false;
    myParent = parent;
    return true;
}
