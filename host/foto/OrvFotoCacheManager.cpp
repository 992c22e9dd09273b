#include "OrvFotoCacheManager.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoRetriever.h"

#include <QPainter>

#include <memory>

namespace {
const QSize metaDataSlot(-2, -2);
}

struct OrvFotoCacheManager::Entry
{
    Key key;
    OrvDrawable drawable;
    OrvFotoMetaData metaData;
    qint64 cost = 0;
    Entry* newer = nullptr;
    Entry* older = nullptr;
};

OrvDrawable OrvFotoCacheDrawable::placeHolder()
{
    static const QImage image = [] {
        QImage placeholder(64, 64, QImage::Format_RGB32);
        placeholder.fill(QColor(0xd8, 0xd8, 0xd8));
        QPainter painter(&placeholder);
        painter.setPen(QColor(0xa0, 0xa0, 0xa0));
        painter.drawRect(8, 8, 47, 47);
        return placeholder;
    }();
    return OrvDrawable(image);
}

bool OrvFotoCacheDrawable::isPlaceHolder(const OrvDrawable& drawable)
{
    return !drawable.isNull() && drawable.image().cacheKey() == placeHolder().image().cacheKey();
}

OrvFotoCacheManager::OrvFotoCacheManager() : myBudget(256ll * 1024 * 1024) {}

OrvFotoCacheManager::~OrvFotoCacheManager() { clear(); }

void OrvFotoCacheManager::setBudget(qint64 bytes)
{
    QMutexLocker locker(&myMutex);
    myBudget = qMax<qint64>(0, bytes);
    evictLocked();
}

qint64 OrvFotoCacheManager::budget() const
{
    QMutexLocker locker(&myMutex);
    return myBudget;
}

qint64 OrvFotoCacheManager::bytesUsed() const
{
    QMutexLocker locker(&myMutex);
    return myUsed;
}

int OrvFotoCacheManager::entryCount() const
{
    QMutexLocker locker(&myMutex);
    return int(myEntries.size());
}

void OrvFotoCacheManager::unlink(Entry* entry)
{
    if (entry->newer)
        entry->newer->older = entry->older;
    else
        myNewest = entry->older;
    if (entry->older)
        entry->older->newer = entry->newer;
    else
        myOldest = entry->newer;
    entry->newer = entry->older = nullptr;
}

void OrvFotoCacheManager::removeLocked(Entry* entry)
{
    unlink(entry);
    myEntries.remove(entry->key);
    auto sizes = entry->key.size == metaDataSlot ? mySizes.end() : mySizes.find(entry->key.foto);
    if (sizes != mySizes.end()) {
        sizes->removeAll(entry->key.size);
        if (sizes->isEmpty())
            mySizes.erase(sizes);
    }
    myUsed -= entry->cost;
    delete entry;
}

void OrvFotoCacheManager::evictLocked()
{
    while (myUsed > myBudget && myOldest)
        removeLocked(myOldest);
}

void OrvFotoCacheManager::insert(const Key& key, Entry* entry)
{
    std::unique_ptr<Entry> owned(entry);
    QMutexLocker locker(&myMutex);
    if (Entry* old = myEntries.value(key))
        removeLocked(old);
    // Something larger than the whole budget would only push everything else out.
    if (entry->cost > myBudget)
        return;
    entry->key = key;
    entry->older = myNewest;
    if (myNewest)
        myNewest->newer = entry;
    myNewest = entry;
    if (!myOldest)
        myOldest = entry;
    myEntries.insert(key, entry);
    // Metadata has one slot per foto; only bitmaps need the list of their sizes.
    if (key.size != metaDataSlot)
        mySizes[key.foto].append(key.size);
    myUsed += entry->cost;
    owned.release();
    evictLocked();
}

void OrvFotoCacheManager::insertDrawable(const OrvFoto& foto, const OrvDrawable& drawable)
{
    if (!foto.isValid() || drawable.isNull())
        return;
    auto* entry = new Entry;
    entry->drawable = drawable;
    entry->cost = qMax<qint64>(1, drawable.byteCount());
    insert({foto, drawable.size()}, entry);
}

OrvDrawable OrvFotoCacheManager::drawable(const OrvFoto& foto, const QSize& boundingSize) const
{
    QMutexLocker locker(&myMutex);
    const QList<QSize> sizes = mySizes.value(foto);
    const bool full = !boundingSize.isValid() || boundingSize.isEmpty();
    Entry* best = nullptr;
    for (const QSize& size : sizes) {
        Entry* entry = myEntries.value({foto, size});
        if (!entry)
            continue;
        const qint64 area = qint64(size.width()) * size.height();
        const qint64 bestArea = best ? qint64(best->key.size.width()) * best->key.size.height() : 0;
        if (full) {
            if (!best || area > bestArea)
                best = entry;
            continue;
        }
        // Covers when it fills the box in at least one dimension (aspect ratios differ).
        const bool covers = size.width() >= boundingSize.width() || size.height() >= boundingSize.height();
        if (covers && (!best || area < bestArea))
            best = entry;
    }
    if (!best)
        return {};
    auto* self = const_cast<OrvFotoCacheManager*>(this);
    self->unlink(best);
    best->older = self->myNewest;
    if (self->myNewest)
        self->myNewest->newer = best;
    self->myNewest = best;
    if (!self->myOldest)
        self->myOldest = best;
    return best->drawable;
}

void OrvFotoCacheManager::insertMetaData(const OrvFoto& foto, const OrvFotoMetaData& metaData)
{
    if (!foto.isValid() || !metaData.isValid())
        return;
    auto* entry = new Entry;
    entry->metaData = metaData;
    entry->cost = qMax<qint64>(64, metaData.byteCount());
    insert({foto, metaDataSlot}, entry);
}

OrvFotoMetaData OrvFotoCacheManager::metaData(const OrvFoto& foto, OrvBackgroundJobPriority, bool load)
{
    {
        QMutexLocker locker(&myMutex);
        if (Entry* entry = myEntries.value({foto, metaDataSlot}))
            return entry->metaData;
    }
    if (!load || !foto.isValid())
        return {};
    // Read outside the lock: a source may take its time.
    OrvFotoMetaData loaded;
    if (foto.isExternal()) {
        if (!foto.database())
            return {};
        std::unique_ptr<OrvFotoRetrieverInterface> retriever(foto.database()->createRetrieverInterface(foto.externalId()));
        if (!retriever)
            return {};
        std::unique_ptr<OrvFotoRetrieverMetaData> reader(retriever->retrieveMetaData());
        if (reader)
            loaded = reader->metaData();
    } else {
        OrvFotoRetrieverMetaDataFileInfo reader{OrvMediaDescriptor(QFileInfo(foto.filePath()))};
        loaded = reader.metaData();
    }
    insertMetaData(foto, loaded);
    return loaded;
}

void OrvFotoCacheManager::invalidate(const OrvFoto& foto)
{
    QMutexLocker locker(&myMutex);
    const QList<QSize> sizes = mySizes.value(foto);
    for (const QSize& size : sizes) {
        if (Entry* entry = myEntries.value({foto, size}))
            removeLocked(entry);
    }
    if (Entry* entry = myEntries.value({foto, metaDataSlot}))
        removeLocked(entry);
}

void OrvFotoCacheManager::invalidate(const OrvFotoList& fotos)
{
    for (const OrvFoto& foto : fotos)
        invalidate(foto);
}

void OrvFotoCacheManager::clear()
{
    QMutexLocker locker(&myMutex);
    while (myOldest)
        removeLocked(myOldest);
}
