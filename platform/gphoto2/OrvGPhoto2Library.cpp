#include "OrvGPhoto2Library.h"

#include <QDebug>

#include <gphoto2/gphoto2.h>

#include <atomic>
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
bool loadLists()
{
    if (abilities && ports)
        return true;
    const LibraryAllocations drivers;
    GPContext* context = gp_context_new();
    if (gp_abilities_list_new(&abilities) < GP_OK || gp_abilities_list_load(abilities, context) < GP_OK
        || gp_port_info_list_new(&ports) < GP_OK || gp_port_info_list_load(ports) < GP_OK) {
        qDebug() << "libgphoto2: cannot load its camera and port lists";
        gp_context_unref(context);
        return false;
    }
    gp_context_unref(context);
    return true;
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
    if (!loadLists()) {
        *why = QStringLiteral("libgphoto2 has no camera list");
        return false;
    }
    const int modelIndex = gp_abilities_list_lookup_model(abilities, model.toUtf8().constData());
    CameraAbilities cameraAbilities;
    if (modelIndex < GP_OK || gp_abilities_list_get_abilities(abilities, modelIndex, &cameraAbilities) < GP_OK) {
        *why = QStringLiteral("unknown camera model %1").arg(model);
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
    if (!loadLists())
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
    return loadLists() && gp_abilities_list_lookup_model(abilities, model.toUtf8().constData()) >= GP_OK;
}

bool isKnownPort(const QString& port)
{
    std::lock_guard<std::mutex> lock(listsMutex);
    const LibraryAllocations drivers;
    return loadLists() && gp_port_info_list_lookup_path(ports, port.toUtf8().constData()) >= GP_OK;
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
