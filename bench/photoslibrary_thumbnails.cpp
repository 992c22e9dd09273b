// The photo browser's first screen of a Photos library package: "All Photos"
// opened in a window sized for COLUMNS x ROWS thumbnails (default 8 x 6 = 48),
// and the time until every visible thumbnail is painted. The photos it showed
// are written to --list FILE (one identifier a line), so that their originals
// can be decoded by a peer (scripts/bench-photoslibrary.sh: djpeg -scale 1/8).
//
//   bench_photoslibrary_thumbnails LIBRARY.photoslibrary [--columns 8] [--rows 6] [--list FILE]

#include "OrvBrowserWindow.h"
#include "OrvFotoGridModel.h"
#include "OrvPhotoKitDatabase.h"
#include "PhotosLibraryBench.h"

#include <QApplication>
#include <QFile>
#include <QListView>

#include <cstdio>

namespace {

// Rows of the grid that the viewport shows, whole or in part.
QList<int> visibleRows(const OrvBrowserWindow& window)
{
    QList<int> rows;
    const QRect area = window.gridView()->viewport()->rect();
    for (int row = 0; row < window.gridModel()->rowCount(); ++row) {
        const QRect item = window.gridView()->visualRect(window.gridModel()->index(row, 0));
        if (item.top() > area.bottom())
            break;
        if (item.intersects(area))
            rows.append(row);
    }
    return rows;
}

} // namespace

int main(int argc, char** argv)
{
    QElapsedTimer sinceStart;
    sinceStart.start();
    OrvBench::useOffscreenPlatform();
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments().mid(1);
    const QString package = OrvBench::packageArgument(
        arguments, "bench_photoslibrary_thumbnails LIBRARY.photoslibrary [--columns C] [--rows R] [--list FILE]");
    if (package.isEmpty())
        return 2;
    const int columns = qMax(1, OrvBench::option(arguments, QStringLiteral("--columns"), QStringLiteral("8")).toInt());
    const int rows = qMax(1, OrvBench::option(arguments, QStringLiteral("--rows"), QStringLiteral("6")).toInt());
    const QString list = OrvBench::option(arguments, QStringLiteral("--list"));

    if (!OrvBench::installPhotosLibrary(package))
        return 1;
    OrvPhotoKitDatabase database;
    OrvBrowserWindow window({&database});
    // The album is laid out before the window shows it: nothing is painted, so no thumbnail is asked for yet.
    if (!window.openAlbum(&database, OrvBench::allPhotosId())) {
        std::fprintf(stderr, "All Photos does not open\n");
        return 1;
    }
    if (!OrvBench::runUntil([&] { return window.gridModel()->rowCount() > 0; }, 600000)) {
        std::fprintf(stderr, "All Photos stays empty\n");
        return 1;
    }
    const qint64 laidOutMs = sinceStart.elapsed();
    // Thumbnails of 256 px, a step of the browser's zoom; the grid's viewport is made exactly
    // columns x rows cells (the splitter shares out what the window gains).
    window.setThumbnailEdge(256);
    window.resize(1600, 1200);
    // The grid paints (and so asks for thumbnails) once the window has its size and has
    // painted the rest: the window's own first paints are no part of the thumbnails' time.
    window.gridView()->setUpdatesEnabled(false);
    window.show();
    const QSize cell = window.gridView()->gridSize();
    const QSize wanted(columns * cell.width() + 1, rows * cell.height());
    for (int attempt = 0; attempt < 20 && window.gridView()->viewport()->size() != wanted; ++attempt) {
        const QSize before = window.gridView()->viewport()->size();
        window.resize(window.size() + wanted - before);
        OrvBench::runUntil([&] { return window.gridView()->viewport()->size() != before; }, 1000);
    }
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < 200)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    const qint64 shownMs = sinceStart.elapsed();
    window.gridView()->setUpdatesEnabled(true);
    std::printf("window                      %dx%d, grid %dx%d\n", window.width(), window.height(),
                window.gridView()->viewport()->width(), window.gridView()->viewport()->height());
    const bool complete = window.waitForVisibleThumbnails(600000);
    window.gridView()->viewport()->repaint();
    const qint64 paintedMs = sinceStart.elapsed();

    const QList<int> visible = visibleRows(window);
    int failed = 0;
    QStringList shown;
    for (int row : visible) {
        const QModelIndex index = window.gridModel()->index(row, 0);
        if (index.data(OrvFotoGridModel::ThumbnailStateRole).toInt() != OrvFotoGridModel::Shown)
            ++failed;
        QString identifier = OrvPhotoKitDatabase::toLocalIdentifier(window.gridModel()->fotoAt(row).id().remoteId());
        shown.append(identifier.section(QLatin1Char('/'), 0, 0));
    }
    if (!list.isEmpty()) {
        QFile file(list);
        const QByteArray lines = (shown.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8();
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(lines) < 0) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(list));
            return 1;
        }
    }
    const qint64 thumbnailsMs = paintedMs - shownMs;
    std::printf("photos in All Photos        %d\n", window.gridModel()->rowCount());
    std::printf("first screen                %lld ms: album laid out %lld, window shown %lld, %d thumbnails of %d px in %lld ms "
                "(%.1f ms each)%s\n",
                static_cast<long long>(paintedMs), static_cast<long long>(laidOutMs), static_cast<long long>(shownMs),
                int(visible.size()), window.thumbnailEdge(), static_cast<long long>(thumbnailsMs),
                visible.isEmpty() ? 0.0 : double(thumbnailsMs) / visible.size(), complete ? "" : " (timed out)");
    std::printf("memory                      peak %lld MiB\n", static_cast<long long>(OrvBench::statusField("VmHWM:") / 1024));
    if (failed > 0 || !complete) {
        std::fprintf(stderr, "%d of %d visible thumbnails did not arrive\n", failed, int(visible.size()));
        return 1;
    }
    return 0;
}
