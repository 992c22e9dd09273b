#include "OrvImageCaptureSimDevice.h"

#include "OrvImageCaptureHub.h"
#include "OrvImageCaptureItem.h"
#include "OrvImageIO.h"
#include "OrvMediaLoader.h"
#include "OrvTargetFolder.h"
#include "OrvUniformType.h"
#include "OrvUserFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>

#include <chrono>

using namespace OrvImageCapture;

namespace OrvImageCaptureSim {

namespace {

// Delegates are called on the main thread, as ImageCaptureCore calls them.
void onMainThread(std::function<void()> task) { postToMainThread(std::move(task)); }

// Real storages are not deeper; a deeper tree (or a loop) is not walked further.
constexpr int maxFolderDepth = 32;

QString typeOf(const QString& name, const QString& given)
{
    if (!given.isEmpty())
        return given;
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return OrvUniformType::typeForExtension(dot < 0 ? QString() : name.mid(dot + 1));
}

ItemFields withLocation(ItemFields fields, const QString& location)
{
    fields.location = location;
    return fields;
}

} // namespace

std::shared_ptr<Device> Device::create(const DeviceSpec& spec) { return std::shared_ptr<Device>(new Device(spec)); }

Device::Device(const DeviceSpec& spec)
    : mySpec(spec),
      myDownloadResult(int(spec.download)),
      myDownloadDelayMs(spec.downloadDelayMs),
      myAutolaunchApplicationPath(spec.autolaunchApplicationPath)
{
}

Device::~Device() { setPlugged(false); }

QImage Device::icon() const { return defaultCameraIcon(); }

void Device::setDelegate(const std::weak_ptr<CameraDeviceDelegate>& delegate) { myDelegate = delegate; }

QString Device::autolaunchApplicationPath() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myAutolaunchApplicationPath;
}

void Device::setAutolaunchApplicationPath(const QString& path)
{
    std::lock_guard<std::mutex> lock(myMutex);
    myAutolaunchApplicationPath = path;
}

void Device::setPlugged(bool plugged)
{
    QList<Download> held;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myPlugged = plugged;
        if (!plugged)
            held.swap(myHeld);
    }
    myUnplugged.notify_all();
    for (const Download& download : std::as_const(held))
        reportDownload(download, Error{ErrorDeviceRemoved, QStringLiteral("the device was unplugged")});
}

// ---- session

void Device::requestOpenSession()
{
    if (!myPlugged || mySessionOpen)
        return;
    const int session = ++mySession;
    std::weak_ptr<Device> self = weak_from_this();
    // The storage is read on the device's thread, the session reported on the main thread.
    myQueue.post([self, session] {
        const auto device = self.lock();
        if (!device)
            return;
        QList<CameraItemPtr> items = device->listItems();
        onMainThread([self, session, items] {
            const auto device = self.lock();
            if (!device || device->mySession != session || !device->myPlugged)
                return;
            const auto delegate = device->delegate();
            if (device->mySpec.sessionFails) {
                if (delegate)
                    delegate->deviceDidOpenSession(device, Error{ErrorCommunication, QStringLiteral("cannot open")});
                return;
            }
            device->mySessionOpen = true;
            device->myItems = items;
            device->myFiles.clear();
            for (const CameraItemPtr& item : items) {
                if (auto file = std::dynamic_pointer_cast<const ListedFile>(item))
                    device->myFiles.append(file);
            }
            if (delegate)
                delegate->deviceDidOpenSession(device, std::nullopt);
            onMainThread([self, session] {
                if (const auto device = self.lock())
                    device->deliverItems(session, 0);
            });
        });
    });
}

void Device::requestCloseSession()
{
    std::weak_ptr<Device> self = weak_from_this();
    onMainThread([self] {
        const auto device = self.lock();
        if (!device || !device->mySessionOpen)
            return;
        device->mySessionOpen = false;
        ++device->mySession;
        device->myItems.clear();
        device->myFiles.clear();
        if (const auto delegate = device->delegate())
            delegate->deviceDidCloseSession(device, std::nullopt);
    });
}

