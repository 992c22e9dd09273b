#pragma once

// Finds the cameras connected now and notices when that changes: through
// libudev where it runs (USB devices that udev marks with ID_GPHOTO2; a new
// scan about a second after the last event), by polling otherwise. A camera's
// identity is its USB serial where udev tells it, not its port "usb:BBB,DDD",
// which changes with every plug.

#include "OrvGPhoto2TaskThread.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>

class QSocketNotifier;
struct udev;
struct udev_monitor;

namespace OrvGPhoto2 {

struct DetectedCamera
{
    QString model;
    QString port;
    QString identity;  // "serial:..." or "port:MODEL=PORT"
    bool operator==(const DetectedCamera& other) const { return identity == other.identity; }
};

class Detector : public QObject
{
    Q_OBJECT
public:
    using Found = std::function<void(const QList<DetectedCamera>& cameras)>;
    // found runs on the main thread after every scan.
    explicit Detector(Found found);
    ~Detector() override;

    // Main thread: scans now, then follows udev or polls.
    void start();
    bool followsUdev() const { return myUdev != nullptr; }

    static constexpr int settleMs = 1000;
    static constexpr int pollMs = 3000;

private:
    void scanSoon();
    void scan();
    QString serialOf(const QString& port) const;

    Found myFound;
    udev* myUdev = nullptr;
    udev_monitor* myMonitor = nullptr;
    QSocketNotifier* myNotifier = nullptr;
    QTimer mySettle;
    QTimer myPoll;
    bool myScanning = false;
    bool myScanAgain = false;
    std::unique_ptr<TaskThread> myThread;
};

} // namespace OrvGPhoto2
