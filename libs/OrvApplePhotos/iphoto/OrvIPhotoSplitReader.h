#pragma once

// The readers of a library file: each pumps the file through the repair into
// a walker whose batches a builder turns into albums, fotos and persons. Small
// files are read on the calling thread; large ones on a thread of their own
// while the calling thread builds, and the largest by two readers, one for
// each half, whose results are joined only where the first reader confirms the
// seam. Private to the iphoto folder.

#include <QtGlobal>

#include <functional>

class OrvIPhotoDatabaseParser;

namespace OrvIPhoto {

class Builder;

// The library file, or bytes already in memory: read at any offset, from any thread.
struct Input
{
    qint64 size = 0;
    std::function<qint64(qint64 offset, char* buffer, qint64 size)> readAt;
};

class Q_DECL_HIDDEN SplitReader
{
public:
    // One reader on the calling thread; false when the document is broken (and
    // then nothing of it counts, as with a DOM load).
    static bool readHere(const Input& input, Builder& builder, qsizetype* repairs);
    // A reader thread while this thread builds into builder; from splitSize on,
    // a second reader for the second half. readers: how many readers the result
    // came from.
    static bool readThreaded(const Input& input, qint64 splitSize, const OrvIPhotoDatabaseParser& parser,
                             Builder& builder, qsizetype* repairs, int* readers);
};

} // namespace OrvIPhoto