QList<CameraItemPtr> Device::listItems()
{
    QList<CameraItemPtr> items;
    const std::weak_ptr<CameraDevice> self = weak_from_this();
    // The storage's top folder has no parent and never appears in an id.
    auto top = std::make_shared<const ListedFolder>(ItemFields{QStringLiteral("Storage"), OrvUniformType::kUTTypeFolder,
                                                         QDateTime(), nullptr, self, QString()});
    if (!mySpec.storage.isEmpty()) {
        std::function<void(const QString&, const std::shared_ptr<const ListedFolder>&, int)> walk =
            [&](const QString& path, const std::shared_ptr<const ListedFolder>& parent, int depth) {
                const QFileInfoList entries = QDir(path).entryInfoList(
                    QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::NoSymLinks, QDir::Name);
                for (const QFileInfo& entry : entries) {
                    const ItemFields fields{entry.fileName(), QString(), entry.lastModified(), parent, self, QString()};
                    if (entry.isDir()) {
                        if (depth >= maxFolderDepth)
                            continue;
                        ItemFields folderFields = fields;
                        folderFields.uti = OrvUniformType::kUTTypeFolder;
                        auto folder = std::make_shared<const ListedFolder>(folderFields);
                        items.append(folder);
                        walk(entry.filePath(), folder, depth + 1);
                    } else {
                        ItemFields fileFields = fields;
                        fileFields.uti = typeOf(entry.fileName(), QString());
                        items.append(std::make_shared<const ListedFile>(withLocation(fileFields, entry.filePath()), entry.size()));
                    }
                }
            };
        walk(mySpec.storage, top, 0);
    }
    QHash<QString, std::shared_ptr<const ListedFolder>> folders;
    for (const ItemSpec& spec : mySpec.items) {
        std::shared_ptr<const ListedFolder> parent = top;
        QString path;
        for (const QString& part : spec.folder.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
            path += QLatin1Char('/') + part;
            auto& folder = folders[path];
            if (!folder) {
                folder = std::make_shared<const ListedFolder>(ItemFields{part, OrvUniformType::kUTTypeFolder, QDateTime(), parent, self, QString()});
                items.append(folder);
            }
            parent = folder;
        }
        const ItemFields fields{spec.name, typeOf(spec.name, spec.uti), spec.created, parent, self, QString()};
        items.append(std::make_shared<const ListedFile>(withLocation(fields, spec.file), spec.file.isEmpty() ? 0 : QFileInfo(spec.file).size()));
    }
    return items;
}

void Device::deliverItems(int session, int from)
{
    if (!isCurrent(session))
        return;
    const int batch = qMax(1, mySpec.itemBatch);
    const QList<CameraItemPtr> items = myItems.mid(from, batch);
    if (const auto d = delegate(); d && !items.isEmpty())
        d->cameraDeviceDidAddItems(shared_from_this(), items);
    if (mySpec.thumbnails == ThumbnailTiming::WithItems) {
        QList<std::shared_ptr<const ListedFile>> files;
        for (const CameraItemPtr& item : items) {
            if (auto file = std::dynamic_pointer_cast<const ListedFile>(item))
                files.append(file);
        }
        deliverThumbnails(session, files, 0, false);
    }
    std::weak_ptr<Device> self = weak_from_this();
    const int next = from + batch;
    // Through the device's thread: thumbnails read for this batch are told before the next batch.
    myQueue.post([self, session, next, done = next >= myItems.size()] {
        onMainThread([self, session, next, done] {
            if (const auto device = self.lock())
                done ? device->catalogueComplete(session) : device->deliverItems(session, next);
        });
    });
}

void Device::catalogueComplete(int session)
{
    if (!isCurrent(session))
        return;
    if (const auto d = delegate())
        d->deviceDidBecomeReadyWithCompleteContentCatalog(shared_from_this());
    if (mySpec.thumbnails == ThumbnailTiming::AfterCatalog)
        deliverThumbnails(session, myFiles, 0, true);
}

namespace {

// What a device makes of its own photo: at most edge on its longer side, upright.
// JPEGs decode scaled with the loader's pixel bound; what the loader cannot
// read (a phone's HEIC) goes through the platform's image I/O where there is one.
QImage deviceThumbnail(const QString& path, int edge)
{
    const QImage image = OrvSingleton<OrvMediaLoader>::instance()->load(path, QSize(edge, edge));
    return image.isNull() ? OrvImageIO::uprightThumbnail(path, edge) : image;
}

} // namespace

