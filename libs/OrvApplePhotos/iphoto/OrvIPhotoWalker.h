#pragma once

// The walk over a library file, fed by libxml2's push parser: what the file
// holds, as batches of records for a builder. Touches no Qt object, so it can
// run on a thread of its own. The walk itself, with every use of libxml2, is
// in OrvIPhotoWalker.cpp. Private to the iphoto folder.

#include "OrvIPhotoBatch.h"

#include <QtGlobal>

#include <memory>

namespace OrvIPhoto {

class Q_DECL_HIDDEN Walker
{
public:
    // A quiet walker keeps its verdict to itself (a reader that only guesses where it starts).
    explicit Walker(BatchSink sink, bool quiet = false);
    ~Walker();
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    // False once the document turned out not to be well-formed (or refused).
    bool feed(const char* data, qsizetype size, bool final);

    bool failed() const;

    // Where the start tag of the document element ends (its offset in what
    // was fed), -1 while unknown or when the document element is empty.
    qint64 rootTagEnd() const;

    // Whether what was fed ends between two entries of the first "Master
    // Image List" dict, directly below the top dict, with nothing but blanks
    // after the last piece of markup: there the rest of the document reads
    // exactly as it would after a document element start tag followed by
    // <dict><key>Master Image List</key><dict>, and another walker can take over.
    bool isBetweenFotoEntries() const;

    // Hands what was read so far to the sink (the walk stops here).
    void flush();

private:
    struct Impl;
    std::unique_ptr<Impl> myImpl;
};

} // namespace OrvIPhoto
