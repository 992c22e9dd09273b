// Pixels, bytes and metadata of iPhoto and Aperture fotos through their retrievers.

#include "IPhotoTestSupport.h"
#include "OrvFotoRetrieverDataIPhoto.h"
#include "OrvFotoRetrieverInterfaceIPhoto.h"
#include "OrvFotoRetrieverMetaDataIPhoto.h"
#include "OrvIPhotoDatabase.h"
#include "OrvNativeMetaData.h"
#include "OrvTargetFolder.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImageReader>
#include <atomic>
#include <thread>
#include <vector>

using namespace IPhotoTest;

namespace {

const OrvExternalId rotated("iphoto", "foto", "1");
const OrvExternalId plain("iphoto", "foto", "2");
const OrvExternalId apertureFoto("aperture", "foto", "a1");

class OtherRetriever : public OrvFotoRetrieverInterfaceReadOnly
{
public:
    OrvFotoRetrieverInterface* clone() const override { return new OtherRetriever; }
    OrvFotoRetrieverData* retrieve(const QSize&) override { return nullptr; }
    OrvFotoRetrieverMetaData* retrieveMetaData() override { return nullptr; }
    bool operator==(const OrvFotoRetrieverInterface&) const override { return true; }
    size_t hash() const override { return 0; }
};

// Counts what is written and keeps nothing: a sink for gigabytes.
class CountingSink : public QIODevice
{
public:
    CountingSink() { open(QIODevice::WriteOnly); }
    qint64 count = 0;
    int writes = 0;

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char*, qint64 size) override
    {
        count += size;
        ++writes;
        return size;
    }
};

OrvFotoRetrieverDataIPhoto dataFor(const QString& path)
{
    return OrvFotoRetrieverDataIPhoto(rotated, OrvMediaDescriptor(QFileInfo(path)));
}

} // namespace

TEST(IPhotoRetrievers, FilesBySize)
{
    OrvFotoRetrieverInterfaceIPhoto retriever(rotated);
    EXPECT_EQ(retriever.primaryFile().filePath(), fixture().rotatedImage);
    EXPECT_EQ(retriever.file(QSize(100, 100)).filePath(), fixture().thumbnail);
    EXPECT_EQ(retriever.file(QSize(2000, 2000)).filePath(), fixture().rotatedImage);
    const std::unique_ptr<OrvFotoRetrieverData> small(retriever.retrieve(QSize(100, 100)));
    EXPECT_EQ(small->descriptor().filePath(), fixture().thumbnail);
    const std::unique_ptr<OrvFotoRetrieverMetaData> meta(retriever.retrieveMetaData());
    EXPECT_EQ(meta->descriptor().filePath(), retriever.primaryFile().filePath()) << "metadata comes from the primary file";
    OrvFotoRetrieverInterfaceIPhoto unknown(OrvExternalId("iphoto", "foto", "404"));
    EXPECT_EQ(unknown.primaryFile().filePath(), QString());
    const std::unique_ptr<OrvFotoRetrieverData> nothing(unknown.retrieve(QSize(100, 100)));
    EXPECT_FALSE(nothing->drawable(QSize(100, 100)).isValid());
    EXPECT_TRUE(nothing->file(OrvMediaFormat()).isEmpty());
}

TEST(IPhotoRetrievers, SourceChosenFromTheId)
{
    // Looked up in the Aperture source by the whole URL's prefix ...
    EXPECT_TRUE(OrvFotoRetrieverInterfaceIPhoto(apertureFoto).databaseFoto().isValid());
    EXPECT_EQ(OrvFotoRetrieverInterfaceIPhoto(apertureFoto).primaryFile().filePath(), fixture().apertureImage);
    EXPECT_FALSE(OrvFotoRetrieverInterfaceIPhoto(OrvExternalId("iphoto", "foto", "a1")).databaseFoto().isValid());
    // ... but the data retriever's foto by the scheme alone: "aperturex" is not "aperture".
    const OrvExternalId lookalike("aperturex", "foto", "a1");
    EXPECT_TRUE(OrvFotoRetrieverInterfaceIPhoto(lookalike).databaseFoto().id() == OrvExternalId()) << "a1 is not aperturex's";
    EXPECT_EQ(OrvFotoRetrieverDataIPhoto(lookalike, OrvMediaDescriptor()).foto().database(), OrvIPhotoDatabase::instance());
    EXPECT_EQ(OrvFotoRetrieverDataIPhoto(apertureFoto, OrvMediaDescriptor()).foto().database(), OrvIPhotoDatabase::apertureInstance());
    EXPECT_EQ(OrvFotoRetrieverDataIPhoto(rotated, OrvMediaDescriptor()).foto().database(), OrvIPhotoDatabase::instance());
}

