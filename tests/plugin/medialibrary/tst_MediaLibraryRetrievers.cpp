#include "MediaLibraryFixture.h"

#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetrieverInterfaceApplePhotos.h"
#include "TestSupport.h"

#include <QBuffer>
#include <QDir>
#include <QFile>

namespace {

const QSize fullSize(-1, -1);

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Everything a host asks of a foto, through a fresh retriever each time.
struct Delivered
{
    bool thumbnail = false;
    bool fullImage = false;
    QByteArray stored;
    QByteArray recoded;
    QByteArray streamed;
    bool metaData = false;
};

Delivered deliver(OrvExternalDatabase& database, const OrvExternalId& id)
{
    Delivered result;
    const std::unique_ptr<OrvFotoRetrieverInterface> retriever(database.createRetrieverInterface(id));
    result.thumbnail = std::unique_ptr<OrvFotoRetrieverData>(retriever->retrieve(QSize(32, 32)))->drawable(QSize(32, 32)).isValid();
    const std::unique_ptr<OrvFotoRetrieverData> full(retriever->retrieve(fullSize));
    result.fullImage = full->drawable(fullSize).isValid();
    result.stored = full->file(OrvMediaFormat());
    result.recoded = full->file(OrvMediaFormat(OrvMediaFormat::Png));
    QBuffer buffer(&result.streamed);
    buffer.open(QIODevice::WriteOnly);
    full->writeFile(OrvMediaFormat(), &buffer);
    result.metaData = std::unique_ptr<OrvFotoRetrieverMetaData>(retriever->retrieveMetaData())->metaData().isValid();
    return result;
}

} // namespace

TEST_F(MediaLibraryTest, RetrieversReadTheFileInsideABalancedAccess)
{
    useLibrary(R"({"collections": [{"id": "A", "title": "A", "assets": ["p"]}],
                  "assets": [{"id": "p", "resources": [{"name": "P.JPG", "file": "p.jpg"}]}]})",
               {QStringLiteral("p.jpg")});
    start();
    open(QStringLiteral("A"));
    const Delivered delivered = deliver(*database, fotoId(QStringLiteral("p")));
    EXPECT_TRUE(delivered.thumbnail);
    EXPECT_TRUE(delivered.fullImage);
    EXPECT_EQ(delivered.stored, contentOf(dir.filePath(QStringLiteral("p.jpg"))));
    EXPECT_EQ(delivered.streamed, delivered.stored);
    EXPECT_TRUE(delivered.recoded.startsWith("\x89PNG"));
    EXPECT_TRUE(delivered.metaData);
    // Each of the six reads started an access of its own, and each ended it.
    EXPECT_GE(backend->securityScopedStarts(), 6);
    EXPECT_EQ(backend->securityScopedStops(), backend->securityScopedStarts());
    EXPECT_EQ(backend->unbalancedSecurityScopedURLs(), 0);
}

TEST_F(MediaLibraryTest, AFotoAskedForBeforeItsAlbumIsBuiltAndAnnounced)
{
    useLibrary(R"({"collections": [{"id": "A", "title": "A", "assets": ["p"]}],
                  "assets": [{"id": "p", "resources": [{"name": "P.JPG", "file": "p.jpg"}]}]})",
               {QStringLiteral("p.jpg")});
    start();
    const OrvExternalId id = fotoId(QStringLiteral("p"));
    // What the host remembered of the id before the foto existed.
    const OrvFoto hostFoto = database->createFoto(id);
    OrvSingleton<OrvFotoStatusRegistry>::instance()->setStatus(hostFoto, OrvFotoManifestationStatus::Missing);
    OrvSingleton<OrvFotoCacheManager>::instance()->insertDrawable(hostFoto, OrvDrawable(QImage(8, 8, QImage::Format_RGB32)));
    ASSERT_FALSE(OrvSingleton<OrvFotoCacheManager>::instance()->drawable(hostFoto, QSize(8, 8)).isNull());

    EXPECT_TRUE(deliver(*database, id).fullImage);
    const OrvExternalFoto foto = database->findExternalFoto(id);
    ASSERT_TRUE(foto.isValid());
    EXPECT_EQ(foto.name(), QStringLiteral("p.jpg"));
    EXPECT_EQ(foto.dataUrl(fullSize).toLocalFile(), dir.filePath(QStringLiteral("p.jpg")));
    EXPECT_EQ(OrvSingleton<OrvFotoStatusRegistry>::instance()->status(hostFoto), OrvFotoManifestationStatus::Unknown);
    EXPECT_TRUE(OrvSingleton<OrvFotoCacheManager>::instance()->drawable(hostFoto, QSize(8, 8)).isNull());
    // Announced once, without album; found from then on.
    ASSERT_EQ(heard().insertedAlone.size(), 1);
    deliver(*database, id);
    EXPECT_EQ(heard().insertedAlone.size(), 1);
    EXPECT_EQ(backend->unbalancedSecurityScopedURLs(), 0);

    // An id the library does not know: nothing built, nothing read, no access.
    const int starts = backend->securityScopedStarts();
    const Delivered unknown = deliver(*database, fotoId(QStringLiteral("nothing")));
    EXPECT_FALSE(unknown.thumbnail || unknown.fullImage || unknown.metaData);
    EXPECT_TRUE(unknown.stored.isEmpty() && unknown.recoded.isEmpty() && unknown.streamed.isEmpty());
    EXPECT_FALSE(database->findExternalFoto(fotoId(QStringLiteral("nothing"))).isValid());
    EXPECT_EQ(backend->securityScopedStarts(), starts);
    EXPECT_EQ(heard().insertedAlone.size(), 1);
}

