// Images and data of a library package: the current version in its own type,
// the edit of an edited photo and the original of the others, the smallest
// rendition that covers a size, and errors (never made-up pixels) for files
// that are missing, damaged, in iCloud only, or no files at all.

#include "OrvImageIOQt.h"
#include "OrvPhotosLibraryPackage.h"
#include "OrvPhotosLibraryResource.h"
#include "PhotosLibraryTestSupport.h"
#include "TestSupport.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QImageWriter>
#include <QThread>

using namespace OrvPhotoKit;
using namespace PhotosLibraryTest;

namespace {

const QString edited = QStringLiteral("3A71DE26-EDEF-41D3-86C1-E8328DFC9FA0");
const QString sideways = QStringLiteral("F8EFA39F-7D26-4DC2-82FE-CC9357F19F00");

QString originalOf(const QString& uuid) { return QStringLiteral("originals/%1/%2.jpeg").arg(uuid.left(1), uuid); }
QString thumbnailOf(const QString& uuid)
{
    return QStringLiteral("resources/derivatives/masters/%1/%2_4_5005_c.jpeg").arg(uuid.left(1), uuid);
}
QString previewOf(const QString& uuid) { return QStringLiteral("resources/derivatives/%1/%2_1_105_c.jpeg").arg(uuid.left(1), uuid); }

QByteArray solidJpeg(QSize size, QColor colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, "jpeg").write(image);
    return bytes;
}

// A JPEG whose header declares width x height (its data is that of a 16x16 one).
QByteArray declaringJpeg(int width, int height)
{
    QByteArray bytes = solidJpeg(QSize(16, 16), Qt::gray);
    const qsizetype sof = bytes.indexOf(QByteArray("\xFF\xC0", 2));
    if (sof >= 0) {
        bytes[sof + 5] = char(height >> 8);
        bytes[sof + 6] = char(height & 0xff);
        bytes[sof + 7] = char(width >> 8);
        bytes[sof + 8] = char(width & 0xff);
    }
    return bytes;
}

bool greyish(const QImage& image)
{
    for (int y = 0; y < image.height(); y += 7) {
        for (int x = 0; x < image.width(); x += 7) {
            const QColor c = image.pixelColor(x, y);
            if (std::abs(c.red() - c.green()) > 12 || std::abs(c.green() - c.blue()) > 12)
                return false;
        }
    }
    return true;
}

struct ImageResult
{
    QImage image;
    QVariantMap info;
    int calls = 0;
};

class PackageImages : public RealLibraryTest
{
protected:
    void SetUp() override
    {
        RealLibraryTest::SetUp();
        OrvImageIOQt::install();
    }
    void openCopy()
    {
        copy = std::make_unique<PackageCopy>(library);
        reopen();
    }
    void reopen()
    {
        QString error;
        package = open(copy ? copy->path() : library, &error);
        ASSERT_TRUE(package) << error.toStdString();
    }
    AssetPtr asset(const QString& uuid)
    {
        return asAsset(package->fetchAssetsWithLocalIdentifiers({uuid + QStringLiteral("/L0/001")}, nullptr)->firstObject());
    }
    ImageResult image(const QString& uuid, QSizeF target, ImageContentMode mode = ImageContentMode::AspectFill)
    {
        ImageRequestOptions options;
        options.synchronous = true;
        ImageResult result;
        package->defaultManager()->requestImageForAsset(asset(uuid), target, mode, options, [&](const QImage& image, const QVariantMap& info) {
            result.image = image;
            result.info = info;
            ++result.calls;
        });
        return result;
    }
    struct DataResult
    {
        QByteArray data;
        QString type;
        int orientation = 0;
        QVariantMap info;
    };
    DataResult data(const QString& uuid)
    {
        ImageRequestOptions options;
        options.synchronous = true;
        DataResult result;
        package->defaultManager()->requestImageDataAndOrientationForAsset(
            asset(uuid), options, [&](const QByteArray& bytes, const QString& type, int orientation, const QVariantMap& info) {
                result = {bytes, type, orientation, info};
            });
        return result;
    }

    std::shared_ptr<OrvPhotosLibrary::Package> package;
};

} // namespace