TEST(IPhotoRetrievers, EqualityAndHash)
{
    OrvFotoRetrieverInterfaceIPhoto a(rotated);
    OrvFotoRetrieverInterfaceIPhoto b(rotated);
    OrvFotoRetrieverInterfaceIPhoto c(plain);
    EXPECT_TRUE(a == b);
    EXPECT_EQ(a.hash(), b.hash());
    EXPECT_FALSE(a == c);
    EXPECT_FALSE(a == OtherRetriever());
    const std::unique_ptr<OrvFotoRetrieverInterface> clone(a.clone());
    EXPECT_TRUE(*clone == a);
    EXPECT_EQ(clone->hash(), a.hash());
    EXPECT_FALSE(a.storeMetaData(OrvFotoMetaData()));
}

TEST(IPhotoRetrievers, BytesLoseTheRotationTag)
{
    ASSERT_EQ(OrvNativeMetaDataExiv2(QFileInfo(fixture().rotatedImage)).exifOrientation(), 6);
    OrvFotoRetrieverInterfaceIPhoto retriever(rotated);
    const std::unique_ptr<OrvFotoRetrieverData> data(retriever.retrieve(QSize(-1, -1)));
    const QByteArray bytes = data->file(OrvMediaFormat());
    ASSERT_FALSE(bytes.isEmpty());
    EXPECT_EQ(OrvNativeMetaDataExiv2(QFileInfo(fixture().rotatedImage), bytes).exifOrientation(), 1);
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    EXPECT_EQ(reader.read().size(), QSize(64, 48)) << "still the stored pixels";
    const QByteArray png = data->file(OrvMediaFormat(OrvMediaFormat::Png));
    EXPECT_TRUE(png.startsWith("\x89PNG"));
    // The file on disk keeps its tag.
    EXPECT_EQ(OrvNativeMetaDataExiv2(QFileInfo(fixture().rotatedImage)).exifOrientation(), 6);
}

TEST(IPhotoRetrievers, BitmapsOfTheRequestedSize)
{
    OrvFotoRetrieverInterfaceIPhoto retriever(plain);
    const std::unique_ptr<OrvFotoRetrieverData> data(retriever.retrieve(QSize(20, 20)));
    const OrvFetchDrawableResult result = data->drawable(QSize(20, 20));
    ASSERT_TRUE(result.isValid());
    EXPECT_LE(result.drawable().size().width(), 20);
    EXPECT_LE(result.drawable().size().height(), 20);
}

TEST(IPhotoRetrievers, MetaDataCarriesLibraryFacesAndRating)
{
    const std::unique_ptr<OrvFotoRetrieverMetaData> meta(OrvFotoRetrieverInterfaceIPhoto(rotated).retrieveMetaData());
    const OrvFotoMetaData data = meta->metaData();
    EXPECT_EQ(data.adobeRating(), 4);
    ASSERT_EQ(data.faces().size(), 1);
    EXPECT_EQ(data.faces().first().personId, OrvExternalId("iphoto", "face", "3").toString());
    EXPECT_EQ(data.faces().first().name, QStringLiteral("Ann"));
    EXPECT_EQ(data.faces().first().rect, QRectF(0.25, 0.35, 0.1, 0.15));
    EXPECT_TRUE(data.testFlag(OrvFotoMetaDataLibraryAuthoritative));

    // Always asked of the iPhoto source, so an Aperture foto gets neither (its library has both).
    const std::unique_ptr<OrvFotoRetrieverMetaData> aperture(OrvFotoRetrieverInterfaceIPhoto(apertureFoto).retrieveMetaData());
    const OrvFotoMetaData apertureData = aperture->metaData();
    EXPECT_TRUE(apertureData.faces().isEmpty());
    EXPECT_EQ(apertureData.adobeRating(), 0);
    EXPECT_TRUE(apertureData.testFlag(OrvFotoMetaDataLibraryAuthoritative));
    EXPECT_EQ(aperture->descriptor().filePath(), fixture().apertureImage);
}

TEST(IPhotoRetrievers, LoadingThreadsAtOnce)
{
    // The host's loading threads call retrievers side by side.
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&good, t] {
            for (int i = 0; i < 5; ++i) {
                const OrvExternalId id = (i + t) % 2 ? rotated : apertureFoto;
                OrvFotoRetrieverInterfaceIPhoto retriever(id);
                const std::unique_ptr<OrvFotoRetrieverData> data(retriever.retrieve(QSize(16, 16)));
                const std::unique_ptr<OrvFotoRetrieverMetaData> meta(retriever.retrieveMetaData());
                if (data->drawable(QSize(16, 16)).isValid() && meta->metaData().testFlag(OrvFotoMetaDataLibraryAuthoritative)
                    && !data->file(OrvMediaFormat()).isEmpty())
                    ++good;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good.load(), 20);
}