TEST_F(MediaLibraryTest, FilesThatAreMissingOrNoPhotosGiveNothing)
{
    const QByteArray jpeg = OrvTest::makeJpeg(64, 48);
    ASSERT_TRUE(OrvTest::writeFile(dir.filePath(QStringLiteral("cut.jpg")), jpeg.left(jpeg.size() / 2)));
    ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("folder.jpg")));
    const bool fifo = OrvTest::makeFifo(dir.filePath(QStringLiteral("pipe.jpg")));
    useLibrary(R"({"collections": [{"id": "A", "title": "A", "assets": ["missing", "cut", "folder", "pipe", "none"]}],
                  "assets": [
                    {"id": "missing", "resources": [{"file": "missing.jpg"}]},
                    {"id": "cut", "resources": [{"file": "cut.jpg"}]},
                    {"id": "folder", "resources": [{"file": "folder.jpg"}]},
                    {"id": "pipe", "resources": [{"file": "pipe.jpg"}]},
                    {"id": "none"} ]})");
    start();
    open(QStringLiteral("A"));
    ASSERT_EQ(fotosOf(QStringLiteral("A")).size(), 5);
    for (const char* name : {"missing", "cut", "folder", "pipe", "none"}) {
        if (qstrcmp(name, "pipe") == 0 && !fifo)
            continue;
        const Delivered delivered = deliver(*database, fotoId(QString::fromLatin1(name)));
        EXPECT_FALSE(delivered.thumbnail || delivered.fullImage) << name;
        EXPECT_TRUE(delivered.stored.isEmpty() && delivered.recoded.isEmpty() && delivered.streamed.isEmpty()) << name;
    }
    EXPECT_EQ(backend->securityScopedStops(), backend->securityScopedStarts());
    EXPECT_EQ(backend->unbalancedSecurityScopedURLs(), 0);
}

TEST_F(MediaLibraryTest, RetrieversCompareByFotoAndSource)
{
    useSample();
    const OrvExternalId id = fotoId(QStringLiteral("A1B2C3D4-0005/L0/001"));
    const std::unique_ptr<OrvFotoRetrieverInterface> first(source().createRetrieverInterface(id));
    const std::unique_ptr<OrvFotoRetrieverInterface> copy(first->clone());
    const std::unique_ptr<OrvFotoRetrieverInterface> other(source().createRetrieverInterface(fotoId(QStringLiteral("x"))));
    EXPECT_TRUE(*first == *copy);
    EXPECT_EQ(first->hash(), copy->hash());
    EXPECT_FALSE(*first == *other);
    EXPECT_FALSE(first->storeMetaData(OrvFotoMetaData()));
    EXPECT_EQ(OrvFotoRetrieverInterfaceApplePhotos::placeholderText(), QStringLiteral("<b>Fotos werden geladen</b>"));
    EXPECT_EQ(database->service().placeholderText(), OrvFotoRetrieverInterfaceApplePhotos::placeholderText());
}
