#include "Commands.h"

#include "OrvExternalDatabase.h"

namespace {

const QString imageCapture = QStringLiteral("appleimagecapture");

} // namespace

// Whether plugging in a camera starts this program: shown, or switched for
// every connected camera (on Linux one choice serves them all).
int commandAutostart(const QStringList& givenArguments)
{
    QStringList arguments = givenArguments;
    int waitMs = 0;
    if (!takeWaitOption(arguments, "autostart", &waitMs))
        return 1;
    if (arguments.size() > 1 || (arguments.size() == 1 && arguments.first() != QLatin1String("on")
                                 && arguments.first() != QLatin1String("off"))) {
        err() << "usage: orv-photos autostart [--wait SECONDS] [on|off]\n";
        return 1;
    }
    OrvExternalDatabase* database = nullptr;
    for (const auto& source : registeredSources()) {
        if (source.second->serviceId() == imageCapture)
            database = source.second;
    }
    if (!database) {
        err() << "orv-photos autostart: no source " << imageCapture << "\n";
        return 1;
    }
    if (!database->isFotoImportAutostartSupported()) {
        err() << "orv-photos autostart: not supported for this program (on Linux it needs an installed desktop file "
                 "that declares MimeType x-content/image-dcf)\n";
        return 1;
    }
    openAllAlbums({database}, waitMs > 0 ? waitMs : 5000);
    const OrvExternalAlbumList devices = database->albums();
    if (devices.isEmpty()) {
        err() << "orv-photos autostart: no camera connected\n";
        return 1;
    }
    for (const OrvExternalAlbum& device : devices) {
        if (arguments.size() == 1)
            database->setFotoImportAutostartTrigger(device.url(), arguments.first() == QLatin1String("on"));
        out() << device.name() << " (" << device.url().toString() << "): "
              << (database->isFotoImportAutostartTrigger(device.url()) ? "on" : "off") << "\n";
    }
    return 0;
}