TEST_F(PackageImages, AnEditedPhotoShowsItsEditAndItsOriginalStaysTheOriginal)
{
    reopen();
    const DataResult current = data(edited);
    EXPECT_EQ(current.data, OrvTest::readFile(library + QStringLiteral("/resources/renders/3/") + edited + QStringLiteral("_1_201_a.jpeg")));
    EXPECT_EQ(current.type, QStringLiteral("public.jpeg"));
    EXPECT_EQ(current.orientation, 1);

    // The edit is black and white; the original, in colour, is its resource of type photo.
    const ImageResult full = image(edited, ImageManagerMaximumSize);
    ASSERT_FALSE(full.image.isNull());
    EXPECT_EQ(full.image.size(), QSize(701, 903));
    EXPECT_TRUE(greyish(full.image));
    const ImageResult small = image(edited, QSizeF(120, 120));
    ASSERT_FALSE(small.image.isNull());
    EXPECT_TRUE(greyish(small.image));
    const auto resources = package->assetResourcesForAsset(asset(edited));
    ASSERT_FALSE(resources.isEmpty());
    const auto* original = dynamic_cast<const OrvPhotosLibrary::Resource*>(resources.first().get());
    ASSERT_TRUE(original);
    EXPECT_EQ(original->type(), AssetResourceType::Photo);
    EXPECT_EQ(OrvTest::readFile(original->filePath()), OrvTest::readFile(library + QLatin1Char('/') + originalOf(edited)));
    QImage colour;
    ASSERT_TRUE(colour.load(original->filePath()));
    EXPECT_FALSE(greyish(colour));
}

TEST_F(PackageImages, AnUneditedPhotoIsItsOriginalWithTheOrientationApplied)
{
    reopen();
    const DataResult current = data(sideways);
    EXPECT_EQ(current.data, OrvTest::readFile(library + QLatin1Char('/') + originalOf(sideways)));
    EXPECT_EQ(current.type, QStringLiteral("public.jpeg"));
    EXPECT_EQ(current.orientation, 6);
    const ImageResult full = image(sideways, ImageManagerMaximumSize);
    EXPECT_EQ(full.image.size(), QSize(3024, 4032));
    EXPECT_EQ(full.calls, 1);
}

TEST_F(PackageImages, ASizeComesFromTheSmallestRenditionThatCoversIt)
{
    openCopy();
    // Each file its own colour: which one answered shows in the pixels.
    ASSERT_TRUE(OrvTest::writeFile(copy->file(thumbnailOf(sideways)), solidJpeg(QSize(360, 480), Qt::red)));
    ASSERT_TRUE(OrvTest::writeFile(copy->file(previewOf(sideways)), solidJpeg(QSize(768, 1024), Qt::green)));
    ASSERT_TRUE(OrvTest::writeFile(copy->file(originalOf(sideways)), OrvTest::makeJpeg(4032, 3024, 6)));
    const auto centre = [](const ImageResult& result) { return result.image.pixelColor(result.image.rect().center()); };

    // As PhotoKit resizes by default (fast): the smallest eighth of the file that covers
    // the size needed, which fills the target and keeps the shape (300 x 400: 7/8 of 360 x 480).
    ImageResult result = image(sideways, QSizeF(300, 300));
    EXPECT_EQ(result.image.size(), QSize(315, 420));
    EXPECT_GT(centre(result).red(), 200);
    EXPECT_LT(centre(result).green(), 60);
    result = image(sideways, QSizeF(300, 300), ImageContentMode::AspectFit);
    EXPECT_EQ(result.image.size(), QSize(225, 300)) << "225 x 300 is 5/8";
    result = image(sideways, QSizeF(600, 600));
    EXPECT_EQ(result.image.size(), QSize(672, 896)) << "7/8 of the 768 x 1024 preview";
    EXPECT_GT(centre(result).green(), 200);
    EXPECT_LT(centre(result).red(), 60);
    // Beyond the renditions: the original, turned upright (its red corner ends at the top right).
    result = image(sideways, QSizeF(2000, 2000));
    EXPECT_EQ(result.image.size(), QSize(2268, 3024)) << "6/8 of the upright original, covering 2000 x 2667";
    const QColor topRight = result.image.pixelColor(result.image.width() - 10, 10);
    EXPECT_GT(topRight.red(), 200);
    EXPECT_LT(topRight.blue(), 60);

    // A rendition that is missing or damaged passes the request on to the next.
    QFile::remove(copy->file(thumbnailOf(sideways)));
    EXPECT_GT(centre(image(sideways, QSizeF(100, 100))).green(), 200);
    ASSERT_TRUE(OrvTest::writeFile(copy->file(thumbnailOf(sideways)), solidJpeg(QSize(360, 480), Qt::red).left(300)));
    EXPECT_GT(centre(image(sideways, QSizeF(100, 100))).green(), 200);
}

