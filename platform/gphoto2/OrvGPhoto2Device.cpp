#include "OrvGPhoto2Device.h"

#include "OrvGPhoto2CaptureDate.h"
#include "OrvGPhoto2Thumbnail.h"
#include "OrvImageCaptureHub.h"
#include "OrvTargetFolder.h"
#include "OrvUniformType.h"
#include "OrvXdgMimeApps.h"
#include "OrvQtCompat.h"
#include "OrvUserFile.h"

#include <QDateTime>
#include <QDebug>
#include <QFileInfo>

#include <gphoto2/gphoto2.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <chrono>
#include <thread>
#include <unistd.h>

using namespace OrvImageCapture;

namespace OrvGPhoto2 {

namespace {

// Items are announced in batches of this many as the listing goes on.
constexpr int itemBatch = 200;
constexpr int thumbnailBatch = 16;
// Real storages are not deeper; a deeper tree (or a loop) is not walked further.
constexpr int maxFolderDepth = 32;
// A device that another program holds is asked again after these pauses.
// Thumbnails wait this long after a download for the next one to be asked for.
constexpr std::chrono::milliseconds quietAfterDownload(100);
// A storage's file is copied in pieces of this size.
constexpr qint64 copyChunk = 1024 * 1024;

QString childPath(const QString& folder, const QString& name)
{
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

// As the device gives them: bytes, not always valid UTF-8.
QList<QByteArray> namesIn(CameraList* list)
{
    QList<QByteArray> names;
    for (int i = 0; i < gp_list_count(list); ++i) {
        const char* name = nullptr;
        if (gp_list_get_name(list, i, &name) >= GP_OK && name)
            names.append(QByteArray(name));
    }
    return names;
}

QString nameKey(const QString& folder, const QString& name) { return folder + QChar(0) + name; }

bool writeAll(int fd, const char* data, qint64 size)
{
    while (size > 0) {
        const ssize_t done = ::write(fd, data, size_t(size));
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            return false;
        data += done;
        size -= done;
    }
    return true;
}

} // namespace

std::atomic<bool> Device::ourReadsThumbnails{true};

std::shared_ptr<Device> Device::create(const QString& model, const QString& port, const QString& uuid)
{
    return std::shared_ptr<Device>(new Device(model, port, uuid));
}

Device::Device(const QString& model, const QString& port, const QString& uuid)
    : myModel(model), myPort(port), myUuid(uuid), myStorage(std::make_shared<const DiskStorage>(port))
{
}

Device::~Device()
{
    myCancel.stopping = true;
    cancelDownloads();
    // Runs before the thread stops (High work is done, the rest dropped).
    myThread.post(TaskThread::High, [this] { closeCamera(); });
}

quint32 Device::type() const { return DeviceTypeCamera | (myPort.startsWith(QLatin1String("ptpip:")) ? DeviceLocationTypeShared : DeviceLocationTypeLocal); }

QImage Device::icon() const { return defaultCameraIcon(); }

void Device::setDelegate(const std::weak_ptr<CameraDeviceDelegate>& delegate) { myDelegate = delegate; }

QString Device::autolaunchApplicationPath() const { return OrvXdgMimeApps::defaultApplication(OrvXdgMimeApps::cameraContent); }

void Device::setAutolaunchApplicationPath(const QString& path)
{
    OrvXdgMimeApps::setDefaultApplication(OrvXdgMimeApps::cameraContent, path);
}

void Device::deliver(int session,
                     const std::function<void(const std::shared_ptr<Device>&, const std::shared_ptr<CameraDeviceDelegate>&)>& what)
{
    std::weak_ptr<Device> self = weak_from_this();
    postToMainThread([self, session, what] {
        const auto device = self.lock();
        if (!device || !device->mySessionOpen || device->myClosing || device->mySession != session)
            return;
        if (const auto delegate = device->myDelegate.lock())
            what(device, delegate);
    });
}

// ---- session

void Device::requestOpenSession()
{
    if (mySessionOpen)
        return;
    myClosing = false;
    const int session = ++mySession;
    myThread.post(TaskThread::High, [this, session] { openCamera(session); });
}

void Device::openCamera(int session)
{
    std::weak_ptr<Device> self = weak_from_this();
    int result = GP_ERROR;
    QString why;
    if (!myCamera && gp_camera_new(&myCamera) >= GP_OK) {
        myContext = newContext(&myCancel);
        if (!setUpCamera(myCamera, myModel, myPort, &why)) {
            qDebug() << "Image Capture:" << why;
            closeCamera();
        }
    }
    if (myCamera && !myCancel.stopping) {
        result = retryWhileBusy(
            [this] {
                const auto modules = lockModules();
                const LibraryAllocations drivers;
                return gp_camera_init(myCamera, myContext);
            },
            myCancel.stopping,
            [this](int ms) {
                for (int waited = 0; waited < ms && !myCancel.stopping; waited += 50)
                    std::this_thread::sleep_for(std::chrono::milliseconds(50));
            });
    }
    if (result < GP_OK) {
        if (classify(result) == Failure::Busy)
            qWarning().noquote() << busyWarning(myModel, myPort);
        else if (myCamera)
            qDebug() << "Image Capture: cannot open" << myModel << myPort << describe(result);
        closeCamera();
        const Error error = toError(result);
        postToMainThread([self, session, error] {
            const auto device = self.lock();
            const auto delegate = device ? device->myDelegate.lock() : nullptr;
            if (delegate && device->mySession == session)
                delegate->deviceDidOpenSession(device, error);
        });
        return;
    }
    myDisconnected = false;
    postToMainThread([self, session] {
        const auto device = self.lock();
        if (!device || device->mySession != session)
            return;
        device->mySessionOpen = true;
        if (const auto delegate = device->myDelegate.lock())
            delegate->deviceDidOpenSession(device, std::nullopt);
    });
    myThread.post(TaskThread::Normal, [this, session] { listItems(session); });
}

void Device::requestCloseSession()
{
    myClosing = true;
    myCancel.stopping = true;
    cancelDownloads();
    std::weak_ptr<Device> self = weak_from_this();
    const int closing = mySession;
    myThread.post(TaskThread::High, [this, self, closing] {
        closeCamera();
        myCancel.stopping = false;
        postToMainThread([self, closing] {
            const auto device = self.lock();
            if (!device || !device->mySessionOpen || device->mySession != closing)
                return;
            device->mySessionOpen = false;
            ++device->mySession;
            if (const auto delegate = device->myDelegate.lock())
                delegate->deviceDidCloseSession(device, std::nullopt);
        });
    });
}

void Device::closeCamera()
{
    for (const FilePtr& file : myThumbnailed)
        file->setThumbnail(QImage());
    myThumbnailed.clear();
    myDeviceNames.clear();
    if (myCamera) {
        const auto modules = lockModules();
        const LibraryAllocations drivers;
        gp_camera_exit(myCamera, myContext);
        gp_camera_unref(myCamera);
        myCamera = nullptr;
    }
    if (myContext) {
        gp_context_unref(myContext);
        myContext = nullptr;
    }
}

bool Device::failed(int result)
{
    if (result >= GP_OK)
        return false;
    if (classify(result) == Failure::Disconnected && !myDisconnected.exchange(true)) {
        qDebug() << "Image Capture:" << myModel << "on" << myPort << "is gone:" << describe(result);
        // What is still waiting fails; the session ends here, on the camera's own thread.
        cancelDownloads();
        closeCamera();
        std::weak_ptr<Device> self = weak_from_this();
        postToMainThread([self] {
            const auto device = self.lock();
            if (device && device->myOnDisconnect)
                device->myOnDisconnect(device->myUuid);
        });
    }
    return true;
}

// ---- listing and thumbnails

void Device::listItems(int session)
{
    std::weak_ptr<CameraDevice> owner = weak_from_this();
    auto top = std::make_shared<const ListedFolder>(
        ItemFields{QStringLiteral("/"), OrvUniformType::kUTTypeFolder, QDateTime(), nullptr, owner, QStringLiteral("/")});
    QList<CameraItemPtr> batch;
    QList<FilePtr> files;
    auto flush = [&] {
        if (batch.isEmpty())
            return;
        deliver(session, [batch](const auto& device, const auto& delegate) { delegate->cameraDeviceDidAddItems(device, batch); });
        batch.clear();
    };
    CameraList* list = nullptr;
    if (gp_list_new(&list) < GP_OK)
        return;
    myDeviceNames.clear();
    // Depth first, in the camera's order; folders are items too (the source skips them).
    std::function<bool(const std::shared_ptr<const ListedFolder>&, int)> walk = [&](const std::shared_ptr<const ListedFolder>& folder,
                                                                                   int depth) {
        const QString path = folder->location();
        const QByteArray pathBytes = path.toUtf8();
        gp_list_reset(list);
        if (failed(gp_camera_folder_list_files(myCamera, pathBytes.constData(), list, myContext)))
            return !myDisconnected;
        for (const QByteArray& deviceName : namesIn(list)) {
            if (mySession != session || myCancel.stopping)
                return false;
            const QString name = QString::fromUtf8(deviceName);
            QString mime;
            qint64 modified = 0;
            qint64 size = -1;
            if (myStorage->isValid()) {
                // Checked here, never asked of the driver: only what can be downloaded is an item.
                const auto entry = myStorage->item(pathBytes, deviceName);
                if (!entry)
                    continue;
                modified = entry->modified;
                size = entry->size;
            } else {
                CameraFileInfo info {};
                const int result = gp_camera_file_get_info(myCamera, pathBytes.constData(), deviceName.constData(), &info, myContext);
                if (failed(result) && myDisconnected)
                    return false;
                const bool known = result >= GP_OK;
                if (known && (info.file.fields & GP_FILE_INFO_TYPE))
                    mime = QString::fromUtf8(info.file.type);
                if (known && (info.file.fields & GP_FILE_INFO_MTIME))
                    modified = qint64(info.file.mtime);
                if (known && (info.file.fields & GP_FILE_INFO_SIZE))
                    size = qint64(info.file.size);
            }
            if (name.toUtf8() != deviceName)
                myDeviceNames.insert(nameKey(path, name), deviceName);
            QString uti = OrvUniformType::typeForMimeType(mime);
            if (uti == OrvUniformType::kUTTypeData)
                uti = OrvUniformType::typeForExtension(name.section(QLatin1Char('.'), -1));
            // As ImageCaptureCore dates a photo: when it was taken, else when the file was written.
            // The capture date is read when first asked for (a download finds it on the way).
            const QDateTime written = modified > 0 ? OrvQt::utcFromSecs(modified) : QDateTime();
            ListedFile::Dater dater;
            if (myStorage->isValid() && uti == QLatin1String("public.jpeg")) {
                dater = [storage = myStorage, pathBytes, deviceName, written] {
                    const auto opened = storage->open(pathBytes, deviceName, OrvUserFile::Image);
                    const QDateTime taken = captureDate(opened.get());
                    return taken.isValid() ? taken : written;
                };
            }
            auto file = std::make_shared<const ListedFile>(ItemFields{name, uti, written, folder, owner, path}, size, std::move(dater));
            batch.append(file);
            files.append(file);
            if (batch.size() >= itemBatch)
                flush();
        }
        gp_list_reset(list);
        if (failed(gp_camera_folder_list_folders(myCamera, pathBytes.constData(), list, myContext)))
            return !myDisconnected;
        const QList<QByteArray> folders = namesIn(list);
        for (const QByteArray& deviceName : folders) {
            if (depth >= maxFolderDepth)
                break;
            // Folders are walked by their names as text; a linked folder of a storage may lead anywhere.
            const QString name = QString::fromUtf8(deviceName);
            if (name.toUtf8() != deviceName || (myStorage->isValid() && !myStorage->isInside(childPath(path, name).toUtf8())))
                continue;
            auto child = std::make_shared<const ListedFolder>(
                ItemFields{name, OrvUniformType::kUTTypeFolder, QDateTime(), folder, owner, childPath(path, name)});
            batch.append(child);
            if (!walk(child, depth + 1))
                return false;
        }
        return true;
    };
    const bool complete = myCamera && walk(top, 0);
    gp_list_free(list);
    flush();
    if (!complete)
        return;
    // Thumbnails in the order the album shows them, so the first screen comes first.
    std::stable_sort(files.begin(), files.end(), [](const FilePtr& a, const FilePtr& b) {
        return a->name().compare(b->name(), Qt::CaseInsensitive) < 0;
    });
    std::weak_ptr<Device> self = weak_from_this();
    deliver(session, [self, session, files](const auto& device, const auto& delegate) {
        delegate->deviceDidBecomeReadyWithCompleteContentCatalog(device);
        device->askForThumbnails(session, files, 0);
    });
}

void Device::askForThumbnails(int session, const QList<FilePtr>& files, int from)
{
    const auto delegate = myDelegate.lock();
    if (!delegate || !mySessionOpen || myClosing || mySession != session || !ourReadsThumbnails)
        return;
    // Asked a batch at a time, so that a download never waits behind a long queue.
    QList<FilePtr> wanted;
    QList<int> at;
    int next = from;
    for (; next < files.size() && wanted.size() < thumbnailBatch; ++next) {
        if (delegate->cameraDeviceShouldGetThumbnailOfItem(shared_from_this(), files.at(next))) {
            wanted.append(files.at(next));
            at.append(next);
        }
    }
    if (wanted.isEmpty() && next >= files.size())
        return;
    myThread.post(TaskThread::Low, [this, session, files, wanted, at, next] {
        const int done = readThumbnails(session, wanted);
        // Interrupted by a download: the batch goes on where it stopped.
        const int resume = done < wanted.size() ? at.at(done) : next;
        std::weak_ptr<Device> self = weak_from_this();
        postToMainThread([self, session, files, resume] {
            if (const auto device = self.lock())
                device->askForThumbnails(session, files, resume);
        });
    });
}

int Device::readThumbnails(int session, const QList<FilePtr>& files)
{
    QList<CameraItemPtr> read;
    int done = 0;
    for (const FilePtr& file : files) {
        if (!myCamera || mySession != session || myCancel.stopping)
            break;
        // A download asked for meanwhile goes first; at least one thumbnail per turn, so they still progress.
        if (done > 0 && myThread.hasWaiting(TaskThread::High))
            break;
        ++done;
        int result = GP_OK;
        QImage thumbnail;
        if (myStorage->isValid()) {
            const auto opened = myStorage->open(file->location().toUtf8(), deviceName(*file), OrvUserFile::Image);
            thumbnail = readThumbnail(opened.get(), thumbnailEdge);
        } else {
            thumbnail = readThumbnail(myCamera, myContext, file->location(), file->name(), file->fileSize(), thumbnailEdge, &result);
        }
        // Unplugged while reading: the session ends here and the rest is not asked for.
        if (thumbnail.isNull() && failed(result) && myDisconnected)
            return done;
        if (thumbnail.isNull())
            continue;
        file->setThumbnail(thumbnail);
        myThumbnailed.push_back(file);
        if (myThumbnailed.size() > size_t(thumbnailCacheSize)) {
            myThumbnailed.front()->setThumbnail(QImage());
            myThumbnailed.pop_front();
        }
        read.append(file);
    }
    if (!read.isEmpty()) {
        deliver(session, [read](const auto& device, const auto& delegate) {
            for (const CameraItemPtr& item : read)
                delegate->cameraDeviceDidReceiveThumbnailForItem(device, item);
        });
    }
    return done;
}

// ---- downloads

void Device::requestDownloadFile(const CameraFilePtr& file, const DownloadOptions& options,
                                 const std::weak_ptr<DownloadDelegate>& delegate, void* contextInfo)
{
    Download request;
    request.file = file;
    request.options = options;
    request.delegate = delegate;
    request.contextInfo = contextInfo;
    request.cancelled = std::make_shared<std::atomic<bool>>(false);
    {
        std::lock_guard<std::mutex> lock(myDownloadsMutex);
        myDownloadFlags.append(request.cancelled);
    }
    myThread.post(TaskThread::High, [this, request] {
        download(request);
        // Whoever asked usually asks for the next file right after this one.
        myThread.holdLow(quietAfterDownload);
    });
}

void Device::cancelDownloads()
{
    std::lock_guard<std::mutex> lock(myDownloadsMutex);
    for (const auto& flag : std::as_const(myDownloadFlags))
        *flag = true;
    myDownloadFlags.clear();
}

void Device::download(const Download& request)
{
    {
        std::lock_guard<std::mutex> lock(myDownloadsMutex);
        myDownloadFlags.removeAll(request.cancelled);
    }
    const auto file = std::dynamic_pointer_cast<const ListedFile>(request.file);
    if (!myCamera || myDisconnected || !file) {
        reportDownload(request, Error{ErrorDeviceRemoved, QStringLiteral("the device is not open")});
        return;
    }
    if (*request.cancelled) {
        reportDownload(request, Error{ErrorCancelled, QStringLiteral("cancelled")});
        return;
    }
    const QString directory = request.options.downloadsDirectoryURL.toLocalFile();
    const bool kept = myDownloadFolder && myDownloadFolder->path() == directory;
    if (!kept)
        myDownloadFolder = std::make_unique<OrvTargetFolder>(directory);
    QByteArray temporary;
    int fd = myDownloadFolder->createTemporary(&temporary);
    if (fd < 0 && kept && QFileInfo(directory).isDir()) {
        // The folder went and came back since: opened anew. One that is gone stays gone.
        myDownloadFolder = std::make_unique<OrvTargetFolder>(directory);
        fd = myDownloadFolder->createTemporary(&temporary);
    }
    OrvTargetFolder& folder = *myDownloadFolder;
    if (fd < 0) {
        reportDownload(request, Error{ErrorWriteFailed, folder.errorString()});
        return;
    }
    myCancel.request = request.cancelled;
    qint64 expected = file->fileSize();
    // Only where the bytes come from differs; what is checked of them does not.
    const int result = myStorage->isValid() ? copyFromStorage(*file, fd, &expected) : copyFromCamera(*file, fd);
    myCancel.request.reset();
    const qint64 written = folder.temporarySize(temporary);
    // libgphoto2 may answer GP_OK after a cancel: the flag decides, and so does the size.
    const bool cancelled = *request.cancelled || myCancel.stopping;
    const bool complete = result >= GP_OK && !cancelled && written >= 0 && (expected < 0 || written == expected);
    if (!complete) {
        folder.discardTemporary(temporary);
        if (result < GP_OK)
            failed(result);
        // Gone from the device: told as ImageCaptureCore tells it, so that no one waits for it.
        if (!cancelled && classify(result) == Failure::NotFound) {
            deliver(mySession, [file](const auto& device, const auto& delegate) { delegate->cameraDeviceDidRemoveItem(device, file); });
        }
        const Error error = cancelled            ? Error{ErrorCancelled, QStringLiteral("cancelled")}
            : result < GP_OK                     ? toError(result)
                                                 : Error{ErrorWriteFailed, QStringLiteral("the file was not written whole")};
        reportDownload(request, error);
        return;
    }
    if (!folder.commitTemporary(temporary, request.options.saveAsFilename)) {
        reportDownload(request, Error{ErrorWriteFailed, folder.errorString()});
        return;
    }
    Download done = request;
    done.options.savedFilename = request.options.saveAsFilename;
    reportDownload(done, std::nullopt);
}

int Device::copyFromCamera(const ListedFile& file, int fd)
{
    ::CameraFile* cameraFile = nullptr;
    if (gp_file_new_from_fd(&cameraFile, fd) < GP_OK) {
        ::close(fd);
        return GP_ERROR_NO_MEMORY;
    }
    const int result = gp_camera_file_get(myCamera, file.location().toUtf8().constData(), deviceName(file).constData(),
                                          GP_FILE_TYPE_NORMAL, cameraFile, myContext);
    // libgphoto2 closes the descriptor it was given.
    gp_file_unref(cameraFile);
    return result;
}

int Device::copyFromStorage(const ListedFile& file, int fd, qint64* expected)
{
    // Not the driver's open: that one waits forever on a named pipe and follows any link.
    const auto source = myStorage->open(file.location().toUtf8(), deviceName(file), OrvUserFile::Media);
    if (!source) {
        ::close(fd);
        return GP_ERROR_FILE_NOT_FOUND;
    }
    // The file as it is now; one that grows meanwhile is not followed.
    *expected = source->size();
    QByteArray buffer(qsizetype(qBound<qint64>(1, *expected, copyChunk)), Qt::Uninitialized);
    int result = GP_OK;
    for (qint64 done = 0; done < *expected;) {
        if (myCancel.cancelled()) {
            result = GP_ERROR_CANCEL;
            break;
        }
        const qint64 got = source->readAt(done, buffer.data(), qMin<qint64>(buffer.size(), *expected - done));
        if (got <= 0) {
            result = GP_ERROR;
            break;
        }
        // A photo not yet dated is dated from its first bytes, here at hand, rather than read again.
        if (done == 0) {
            file.dateFrom([&buffer, got] {
                return captureDate([&buffer, got](qint64 offset, char* data, qint64 size) -> qint64 {
                    if (offset < 0 || offset >= got)
                        return 0;
                    const qint64 count = qMin(size, got - offset);
                    std::memcpy(data, buffer.constData() + offset, size_t(count));
                    return count;
                });
            });
        }
        if (!writeAll(fd, buffer.constData(), got)) {
            result = GP_ERROR_NO_SPACE;
            break;
        }
        done += got;
    }
    ::close(fd);
    return result;
}

QByteArray Device::deviceName(const ListedFile& file) const
{
    const auto found = myDeviceNames.constFind(nameKey(file.location(), file.name()));
    return found != myDeviceNames.cend() ? *found : file.name().toUtf8();
}

} // namespace OrvGPhoto2
