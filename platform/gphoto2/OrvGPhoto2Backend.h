#pragma once

// Image Capture on Linux over libgphoto2. install() makes it the backend that
// OrvImageCapture::createDeviceBrowser() hands out; device detection starts
// when the first browser starts.

#include "OrvGPhoto2Device.h"

#include <QString>

namespace OrvGPhoto2 {

// Makes libgphoto2 the Image Capture backend. With detect false only cameras
// added with addCamera appear (tests, and a host that names its cameras).
void install(bool detect = true);
// Whether devices read their items' thumbnails once listed, as ImageCaptureCore
// does for a browser to show them (the default). A program that shows none (an
// export of whole files) turns it off: a thumbnail is then never read.
void setReadsThumbnails(bool reads);
// A camera that detection cannot see, as gphoto2's --camera and --port name
// it ("Directory Browse", "disk:/path/to/folder"). Its UUID follows from model
// and port, so it is the same in every run. False for a port that names no
// folder with anything in it ("disk:" with an empty path, "/" or an empty folder).
bool addCamera(const QString& model, const QString& port);
// Whether a camera named as for addCamera can be used: a model and a port that
// libgphoto2 knows, a folder that addCamera takes, and a camera that opens.
enum class CameraCheck { Opens, UnknownModel, UnknownPort, NoFolder, DoesNotOpen };
// why gets libgphoto2's reason for a camera that does not open.
CameraCheck checkCamera(const QString& model, const QString& port, QString* why);
// The cameras connected now, as (model, port): what detection finds at this
// moment and the cameras added with addCamera.
QList<QPair<QString, QString>> connectedCameras();
// The UUID of a camera: from its USB serial where known, else from model and port.
QString uuidFor(const QString& identity);
// The connected device with this UUID, for tests and tools.
std::shared_ptr<Device> connectedDevice(const QString& uuid);
// Disconnects every camera added with addCamera (tests).
void removeAddedCameras();

} // namespace OrvGPhoto2
