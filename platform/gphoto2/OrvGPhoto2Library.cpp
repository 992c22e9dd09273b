#include "OrvGPhoto2Library.h"

#include <QDebug>

#include <gphoto2/gphoto2-library.h>
#include <gphoto2/gphoto2.h>

#include <QHash>

#include <atomic>
#include <dlfcn.h>
#include <mutex>

#if defined(__SANITIZE_ADDRESS__)
#define ORV_LEAK_CHECKER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORV_LEAK_CHECKER 1
#endif
#endif
#ifdef ORV_LEAK_CHECKER
#include <sanitizer/lsan_interface.h>
#endif

namespace OrvGPhoto2 {

namespace {

std::mutex listsMutex;
CameraAbilitiesList* abilities = nullptr;
GPPortInfoList* ports = nullptr;

// Loaded once, under the lock, and kept: port infos point into the list.
bool loadPorts()
{
    if (ports)
        return true;
    const LibraryAllocations drivers;
    if (gp_port_info_list_new(&ports) < GP_OK || gp_port_info_list_load(ports) < GP_OK) {
        qDebug() << "libgphoto2: cannot load its port list";
        if (ports)
            gp_port_info_list_free(ports);
        ports = nullptr;
        return false;
    }
    return true;
}

// Every driver's models: loading them all takes a fifth of a second.
bool loadAbilities()
{
    if (abilities)
        return true;
    const LibraryAllocations drivers;
    GPContext* context = gp_context_new();
    const bool loaded = gp_abilities_list_new(&abilities) >= GP_OK && gp_abilities_list_load(abilities, context) >= GP_OK;
    gp_context_unref(context);
    if (!loaded) {
        qDebug() << "libgphoto2: cannot load its camera list";
        if (abilities)
            gp_abilities_list_free(abilities);
        abilities = nullptr;
    }
    return loaded;
}

bool loadLists() { return loadAbilities() && loadPorts(); }

// Models whose driver is known by its file name: a camera named by hand as one
// of these needs just that driver, not all of them.
struct KnownDriver
{
    const char* model;
    const char* driver;
};
constexpr KnownDriver knownDrivers[] = {{"Directory Browse", "directory"}};

struct OneDriver
{
    CameraAbilitiesList* list = nullptr;  // null when the driver could not be read
    QByteArray id;
    QByteArray library;  // as libgphoto2's own list names it: the path without its suffix
};
QHash<QByteArray, OneDriver> oneDrivers;  // by driver name; under the lock

QByteArray driverFolder()
{
    const QByteArray fromEnvironment = qgetenv("CAMLIBS");
    return fromEnvironment.isEmpty() ? QByteArray(ORV_GPHOTO2_CAMLIBS) : fromEnvironment;
}

// The models of one driver, read as libgphoto2 reads every driver's (its camera_id and camera_abilities).
OneDriver readDriver(const QByteArray& name)
{
    OneDriver read;
    const QByteArray folder = driverFolder();
    if (folder.isEmpty())
        return read;
    read.library = folder + '/' + name;
    const LibraryAllocations drivers;
    void* handle = ::dlopen((read.library + ".so").constData(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        return read;
    const auto idOf = reinterpret_cast<CameraLibraryIdFunc>(::dlsym(handle, "camera_id"));
    const auto abilitiesOf = reinterpret_cast<CameraLibraryAbilitiesFunc>(::dlsym(handle, "camera_abilities"));
    CameraText id {};
    if (idOf && abilitiesOf && idOf(&id) >= GP_OK && gp_abilities_list_new(&read.list) >= GP_OK) {
        if (abilitiesOf(read.list) < GP_OK) {
            gp_abilities_list_free(read.list);
            read.list = nullptr;
        }
        read.id = QByteArray(id.text, int(qstrnlen(id.text, sizeof id.text)));
    }
    ::dlclose(handle);
    return read;
}

// What libgphoto2 knows of model: from its one driver where that is known, else from every driver's list.
bool findModel(const QString& model, CameraAbilities* found)
{
    if (!abilities) {
        for (const KnownDriver& known : knownDrivers) {
            if (model != QLatin1String(known.model))
                continue;
            auto driver = oneDrivers.find(known.driver);
            if (driver == oneDrivers.end())
                driver = oneDrivers.insert(known.driver, readDriver(known.driver));
            const int index = driver->list ? gp_abilities_list_lookup_model(driver->list, known.model) : GP_ERROR;
            if (index >= GP_OK && gp_abilities_list_get_abilities(driver->list, index, found) >= GP_OK) {
                qstrncpy(found->id, driver->id.constData(), sizeof found->id);
                qstrncpy(found->library, driver->library.constData(), sizeof found->library);
                return true;
            }
        }
    }
    if (!loadAbilities())
        return false;
    const int index = gp_abilities_list_lookup_model(abilities, model.toUtf8().constData());
    return index >= GP_OK && gp_abilities_list_get_abilities(abilities, index, found) >= GP_OK;
}

GPContextFeedback askCancel(GPContext*, void* data)
{
    const auto* cancel = static_cast<const CancelSource*>(data);
    return cancel && cancel->cancelled() ? GP_CONTEXT_FEEDBACK_CANCEL : GP_CONTEXT_FEEDBACK_OK;
}

void logMessage(GPContext*, const char* text, void*) { qDebug() << "libgphoto2:" << text; }

} // namespace

LibraryAllocations::LibraryAllocations()
{
#ifdef ORV_LEAK_CHECKER
    __lsan_disable();
#endif
}

LibraryAllocations::~LibraryAllocations()
{
#ifdef ORV_LEAK_CHECKER
    __lsan_enable();
#endif
}

std::unique_lock<std::mutex> lockModules() { return std::unique_lock<std::mutex>(listsMutex); }

bool setUpCamera(Camera* camera, const QString& model, const QString& port, QString* why)
{
    std::lock_guard<std::mutex> lock(listsMutex);
    const LibraryAllocations drivers;
    CameraAbilities cameraAbilities;
    if (!findModel(model, &cameraAbilities)) {
        *why = abilities ? QStringLiteral("unknown camera model %1").arg(model) : QStringLiteral("libgphoto2 has no camera list");
        return false;
    }
    if (!loadPorts()) {
        *why = QStringLiteral("libgphoto2 has no port list");
        return false;
    }
    const int portIndex = gp_port_info_list_lookup_path(ports, port.toUtf8().constData());
    GPPortInfo portInfo;
    if (portIndex < GP_OK || gp_port_info_list_get_info(ports, portIndex, &portInfo) < GP_OK) {
        *why = QStringLiteral("unknown port %1").arg(port);
        return false;
    }
    if (gp_camera_set_abilities(camera, cameraAbilities) < GP_OK || gp_camera_set_port_info(camera, portInfo) < GP_OK) {
        *why = QStringLiteral("cannot set up %1 on %2").arg(model, port);
        return false;
    }
    return true;
}

QList<QPair<QString, QString>> detectCameras(GPContext* context)
{
    QList<QPair<QString, QString>> found;
    std::lock_guard<std::mutex> lock(listsMutex);
    const LibraryAllocations drivers;
    if (!loadLists())
        return found;
    // A fresh port list: what is connected now, without the ports that cameras named by hand added.
    GPPortInfoList* connected = nullptr;
    CameraList* list = nullptr;
    if (gp_port_info_list_new(&connected) < GP_OK || gp_port_info_list_load(connected) < GP_OK || gp_list_new(&list) < GP_OK) {
        if (connected)
            gp_port_info_list_free(connected);
        return found;
    }
    if (gp_abilities_list_detect(abilities, connected, list, context) >= GP_OK) {
        for (int i = 0; i < gp_list_count(list); ++i) {
            const char* model = nullptr;
            const char* port = nullptr;
            if (gp_list_get_name(list, i, &model) >= GP_OK && gp_list_get_value(list, i, &port) >= GP_OK && model && port)
                found.append({QString::fromUtf8(model), QString::fromUtf8(port)});
        }
    }
    gp_list_free(list);
    gp_port_info_list_free(connected);
    return found;
}

QStringList cameraModels()
{
    QStringList models;
    std::lock_guard<std::mutex> lock(listsMutex);
    const LibraryAllocations drivers;
    if (!loadAbilities())
        return models;
    const int count = gp_abilities_list_count(abilities);
    for (int i = 0; i < count; ++i) {
        CameraAbilities cameraAbilities;
        if (gp_abilities_list_get_abilities(abilities, i, &cameraAbilities) >= GP_OK)
            models.append(QString::fromUtf8(cameraAbilities.model));
    }
    return models;
}

bool isKnownModel(const QString& model)
{
    std::lock_guard<std::mutex> lock(listsMutex);
    const LibraryAllocations drivers;
    CameraAbilities found;
    return findModel(model, &found);
}

bool isKnownPort(const QString& port)
{
    std::lock_guard<std::mutex> lock(listsMutex);
    const LibraryAllocations drivers;
    return loadPorts() && gp_port_info_list_lookup_path(ports, port.toUtf8().constData()) >= GP_OK;
}

Failure classify(int result)
{
    switch (result) {
    case GP_OK:
        return Failure::None;
    case GP_ERROR_IO_USB_CLAIM:
    case GP_ERROR_IO_LOCK:
    case GP_ERROR_CAMERA_BUSY:
        return Failure::Busy;
    case GP_ERROR_TIMEOUT:
        return Failure::Timeout;
    case GP_ERROR_IO:
    case GP_ERROR_IO_USB_FIND:
    case GP_ERROR_MODEL_NOT_FOUND:
        return Failure::Disconnected;
    case GP_ERROR_FILE_NOT_FOUND:
    case GP_ERROR_DIRECTORY_NOT_FOUND:
        return Failure::NotFound;
    case GP_ERROR_CANCEL:
        return Failure::Cancelled;
    case GP_ERROR_NO_SPACE:
        return Failure::NoSpace;
    default:
        return result >= GP_OK ? Failure::None : Failure::Other;
    }
}

int retryWhileBusy(const std::function<int()>& call, const std::atomic<bool>& stopping, const std::function<void(int)>& wait)
{
    for (size_t attempt = 0;; ++attempt) {
        const int result = call();
        if (classify(result) != Failure::Busy || attempt >= std::size(busyRetryMs) || stopping)
            return result;
        wait(busyRetryMs[attempt]);
        if (stopping)
            return result;
    }
}

QString busyWarning(const QString& model, const QString& port)
{
    return QStringLiteral("Image Capture: %1 on %2 is in use by another program; a desktop's file manager may hold it "
                          "(release it with: gio mount -s gphoto2)")
        .arg(model, port);
}

QString describe(int result) { return QString::fromUtf8(gp_result_as_string(result)); }

OrvImageCapture::Error toError(int result)
{
    using namespace OrvImageCapture;
    switch (classify(result)) {
    case Failure::Busy:
        return {ErrorDeviceBusy, describe(result)};
    case Failure::Timeout:
        return {ErrorTimeout, describe(result)};
    case Failure::Disconnected:
        return {ErrorDeviceRemoved, describe(result)};
    case Failure::NotFound:
        return {ErrorFileNotFound, describe(result)};
    case Failure::Cancelled:
        return {ErrorCancelled, describe(result)};
    case Failure::NoSpace:
        return {ErrorWriteFailed, describe(result)};
    default:
        return {ErrorCommunication, describe(result)};
    }
}

GPContext* newContext(const CancelSource* cancel)
{
    GPContext* context = gp_context_new();
    if (!context)
        return nullptr;
    gp_context_set_cancel_func(context, askCancel, const_cast<CancelSource*>(cancel));
    gp_context_set_error_func(context, logMessage, nullptr);
    gp_context_set_message_func(context, logMessage, nullptr);
    return context;
}

} // namespace OrvGPhoto2
