#include "Commands.h"

#include "OrvExternalDatabase.h"

namespace {

const QString imageCapture = QStringLiteral("appleimagecapture");

} // namespace

// Whether plugging in a camera starts this program: shown, or switched for
// every connected camera (on Linux one choice serves them all).
int commandAutostart(const OrvArguments& arguments)
{
    int waitMs = 0;
    if (!waitOption(arguments, "autostart", &waitMs))
        return 1;
    OrvExternalDatabase* database = findSource(imageCapture, "autostart");
    if (!database)
        return 1;
    if (!database->isFotoImportAutostartSupported()) {
        fail("autostart") << OrvCommandLine::tr("not supported for this program (on Linux it needs an installed desktop file "
                                                "that declares MimeType x-content/image-dcf)")
                          << "\n";
        return 1;
    }
    openAllAlbums({database}, waitMs > 0 ? waitMs : 5000);
    const OrvExternalAlbumList devices = database->albums();
    if (devices.isEmpty()) {
        fail("autostart") << OrvCommandLine::tr("no camera connected") << "\n";
        return 1;
    }
    for (const OrvExternalAlbum& device : devices) {
        if (!arguments.arguments().isEmpty())
            database->setFotoImportAutostartTrigger(device.url(), arguments.arguments().first() == QLatin1String("on"));
        out() << device.name() << " (" << device.url().toString() << "): "
              << (database->isFotoImportAutostartTrigger(device.url()) ? QStringLiteral("on") : QStringLiteral("off")) << "\n";
    }
    return 0;
}
