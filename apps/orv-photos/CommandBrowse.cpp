#include "Commands.h"

#include "OrvBrowserWindow.h"
#include "OrvExportController.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoDetailsView.h"
#include "OrvFotoGridModel.h"
#include "OrvSourceTreeModel.h"
#include "OrvTargetFolder.h"
#ifdef ORV_HAVE_GPHOTO2
#include "gphoto2/OrvGPhoto2Backend.h"
#endif

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QAction>
#include <QListView>
#include <QPainter>
#include <QProgressDialog>
#include <QPixmap>
#include <QThread>
#include <QUrl>

#include <memory>

namespace {

// How long a camera that was just plugged in may take to show its photos.
constexpr int pluggedInWaitMs = 60000;
const QString directoryCamera = QStringLiteral("Directory Browse");
const QString imageCapture = QStringLiteral("appleimagecapture");

// Runs the event loop until done() holds or timeoutMs passes.
bool settle(const std::function<bool()>& done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < timeoutMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return done();
}

// A dialog of the window for its screenshot: "export" over the shown fotos,
// "progress" of an export of them a third of the way, "about".
QWidget* openDialog(OrvBrowserWindow& window, const QString& name)
{
    QWidget* dialog = nullptr;
    if (name == QLatin1String("about")) {
        dialog = window.openAbout();
    } else {
        if (window.selectedCount() == 0)
            window.action(OrvBrowserWindow::SelectAllCommand)->trigger();
        const int count = qMax(1, window.selectedCount());
        if (name == QLatin1String("export")) {
            window.action(OrvBrowserWindow::ExportCommand)->trigger();
            dialog = window.exporter()->dialog();
        } else {
            QProgressDialog* progress = window.exporter()->makeProgressDialog(OrvExportController::Export, count / 3, count);
            progress->setAttribute(Qt::WA_DeleteOnClose);
            progress->show();
            dialog = progress;
        }
    }
    if (dialog) {
        dialog->adjustSize();
        settle([&] { return dialog->isVisible(); }, 2000);
    }
    return dialog;
}

// The album of the camera the desktop names with place: a mounted card (a
// folder or file: URL) is served as a camera of its own unless one already
// serves it. An invalid id (no place, or one that is no folder): the first camera.
OrvExternalId pluggedInAlbum(const QString& place, bool simulated)
{
    if (place.isEmpty() || simulated)
        return {};
    const QUrl url = QUrl::fromUserInput(place, QDir::currentPath(), QUrl::AssumeLocalFile);
    const QFileInfo folder(url.isLocalFile() ? url.toLocalFile() : QString());
    if (!folder.isDir())
        return {};
    const QString port = QStringLiteral("disk:") + folder.canonicalFilePath();
#ifdef ORV_HAVE_GPHOTO2
    QString model;
    for (const auto& [known, knownPort] : OrvGPhoto2::connectedCameras()) {
        if (knownPort == port)
            model = known;
    }
    if (model.isEmpty() && OrvGPhoto2::addCamera(directoryCamera, port))
        model = directoryCamera;
    if (model.isEmpty())
        return {};
    return OrvExternalId(imageCapture, QStringLiteral("album"),
                         OrvGPhoto2::uuidFor(QStringLiteral("port:%1=%2").arg(model, port)));
#else
    return {};
#endif
}

// Waits for the camera's album (the named one, else the first camera's) and opens it.
OrvExternalAlbum openPluggedIn(OrvBrowserWindow& window, OrvExternalDatabase* cameras, const OrvExternalId& wanted,
                               const QString& name)
{
    window.openSource(cameras);
    OrvExternalAlbum found;
    // Closed meanwhile: nothing more to wait for.
    settle(
        [&] {
            if (!window.isVisible())
                return true;
            for (const OrvExternalAlbum& album : cameras->albums()) {
                if (wanted.isValid() ? album.id() == wanted : name.isEmpty() || album.name() == name) {
                    found = album;
                    return true;
                }
            }
            return false;
        },
        pluggedInWaitMs);
    if (found.isValid())
        window.openAlbum(cameras, found.id());
    return found;
}

} // namespace

