// Thumbnail throughput on one core: the host's loader against vipsthumbnail
// and djpeg's scaled decode (the practical limit for a JPEG thumbnail).
//
//   bench_thumbnails [data-dir] [--rounds N] [--files N] [--variants]
//
// The test photos (24 MP JPEGs) are made once and kept in data-dir.

#include "OrvFotoMetaData.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <QPainterPath>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

const QSize kPhotoSize(6000, 4000);
const QSize kThumbSize(256, 256);

struct Options
{
    QString dataDir = QStringLiteral(ORV_BENCH_DEFAULT_DIR);
    int rounds = 5;
    int files = 8;
    bool variants = false;
};

// Cheap deterministic noise; the content only has to compress like a photo.
struct XorShift
{
    quint32 state;
    quint32 next()
    {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
};

QImage makePhoto(int seed)
{
    QImage image(kPhotoSize, QImage::Format_RGB32);
    const int w = image.width();
    const int h = image.height();
    XorShift rng{quint32(0x9E3779B9u * quint32(seed + 1))};

    // Sky-like vertical gradient over a ground-like one.
    for (int y = 0; y < h; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        const double t = double(y) / h;
        for (int x = 0; x < w; ++x) {
            const double s = double(x) / w;
            const int r = int(60 + 120 * t + 40 * s + (20 * seed) % 40);
            const int g = int(110 + 90 * (1 - t) * s + 30 * t);
            const int b = int(200 - 150 * t + 30 * std::sin(6.28 * s + seed));
            line[x] = qRgb(qBound(0, r, 255), qBound(0, g, 255), qBound(0, b, 255));
        }
    }

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int i = 0; i < 60; ++i) {
        const QColor color(int(rng.next() % 256), int(rng.next() % 256), int(rng.next() % 256), 90 + int(rng.next() % 160));
        const QRectF rect(rng.next() % w - 400.0, rng.next() % h - 400.0, 200.0 + rng.next() % 1800, 200.0 + rng.next() % 1400);
        painter.setPen(QPen(color.darker(150), 4 + rng.next() % 30));
        painter.setBrush(color);
        switch (i % 3) {
        case 0:
            painter.drawEllipse(rect);
            break;
        case 1:
            painter.drawRoundedRect(rect, 60, 60);
            break;
        default: {
            QPainterPath path;
            path.moveTo(rect.topLeft());
            path.cubicTo(rect.topRight(), rect.bottomLeft(), rect.bottomRight());
            painter.drawPath(path);
        }
        }
    }
    painter.end();

    // Texture: sensor-like noise everywhere, stronger in a band of "foliage".
    for (int y = 0; y < h; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        const bool busy = y > h / 2;
        const int amplitude = busy ? 32 : 8;
        for (int x = 0; x < w; ++x) {
            const quint32 n = rng.next();
            const int dy = int(n % quint32(2 * amplitude + 1)) - amplitude;
            const int dc = int((n >> 8) % 7) - 3;
            const QRgb p = line[x];
            line[x] = qRgb(qBound(0, qRed(p) + dy + dc, 255), qBound(0, qGreen(p) + dy, 255),
                           qBound(0, qBlue(p) + dy - dc, 255));
        }
    }
    return image;
}

// Camera-like EXIF; a quarter of the photos are shot in portrait (orientation 6).
bool writePhoto(const QString& path, int index)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(90);
    if (!writer.write(makePhoto(index)))
        return false;

    OrvFotoMetaData meta;
    meta.setPictureTaken(QDateTime(QDate(2023, 6, 1 + index), QTime(10, 30)));
    meta.setCameraMake(QStringLiteral("Bench"));
    meta.setCameraModel(QStringLiteral("Synthetic 24MP"));
    meta.setOrientation(index % 4 == 3 ? 6 : 1);
    OrvNativeMetaDataExiv2 exif(meta);
    if (!exif.store(&buffer))
        return false;

    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QStringList ensurePhotos(const Options& options)
{
    QDir().mkpath(options.dataDir);
    QStringList paths;
    for (int i = 0; i < options.files; ++i) {
        const QString path = QDir(options.dataDir).filePath(QStringLiteral("photo_%1.jpg").arg(i, 2, 10, QLatin1Char('0')));
        if (!QFileInfo::exists(path)) {
            std::printf("making %s\n", qPrintable(path));
            std::fflush(stdout);
            if (!writePhoto(path, i)) {
                std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
                return {};
            }
        }
        paths << path;
    }
    return paths;
}