void Device::deliverThumbnails(int session, QList<std::shared_ptr<const ListedFile>> files, int from, bool thenNext)
{
    if (!isCurrent(session) || from >= files.size())
        return;
    const auto d = delegate();
    if (!d)
        return;
    const int batch = qMax(1, mySpec.thumbnailBatch);
    QList<std::shared_ptr<const ListedFile>> wanted;
    for (const auto& file : files.mid(from, batch)) {
        if (d->cameraDeviceShouldGetThumbnailOfItem(shared_from_this(), file))
            wanted.append(file);
    }
    std::weak_ptr<Device> self = weak_from_this();
    const int edge = mySpec.thumbnailEdge;
    myQueue.post([self, session, files, from, batch, thenNext, wanted, edge] {
        const auto device = self.lock();
        if (!device)
            return;
        QList<std::shared_ptr<const ListedFile>> read;
        for (const auto& file : wanted) {
            if (!device->myPlugged || file->location().isEmpty())
                continue;
            ++device->myThumbnailReads;
            const QImage image = deviceThumbnail(file->location(), edge);
            if (image.isNull())
                continue;
            file->setThumbnail(image);
            read.append(file);
        }
        onMainThread([self, session, files, from, batch, thenNext, read] {
            const auto device = self.lock();
            if (!device || !device->isCurrent(session))
                return;
            if (const auto d = device->delegate()) {
                for (const auto& file : read)
                    d->cameraDeviceDidReceiveThumbnailForItem(device, file);
            }
            if (thenNext)
                device->deliverThumbnails(session, files, from + batch, true);
        });
    });
    if (!thenNext && from + batch < files.size())
        deliverThumbnails(session, files, from + batch, false);
}

// ---- downloads

void Device::requestDownloadFile(const CameraFilePtr& file, const DownloadOptions& options,
                                 const std::weak_ptr<DownloadDelegate>& delegate, void* contextInfo)
{
    ++myDownloadRequests;
    std::weak_ptr<Device> self = weak_from_this();
    Download download{file, options, delegate, contextInfo};
    myQueue.post([self, download] {
        if (const auto device = self.lock())
            device->runDownload(download, false);
    });
}

void Device::runDownload(Download download, bool released)
{
    if (!released) {
        std::unique_lock<std::mutex> lock(myMutex);
        const int delay = myDownloadDelayMs;
        myUnplugged.wait_for(lock, std::chrono::milliseconds(delay), [this] { return !myPlugged; });
        if (myPlugged && DownloadResult(myDownloadResult.load()) == DownloadResult::Held) {
            myHeld.append(download);
            return;
        }
    }
    if (!myPlugged) {
        reportDownload(download, Error{ErrorDeviceRemoved, QStringLiteral("the device was unplugged")});
        return;
    }
    const DownloadResult result = released ? DownloadResult::Complete : DownloadResult(myDownloadResult.load());
    if (result == DownloadResult::Never)
        return;
    if (result == DownloadResult::Fail) {
        reportDownload(download, Error{ErrorCommunication, QStringLiteral("the device did not answer")});
        return;
    }
    const auto file = std::dynamic_pointer_cast<const ListedFile>(download.file);
    OrvUserFile in(file ? file->location() : QString(), OrvUserFile::Media);
    if (!file || file->location().isEmpty() || !in.open()) {
        reportDownload(download, Error{ErrorFileNotFound, QStringLiteral("no such file on the device")});
        return;
    }
    OrvTargetFolder folder(download.options.downloadsDirectoryURL.toLocalFile());
    bool removed = false;
    const bool written = folder.create(download.options.saveAsFilename, [&](QIODevice* out) {
        QByteArray chunk(1024 * 1024, Qt::Uninitialized);
        for (qint64 offset = 0;;) {
            if (!myPlugged) {
                removed = true;
                return false;
            }
            const qint64 got = in.readAt(offset, chunk.data(), chunk.size());
            if (got <= 0)
                return got == 0;
            if (out->write(chunk.constData(), got) != got)
                return false;
            offset += got;
        }
    });
    if (written) {
        download.options.savedFilename = download.options.saveAsFilename;
        reportDownload(download, std::nullopt);
    } else if (removed) {
        reportDownload(download, Error{ErrorDeviceRemoved, QStringLiteral("the device was unplugged")});
    } else {
        reportDownload(download, Error{folder.writeFailed() ? ErrorWriteFailed : ErrorFileNotFound, folder.errorString()});
    }
}

void Device::releaseHeldDownloads()
{
    QList<Download> held;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        held.swap(myHeld);
    }
    std::weak_ptr<Device> self = weak_from_this();
    for (const Download& download : std::as_const(held)) {
        myQueue.post([self, download] {
            if (const auto device = self.lock())
                device->runDownload(download, true);
        });
    }
}

int Device::heldDownloads() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return int(myHeld.size());
}

} // namespace OrvImageCaptureSim