int commandBrowse(const OrvArguments& arguments)
{
    const QString service = arguments.value(QStringLiteral("source"));
    const QString album = arguments.value(QStringLiteral("album"));
    const QString screenshot = arguments.value(QStringLiteral("screenshot"));
    const QString dialog = arguments.value(QStringLiteral("dialog"));
    QSize size(1280, 800);
    int select = -1;
    if (arguments.isSet(QStringLiteral("select"))) {
        bool ok = false;
        select = arguments.value(QStringLiteral("select")).toInt(&ok);
        if (!ok || select < 0) {
            fail("browse") << OrvCommandLine::tr("--select takes the number of a photo, from 0") << "\n";
            return 1;
        }
    }
    if (arguments.isSet(QStringLiteral("size"))) {
        const QStringList parts = arguments.value(QStringLiteral("size")).split(QLatin1Char('x'));
        size = parts.size() == 2 ? QSize(parts.at(0).toInt(), parts.at(1).toInt()) : QSize();
        if (size.width() < 200 || size.height() < 200) {
            fail("browse") << OrvCommandLine::tr("--size takes WIDTHxHEIGHT, at least 200x200") << "\n";
            return 1;
        }
    }
    if (!dialog.isEmpty() && screenshot.isEmpty()) {
        fail("browse") << OrvCommandLine::tr("--dialog needs --screenshot") << "\n";
        return 1;
    }
    const bool pluggedIn = arguments.isSet(QStringLiteral("plugged-in"));
    if (!arguments.arguments().isEmpty() && !pluggedIn) {
        fail("browse") << OrvCommandLine::tr("a camera's place needs --plugged-in") << "\n";
        return 1;
    }
    if (pluggedIn && !service.isEmpty()) {
        fail("browse") << OrvCommandLine::tr("--plugged-in shows a camera: no --source") << "\n";
        return 1;
    }
    if (service.isEmpty() && !album.isEmpty() && !pluggedIn) {
        fail("browse") << OrvCommandLine::tr("--album needs --source") << "\n";
        return 1;
    }
    if (arguments.isSet(QStringLiteral("screenshot")) && screenshot.isEmpty()) {
        fail("browse") << OrvCommandLine::tr("--screenshot needs a file name") << "\n";
        return 1;
    }
    OrvExternalDatabase* database = nullptr;
    if (!service.isEmpty() && !(database = findSource(service, "browse")))
        return 1;
    OrvExternalDatabase* cameras = nullptr;
    if (pluggedIn && !(cameras = findSource(imageCapture, "browse")))
        return 1;

    // Written like every other output: a new file in its folder, never through a link or over what is there.
    std::unique_ptr<OrvTargetFolder> screenshotFolder;
    const QString screenshotName = QFileInfo(screenshot).fileName();
    if (!screenshot.isEmpty()) {
        screenshotFolder = std::make_unique<OrvTargetFolder>(QFileInfo(screenshot).path());
        if (!screenshotFolder->isOpen() || !OrvTargetFolder::isValidName(screenshotName)
            || screenshotFolder->isTaken(screenshotName)) {
            const QString why = !screenshotFolder->isOpen() ? screenshotFolder->errorString()
                : OrvTargetFolder::isValidName(screenshotName) ? OrvCommandLine::tr("it exists, give a new name")
                                                               : OrvCommandLine::tr("no file name");
            fail("browse") << OrvCommandLine::tr("cannot write %1: %2").arg(screenshot, why) << "\n";
            return 2;
        }
    }

    QList<OrvExternalDatabase*> sources;
    for (const auto& source : registeredSources())
        sources.append(source.second);
    OrvBrowserWindow window(sources);
    window.resize(size);
    window.show();
    if (cameras) {
        const QString place = arguments.arguments().value(0);
        const OrvExternalAlbum shown =
            openPluggedIn(window, cameras, pluggedInAlbum(place, arguments.isSet(QStringLiteral("devices"))), album);
        if (shown.isValid()) {
            out() << OrvCommandLine::tr("showing %1").arg(shown.name()) << "\n";
            out().flush();
        } else if (!window.isVisible()) {
            return 0;
        } else if (!screenshot.isEmpty()) {
            fail("browse") << OrvCommandLine::tr("no camera came within %1 seconds").arg(pluggedInWaitMs / 1000) << "\n";
            return 1;
        }
    } else if (database && album.isEmpty()) {
        window.openSource(database);
        // Until it has said what it has: albums, or why it has none.
        settle([&] { return !window.sourceModel()->isLoading(database) && (database->getExternalDataPoolConst().countAlbums() > 0 || !window.placeholderText().isEmpty()); }, 10000);
    } else if (!service.isEmpty()) {
        // A source may announce its albums only after it was started.
        const bool found = settle([&] { return window.openAlbum(service, album); }, 10000);
        if (!found) {
            if (findAlbum(database, album, "browse").isValid())
                fail("browse") << OrvCommandLine::tr("cannot open album %1 in %2").arg(album, service) << "\n";
            return 1;
        }
        window.waitForVisibleThumbnails(20000);
        if (select >= 0 && window.gridModel()->rowCount() > select) {
            window.selectFotos({window.gridModel()->fotoAt(select).id()});
            settle([&] { return window.detailsView()->hasFullImage() && window.detailsView()->hasMetaData(); }, 20000);
        }
    }
    if (!screenshot.isEmpty()) {
        window.waitForVisibleThumbnails(20000);
        QWidget* shown = dialog.isEmpty() ? nullptr : openDialog(window, dialog);
        QCoreApplication::processEvents();
        QPixmap shot = window.grab();
        if (shown) {
            // The dialog over the middle of the window with a title bar, as a desktop shows it.
            const QPixmap over = shown->grab();
            QPainter painter(&shot);
            const int titleHeight = painter.fontMetrics().height() + 10;
            const QPoint at((shot.width() - over.width()) / 2, (shot.height() - over.height()) / 3);
            const QRect title(at - QPoint(0, titleHeight), QSize(over.width(), titleHeight));
            painter.fillRect(title.united(QRect(at, over.size())).adjusted(-1, -1, 1, 1), QColor(90, 90, 90));
            painter.fillRect(title, QColor(220, 220, 220));
            painter.drawText(title, Qt::AlignCenter, shown->windowTitle());
            painter.drawPixmap(at, over);
        }
        const auto encode = [&shot](QIODevice* target) { return shot.save(target, "PNG"); };
        if (!screenshotFolder->create(screenshotName, encode)) {
            fail("browse") << OrvCommandLine::tr("cannot write %1: %2").arg(screenshot, screenshotFolder->errorString()) << "\n";
            return 2;
        }
        out() << OrvCommandLine::tr("saved %1").arg(screenshot) << "\n";
        return 0;
    }
    return QApplication::exec();
}
