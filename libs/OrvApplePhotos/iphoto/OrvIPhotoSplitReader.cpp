#include "OrvIPhotoSplitReader.h"

#include "OrvIPhotoBatchQueue.h"
#include "OrvIPhotoBuilder.h"
#include "OrvIPhotoWalker.h"

#include "OrvXmlRepair.h"

#include <QByteArray>
#include <QDebug>

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <future>
#include <memory>

namespace OrvIPhoto {

namespace {

// Bytes read from the file at a time; the walk holds nothing of the file beyond that.
constexpr qint64 readChunk = 1 << 20;

void* runFunction(void* function)
{
    (*static_cast<std::function<void()>*>(function))();
    return nullptr;
}

// Feeds [from, to) of the input through the repair into the sink; false on a
// read error, a broken document or when cancel is set.
bool pump(const Input& input, qint64 from, qint64 to, OrvXmlRepair& repair, const OrvXmlRepair::Sink& sink,
          char* buffer, const std::atomic<bool>* cancel = nullptr)
{
    for (qint64 at = from; at < to;) {
        if (cancel && cancel->load(std::memory_order_relaxed))
            return false;
        const qint64 count = input.readAt(at, buffer, std::min(readChunk, to - at));
        if (count <= 0) {
            qDebug() << "OrvIPhotoDatabaseParser: read error";
            return false;
        }
        if (!repair.feed(buffer, count, sink))
            return false;
        at += count;
    }
    return true;
}

OrvXmlRepair::Sink into(Walker& walker)
{
    return [&walker](const char* data, qsizetype size) { return walker.feed(data, size, false); };
}

bool finish(OrvXmlRepair& repair, Walker& walker)
{
    return repair.finish(into(walker)) && walker.feed(nullptr, 0, true) && !walker.failed();
}

// Where a second reader may start: the "<key>" of an entry of a dict of
// dicts ("</dict> <key>...</key> <dict>") at or after from. Only a guess:
// the first reader confirms it when it gets there.
qint64 findHandOver(const Input& input, qint64 from)
{
    constexpr qint64 window = 1 << 20;
    QByteArray bytes(int(std::min(window, input.size - from)), Qt::Uninitialized);
    if (bytes.isEmpty() || input.readAt(from, bytes.data(), bytes.size()) != bytes.size())
        return -1;
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    const auto startsAt = [&bytes](qsizetype at, QByteArrayView text) {
        return at >= 0 && at + text.size() <= bytes.size() && QByteArrayView(bytes).sliced(at, text.size()) == text;
    };
    for (qsizetype at = bytes.indexOf("</dict>"); at >= 0; at = bytes.indexOf("</dict>", at + 1)) {
        qsizetype key = at + 7;
        while (key < bytes.size() && isBlank(bytes[key]))
            ++key;
        if (!startsAt(key, "<key>"))
            continue;
        const qsizetype close = bytes.indexOf('<', key + 5);
        if (!startsAt(close, "</key>"))
            continue;
        qsizetype value = close + 6;
        while (value < bytes.size() && isBlank(bytes[value]))
            ++value;
        if (startsAt(value, "<dict>"))
            return from + key;
    }
    return -1;
}

// A plain POSIX thread: joining it is all the synchronisation there is, and a
// failure to make one is an answer (the work is done elsewhere), not an exception.
bool startThread(pthread_t* thread, std::function<void()>* body)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 2u << 20);
    const bool started = pthread_create(thread, &attributes, &runFunction, body) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace

bool SplitReader::readHere(const Input& input, Builder& builder, qsizetype* repairs)
{
    std::unique_ptr<char[]> buffer(new char[readChunk]);
    Walker walker([&builder](std::unique_ptr<Batch> batch) { builder.take(*batch); });
    OrvXmlRepair repair;
    if (!pump(input, 0, input.size, repair, into(walker), buffer.get()) || !finish(repair, walker))
        return false;
    *repairs = repair.repairs();
    return true;
}

bool SplitReader::readThreaded(const Input& input, qint64 splitSize, const OrvIPhotoDatabaseParser& parser,
                               Builder& builder, qsizetype* repairsOut, int* readers)
{
    // Large files: the first reader walks the document on a thread of its own
    // while this thread builds what it read. From a size on, a second reader
    // starts half-way, at what looks like the start of a foto entry, and walks
    // the rest into fotos and albums of its own; when the first reader gets
    // there and finds the document really is between two foto entries, it
    // stops and the two halves are joined. Otherwise the second reader's work
    // is dropped and the first one reads on: either way, what comes out is
    // what one reader gives.
    // On the heap: fresh memory for every parse, which ThreadSanitizer tells apart
    // from an earlier parse's queue at the same stack address.
    const auto queue = std::make_unique<BatchQueue>();
    // The second reader also builds its part, so it gets a little less than half.
    const qint64 handOver = input.size > splitSize ? findHandOver(input, input.size / 20 * 11) : -1;
    std::promise<qint64> rootTag;
    std::future<qint64> rootTagKnown = rootTag.get_future();
    std::atomic<bool> cancel{false};

    Builder secondBuilder(parser, false);
    bool secondOk = false;
    qsizetype secondRepairs = 0;
    std::function<void()> second = [&] {
        const qint64 rootEnd = rootTagKnown.get();
        if (rootEnd <= 0 || cancel.load())
            return;
        Walker walker([&secondBuilder](std::unique_ptr<Batch> batch) { secondBuilder.take(*batch); }, true);
        OrvXmlRepair repair;
        std::unique_ptr<char[]> chunk(new char[readChunk]);
        const QByteArray start = "<dict><key>Master Image List</key><dict>";
        const Input prefix{rootEnd + start.size(), [&](qint64 offset, char* into, qint64 size) {
                               if (offset < rootEnd)
                                   return input.readAt(offset, into, std::min(size, rootEnd - offset));
                               const qint64 count = std::min<qint64>(size, start.size() - (offset - rootEnd));
                               std::memcpy(into, start.constData() + (offset - rootEnd), size_t(count));
                               return count;
                           }};
        secondOk = pump(prefix, 0, prefix.size, repair, into(walker), chunk.get(), &cancel)
            && pump(input, handOver, input.size, repair, into(walker), chunk.get(), &cancel) && finish(repair, walker);
        secondRepairs = repair.repairs();
    };
    pthread_t secondThread{};
    const bool secondStarted = handOver > 0 && startThread(&secondThread, &second);
    if (secondStarted)
        *readers = 2;

    bool ok = true;
    bool handedOver = false;
    qsizetype repairs = 0;
    BatchSink sink = [&queue](std::unique_ptr<Batch> batch) { queue->push(std::move(batch)); };
    std::function<void()> first = [&] {
        Walker walker([&sink](std::unique_ptr<Batch> batch) { sink(std::move(batch)); });
        OrvXmlRepair repair;
        std::unique_ptr<char[]> chunk(new char[readChunk]);
        // A small first piece: the second reader needs the document element's start tag.
        const qint64 head = std::min<qint64>(secondStarted ? std::min<qint64>(handOver, 1 << 16) : 0, input.size);
        // Repairs made before the start tag was read: its offset is the file's only without any.
        qsizetype repairsBeforeRoot = -1;
        const OrvXmlRepair::Sink headSink = [&](const char* data, qsizetype size) {
            const bool fed = walker.feed(data, size, false);
            // A span of the output is unchanged input: every repair so far lies before it.
            if (repairsBeforeRoot < 0 && walker.rootTagEnd() > 0)
                repairsBeforeRoot = repair.repairs();
            return fed;
        };
        ok = pump(input, 0, head, repair, headSink, chunk.get());
        const bool rootKnown = ok && repairsBeforeRoot == 0;
        rootTag.set_value(rootKnown ? walker.rootTagEnd() : -1);
        if (rootKnown && secondStarted) {
            ok = pump(input, head, handOver, repair, into(walker), chunk.get());
            handedOver = ok && repair.isIdle() && walker.isBetweenFotoEntries();
        }
        if (handedOver) {
            walker.flush();
        } else {
            cancel.store(true);
            ok = ok && pump(input, rootKnown && secondStarted ? handOver : head, input.size, repair, into(walker), chunk.get())
                && finish(repair, walker);
        }
        repairs = repair.repairs();
        queue->close();
    };
    pthread_t firstThread{};
    if (startThread(&firstThread, &first)) {
        while (std::unique_ptr<Batch> batch = queue->pop())
            builder.take(*batch);
        pthread_join(firstThread, nullptr);
    } else {
        sink = [&builder](std::unique_ptr<Batch> batch) { builder.take(*batch); };
        first();
    }
    if (secondStarted)
        pthread_join(secondThread, nullptr);
    if (handedOver) {
        ok = ok && secondOk;
        repairs += secondRepairs;
        builder.albums.add(secondBuilder.albums);
        builder.fotos.add(secondBuilder.fotoList);
        builder.persons.add(secondBuilder.persons);
    } else {
        *readers = 1;
    }
    *repairsOut = repairs;
    return ok;
}

} // namespace OrvIPhoto
