// Photos assets, each measured as a whole process so that it can be timed
// next to a peer command on the same files:
//
//   bench_photokit_assets make DIR          makes DIR/photo-N.jpg (24 MP) and DIR/photo.heic (12 MP, EXIF)
//   bench_photokit_assets thumbs DIR        256-pixel bitmaps of the JPEGs through retriever, source,
//                                           loader and image manager into the foto cache
//   bench_photokit_assets direct DIR        the same files through OrvMediaLoader's scaled decoding
//   bench_photokit_assets heic DIR          the full image of the HEIC through the loader (recoded to
//                                           JPEG, metadata read, decoded, sRGB)
//   bench_photokit_assets list N            QDir::entryList of "photokitfs:" on a simulated library of N
//                                           assets, unsorted (QDir::NoSort means QDir's default, by name)
//   bench_photokit_assets sorted N          the same sorted by name, ignoring case: Qt's sorting on top
//   bench_photokit_assets fetch N           the simulation's own fetch of those N assets, walked
//
// Peers: thumbs against direct; heic against heif-convert to JPEG and djpeg of
// its output; list against fetch (the difference per asset is the engine's).
// Each mode also prints the time of its measured part.

#include "OrvApplePhotosFile.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoMetaData.h"
#include "OrvFotoRetrieverInterfacePhotoKit.h"
#include "OrvImageIO.h"
#include "OrvImageIOQt.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"
#include "OrvPhotoKitDatabase.h"
#include "sim/OrvPhotoKitSimLibrary.h"
#include "OrvQtCompat.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImageWriter>

#include <cstdio>
#include <memory>

