#pragma once

#include "OrvDrawable.h"
#include "OrvFoto.h"
#include "OrvFotoMetaData.h"
#include "OrvSingleton.h"

#include <QHash>
#include <QMutex>
#include <QSize>

// Size that stands for "the full image" in cache and retriever requests.
inline const QSize FOTO_CACHE_SIZE_FULL = QSize(-1, -1);

enum OrvBackgroundJobPriority : int {
    OrvPriorityIdle = 0,
    OrvPriorityLow = 1,
    OrvPriorityNormal = 2,
    OrvPriorityHigh = 3,
    OrvPriorityImmediate = 4,
};

class OrvFotoCacheDrawable
{
public:
    // What a browser shows while the real pixels are on their way.
    static OrvDrawable placeHolder();
    // Whether drawable is that stand-in (sources hand it over for a picture they do not have).
    static bool isPlaceHolder(const OrvDrawable& drawable);
};

// Bitmaps and metadata of fotos, kept within a memory budget (least recently
// used go first). Thread-safe.
class OrvFotoCacheManager : public OrvSingleton<OrvFotoCacheManager>
{
public:
    ~OrvFotoCacheManager() override;

    void setBudget(qint64 bytes);
    qint64 budget() const;
    qint64 bytesUsed() const;
    int entryCount() const;

    // Keyed by the drawable's own size.
    void insertDrawable(const OrvFoto& foto, const OrvDrawable& drawable);
    // The smallest cached drawable that covers the bounding size (full size: the largest); empty when none does.
    OrvDrawable drawable(const OrvFoto& foto, const QSize& boundingSize) const;

    void insertMetaData(const OrvFoto& foto, const OrvFotoMetaData& metaData);
    // Cached metadata; when absent and load is true, read through the foto's
    // source (or file) at the given priority and cached. Invalid when unknown.
    OrvFotoMetaData metaData(const OrvFoto& foto, OrvBackgroundJobPriority priority = OrvPriorityNormal, bool load = false);

    void invalidate(const OrvFoto& foto);
    void invalidate(const OrvFotoList& fotos);
    void clear();

private:
    friend class OrvSingleton<OrvFotoCacheManager>;
    OrvFotoCacheManager();

    struct Entry;
    struct Key
    {
        OrvFoto foto;
        QSize size;  // (-2,-2) for metadata
        bool operator==(const Key& other) const { return size == other.size && foto == other.foto; }
    };
    friend size_t qHash(const Key& key, size_t seed) { return qHashMulti(seed, key.foto, key.size.width(), key.size.height()); }

    void insert(const Key& key, Entry* entry);
    void unlink(Entry* entry);
    void evictLocked();
    void removeLocked(Entry* entry);

    mutable QMutex myMutex;
    QHash<Key, Entry*> myEntries;
    QHash<OrvFoto, QList<QSize>> mySizes;
    Entry* myNewest = nullptr;
    Entry* myOldest = nullptr;
    qint64 myBudget;
    qint64 myUsed = 0;
};
