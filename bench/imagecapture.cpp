// Cameras through libgphoto2's directory driver, as the Image Capture source
// reads them: listing to the complete catalogue, every file downloaded through
// the source's retrievers, and the thumbnails of the first 100 items. Whole
// processes, to be timed next to gphoto2 and cp -r on the same folder.
//
//   bench_imagecapture make DIR            2 000 small JPEGs and 20 of 24 megapixels, with EXIF thumbnails
//   bench_imagecapture list DIR            until the catalogue is complete
//   bench_imagecapture download DIR        every file's bytes through the retrievers (into memory)
//   bench_imagecapture export DIR OUT      every file through the retrievers into OUT (as export saves them)
//   bench_imagecapture thumbnails DIR      until the first 100 items (in the album's order) have thumbnails
//   ... --cold                             drops the page cache once the catalogue is complete (root
//                                          only), so the files come from the disk, as from a card in a
//                                          running application, while the program itself stays loaded

#include "OrvAppleImageCaptureDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetriever.h"
#include "OrvTargetFolder.h"
#include "gphoto2/OrvGPhoto2Backend.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImageWriter>
#include <QLinearGradient>
#include <QPainter>
#include <QRandomGenerator>
#include <QSet>
#include <QTimer>

#include <atomic>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

QByteArray encode(const QImage& image, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(quality);
    writer.write(image);
    return bytes;
}

QImage picture(int width, int height, int seed)
{
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, width, height);
    gradient.setColorAt(0, QColor::fromHsv(seed * 37 % 360, 120, 230));
    gradient.setColorAt(1, QColor::fromHsv(seed * 91 % 360, 200, 90));
    painter.fillRect(image.rect(), gradient);
    QRandomGenerator random{quint32(seed)};
    for (int i = 0; i < 60; ++i) {
        painter.setBrush(QColor::fromRgb(random.generate()));
        painter.drawEllipse(random.bounded(width), random.bounded(height), width / 8, height / 8);
    }
    painter.end();
    // Some grain, as a sensor gives: keeps the JPEG at a camera's size.
    for (int y = 0; y < height; y += 2) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; x += 3)
            line[x] ^= random.generate() & 0x0F0F0F;
    }
    return image;
}

// A camera's JPEG: the picture with its capture date and thumbnail in the EXIF block.
QByteArray cameraJpeg(int width, int height, int seed)
{
    const QImage image = picture(width, height, seed);
    const QByteArray thumbnail = encode(image.scaled(160, 120, Qt::KeepAspectRatio, Qt::SmoothTransformation), 80);
    QByteArray tiff("II*\0\x08\0\0\0", 8);
    auto put16 = [&](quint16 v) { tiff.append(char(v & 0xFF)).append(char(v >> 8)); };
    auto put32 = [&](quint32 v) { put16(quint16(v & 0xFFFF)), put16(quint16(v >> 16)); };
    // IFD0 (at 8) points to the EXIF IFD (at 26), whose DateTimeOriginal text is at 44; IFD1 at 64.
    put16(1), put16(0x8769), put16(4), put32(1), put32(26), put32(64);
    put16(1), put16(0x9003), put16(2), put32(20), put32(44), put32(0);
    tiff.append(QStringLiteral("2024:%1:%2 %3:%4:00")
                    .arg(1 + seed % 12, 2, 10, QLatin1Char('0'))
                    .arg(1 + seed % 28, 2, 10, QLatin1Char('0'))
                    .arg(seed % 24, 2, 10, QLatin1Char('0'))
                    .arg(seed % 60, 2, 10, QLatin1Char('0'))
                    .toLatin1())
        .append('\0');
    put16(2);
    put16(0x0201), put16(4), put32(1), put32(64 + 2 + 24 + 4);
    put16(0x0202), put16(4), put32(1), put32(quint32(thumbnail.size()));
    put32(0);
    tiff.append(thumbnail);
    const QByteArray payload = QByteArray("Exif\0\0", 6) + tiff;
    const QByteArray main = encode(image, 90);
    QByteArray segment("\xFF\xE1", 2);
    segment.append(char((payload.size() + 2) >> 8)).append(char((payload.size() + 2) & 0xFF)).append(payload);
    return main.left(2) + segment + main.mid(2);
}

// Runs the event loop until the condition holds, looking every few milliseconds
// (processEvents with a time limit would spin, taking a core from the loading threads).
void runUntil(const std::function<bool()>& condition)
{
    if (condition())
        return;
    QEventLoop loop;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (condition())
            loop.quit();
    });
    check.start(2);
    loop.exec();
}