// Runs a program and waits; false when it cannot start or fails.
bool run(const QStringList& command, const QStringList& environment = {})
{
    std::vector<QByteArray> storage;
    for (const QString& arg : command)
        storage.push_back(QFile::encodeName(arg));
    std::vector<char*> argv;
    for (QByteArray& arg : storage)
        argv.push_back(arg.data());
    argv.push_back(nullptr);

    std::vector<QByteArray> envStorage;
    std::vector<char*> envp;
    for (char** e = environ; *e; ++e)
        envp.push_back(*e);
    for (const QString& e : environment)
        envStorage.push_back(e.toLocal8Bit());
    for (QByteArray& e : envStorage)
        envp.push_back(e.data());
    envp.push_back(nullptr);

    pid_t pid = 0;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const int rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0)
        return false;
    int status = 0;
    if (waitpid(pid, &status, 0) != pid)
        return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

struct Contender
{
    Contender(const QString& n, std::function<bool()> r) : name(n), round(std::move(r)) {}
    QString name;
    std::function<bool()> round;  // processes every photo once
    std::vector<double> seconds;
    bool failed = false;
};

double best(const std::vector<double>& values) { return *std::min_element(values.begin(), values.end()); }

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Reference thumbnail: full decode, then area-averaging down in one step.
QImage referenceThumbnail(const QString& path)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QImage full = reader.read();
    return full.scaled(OrvMediaLoader::fittedSize(full.size(), kThumbSize), Qt::IgnoreAspectRatio,
                       Qt::SmoothTransformation);
}

double psnr(const QImage& a, const QImage& b)
{
    if (a.size() != b.size())
        return 0.0;
    const QImage x = a.convertToFormat(QImage::Format_RGB32);
    const QImage y = b.convertToFormat(QImage::Format_RGB32);
    double sum = 0.0;
    for (int row = 0; row < x.height(); ++row) {
        const auto* p = reinterpret_cast<const QRgb*>(x.constScanLine(row));
        const auto* q = reinterpret_cast<const QRgb*>(y.constScanLine(row));
        for (int col = 0; col < x.width(); ++col) {
            const int dr = qRed(p[col]) - qRed(q[col]);
            const int dg = qGreen(p[col]) - qGreen(q[col]);
            const int db = qBlue(p[col]) - qBlue(q[col]);
            sum += dr * dr + dg * dg + db * db;
        }
    }
    const double mse = sum / (3.0 * x.width() * x.height());
    return mse <= 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

// What the loader does, with the JPEG quality knob exposed, for the comparison rows.
QImage readerThumbnail(const QString& path, int quality)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    if (quality >= 0)
        reader.setQuality(quality);
    const QSize stored = reader.size();
    const bool swap = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
    const QSize target = OrvMediaLoader::fittedSize(swap ? stored.transposed() : stored, kThumbSize);
    reader.setScaledSize(swap ? target.transposed() : target);
    return reader.read();
}

