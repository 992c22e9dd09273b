#include "MediaLibraryFixture.h"

#include "OrvPlatformIndependent.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QThread>

namespace {

bool onMainThread() { return QThread::currentThread() == QCoreApplication::instance()->thread(); }

} // namespace

void MediaLibraryTest::SetUp()
{
    ASSERT_TRUE(dir.isValid());
    backend = OrvMediaLibrarySim::Backend::create();
    OrvMediaLibrary::setBackend(backend);
}

void MediaLibraryTest::TearDown()
{
    backend->waitForQueue();
    database.reset();
    backend->waitForQueue();
    QCoreApplication::processEvents();
    OrvMediaLibrary::setBackend(nullptr);
    OrvSingleton<OrvPlatformIndependent>::instance()->setImagesOnly(false);
    // Whatever the source observed it let go of properly.
    EXPECT_EQ(backend->unmatchedObserverRemovals(), 0);
}

void MediaLibraryTest::useSample()
{
    QString error;
    ASSERT_TRUE(backend->loadDescription(OrvTest::sourceDir() + QStringLiteral("/samples/photos/library.json"), &error))
        << error.toStdString();
}

void MediaLibraryTest::useLibrary(const QByteArray& json, const QStringList& jpegs)
{
    for (const QString& name : jpegs)
        ASSERT_TRUE(OrvTest::writeFile(dir.filePath(name), OrvTest::makeJpeg(64, 48)));
    const QString path = dir.filePath(QStringLiteral("library.json"));
    ASSERT_TRUE(OrvTest::writeFile(path, json));
    QString error;
    ASSERT_TRUE(backend->loadDescription(path, &error)) << error.toStdString();
}

OrvApplePhotosDatabase& MediaLibraryTest::source()
{
    if (database)
        return *database;
    database = std::make_unique<OrvApplePhotosDatabase>();
    auto h = myHeard;
    auto m = myHeardMutex;
    auto count = [h]() {
        if (onMainThread())
            ++h->onMainThread;
        else
            ++h->offMainThread;
    };
    OrvExternalDatabase* base = database.get();
    QObject::connect(base, &OrvExternalDatabase::albumAdded, base,
                     [h, m, count](const OrvExternalAlbum& album, const QIcon&) {
                         QMutexLocker locker(m.get());
                         h->added.append(album);
                         count();
                     },
                     Qt::DirectConnection);
    QObject::connect(base, &OrvExternalDatabase::fotosInserted, base,
                     [h, m, count](const OrvExternalFotoList& fotos, const OrvExternalId& album) {
                         QMutexLocker locker(m.get());
                         h->inserted.append({fotos, album});
                         count();
                     },
                     Qt::DirectConnection);
    QObject::connect(base, &OrvExternalDatabase::fotoInserted, base,
                     [h, m](const OrvExternalFoto& foto, const OrvExternalId&) {
                         QMutexLocker locker(m.get());
                         h->insertedAlone.append(foto);
                     },
                     Qt::DirectConnection);
    QObject::connect(base, &OrvExternalDatabase::loadingInProgress, base,
                     [h, m](const OrvFotoSourceNode&, bool loading) {
                         QMutexLocker locker(m.get());
                         h->loading.append(loading);
                     },
                     Qt::DirectConnection);
    return *database;
}

void MediaLibraryTest::start()
{
    EXPECT_TRUE(source().doLazyInit());
    settle();
}

void MediaLibraryTest::open(const QString& groupIdentifier)
{
    source().fetchMore(albumId(groupIdentifier).toUrl());
    settle();
}

void MediaLibraryTest::settle()
{
    backend->waitForQueue();
    QCoreApplication::processEvents();
}

OrvExternalFotoList MediaLibraryTest::fotosOf(const QString& groupIdentifier) const
{
    return database->getExternalDataPoolConst().fotosInAlbum(albumId(groupIdentifier));
}

QStringList MediaLibraryTest::albumNames() const
{
    QMutexLocker locker(myHeardMutex.get());
    QStringList names;
    for (const OrvExternalAlbum& album : std::as_const(myHeard->added))
        names.append(album.name());
    return names;
}

int MediaLibraryTest::insertionsInto(const QString& groupIdentifier) const
{
    QMutexLocker locker(myHeardMutex.get());
    return int(std::count_if(myHeard->inserted.cbegin(), myHeard->inserted.cend(),
                             [&](const auto& entry) { return entry.second == albumId(groupIdentifier); }));
}

MediaLibraryHeard MediaLibraryTest::heard() const
{
    QMutexLocker locker(myHeardMutex.get());
    return *myHeard;
}
