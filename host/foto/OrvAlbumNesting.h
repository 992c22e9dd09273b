#pragma once

#include "OrvExternalPools.h"

#include <QHash>

// Albums placed in the folders that something beside their source names for
// them, as far as that makes a tree: a parent that is no album of the pool (or
// the album itself) puts the album at the top; following the parents from each
// album in the pool's order, the parent that leads back into the albums just
// followed is dropped; an album deeper than maxDepth goes to the top with what
// it holds. An album the map does not name keeps the parent it has. Order and
// everything else stay.
class OrvAlbumNesting
{
public:
    // Folders inside folders nest at most this deep (libraries nest a few).
    static constexpr int maxDepth = 32;

    static OrvExternalAlbumPool nested(const OrvExternalAlbumPool& albums,
                                       const QHash<OrvExternalId, OrvExternalId>& parents);
};
