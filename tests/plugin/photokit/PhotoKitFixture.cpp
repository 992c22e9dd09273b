#include "PhotoKitFixture.h"

#include "TestSupport.h"

#include <QCoreApplication>

namespace {

QMutex logMutex;
QList<LoggedLine> logLines;
QtMessageHandler previousHandler = nullptr;

void capture(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    {
        QMutexLocker locker(&logMutex);
        logLines.append({message, QString::fromUtf8(context.function ? context.function : ""),
                         QThread::currentThread() == QCoreApplication::instance()->thread()});
    }
    if (type != QtDebugMsg && previousHandler)
        previousHandler(type, context, message);
}

bool onMainThread() { return QThread::currentThread() == QCoreApplication::instance()->thread(); }

} // namespace

void PhotoKitTest::SetUp()
{
    {
        QMutexLocker locker(&logMutex);
        logLines.clear();
    }
    previousHandler = qInstallMessageHandler(capture);
    OrvPhotoKitSim::install();
    library = OrvPhotoKitSim::Library::create();
    library->setAuthorizationStatus(OrvPhotoKit::AuthorizationStatus::Authorized);
    OrvPhotoKitSim::setSharedLibrary(library);
}

void PhotoKitTest::TearDown()
{
    library->waitForQueue();
    QCoreApplication::processEvents();
    database.reset();
    QCoreApplication::processEvents();
    OrvPhotoKitSim::setSharedLibrary(nullptr);
    library->waitForQueue();
    library.reset();
    qInstallMessageHandler(previousHandler);
}

OrvPhotoKitDatabase& PhotoKitTest::source()
{
    if (database)
        return *database;
    database = std::make_unique<OrvPhotoKitDatabase>();
    auto h = heard;
    auto m = heardMutex;
    OrvExternalDatabase* base = database.get();
    QObject::connect(base, &OrvExternalDatabase::albumAdded, base,
                     [h, m](const OrvExternalAlbum& album, const QIcon&) {
                         QMutexLocker locker(m.get());
                         h->added.append(album);
                         h->addedOnMainThread.append(onMainThread());
                         h->order.append(QStringLiteral("albumAdded"));
                     },
                     Qt::DirectConnection);
    QObject::connect(base, &OrvExternalDatabase::fotosInserted, base,
                     [h, m](const OrvExternalFotoList& fotos, const OrvExternalId& album) {
                         QMutexLocker locker(m.get());
                         h->inserted.append({fotos, album});
                         h->order.append(QStringLiteral("fotosInserted"));
                     },
                     Qt::DirectConnection);
    QObject::connect(base, &OrvExternalDatabase::fotosRemoved, base,
                     [h, m](const QList<OrvExternalId>& fotos, const OrvExternalId& album) {
                         QMutexLocker locker(m.get());
                         h->removed.append({fotos, album});
                         h->order.append(QStringLiteral("fotosRemoved"));
                         h->allOnMainThread = h->allOnMainThread && onMainThread();
                     },
                     Qt::DirectConnection);
    QObject::connect(base, &OrvExternalDatabase::albumRemoved, base,
                     [h, m](const OrvExternalAlbum& album, bool) {
                         QMutexLocker locker(m.get());
                         h->albumsRemoved.append(album.id());
                         h->order.append(QStringLiteral("albumRemoved"));
                         h->allOnMainThread = h->allOnMainThread && onMainThread();
                     },
                     Qt::DirectConnection);
    QObject::connect(base, &OrvExternalDatabase::albumRenamed, base,
                     [h, m](const OrvExternalAlbum& album, const QString& name) {
                         QMutexLocker locker(m.get());
                         h->renamed.append({album.id(), name});
                         h->order.append(QStringLiteral("albumRenamed"));
                         h->allOnMainThread = h->allOnMainThread && onMainThread();
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

void PhotoKitTest::settle()
{
    library->waitForQueue();
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
}

QStringList PhotoKitTest::topLevelNames() const
{
    QStringList names;
    const OrvExternalDataPool& pool = database->getExternalDataPoolConst();
    for (const OrvExternalId& child : pool.childAlbums(OrvExternalId()))
        names.append(pool.findAlbum(child).name());
    return names;
}

QList<OrvExternalId> PhotoKitTest::childIds(const OrvExternalId& parent) const
{
    return database->getExternalDataPoolConst().childAlbums(parent);
}

OrvExternalFotoList PhotoKitTest::fotosOf(const OrvExternalId& album) const
{
    return database->getExternalDataPoolConst().fotosInAlbum(album);
}

int PhotoKitTest::fetchesOf(const OrvExternalId& album) const
{
    QMutexLocker locker(heardMutex.get());
    int count = 0;
    for (const auto& entry : heard->inserted)
        count += entry.second == album ? 1 : 0;
    return count;
}

bool PhotoKitTest::logged(const QString& text, LoggedLine* line) const
{
    QMutexLocker locker(&logMutex);
    for (const LoggedLine& entry : logLines) {
        if (entry.text == text) {
            if (line)
                *line = entry;
            return true;
        }
    }
    return false;
}

OrvPhotoKitSim::AssetSpec PhotoKitTest::asset(const QString& id, const QString& created, bool favorite)
{
    OrvPhotoKitSim::AssetSpec spec;
    spec.localIdentifier = id;
    if (!created.isEmpty())
        spec.creationDate = utc(created);
    spec.pixelWidth = 40;
    spec.pixelHeight = 30;
    spec.favorite = favorite;
    return spec;
}

OrvPhotoKitSim::CollectionSpec PhotoKitTest::album(const QString& id, const QString& title, const QStringList& assets,
                                                    const QString& parent)
{
    OrvPhotoKitSim::CollectionSpec spec;
    spec.localIdentifier = id;
    spec.title = title;
    spec.assets = assets;
    spec.parentFolder = parent;
    return spec;
}

OrvPhotoKitSim::CollectionSpec PhotoKitTest::folder(const QString& id, const QString& title, const QString& parent)
{
    OrvPhotoKitSim::CollectionSpec spec = album(id, title, {}, parent);
    spec.kind = OrvPhotoKitSim::CollectionKind::Folder;
    return spec;
}