namespace {

constexpr int kJpegs = 6;
constexpr int kRounds = 2;
const QSize kThumb(256, 256);

QByteArray noisyJpeg(const QSize& size, quint32 seed)
{
    QImage image(size, QImage::Format_RGB32);
    quint32 state = seed;
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            state ^= state << 13;
            state ^= state >> 17;
            state ^= state << 5;
            // A gradient with a little noise compresses like a photo.
            line[x] = qRgb((x * 255 / size.width() + (state & 15)) & 255, (y * 255 / size.height() + ((state >> 4) & 15)) & 255,
                           ((x + y) / 16 + ((state >> 8) & 31)) & 255);
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(90);
    writer.write(image);
    return bytes;
}

int make(const QString& dir)
{
    QDir().mkpath(dir);
    for (int i = 0; i < kJpegs; ++i) {
        QFile file(QDir(dir).filePath(QStringLiteral("photo-%1.jpg").arg(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write(noisyJpeg(QSize(6000, 4000), 1234567u + quint32(i))) <= 0)
            return 1;
    }
    // The HEIC: a 12-megapixel JPEG with EXIF, recoded by the image I/O (libheif).
    OrvFotoMetaData data;
    data.setValid(true);
    data.setPictureTaken(OrvQt::utc(QDate(2023, 5, 6), QTime(7, 8, 9)));
    data.setGeoPosition(OrvGeoPosition(47.37, 8.54));
    data.setCameraMake(QStringLiteral("Apple"));
    QBuffer jpeg;
    jpeg.setData(noisyJpeg(QSize(4032, 3024), 42u));
    jpeg.open(QIODevice::ReadWrite);
    OrvNativeMetaDataExiv2(data).store(&jpeg);
    const auto imageIO = OrvImageIO::sharedImageIO();
    const auto source = imageIO->createImageSourceWithData(jpeg.data(), {});
    QByteArray heic;
    const auto destination = imageIO->createImageDestinationWithData(&heic, QStringLiteral("public.heic"), 1);
    destination->addImageFromSource(source, 0, source->copyPropertiesAtIndex(0, {}));
    QFile file(QDir(dir).filePath(QStringLiteral("photo.heic")));
    return destination->finalize() && file.open(QIODevice::WriteOnly) && file.write(heic) > 0 ? 0 : 1;
}

// A library whose assets are the given files.
std::shared_ptr<OrvPhotoKitSim::Library> libraryOf(const QStringList& files, QSize size)
{
    auto library = OrvPhotoKitSim::Library::create();
    library->setAuthorizationStatus(OrvPhotoKit::AuthorizationStatus::Authorized);
    library->performChanges([&] {
        for (int i = 0; i < files.size(); ++i) {
            OrvPhotoKitSim::AssetSpec asset;
            asset.localIdentifier = QStringLiteral("BENCH-%1/L0/001").arg(i);
            asset.creationDate = OrvQt::utc(QDate(2023, 1, 1), QTime(12, 0)).addDays(i);
            asset.pixelWidth = size.width();
            asset.pixelHeight = size.height();
            asset.resources.append({QFileInfo(files[i]).fileName(), OrvPhotoKit::AssetResourceType::Photo, files[i], false});
            library->addAsset(asset);
        }
    });
    return library;
}

QStringList jpegsIn(const QString& dir)
{
    QStringList files;
    for (int i = 0; i < kJpegs; ++i)
        files.append(QDir(dir).filePath(QStringLiteral("photo-%1.jpg").arg(i)));
    return files;
}

int thumbs(const QString& dir, bool direct)
{
    const QStringList files = jpegsIn(dir);
    OrvPhotoKitSim::setSharedLibrary(libraryOf(files, QSize(6000, 4000)));
    OrvPhotoKitDatabase* source = OrvSingleton<OrvPhotoKitDatabase>::instance();
    OrvFotoCacheManager* cache = OrvSingleton<OrvFotoCacheManager>::instance();
    QElapsedTimer timer;
    timer.start();
    int made = 0;
    for (int round = 0; round < kRounds; ++round) {
        // Every round decodes again: the cache is emptied first.
        cache->clear();
        for (int i = 0; i < files.size(); ++i) {
            if (direct) {
                made += OrvMediaLoader::instance()->load(files[i], kThumb).isNull() ? 0 : 1;
                continue;
            }
            const OrvExternalId id(QStringLiteral("photokit"), QStringLiteral("foto"),
                                   OrvPhotoKitDatabase::fromLocalIdentifier(QStringLiteral("BENCH-%1/L0/001").arg(i)));
            std::unique_ptr<OrvFotoRetrieverInterface> retriever(source->createRetrieverInterface(id));
            std::unique_ptr<OrvFotoRetrieverData> data(retriever->retrieve(kThumb));
            made += data->drawable(kThumb).isValid() ? 1 : 0;
        }
    }
    std::printf("%s: %d thumbnails of 24 MP in %.1f ms (%.2f ms each)\n", direct ? "direct" : "thumbs", made,
                double(timer.nsecsElapsed()) / 1e6, double(timer.nsecsElapsed()) / 1e6 / std::max(1, made));
    return made == kJpegs * kRounds ? 0 : 1;
}

int heic(const QString& dir)
{
    OrvPhotoKitSim::setSharedLibrary(libraryOf({QDir(dir).filePath(QStringLiteral("photo.heic"))}, QSize(4032, 3024)));
    OrvPhotoKitDatabase* source = OrvSingleton<OrvPhotoKitDatabase>::instance();
    const OrvExternalId id(QStringLiteral("photokit"), QStringLiteral("foto"),
                           OrvPhotoKitDatabase::fromLocalIdentifier(QStringLiteral("BENCH-0/L0/001")));
    QElapsedTimer timer;
    timer.start();
    const QImage image = source->drawable(id, FOTO_CACHE_SIZE_FULL, true).image();
    const bool dated = OrvSingleton<OrvFotoCacheManager>::instance()
                           ->metaData(OrvFoto(OrvFotoKeyExternalService(source, id)))
                           .pictureTaken()
                           .isValid();
    std::printf("heic: %dx%d, metadata %s, in %.1f ms\n", image.width(), image.height(), dated ? "read" : "missing",
                double(timer.nsecsElapsed()) / 1e6);
    return image.isNull() || !dated ? 1 : 0;
}

enum class Listing { Fetch, Engine, EngineSorted };

int list(int count, Listing listing)
{
    auto library = OrvPhotoKitSim::Library::create();
    library->performChanges([&] {
        for (int i = 0; i < count; ++i) {
            OrvPhotoKitSim::AssetSpec asset;
            asset.localIdentifier = QStringLiteral("%1-4F2A-9C3E-%2/L0/001").arg(i, 8, 16, QLatin1Char('0')).arg(i % 977, 12, 10, QLatin1Char('0'));
            asset.creationDate = OrvQt::utc(QDate(2005, 1, 1), QTime(8, 0)).addSecs(qint64(i) * 6000);
            library->addAsset(asset);
        }
    });
    OrvPhotoKitSim::setSharedLibrary(library);
    QElapsedTimer timer;
    timer.start();
    qsizetype entries = 0;
    if (listing != Listing::Fetch) {
        const QDir::SortFlags sort = listing == Listing::Engine ? QDir::SortFlags(QDir::Unsorted) : QDir::Name | QDir::IgnoreCase;
        entries = QDir(QStringLiteral("photokitfs:")).entryList(QDir::AllEntries | QDir::System, sort).size();
    } else {
        const OrvPhotoKit::FetchOptions options;
        const auto assets = OrvPhotoKit::sharedPhotoLibrary()->fetchAssetsWithOptions(&options);
        for (qsizetype i = 0; i < assets->count(); ++i)
            entries += OrvPhotoKit::asAsset(assets->objectAtIndex(i)) ? 1 : 0;
    }
    std::printf("%s: %lld entries in %.1f ms (%.3f us each)\n", listing == Listing::Fetch ? "fetch" : listing == Listing::Engine ? "list" : "sorted", qlonglong(entries),
                double(timer.nsecsElapsed()) / 1e6, double(timer.nsecsElapsed()) / 1e3 / std::max<qsizetype>(1, entries));
    return entries == count ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() != 3) {
        std::fprintf(stderr, "usage: bench_photokit_assets make|thumbs|direct|heic DIR | list|sorted|fetch N\n");
        return 2;
    }
    OrvPhotoKitSim::install();
    OrvImageIOQt::install();
    OrvApplePhotosFile::installHandler();
    OrvSingleton<OrvFotoCacheManager>::instance()->setBudget(qint64(1) << 30);
    const QString mode = arguments.at(1);
    const QString value = arguments.at(2);
    if (mode == QLatin1String("make"))
        return make(value);
    if (mode == QLatin1String("thumbs") || mode == QLatin1String("direct"))
        return thumbs(value, mode == QLatin1String("direct"));
    if (mode == QLatin1String("heic"))
        return heic(value);
    if (mode == QLatin1String("list"))
        return list(value.toInt(), Listing::Engine);
    if (mode == QLatin1String("sorted"))
        return list(value.toInt(), Listing::EngineSorted);
    if (mode == QLatin1String("fetch"))
        return list(value.toInt(), Listing::Fetch);
    std::fprintf(stderr, "unknown mode %s\n", qPrintable(mode));
    return 2;
}
