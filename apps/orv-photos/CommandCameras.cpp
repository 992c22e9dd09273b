#include "Commands.h"

#include "sim/OrvImageCaptureSim.h"
#ifdef ORV_HAVE_GPHOTO2
#include "gphoto2/OrvGPhoto2Backend.h"
#endif

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

// The cameras connected, one a line with model and port, as gphoto2
// --auto-detect shows them: the simulated ones with --devices, else what
// libgphoto2 detects now and the cameras named with --camera.
int commandCameras(const OrvArguments& arguments)
{
    int waitMs = 0;
    if (!waitOption(arguments, "cameras", &waitMs))
        return 1;
    // Simulated devices arrive on the main thread's timers.
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < waitMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(10);
    }
    QList<QPair<QString, QString>> cameras;
    if (arguments.isSet(QStringLiteral("devices"))) {
        for (const auto& device : OrvImageCaptureSim::pluggedDevices()) {
            if (device->type() & OrvImageCapture::DeviceTypeCamera)
                cameras.append({device->name(), OrvCommandLine::tr("simulated")});
        }
    } else {
#ifdef ORV_HAVE_GPHOTO2
        cameras = OrvGPhoto2::connectedCameras();
#endif
    }
    out() << OrvCommandLine::tr("Model").leftJustified(30) << " " << OrvCommandLine::tr("Port") << "\n"
          << QString(58, QLatin1Char('-')) << "\n";
    for (const auto& [model, port] : std::as_const(cameras))
        out() << model.leftJustified(30) << " " << port << "\n";
    return 0;
}
