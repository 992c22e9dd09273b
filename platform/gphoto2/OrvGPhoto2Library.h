#pragma once

// What libgphoto2 offers to every camera at once: its lists of camera models
// and ports, which are not safe to use from several threads, so every use of
// them is made under one process-wide lock; and the meaning of its results.

#include "OrvImageCapture.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

typedef struct _Camera Camera;
typedef struct _GPContext GPContext;

namespace OrvGPhoto2 {

// libgphoto2 loads its drivers as modules, and some keep what they allocate
// when loaded until the process ends, after the module itself is unloaded.
// Scopes that load drivers hold this, so that a leak checker (LeakSanitizer)
// leaves the library's own allocations out of its report; elsewhere it does nothing.
class LibraryAllocations
{
public:
    LibraryAllocations();
    ~LibraryAllocations();
    LibraryAllocations(const LibraryAllocations&) = delete;
    LibraryAllocations& operator=(const LibraryAllocations&) = delete;
};

// Gives the camera the driver of model and the port (as gphoto2's --camera and --port do).
bool setUpCamera(Camera* camera, const QString& model, const QString& port, QString* why);
// The process-wide lock, for the calls that load or unload a driver module
// (gp_camera_init, gp_camera_exit): libltdl's module list is global and unguarded.
std::unique_lock<std::mutex> lockModules();
// The cameras the ports show now: (model, port) pairs.
QList<QPair<QString, QString>> detectCameras(GPContext* context);
// The camera models libgphoto2 has a driver for, and whether it has one for model.
QStringList cameraModels();
bool isKnownModel(const QString& model);
// Whether libgphoto2 reaches anything at port ("usb:", "usb:001,004", "disk:/path", ...).
bool isKnownPort(const QString& port);

enum class Failure { None, Busy, Timeout, Disconnected, NotFound, Cancelled, NoSpace, Other };
Failure classify(int result);
// The error a delegate hears for a result of libgphoto2.
OrvImageCapture::Error toError(int result);
QString describe(int result);

// A camera that another program holds (the desktop's file manager, through
// gvfs) is asked again after each of these waits.
inline constexpr int busyRetryMs[] = {500, 1000, 2000};
// Calls call again while it answers "busy" and stopping is not set, waiting
// busyRetryMs in between through wait (which may return early when stopping);
// the last answer.
int retryWhileBusy(const std::function<int()>& call, const std::atomic<bool>& stopping, const std::function<void(int)>& wait);
// The warning for a camera still busy after the last try: it says how to release it.
QString busyWarning(const QString& model, const QString& port);

// What a camera's context asks before each step of a transfer: whether the
// session stops, or the request at hand was cancelled. request is set and read
// on the camera's own thread only; the flags themselves from anywhere.
struct CancelSource
{
    std::atomic<bool> stopping{false};
    std::shared_ptr<std::atomic<bool>> request;
    bool cancelled() const { return stopping.load() || (request && request->load()); }
};

// A context that asks cancel (which outlives it) and keeps the library's messages as debug lines.
GPContext* newContext(const CancelSource* cancel);

} // namespace OrvGPhoto2