TEST(IPhotoOriginals, StreamedByteForByteButTheOrientation)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("rotated.jpg"));
    const QByteArray original = OrvTest::makeJpeg(640, 480, 6);
    ASSERT_TRUE(OrvTest::writeFile(path, original));
    OrvFotoRetrieverDataIPhoto data = dataFor(path);
    QByteArray streamed;
    QBuffer buffer(&streamed);
    buffer.open(QIODevice::WriteOnly);
    ASSERT_TRUE(data.writeFile(OrvMediaFormat(), &buffer));
    EXPECT_EQ(streamed, data.file(OrvMediaFormat())) << "the in-memory answer is the streamed one";
    ASSERT_EQ(streamed.size(), original.size());
    int differences = 0;
    for (qsizetype i = 0; i < original.size(); ++i)
        differences += streamed.at(i) != original.at(i);
    EXPECT_EQ(differences, 1);
    EXPECT_EQ(OrvNativeMetaDataExiv2(QFileInfo(path), streamed).exifOrientation(), 1);
    EXPECT_EQ(OrvNativeMetaDataExiv2(QFileInfo(path)).exifOrientation(), 6) << "the library's file is left alone";

    // Another format is recoded from the stored pixels, without the rotation either.
    const QByteArray png = data.file(OrvMediaFormat(OrvMediaFormat::Png));
    ASSERT_TRUE(png.startsWith("\x89PNG"));
    EXPECT_EQ(OrvNativeMetaDataExiv2(QFileInfo(QStringLiteral("x.png")), png).exifOrientation(), 1);
    QBuffer pngBuffer;
    pngBuffer.setData(png);
    EXPECT_EQ(QImageReader(&pngBuffer).size(), QSize(640, 480));
}

TEST(IPhotoOriginals, GigabytesCostNoMoreMemoryThanAThumbnail)
{
    QTemporaryDir dir;
    // Sparse: over two gigabytes on no disk space, read as zeros.
    const QString movie = dir.filePath(QStringLiteral("holiday.mov"));
    const qint64 movieSize = 2049LL * 1024 * 1024;
    {
        QFile file(movie);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("\0\0\0\x20" "ftypqt  ");
        ASSERT_TRUE(file.resize(movieSize));
    }
    OrvFotoRetrieverDataIPhoto data = dataFor(movie);
    const bool measured = OrvTest::resetPeakMemory();
    const qint64 before = OrvTest::peakMemoryKiB();
    CountingSink sink;
    ASSERT_TRUE(data.writeFile(OrvMediaFormat(), &sink));
    EXPECT_EQ(sink.count, movieSize);
    EXPECT_GT(sink.writes, 1000) << "written in chunks";
    if (measured) {
        EXPECT_LT(OrvTest::peakMemoryKiB() - before, 128 * 1024) << "KiB above the start";
    }
    // Too large to hand over in memory: refused there, not truncated.
    EXPECT_TRUE(data.file(OrvMediaFormat()).isEmpty());
}

TEST(IPhotoOriginals, DamagedOrUnreadableFilesGiveNothingOnEveryPath)
{
    QTemporaryDir dir;
    const QByteArray whole = OrvTest::makeJpeg(1200, 800, 6);
    const QString cut = dir.filePath(QStringLiteral("cut.jpg"));
    ASSERT_TRUE(OrvTest::writeFile(cut, whole.left(whole.size() / 3)));
    const QString pipe = dir.filePath(QStringLiteral("pipe.jpg"));
    ASSERT_TRUE(OrvTest::makeFifo(pipe));
    for (const QString& path : {cut, pipe, QStringLiteral("/dev/zero"), dir.filePath(QStringLiteral("gone.jpg"))}) {
        SCOPED_TRACE(path.toStdString());
        OrvFotoRetrieverDataIPhoto data = dataFor(path);
        EXPECT_FALSE(data.drawable(QSize(256, 256)).isValid());
        EXPECT_FALSE(data.drawable(QSize(-1, -1)).isValid());
        EXPECT_TRUE(data.file(OrvMediaFormat()).isEmpty());
        EXPECT_TRUE(data.file(OrvMediaFormat(OrvMediaFormat::Png)).isEmpty());
        EXPECT_TRUE(data.file(OrvMediaFormat(OrvMediaFormat::Jpeg)).isEmpty());
        CountingSink sink;
        EXPECT_FALSE(data.writeFile(OrvMediaFormat(), &sink));
        EXPECT_EQ(sink.count, 0);
    }
}
