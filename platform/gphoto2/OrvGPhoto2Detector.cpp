#include "OrvGPhoto2Detector.h"

#include "OrvGPhoto2Library.h"
#include "OrvImageCaptureHub.h"

#include <QDebug>
#include <QFileInfo>
#include <QPointer>
#include <QRegularExpression>
#include <QSocketNotifier>

#include <gphoto2/gphoto2.h>

#include <utility>

#ifdef ORV_HAVE_UDEV
#include <libudev.h>
#endif

namespace OrvGPhoto2 {

Detector::Detector(Found found) : myFound(std::move(found)), myThread(std::make_unique<TaskThread>())
{
    mySettle.setSingleShot(true);
    mySettle.setInterval(settleMs);
    connect(&mySettle, &QTimer::timeout, this, &Detector::scan);
    myPoll.setInterval(pollMs);
    connect(&myPoll, &QTimer::timeout, this, &Detector::scan);
}

Detector::~Detector()
{
    myThread.reset();
#ifdef ORV_HAVE_UDEV
    if (myMonitor)
        udev_monitor_unref(myMonitor);
    if (myUdev)
        udev_unref(myUdev);
#endif
}

void Detector::start()
{
#ifdef ORV_HAVE_UDEV
    // Without a running udev daemon the monitor would stay silent: poll instead.
    if (QFileInfo::exists(QStringLiteral("/run/udev/control")))
        myUdev = udev_new();
    if (myUdev) {
        myMonitor = udev_monitor_new_from_netlink(myUdev, "udev");
        if (myMonitor && udev_monitor_filter_add_match_subsystem_devtype(myMonitor, "usb", "usb_device") >= 0
            && udev_monitor_enable_receiving(myMonitor) >= 0) {
            myNotifier = new QSocketNotifier(udev_monitor_get_fd(myMonitor), QSocketNotifier::Read, this);
            connect(myNotifier, &QSocketNotifier::activated, this, [this] {
                // Only devices that udev knows for cameras (its libgphoto2 rules) start a scan.
                bool camera = false;
                while (udev_device* device = udev_monitor_receive_device(myMonitor)) {
                    camera = camera || udev_device_get_property_value(device, "ID_GPHOTO2");
                    udev_device_unref(device);
                }
                if (camera)
                    scanSoon();
            });
        } else {
            qDebug() << "Image Capture: no udev monitor; polling for cameras";
            if (myMonitor)
                udev_monitor_unref(myMonitor);
            myMonitor = nullptr;
            udev_unref(myUdev);
            myUdev = nullptr;
        }
    }
#endif
    if (!myUdev)
        myPoll.start();
    scan();
}

// Several events come with one plug; one scan a second after the last of them.
void Detector::scanSoon() { mySettle.start(); }

void Detector::scan()
{
    if (myScanning) {
        myScanAgain = true;
        return;
    }
    myScanning = true;
    QPointer<Detector> self(this);
    myThread->post(TaskThread::Normal, [this, self] {
        CancelSource never;
        GPContext* context = newContext(&never);
        const QList<QPair<QString, QString>> cameras = detectCameras(context);
        gp_context_unref(context);
        OrvImageCapture::postToMainThread([self, cameras] {
            if (!self)
                return;
            QList<DetectedCamera> found;
            for (const auto& [model, port] : cameras) {
                const QString serial = self->serialOf(port);
                found.append({model, port,
                              serial.isEmpty() ? QStringLiteral("port:%1=%2").arg(model, port) : QStringLiteral("serial:") + serial});
            }
            self->myScanning = false;
            self->myFound(found);
            if (std::exchange(self->myScanAgain, false))
                self->scan();
        });
    });
}

QString Detector::serialOf(const QString& port) const
{
#ifdef ORV_HAVE_UDEV
    static const QRegularExpression usbPort(QStringLiteral("^usb:(\\d+),(\\d+)$"));
    const QRegularExpressionMatch match = usbPort.match(port);
    if (!myUdev || !match.hasMatch())
        return {};
    QString serial;
    udev_enumerate* enumerate = udev_enumerate_new(myUdev);
    udev_enumerate_add_match_subsystem(enumerate, "usb");
    udev_enumerate_add_match_property(enumerate, "DEVTYPE", "usb_device");
    udev_enumerate_scan_devices(enumerate);
    for (udev_list_entry* entry = udev_enumerate_get_list_entry(enumerate); entry && serial.isEmpty();
         entry = udev_list_entry_get_next(entry)) {
        udev_device* device = udev_device_new_from_syspath(myUdev, udev_list_entry_get_name(entry));
        if (!device)
            continue;
        const char* bus = udev_device_get_property_value(device, "BUSNUM");
        const char* number = udev_device_get_property_value(device, "DEVNUM");
        const char* id = udev_device_get_property_value(device, "ID_SERIAL");
        if (bus && number && id && QByteArray(bus).toInt() == match.captured(1).toInt()
            && QByteArray(number).toInt() == match.captured(2).toInt())
            serial = QString::fromUtf8(id);
        udev_device_unref(device);
    }
    udev_enumerate_unref(enumerate);
    return serial;
#else
    Q_UNUSED(port);
    return {};
#endif
}

} // namespace OrvGPhoto2
