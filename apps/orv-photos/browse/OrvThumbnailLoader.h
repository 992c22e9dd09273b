#pragma once

#include "OrvExternalId.h"
#include "OrvFoto.h"
#include "OrvFotoMetaData.h"

#include <QHash>
#include <QImage>
#include <QObject>
#include <QSize>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class OrvExternalDatabase;
class OrvFotoRetrieverInterface;

// Bitmaps and metadata of fotos, fetched through their retriever interfaces on
// a few worker threads, never on the main thread. The newest request is served
// first, so what the user scrolled to last arrives first; requests the user
// has long scrolled past fall off the end of a bounded queue. Bitmaps go into
// the host's foto cache, which answers repeated requests at once. Results are
// delivered on the thread the loader lives in (the main thread). A source that
// has no bitmap yet answers with the host's placeholder: that is neither cached
// nor handed over; the request is asked again once the source announces the
// bitmap (OrvFotoChangeDispatcher::newAvailableBitmap), through dropped.
class OrvThumbnailLoader : public QObject
{
    Q_OBJECT
public:
    // threads 0: two to four, by the processors there are.
    explicit OrvThumbnailLoader(int threads = 0, QObject* parent = nullptr);
    ~OrvThumbnailLoader() override;

    // The bitmap from the foto cache when it is there; else a null image, and
    // the request is queued (once: a request already waiting moves to the front).
    // Urgent requests (the foto the user looks at) go before all others.
    QImage request(OrvExternalDatabase* database, const OrvExternalId& fotoId, const QSize& size, bool urgent = false);
    // Metadata through the foto's retriever, delivered by metaDataReady.
    void requestMetaData(OrvExternalDatabase* database, const OrvExternalId& fotoId);
    // Drops everything that waits (not what is being fetched).
    void cancelWaiting();

    int waiting() const;
    int running() const;
    // Requests answered with the placeholder, waiting for the source's bitmap.
    int pending() const { return int(myPending.size()); }
    // Requests queued beyond this are dropped, oldest first.
    static constexpr int maxWaiting = 1000;
    static constexpr int displayEdge = 2048;

signals:
    // image is null when the foto has no bitmap of that size. Bitmaps are
    // handed over scaled to fit the size asked for, full-size ones to at most
    // displayEdge (what was fetched is in the foto cache); pixelSize is the
    // size of the bitmap fetched.
    void ready(const OrvExternalId& fotoId, const QSize& size, const QImage& image, const QSize& pixelSize);
    void metaDataReady(const OrvExternalId& fotoId, const OrvFotoMetaData& metaData);
    // A waiting request was dropped or cancelled; asking again is fine.
    void dropped(const OrvExternalId& fotoId, const QSize& size);

private:
    struct Job
    {
        OrvExternalId fotoId;
        QSize size;
        bool metaData = false;
        OrvFoto foto;
        std::unique_ptr<OrvFotoRetrieverInterface> retriever;
        quint64 announced = 0;  // the foto's count of announced bitmaps when asked
    };
    void work();
    void run(Job& job);
    void onNewAvailableBitmap(const OrvFoto& foto);
    void onPlaceholder(const OrvExternalId& fotoId, const QSize& size, const OrvFoto& foto, quint64 announced);

    // Main thread only.
    QHash<OrvFoto, quint64> myAnnounced;
    QMultiHash<OrvFoto, QPair<OrvExternalId, QSize>> myPending;

    mutable std::mutex myMutex;
    std::condition_variable myWake;
    std::deque<std::unique_ptr<Job>> myJobs;    // the back is served first
    std::deque<std::unique_ptr<Job>> myUrgent;  // before any of myJobs
    int myRunning = 0;
    bool myStopping = false;
    std::vector<std::thread> myThreads;
};
