#include "OrvSourceSettler.h"

#include "OrvExternalDatabase.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMutexLocker>
#include <QSet>
#include <QThread>

#include <algorithm>

struct OrvSourceSettler::Clock
{
    QElapsedTimer timer;
};

OrvSourceSettler::OrvSourceSettler(const QList<OrvExternalDatabase*>& databases)
    : myDatabases(databases), myListener(std::make_unique<QObject>()), myClock(std::make_unique<Clock>())
{
    myClock->timer.start();
    QObject* listener = myListener.get();
    // Direct: sources announce on their own threads, and the main thread is busy waiting.
    for (OrvExternalDatabase* database : myDatabases) {
        QObject::connect(
            database, &OrvExternalDatabase::albumAdded, listener,
            [this, database](const OrvExternalAlbum& album, const QIcon&) {
                {
                    QMutexLocker locker(&myNewAlbumsMutex);
                    myNewAlbums.append({database, album.url()});
                }
                heard();
            },
            Qt::DirectConnection);
        const auto any = [this] { heard(); };
        QObject::connect(database, &OrvExternalDatabase::albumRemoved, listener, any, Qt::DirectConnection);
        QObject::connect(database, &OrvExternalDatabase::fotoInserted, listener, any, Qt::DirectConnection);
        QObject::connect(database, &OrvExternalDatabase::fotosInserted, listener, any, Qt::DirectConnection);
        QObject::connect(database, &OrvExternalDatabase::fotoRemoved, listener, any, Qt::DirectConnection);
        QObject::connect(database, &OrvExternalDatabase::fotosRemoved, listener, any, Qt::DirectConnection);
        // News too, but what follows a start is the library loading, not a pause between announcements.
        QObject::connect(
            database, &OrvExternalDatabase::loadingInProgress, listener, [this] { heard(false); }, Qt::DirectConnection);
    }
}

OrvSourceSettler::~OrvSourceSettler() = default;

void OrvSourceSettler::heard(bool pause)
{
    const qint64 now = myClock->timer.elapsed();
    const qint64 last = myLastHeardMs.exchange(now);
    myAnnouncements.fetch_add(1);
    // Pauses between announcements of albums and fotos; the wait before the first is the library loading.
    if (pause && myContentHeard.exchange(true)) {
        qint64 longest = myLongestPauseMs.load();
        while (now - last > longest && !myLongestPauseMs.compare_exchange_weak(longest, now - last)) {
        }
    }
}

void OrvSourceSettler::openNewAlbums()
{
    QList<QPair<OrvExternalDatabase*, QUrl>> fresh;
    {
        QMutexLocker locker(&myNewAlbumsMutex);
        fresh.swap(myNewAlbums);
    }
    for (const auto& [database, url] : std::as_const(fresh)) {
        if (myOpened.contains({database, url}))
            continue;
        myOpened.insert({database, url});
        database->fetchMore(url);
        myLastAskedMs = myClock->timer.elapsed();
    }
}

bool OrvSourceSettler::settle(const Bounds& bounds)
{
    const qint64 start = myClock->timer.elapsed();
    myLastAskedMs = start;
    for (OrvExternalDatabase* database : std::as_const(myDatabases)) {
        database->doLazyInit();
        // Albums there before the settler listened are opened as well.
        for (const OrvExternalAlbum& album : database->albums()) {
            QMutexLocker locker(&myNewAlbumsMutex);
            myNewAlbums.append({database, album.url()});
        }
    }
    for (;;) {
        openNewAlbums();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        const qint64 now = myClock->timer.elapsed();
        const qint64 silentMs = now - std::max(myLastHeardMs.load(), myLastAskedMs);
        const bool busy = std::any_of(myDatabases.cbegin(), myDatabases.cend(), [&](const OrvExternalDatabase* database) {
            return database->isStillGatheringFotos()
                || (bounds.waitForDevices && database->getExternalDataPoolConst().countAlbums() == 0);
        });
        const qint64 scaled = 2 * myLongestPauseMs.load();
        myQuietMs = int(std::clamp<qint64>(scaled, bounds.quietMs, std::max(bounds.quietMs, bounds.stallMs)));
        bool unasked = false;
        {
            QMutexLocker locker(&myNewAlbumsMutex);
            unasked = !myNewAlbums.isEmpty();
        }
        if (!busy && !unasked && silentMs >= myQuietMs)
            return true;
        if (!busy && !unasked && bounds.enough && silentMs >= bounds.graceMs && bounds.enough())
            return true;
        if (now - start >= bounds.totalMs)
            return false;
        // A source that says it is busy but has said nothing for so long is not coming back.
        const bool waitingForDevice = bounds.waitForDevices && busy;
        if (silentMs >= bounds.stallMs && !waitingForDevice)
            return false;
        QThread::msleep(5);
    }
}