Options parse(const QStringList& args)
{
    Options options;
    for (int i = 1; i < args.size(); ++i) {
        const QString& arg = args[i];
        if (arg == QLatin1String("--rounds") && i + 1 < args.size())
            options.rounds = qMax(1, args[++i].toInt());
        else if (arg == QLatin1String("--files") && i + 1 < args.size())
            options.files = qMax(1, args[++i].toInt());
        else if (arg == QLatin1String("--variants"))
            options.variants = true;
        else if (!arg.startsWith(QLatin1String("--")))
            options.dataDir = arg;
    }
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    // One core for everyone: the children spawned below inherit the mask.
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    const bool pinned = sched_setaffinity(0, sizeof(one), &one) == 0;
    // vips would otherwise start a worker per core it believes it has.
    qputenv("VIPS_CONCURRENCY", "1");

    QCoreApplication app(argc, argv);
    const Options options = parse(app.arguments());
    const QStringList photos = ensurePhotos(options);
    if (photos.isEmpty())
        return 1;

    qint64 totalBytes = 0;
    for (const QString& path : photos)
        totalBytes += QFileInfo(path).size();
    std::printf("%lld photos of %dx%d, %.1f MB on average, in %s\n", static_cast<long long>(photos.size()),
                kPhotoSize.width(), kPhotoSize.height(), totalBytes / 1e6 / photos.size(), qPrintable(options.dataDir));
    std::printf("pinned to CPU 0: %s; %d rounds, best and median per contender\n\n", pinned ? "yes" : "NO",
                options.rounds);

    QTemporaryDir vipsOut;
    const QString vips = QStandardPaths::findExecutable(QStringLiteral("vipsthumbnail"));
    const QString djpeg = QStandardPaths::findExecutable(QStringLiteral("djpeg"));

    std::vector<Contender> contenders;
    contenders.emplace_back(QStringLiteral("OrvMediaLoader::load 256"), [&] {
        for (const QString& path : photos) {
            if (OrvMediaLoader::instance()->load(path, kThumbSize).isNull())
                return false;
        }
        return true;
    });
    if (options.variants) {
        // Qt streaming from the file, at the two sides of its quality threshold.
        for (int quality : {25, 75}) {
            contenders.emplace_back(QStringLiteral("QImageReader(path) quality %1").arg(quality), [&photos, quality] {
                for (const QString& path : photos) {
                    if (readerThumbnail(path, quality).isNull())
                        return false;
                }
                return true;
            });
        }
    }
    if (!vips.isEmpty()) {
        const QString output = vipsOut.path() + QStringLiteral("/%s_t.jpg");
        contenders.emplace_back(QStringLiteral("vipsthumbnail (1 process, all files)"), [&, output] {
            QStringList command{vips, QStringLiteral("--size"), QStringLiteral("256"), QStringLiteral("-o"), output};
            command += photos;
            return run(command);
        });
        contenders.emplace_back(QStringLiteral("vipsthumbnail (1 process per file)"), [&, output] {
            for (const QString& path : photos) {
                if (!run({vips, QStringLiteral("--size"), QStringLiteral("256"), QStringLiteral("-o"), output, path}))
                    return false;
            }
            return true;
        });
    }
    if (!djpeg.isEmpty()) {
        contenders.emplace_back(QStringLiteral("djpeg -scale 1/8 (1 process per file)"), [&] {
            for (const QString& path : photos) {
                if (!run({djpeg, QStringLiteral("-scale"), QStringLiteral("1/8"), QStringLiteral("-outfile"),
                          QStringLiteral("/dev/null"), path}))
                    return false;
            }
            return true;
        });
    }

    // Warm-up (page cache, plug-ins), then interleaved rounds so that load
    // from elsewhere on the machine hits every contender alike.
    for (Contender& c : contenders)
        c.failed = !c.round();
    for (int r = 0; r < options.rounds; ++r) {
        for (Contender& c : contenders) {
            if (c.failed)
                continue;
            QElapsedTimer timer;
            timer.start();
            c.failed = !c.round();
            c.seconds.push_back(timer.nsecsElapsed() / 1e9);
        }
    }

    const double n = photos.size();
    auto rate = [n](const Contender& c) { return c.failed || c.seconds.empty() ? 0.0 : n / best(c.seconds); };
    const Contender& ours = contenders.front();
    std::printf("%-40s %12s %12s\n", "contender", "best img/s", "median img/s");
    for (const Contender& c : contenders) {
        if (c.failed || c.seconds.empty())
            std::printf("%-40s %12s\n", qPrintable(c.name), "failed");
        else
            std::printf("%-40s %12.2f %12.2f\n", qPrintable(c.name), rate(c), n / median(c.seconds));
    }
    std::printf("\n");
    for (const Contender& c : contenders) {
        if (&c != &ours && rate(c) > 0 && !c.name.startsWith(QLatin1String("QImageReader")))
            std::printf("ours / %-38s %6.2f\n", qPrintable(c.name), rate(ours) / rate(c));
    }

    if (options.variants) {
        // How far each thumbnail is from a full decode scaled down in one step.
        std::printf("\nPSNR against full decode + smooth scale (dB), first photo:\n");
        const QImage reference = referenceThumbnail(photos.front());
        const QImage loaded = OrvMediaLoader::instance()->load(photos.front(), kThumbSize);
        std::printf("  OrvMediaLoader::load      %.1f\n", psnr(loaded, reference));
        for (int quality : {25, 75}) {
            const QImage variant = readerThumbnail(photos.front(), quality);
            std::printf("  QImageReader quality %-4d %.1f\n", quality, psnr(variant, reference));
        }
    }
    return 0;
}