int make(const QString& dir)
{
    for (int i = 0; i < 2020; ++i) {
        const bool large = i >= 2000;
        const QString folder = QStringLiteral("%1/DCIM/%2").arg(dir).arg(large ? QStringLiteral("101LARGE") : QStringLiteral("100SMALL"));
        QDir().mkpath(folder);
        QFile file(QStringLiteral("%1/IMG_%2.JPG").arg(folder).arg(i, 4, 10, QLatin1Char('0')));
        const QByteArray bytes = large ? cameraJpeg(6000, 4000, i) : cameraJpeg(640, 480, i);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() < 3) {
        std::fprintf(stderr, "usage: bench_imagecapture make|list|download|export|thumbnails DIR [OUT]\n");
        return 1;
    }
    const QString mode = arguments.at(1);
    const QString dir = QDir(arguments.at(2)).absolutePath();
    if (mode == QLatin1String("make"))
        return make(dir);

    OrvGPhoto2::install(false);
    OrvAppleImageCaptureDatabase database;
    database.doLazyInit();
    if (!OrvGPhoto2::addCamera(QStringLiteral("Directory Browse"), QStringLiteral("disk:") + dir))
        return 1;
    QElapsedTimer clock;
    clock.start();
    const OrvExternalId album(OrvAppleImageCaptureDatabase::URLScheme, QStringLiteral("album"),
                              OrvGPhoto2::uuidFor(QStringLiteral("port:Directory Browse=disk:") + dir));
    // The catalogue is complete when the album has its fotos.
    runUntil([&] { return database.findAlbum(album).isValid() && !database.isStillGatheringFotos(); });
    const OrvExternalFotoList fotos = database.getExternalDataPoolConst().fotosInAlbum(album);
    std::fprintf(stderr, "%lld fotos listed in %lld ms\n", (long long)fotos.size(), (long long)clock.elapsed());
    if (arguments.contains(QLatin1String("--cold"))) {
        ::sync();
        QFile drop(QStringLiteral("/proc/sys/vm/drop_caches"));
        if (!drop.open(QIODevice::WriteOnly) || drop.write("3\n") != 2) {
            std::fprintf(stderr, "cannot drop the page cache (root only)\n");
            return 1;
        }
    }
    if (mode == QLatin1String("list"))
        return fotos.isEmpty() ? 1 : 0;

    if (mode == QLatin1String("thumbnails")) {
        // As a view does: asks once, then again for each foto the source says has a new bitmap.
        QSet<OrvExternalId> waiting;
        for (const OrvExternalFoto& foto : fotos.mid(0, 100))
            waiting.insert(foto.id());
        const qsizetype wanted = waiting.size();
        auto hasThumbnail = [&](const OrvExternalId& id) {
            return database.drawable(id, QSize(160, 160)).image() != OrvFotoCacheDrawable::placeHolder().image();
        };
        clock.restart();
        QObject::connect(OrvSingleton<OrvFotoChangeDispatcher>::instance(), &OrvFotoChangeDispatcher::newAvailableBitmap, &app,
                         [&](const OrvFoto& foto, const QSize&) {
                             if (waiting.contains(foto.externalId()) && hasThumbnail(foto.externalId()))
                                 waiting.remove(foto.externalId());
                         });
        for (auto it = waiting.begin(); it != waiting.end();)
            it = hasThumbnail(*it) ? waiting.erase(it) : std::next(it);
        runUntil([&] { return waiting.isEmpty(); });
        std::fprintf(stderr, "thumbnails of the first %lld in %lld ms\n", (long long)wanted, (long long)clock.elapsed());
        return 0;
    }

    // Downloads: two loading threads, as a host has, while the main thread delivers the completions.
    const bool toFolder = mode == QLatin1String("export");
    if (toFolder && arguments.size() < 4)
        return 1;
    std::atomic<qint64> bytes{0};
    std::atomic<int> failed{0};
    std::atomic<int> running{2};
    std::vector<std::thread> threads;
    clock.restart();
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&, t] {
            // One folder object per thread: it keeps the last error of its own writes.
            std::unique_ptr<OrvTargetFolder> out = toFolder ? std::make_unique<OrvTargetFolder>(arguments.at(3)) : nullptr;
            for (qsizetype i = t; i < fotos.size(); i += 2) {
                const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database.createRetrieverInterface(fotos.at(i).id()));
                const std::unique_ptr<OrvFotoRetrieverData> data(retriever->retrieve(FOTO_CACHE_SIZE_FULL));
                if (toFolder) {
                    const QString name = fotos.at(i).id().remoteId().section(QLatin1Char('/'), -2).replace(QLatin1Char('/'), QLatin1Char('-'));
                    if (!data->saveFile(OrvMediaFormat(), out.get(), name))
                        ++failed;
                } else {
                    const QByteArray file = data->file(OrvMediaFormat(OrvMediaFormat::Jpeg));
                    file.isEmpty() ? ++failed : bytes += file.size();
                }
            }
            --running;
        });
    }
    // The main thread runs its event loop, as a host's does, and delivers the completions.
    runUntil([&] { return running == 0; });
    for (std::thread& thread : threads)
        thread.join();
    std::fprintf(stderr, "%lld fotos (%lld MB) in %lld ms, %d failed\n", (long long)fotos.size(), (long long)(bytes / 1000000),
                 (long long)clock.elapsed(), failed.load());
    return failed > 0 ? 2 : 0;
}