TEST_F(PackageImages, FilesThatAreMissingDamagedOrNoFilesGiveErrorsNeverPixels)
{
    openCopy();
    const QString original = copy->file(originalOf(sideways));
    const QByteArray bytes = OrvTest::readFile(original);
    const auto fails = [&](const char* what) {
        SCOPED_TRACE(what);
        const ImageResult full = image(sideways, ImageManagerMaximumSize);
        EXPECT_TRUE(full.image.isNull());
        EXPECT_TRUE(full.info.contains(ImageErrorKey));
        EXPECT_EQ(full.calls, 1);
        const DataResult current = data(sideways);
        EXPECT_TRUE(current.data.isEmpty());
        EXPECT_TRUE(current.info.contains(ImageErrorKey));
        // Renditions still answer for the sizes they cover.
        EXPECT_FALSE(image(sideways, QSizeF(200, 200)).image.isNull());
    };
    ASSERT_TRUE(OrvTest::writeFile(original, bytes.left(bytes.size() / 2)));
    fails("truncated");
    QFile::remove(original);
    fails("missing");
    ASSERT_TRUE(OrvTest::makeFifo(original));
    fails("a named pipe");
    QFile::remove(original);
    ASSERT_TRUE(QDir().mkpath(original));
    fails("a folder");
    QDir(original).removeRecursively();
    ASSERT_TRUE(OrvTest::writeFile(original, declaringJpeg(60000, 60000)));
    fails("60000 x 60000 pixels");

    // Renditions that are no files or claim billions of pixels are passed over as well.
    for (const QString& rendition : {thumbnailOf(sideways), previewOf(sideways)}) {
        QFile::remove(copy->file(rendition));
        ASSERT_TRUE(OrvTest::makeFifo(copy->file(rendition)));
    }
    EXPECT_TRUE(image(sideways, QSizeF(100, 100)).image.isNull());
    QFile::remove(copy->file(previewOf(sideways)));
    ASSERT_TRUE(OrvTest::writeFile(copy->file(previewOf(sideways)), declaringJpeg(60000, 60000)));
    EXPECT_TRUE(image(sideways, QSizeF(100, 100)).image.isNull());
}

TEST_F(PackageImages, AnOriginalOnlyInICloudIsReportedAsInTheCloud)
{
    openCopy();
    QFile::remove(copy->file(originalOf(sideways)));
    ASSERT_TRUE(copy->sql(QStringLiteral("UPDATE ZINTERNALRESOURCE SET ZLOCALAVAILABILITY = -1, ZREMOTEAVAILABILITY = 1 "
                                         "WHERE ZASSET = 2 AND ZDATASTORESUBTYPE = 1")));
    reopen();
    const ImageResult full = image(sideways, ImageManagerMaximumSize);
    EXPECT_TRUE(full.image.isNull());
    EXPECT_TRUE(full.info.value(ImageResultIsInCloudKey).toBool());
    const DataResult current = data(sideways);
    EXPECT_TRUE(current.data.isEmpty());
    EXPECT_TRUE(current.info.value(ImageResultIsInCloudKey).toBool());
    // What Photos keeps on the Mac of it still shows.
    EXPECT_FALSE(image(sideways, QSizeF(256, 256)).image.isNull());
    const auto resources = package->assetResourcesForAsset(asset(sideways));
    ASSERT_EQ(resources.size(), 1);
    EXPECT_TRUE(static_cast<const OrvPhotosLibrary::Resource&>(*resources.first()).isInCloud());
}

TEST_F(PackageImages, AsynchronousRequestsAnswerOnTheMainThread)
{
    reopen();
    ImageRequestOptions options;
    ImageResult result;
    bool onMain = false;
    package->defaultManager()->requestImageForAsset(asset(sideways), QSizeF(64, 64), ImageContentMode::AspectFill, options,
                                                    [&](const QImage& image, const QVariantMap& info) {
                                                        result = {image, info, result.calls + 1};
                                                        onMain = QThread::currentThread() == QCoreApplication::instance()->thread();
                                                    });
    ASSERT_TRUE(OrvTest::waitFor([&] { return result.calls > 0; }, 20000));
    EXPECT_TRUE(onMain);
    EXPECT_EQ(result.image.size(), QSize(90, 120)) << "2/8 of the thumbnail, covering 64 x 86";
    QString type;
    package->defaultManager()->requestImageDataAndOrientationForAsset(
        asset(edited), options, [&](const QByteArray&, const QString& dataType, int, const QVariantMap&) { type = dataType; });
    ASSERT_TRUE(OrvTest::waitFor([&] { return !type.isEmpty(); }, 20000));
    EXPECT_EQ(type, QStringLiteral("public.jpeg"));
}
