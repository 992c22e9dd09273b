// The photo browser on a 100 000-photo iPhoto library whose photos share a
// few hundred real JPEG files: time from start to the first screen of
// thumbnails, the longest the main thread is blocked while the "Photos" album
// scrolls from top to bottom at a steady rate, and memory after the scroll.
//
//   bench_browse_scroll [DATA_DIR] [--photos N] [--seconds S]
//
// The library is made once in DATA_DIR (scripts/make-iphoto-library.py).

#include "BenchSupport.h"
#include "OrvBrowserWindow.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoGridModel.h"
#include "OrvIPhotoDatabase.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QListView>
#include <QPainter>
#include <QProcess>
#include <QScrollBar>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int sharedImages = 300;

bool makeLibrary(const QString& dir, int photos)
{
    const QString xml = dir + QStringLiteral("/AlbumData.xml");
    if (QFile::exists(xml))
        return true;
    std::printf("making %d photos in %s\n", photos, qPrintable(dir));
    for (const char* kind : {"Masters", "Thumbnails"}) {
        const QString folder = QStringLiteral("%1/%2/shared").arg(dir, QLatin1String(kind));
        QDir().mkpath(folder);
        const QSize size = qstrcmp(kind, "Masters") == 0 ? QSize(1600, 1200) : QSize(240, 180);
        for (int i = 0; i < sharedImages; ++i) {
            QImage image(size, QImage::Format_RGB32);
            image.fill(QColor::fromHsv(i * 360 / sharedImages, 160, 220));
            QPainter painter(&image);
            painter.setPen(Qt::black);
            painter.setFont(QFont(QStringLiteral("Sans"), size.height() / 6));
            painter.drawText(image.rect(), Qt::AlignCenter, QString::number(i));
            painter.end();
            if (!image.save(QStringLiteral("%1/%2.jpg").arg(folder).arg(i, 4, 10, QLatin1Char('0')), "JPEG", 85))
                return false;
        }
    }
    const int status = QProcess::execute(
        QStringLiteral("python3"), {QStringLiteral(ORV_BENCH_SOURCE_DIR "/../scripts/make-iphoto-library.py"),
                                    QStringLiteral("--photos"), QString::number(photos), QStringLiteral("--shared-images"),
                                    QString::number(sharedImages), QStringLiteral("--image-root"), dir,
                                    QStringLiteral("--out"), xml});
    return status == 0;
}

} // namespace

int main(int argc, char** argv)
{
    QElapsedTimer sinceStart;
    sinceStart.start();
    QString dir = QStringLiteral(ORV_BENCH_DEFAULT_DIR "/browse");
    int photos = 100000;
    double seconds = 20;
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == "--photos" && i + 1 < argc)
            photos = QByteArray(argv[++i]).toInt();
        else if (argument == "--seconds" && i + 1 < argc)
            seconds = QByteArray(argv[++i]).toDouble();
        else
            dir = QString::fromLocal8Bit(argument);
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QDir().mkpath(dir);
    if (!makeLibrary(dir, photos)) {
        std::fprintf(stderr, "cannot make the library in %s\n", qPrintable(dir));
        return 1;
    }
    QDir().mkpath(dir + QStringLiteral("/config/apple"));
    QFile conf(dir + QStringLiteral("/config/apple/iphoto.conf"));
    if (!conf.open(QIODevice::WriteOnly) || conf.write("[General]\nXMLDataFilePath=" + dir.toUtf8() + "/AlbumData.xml\n") < 0)
        return 1;
    conf.close();
    qputenv("XDG_CONFIG_HOME", (dir + QStringLiteral("/config")).toLocal8Bit());

    // From here on the clock runs as a user sees it: the program starts, the library is read,
    // the album opens and its first screen of thumbnails is painted.
    sinceStart.restart();
    OrvIPhotoDatabase* source = OrvIPhotoDatabase::instance();
    const qint64 readMs = sinceStart.elapsed();
    OrvBrowserWindow window({source});
    window.resize(1280, 800);
    window.show();
    const qint64 shownMs = sinceStart.elapsed();
    if (!window.openAlbum(QStringLiteral("iphoto"), QStringLiteral("Photos"))) {
        std::fprintf(stderr, "no album Photos\n");
        return 1;
    }
    const int rows = window.gridModel()->rowCount();
    QCoreApplication::processEvents();
    const qint64 openedMs = sinceStart.elapsed();
    window.waitForVisibleThumbnails(30000);
    window.gridView()->viewport()->repaint();
    const qint64 firstScreenMs = sinceStart.elapsed();

    // Event-loop stalls: the longest gap between two turns of a 1 ms timer.
    QElapsedTimer turns;
    turns.start();
    qint64 last = 0;
    qint64 longest = 0;
    QTimer probe;
    QObject::connect(&probe, &QTimer::timeout, [&] {
        const qint64 now = turns.nsecsElapsed();
        longest = qMax(longest, now - last);
        last = now;
    });
    // Steady scrolling: the scroll bar moves at one pace from top to bottom.
    QScrollBar* bar = window.gridView()->verticalScrollBar();
    QElapsedTimer scrolling;
    QTimer scroller;
    QObject::connect(&scroller, &QTimer::timeout, [&] {
        const double done = qMin(1.0, scrolling.elapsed() / (seconds * 1000.0));
        bar->setValue(int(bar->maximum() * done));
        if (done >= 1.0)
            app.quit();
    });
    scrolling.start();
    probe.start(1);
    scroller.start(16);
    last = turns.nsecsElapsed();
    app.exec();
    probe.stop();
    window.waitForVisibleThumbnails(10000);

    const qint64 budget = OrvSingleton<OrvFotoCacheManager>::instance()->budget();
    const qint64 cached = OrvSingleton<OrvFotoCacheManager>::instance()->bytesUsed();
    std::printf("photos in the album          %d\n", rows);
    std::printf("first screen of thumbnails   %lld ms (goal 1500): library read %lld, window shown %lld, album laid out %lld\n",
                static_cast<long long>(firstScreenMs), static_cast<long long>(readMs), static_cast<long long>(shownMs),
                static_cast<long long>(openedMs));
    std::printf("scroll to the bottom         %.0f s, scroll bar range %d px\n", seconds, bar->maximum());
    std::printf("longest main-thread stall    %.1f ms (goal 50)\n", longest / 1e6);
    std::printf("memory after the scroll      %lld MiB resident, peak %lld MiB\n",
                static_cast<long long>(OrvBench::statusField("VmRSS:") / 1024), static_cast<long long>(OrvBench::statusField("VmHWM:") / 1024));
    std::printf("foto cache                   %lld of %lld MiB\n", static_cast<long long>(cached >> 20),
                static_cast<long long>(budget >> 20));
    return 0;
}
