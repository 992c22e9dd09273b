#include "OrvThumbnailLoader.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetriever.h"

#include <QMetaObject>

#include <algorithm>

OrvThumbnailLoader::OrvThumbnailLoader(int threads, QObject* parent) : QObject(parent)
{
    if (threads <= 0)
        threads = qBound(2, int(std::thread::hardware_concurrency()), 4);
    connect(OrvSingleton<OrvFotoChangeDispatcher>::instance(), &OrvFotoChangeDispatcher::newAvailableBitmap, this,
            [this](const OrvFoto& foto, const QSize&) { onNewAvailableBitmap(foto); });
    for (int i = 0; i < threads; ++i)
        myThreads.emplace_back([this] { work(); });
}

OrvThumbnailLoader::~OrvThumbnailLoader()
{
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myStopping = true;
        myJobs.clear();
        myUrgent.clear();
    }
    myWake.notify_all();
    for (std::thread& thread : myThreads)
        thread.join();
}

QImage OrvThumbnailLoader::request(OrvExternalDatabase* database, const OrvExternalId& fotoId, const QSize& size, bool urgent)
{
    if (!database || !fotoId.isValid())
        return QImage();
    const OrvFoto foto = database->createFoto(fotoId);
    // The cache's largest bitmap of a foto need not be its full size: full-size requests always go out.
    if (size != FOTO_CACHE_SIZE_FULL) {
        const OrvDrawable cached = OrvSingleton<OrvFotoCacheManager>::instance()->drawable(foto, size);
        if (!cached.isNull())
            return cached.image();
    }
    // Asked again when the source announces it, not on every paint meanwhile.
    if (myPending.contains(foto, qMakePair(fotoId, size)))
        return QImage();
    std::unique_ptr<Job> dropped;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        std::unique_ptr<Job> job;
        for (auto* queue : {&myJobs, &myUrgent}) {
            const auto same = std::find_if(queue->begin(), queue->end(), [&](const std::unique_ptr<Job>& waiting) {
                return !waiting->metaData && waiting->size == size && waiting->fotoId == fotoId;
            });
            if (same != queue->end()) {
                job = std::move(*same);
                queue->erase(same);
                break;
            }
        }
        if (!job) {
            job = std::make_unique<Job>();
            job->fotoId = fotoId;
            job->size = size;
            job->foto = foto;
            job->retriever.reset(database->createRetrieverInterface(fotoId));
        }
        job->announced = myAnnounced.value(foto);
        (urgent ? myUrgent : myJobs).push_back(std::move(job));
        if (int(myJobs.size()) > maxWaiting) {
            dropped = std::move(myJobs.front());
            myJobs.pop_front();
        }
    }
    myWake.notify_one();
    if (dropped)
        emit this->dropped(dropped->fotoId, dropped->size);
    return QImage();
}

void OrvThumbnailLoader::requestMetaData(OrvExternalDatabase* database, const OrvExternalId& fotoId)
{
    if (!database || !fotoId.isValid())
        return;
    auto job = std::make_unique<Job>();
    job->fotoId = fotoId;
    job->metaData = true;
    job->foto = database->createFoto(fotoId);
    job->retriever.reset(database->createRetrieverInterface(fotoId));
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myUrgent.push_back(std::move(job));
    }
    myWake.notify_one();
}

void OrvThumbnailLoader::cancelWaiting()
{
    std::deque<std::unique_ptr<Job>> cancelled;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        cancelled.swap(myJobs);
        for (std::unique_ptr<Job>& job : myUrgent)
            cancelled.push_back(std::move(job));
        myUrgent.clear();
    }
    for (const std::unique_ptr<Job>& job : cancelled) {
        if (!job->metaData)
            emit dropped(job->fotoId, job->size);
    }
}

int OrvThumbnailLoader::waiting() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return int(myJobs.size() + myUrgent.size());
}

int OrvThumbnailLoader::running() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myRunning;
}

void OrvThumbnailLoader::work()
{
    for (;;) {
        std::unique_ptr<Job> job;
        {
            std::unique_lock<std::mutex> lock(myMutex);
            myWake.wait(lock, [this] { return myStopping || !myJobs.empty() || !myUrgent.empty(); });
            if (myStopping)
                return;
            auto& queue = myUrgent.empty() ? myJobs : myUrgent;
            job = std::move(queue.back());
            queue.pop_back();
            ++myRunning;
        }
        run(*job);
        std::lock_guard<std::mutex> lock(myMutex);
        --myRunning;
    }
}

void OrvThumbnailLoader::run(Job& job)
{
    if (job.metaData) {
        OrvFotoMetaData metaData;
        if (job.retriever) {
            const std::unique_ptr<OrvFotoRetrieverMetaData> retriever(job.retriever->retrieveMetaData());
            if (retriever)
                metaData = retriever->metaData();
        }
        QMetaObject::invokeMethod(this, [this, id = job.fotoId, metaData] { emit metaDataReady(id, metaData); },
                                  Qt::QueuedConnection);
        return;
    }
    QImage image;
    QSize pixelSize;
    if (job.retriever) {
        const std::unique_ptr<OrvFotoRetrieverData> data(job.retriever->retrieve(job.size));
        const OrvFetchDrawableResult result = data ? data->drawable(job.size) : OrvFetchDrawableResult();
        if (result.isValid() && OrvFotoCacheDrawable::isPlaceHolder(result.drawable())) {
            // Not there yet (a camera still reading it): asked again once the source has it.
            QMetaObject::invokeMethod(
                this,
                [this, id = job.fotoId, size = job.size, foto = job.foto, announced = job.announced] {
                    onPlaceholder(id, size, foto, announced);
                },
                Qt::QueuedConnection);
            return;
        }
        if (result.isValid()) {
            OrvSingleton<OrvFotoCacheManager>::instance()->insertDrawable(job.foto, result.drawable());
            image = result.drawable().image();
            pixelSize = image.size();
            // Scaled here, not on the main thread: a sized request to within
            // its size (a source may give more, as PhotoKit's aspect fill does).
            const QSize fit = job.size.isValid() && !job.size.isEmpty() ? job.size.boundedTo(QSize(displayEdge, displayEdge))
                                                                         : QSize(displayEdge, displayEdge);
            if (image.width() > fit.width() || image.height() > fit.height())
                image = image.scaled(fit, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        }
    }
    QMetaObject::invokeMethod(
        this, [this, id = job.fotoId, size = job.size, image, pixelSize] { emit ready(id, size, image, pixelSize); },
        Qt::QueuedConnection);
}

void OrvThumbnailLoader::onPlaceholder(const OrvExternalId& fotoId, const QSize& size, const OrvFoto& foto, quint64 announced)
{
    // Announced while it was being fetched: the source has it now.
    if (myAnnounced.value(foto) != announced) {
        emit dropped(fotoId, size);
        return;
    }
    if (!myPending.contains(foto, qMakePair(fotoId, size)))
        myPending.insert(foto, qMakePair(fotoId, size));
}

void OrvThumbnailLoader::onNewAvailableBitmap(const OrvFoto& foto)
{
    ++myAnnounced[foto];
    const QList<QPair<OrvExternalId, QSize>> waiting = myPending.values(foto);
    myPending.remove(foto);
    for (const auto& [fotoId, size] : waiting)
        emit dropped(fotoId, size);
}
