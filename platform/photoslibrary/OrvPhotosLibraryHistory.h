#pragma once

// Core Data's persistent history in a library's database: every transaction
// Photos commits (ATRANSACTION) with the rows it inserted, updated or deleted
// (ACHANGE: entity number, row key, kind of change). Following it, a change
// costs what the change touched, not what the library holds. Album contents
// have no history rows of their own: Photos records the album (and the asset)
// as updated. When the history cannot tell (pruned past the last transaction
// seen, started anew, or far longer than a rereading), the caller reads the
// whole library and compares.

#include "OrvPhotosLibraryCatalogue.h"

#include <optional>

struct sqlite3;

namespace OrvPhotosLibrary {

class Reader;
class Schema;

class History
{
public:
    struct Changes
    {
        bool complete = false;  // false: the history cannot tell what changed
        qint64 token = 0;       // the last transaction read
        Catalogue::Touched touched;
    };

    // The last transaction the library holds; nothing when it keeps no history.
    static std::optional<qint64> token(sqlite3* db, const Schema& schema);
    // What the transactions after token touched, as rows of assets and albums.
    static Changes since(sqlite3* db, const Schema& schema, qint64 token, Reader& reader);

    // More changes than this are read faster by reading the library again.
    static constexpr qint64 longestHistory = 200000;
};

} // namespace OrvPhotosLibrary
