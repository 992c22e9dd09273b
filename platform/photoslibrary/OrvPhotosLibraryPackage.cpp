#include "OrvPhotosLibraryPackage.h"

#include "OrvPhotoKitModelState.h"
#include "OrvPhotosLibraryHistory.h"
#include "OrvPhotosLibraryImageManager.h"
#include "OrvPhotosLibraryResource.h"
#include "OrvPhotosLibrarySchema.h"
#include "OrvPhotosLibrarySnapshot.h"
#include "OrvPhotosLibraryWatcher.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QThread>

using namespace OrvPhotoKit;

namespace OrvPhotosLibrary {

namespace {

// Reads of a library that changes under them, before the last one reads a copy.
constexpr int readAttempts = 4;

} // namespace

Package::Package(const QString& path)
    : ModelLibrary(AuthorizationStatus::Authorized, AuthorizationStatus::Authorized), myPath(path)
{
}

Package::~Package()
{
    // The watcher stops before anything it could ask for goes.
    myWatcher.reset();
}

std::shared_ptr<Package> Package::open(const QString& path, QString* error)
{
    QString ignored;
    if (!error)
        error = &ignored;
    const QString absolute = QFileInfo(path).absoluteFilePath();
    std::shared_ptr<const Snapshot> snapshot;
    std::optional<Schema> schema;
    std::optional<Catalogue> catalogue;
    std::optional<qint64> token;
    Reader::Problems problems;
    // In place first; a library that keeps changing under it is read from a copy at last.
    for (int attempt = 0; attempt < readAttempts; ++attempt) {
        if (attempt > 0)
            QThread::msleep(20UL << attempt);
        const bool last = attempt + 1 == readAttempts;
        error->clear();
        problems.clear();
        catalogue.reset();
        snapshot = Snapshot::take(absolute, nullptr, error, last ? Snapshot::Source::Copy : Snapshot::Source::InPlace);
        if (!snapshot)
            return nullptr;
        schema = Schema::discover(snapshot->db(), error);
        if (schema) {
            Reader reader(snapshot->db(), *schema, &problems);
            catalogue = Catalogue::read(reader, schema->storeUuid(), error);
            token = History::token(snapshot->db(), *schema);
        }
        if (snapshot->isIntact())
            break;
        catalogue.reset();
    }
    if (!catalogue)
        return nullptr;

    std::shared_ptr<Package> package(new Package(absolute));
    package->myToken = token;
    package->myCatalogue = std::move(*catalogue);
    package->myView = {snapshot, std::make_shared<const Schema>(std::move(*schema))};
    package->publish(package->myCatalogue.state(), true);
    package->tell(problems);
    package->myImageManager = std::make_shared<ImageManager>(package);
    const std::weak_ptr<Package> weak = package;
    package->myWatcher = std::make_unique<Watcher>(Snapshot::databasePath(absolute), [weak] {
        if (const std::shared_ptr<Package> alive = weak.lock())
            alive->scheduleRefresh();
    });
    // What was written between the snapshot and the watch: one look tells.
    package->scheduleRefresh();
    return package;
}

Package::View Package::view() const
{
    std::lock_guard<std::mutex> lock(myViewMutex);
    return myView;
}

std::shared_ptr<const Asset> Package::currentAsset(const QString& localIdentifier) const
{
    return std::static_pointer_cast<const Asset>(state()->asset(localIdentifier));
}

std::optional<Files> Package::filesOf(const Asset& asset) const
{
    const View current = view();
    std::optional<Files> files = Files::of(current.snapshot->db(), *current.schema, myPath, asset);
    if (current.snapshot->isIntact())
        return files;
    // The library changed under the snapshot (the watcher brings a new one soon): asked of one taken now.
    for (int attempt = 0; attempt + 1 < readAttempts; ++attempt) {
        QString error;
        const std::shared_ptr<const Snapshot> now = Snapshot::take(myPath, nullptr, &error);
        const std::optional<Schema> schema = now ? Schema::discover(now->db(), &error) : std::nullopt;
        if (!schema)
            return std::nullopt;
        files = Files::of(now->db(), *schema, myPath, asset);
        if (now->isIntact())
            return files;
    }
    return std::nullopt;
}

QList<AssetResourcePtr> Package::assetResourcesForAsset(const AssetPtr& requested)
{
    QList<AssetResourcePtr> resources;
    const std::shared_ptr<const Asset> asset = requested ? currentAsset(requested->localIdentifier()) : nullptr;
    const std::optional<Files> files = asset ? filesOf(*asset) : std::nullopt;
    if (!files)
        return resources;
    const bool video = asset->mediaType() == Asset::Video;
    resources.append(std::make_shared<const Resource>(files->originalFilename,
                                                      video ? AssetResourceType::Video : AssetResourceType::Photo,
                                                      files->original, files->originalInCloud));
    if (!files->render.isEmpty()) {
        QString extension = QFileInfo(files->render).suffix().toLower();
        if (extension == QLatin1String("jpeg"))
            extension = QStringLiteral("jpg");
        resources.append(std::make_shared<const Resource>(QStringLiteral("FullSizeRender.") + extension,
                                                          AssetResourceType::FullSizePhoto, files->render));
    }
    if (!files->adjustments.isEmpty())
        resources.append(std::make_shared<const Resource>(QStringLiteral("Adjustments.plist"), AssetResourceType::AdjustmentData,
                                                          files->adjustments));
    if (!files->pairedVideo.isEmpty())
        resources.append(std::make_shared<const Resource>(QFileInfo(files->originalFilename).completeBaseName() + QStringLiteral(".MOV"),
                                                          AssetResourceType::PairedVideo, files->pairedVideo));
    return resources;
}

ImageManagerPtr Package::defaultManager() { return myImageManager; }

void Package::scheduleRefresh()
{
    if (myRefreshPending.exchange(true))
        return;
    const std::weak_ptr<Package> weak = weak_from_this();
    post([weak] {
        if (const std::shared_ptr<Package> alive = weak.lock())
            alive->refresh();
    });
}

void Package::refreshNow()
{
    if (isQueueThread()) {
        refresh();
        return;
    }
    const std::weak_ptr<Package> weak = weak_from_this();
    post([weak] {
        if (const std::shared_ptr<Package> alive = weak.lock())
            alive->refresh();
    });
    waitForQueue();
}

void Package::refresh()
{
    myRefreshPending = false;
    const View current = view();
    if (current.snapshot->isCurrent())
        return;
    // In place first; a library that keeps changing under it is read from a copy at last.
    for (int attempt = 0; attempt < readAttempts; ++attempt) {
        if (attempt > 0)
            QThread::msleep(20UL << attempt);
        if (refreshFrom(current, attempt + 1 == readAttempts ? Snapshot::Source::Copy : Snapshot::Source::InPlace))
            return;
    }
}

bool Package::refreshFrom(const View& current, Snapshot::Source source)
{
    QString error;
    const std::shared_ptr<const Snapshot> snapshot = Snapshot::take(myPath, current.snapshot.get(), &error, source);
    // What was read last stays when the library cannot be read: a library being
    // replaced or damaged does not empty the source.
    const auto failed = [&] {
        if (snapshot && !snapshot->isIntact())
            return false;  // changed while it was read: not the library's fault
        tell(error);
        return true;
    };
    std::optional<Schema> schema = snapshot ? Schema::discover(snapshot->db(), &error) : std::nullopt;
    if (!schema)
        return failed();
    Reader::Problems problems;
    Reader reader(snapshot->db(), *schema, &problems);
    std::optional<Catalogue> next;
    std::optional<qint64> token;
    bool fullRead = false;
    // The history tells what changed while it is the same store's and reaches back far enough.
    if (myToken && schema->storeUuid() == current.schema->storeUuid() && schema->assetTable() == current.schema->assetTable()) {
        const History::Changes changes = History::since(snapshot->db(), *schema, *myToken, reader);
        if (changes.complete) {
            token = changes.token;
            next = changes.touched.isEmpty() ? myCatalogue : myCatalogue.updated(reader, changes.touched, &error);
            if (!next)
                return failed();
        }
    }
    if (!next) {
        next = Catalogue::read(reader, schema->storeUuid(), &error);
        if (!next)
            return failed();
        next->keepUnchanged(reader, myCatalogue);
        token = History::token(snapshot->db(), *schema);
        fullRead = true;
    }
    if (!snapshot->isIntact())
        return false;
    if (fullRead)
        ++myFullReads;
    tell(problems);
    {
        std::lock_guard<std::mutex> lock(myViewMutex);
        myView = {snapshot, std::make_shared<const Schema>(std::move(*schema))};
    }
    myToken = token;
    const bool changed = next->differsFrom(myCatalogue);
    myCatalogue = std::move(*next);
    if (changed)
        publish(myCatalogue.state(), true, &myCatalogue.touchedAssets());
    return true;
}

void Package::tell(const Reader::Problems& problems)
{
    for (auto it = problems.cbegin(); it != problems.cend(); ++it) {
        if (!myTold.contains(it.key())) {
            myTold.insert(it.key());
            qDebug().noquote() << "Photos library:" << it.value() << it.key();
        }
    }
}

void Package::tell(const QString& cause)
{
    if (!cause.isEmpty() && !myTold.contains(cause)) {
        myTold.insert(cause);
        qDebug().noquote() << "Photos library:" << QDir::toNativeSeparators(myPath) + QStringLiteral(":") << cause;
    }
}

} // namespace OrvPhotosLibrary
