// What an export makes of a camera's files, whatever they hold: photos of the
// kind their names say, recoded where another kind was asked for, and nothing
// for what is no whole image (the source's placeholder never stands in).

#include "ImageCaptureFixture.h"

#include "OrvFotoCacheManager.h"
#include "OrvFotoExporter.h"
#include "OrvFotoRetriever.h"
#include "OrvMediaCheck.h"
#include "TestSupport.h"

#include <QBuffer>
#include <QDir>
#include <QImageWriter>
#include <QTemporaryDir>

namespace {

QByteArray png(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, "png").write(image);
    return bytes;
}

// A small PNG whose header promises 60000 x 60000 pixels.
QByteArray pngBomb()
{
    QByteArray bytes = png(64, 4);
    const qsizetype header = bytes.indexOf("IHDR") + 4;
    bytes.replace(header, 8, QByteArray("\x00\x00\xEA\x60\x00\x00\xEA\x60", 8));
    return bytes;
}

OrvMediaFormat formatOfFile(const QString& path) { return OrvMediaCheck::formatOf(OrvTest::readFile(path).left(32)); }

} // namespace

class ImageCaptureExport : public ImageCaptureTest
{
protected:
    void SetUp() override
    {
        ImageCaptureTest::SetUp();
        source().doLazyInit();
        const QByteArray whole = jpeg(320, 240);
        files = {{"DCIM/GOOD.JPG", whole},
                 {"DCIM/REAL.PNG", png(300, 200)},
                 {"DCIM/LIAR.JPG", png(200, 100)},
                 {"DCIM/ZERO.JPG", QByteArray()},
                 {"DCIM/TEXT.JPG", "no photo, only text\n"},
                 {"DCIM/CUT.JPG", whole.left(whole.size() / 2)},
                 {"DCIM/BOMB.PNG", pngBomb()}};
        camera = plugCamera(QStringLiteral("Cam"), files);
        ASSERT_TRUE(waitForFotos(camera, int(files.size())));
    }

    // Exports every foto of the camera into a new folder: the names written, sorted.
    QStringList exportAll(const OrvFotoExporter::Options& options)
    {
        out = std::make_unique<QTemporaryDir>();
        OrvFotoExporter exporter(out->path(), options);
        EXPECT_TRUE(exporter.isOpen());
        QStringList written;
        for (const OrvExternalFoto& foto : fotosOf(camera)) {
            const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database->createRetrieverInterface(foto.id()));
            QString name;
            if (exporter.write(foto, retriever.get(), &name) == OrvFotoExporter::Written)
                written.append(name);
        }
        written.sort();
        // Nothing else in the folder: no temporary file, nothing refused.
        EXPECT_EQ(QDir(out->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                              QDir::Name),
                  written);
        return written;
    }
    QString written(const QString& name) const { return out->filePath(name); }

    QMap<QString, QByteArray> files;
    std::shared_ptr<OrvImageCaptureSim::Device> camera;
    std::unique_ptr<QTemporaryDir> out;
};

TEST_F(ImageCaptureExport, OriginalsAreTheWholeImagesNamedByWhatTheyHold)
{
    OrvFotoExporter::Options options;
    options.full = true;
    EXPECT_EQ(exportAll(options), (QStringList{QStringLiteral("GOOD.JPG"), QStringLiteral("LIAR.png"), QStringLiteral("REAL.PNG")}));
    EXPECT_EQ(OrvTest::readFile(written(QStringLiteral("GOOD.JPG"))), files.value("DCIM/GOOD.JPG"));
    EXPECT_EQ(OrvTest::readFile(written(QStringLiteral("REAL.PNG"))), files.value("DCIM/REAL.PNG"));
    EXPECT_EQ(OrvTest::readFile(written(QStringLiteral("LIAR.png"))), files.value("DCIM/LIAR.JPG"));
    EXPECT_TRUE(downloadedFiles().isEmpty());
}

TEST_F(ImageCaptureExport, AFormatAskedForIsWhatIsWrittenRecodedWhereTheFileIsAnother)
{
    OrvFotoExporter::Options options;
    options.full = true;
    options.format = OrvMediaFormat(OrvMediaFormat::Jpeg);
    EXPECT_EQ(exportAll(options), (QStringList{QStringLiteral("GOOD.jpg"), QStringLiteral("LIAR.jpg"), QStringLiteral("REAL.jpg")}));
    // A JPEG as it is; PNG pixels, under whatever name, made a JPEG of their size.
    EXPECT_EQ(OrvTest::readFile(written(QStringLiteral("GOOD.jpg"))), files.value("DCIM/GOOD.JPG"));
    for (const auto& [name, size] : {std::pair{QStringLiteral("REAL.jpg"), QSize(300, 200)}, std::pair{QStringLiteral("LIAR.jpg"), QSize(200, 100)}}) {
        EXPECT_EQ(formatOfFile(written(name)), OrvMediaFormat(OrvMediaFormat::Jpeg)) << qPrintable(name);
        EXPECT_EQ(QImage(written(name)).size(), size) << qPrintable(name);
    }
    EXPECT_TRUE(downloadedFiles().isEmpty());
}

TEST_F(ImageCaptureExport, SizedPixelsComeFromTheDeviceAndItsPlaceholderIsNoPhoto)
{
    // The device reads thumbnails of what it can; the rest keep the placeholder.
    for (const OrvExternalFoto& foto : fotosOf(camera)) {
        if (!QStringList{QStringLiteral("GOOD.JPG"), QStringLiteral("REAL.PNG"), QStringLiteral("LIAR.JPG")}.contains(foto.name()))
            continue;
        ASSERT_TRUE(OrvTest::waitFor([&] { return !OrvFotoCacheDrawable::isPlaceHolder(database->drawable(foto.id(), QSize(256, 256))); }))
            << qPrintable(foto.name());
    }
    OrvFotoExporter::Options options;
    options.edge = 256;
    options.format = OrvMediaFormat(OrvMediaFormat::Png);
    const QStringList names = exportAll(options);
    EXPECT_EQ(names, (QStringList{QStringLiteral("GOOD.png"), QStringLiteral("LIAR.png"), QStringLiteral("REAL.png")}));
    for (const QString& name : names) {
        const QImage image(written(name));
        EXPECT_EQ(formatOfFile(written(name)), OrvMediaFormat(OrvMediaFormat::Png)) << qPrintable(name);
        EXPECT_NE(image.size(), OrvFotoCacheDrawable::placeHolder().size()) << qPrintable(name);
    }
    EXPECT_TRUE(downloadedFiles().isEmpty());
}
