// The browser's loader: worker threads only, newest request first, a bounded
// queue, the foto cache answering what it has.

#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetriever.h"
#include "OrvThumbnailLoader.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>

#include <condition_variable>
#include <mutex>

namespace {

// A source whose bitmaps are made on request, one at a time while the gate is closed.
struct GatedSource : OrvExternalDatabase
{
    GatedSource() : OrvExternalDatabase(OrvExternalService(QStringLiteral("gated"), QStringLiteral("Gated"), QIcon(), QIcon(), QImage(), 0),
                                        OrvFotoDatabaseType(1u << 20))
    {
    }
    OrvFotoRetrieverInterface* createRetrieverInterface(const OrvExternalId& id) const override;

    mutable std::mutex mutex;
    std::condition_variable opened;
    bool open = true;
    QStringList served;        // remote ids in the order they were drawn
    bool offMainThread = true;
};

struct GatedData : OrvFotoRetrieverData
{
    GatedData(const GatedSource* source, const OrvExternalId& id) : mySource(const_cast<GatedSource*>(source)), myId(id) {}
    OrvFetchDrawableResult drawable(const QSize& size) override
    {
        std::unique_lock<std::mutex> lock(mySource->mutex);
        mySource->opened.wait(lock, [this] { return mySource->open; });
        mySource->served.append(myId.remoteId());
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            mySource->offMainThread = false;
        if (myId.remoteId() == QLatin1String("broken"))
            return {};
        QImage image(size.isValid() ? size : QSize(40, 30), QImage::Format_RGB32);
        image.fill(Qt::green);
        return OrvFetchDrawableResult(OrvDrawable(image));
    }
    OrvFoto foto() const override { return mySource->createFoto(myId); }
    GatedSource* mySource;
    OrvExternalId myId;
};

struct GatedRetriever : OrvFotoRetrieverInterfaceReadOnly
{
    GatedRetriever(const GatedSource* source, const OrvExternalId& id) : mySource(source), myId(id) {}
    OrvFotoRetrieverInterface* clone() const override { return new GatedRetriever(mySource, myId); }
    OrvFotoRetrieverData* retrieve(const QSize&) override { return new GatedData(mySource, myId); }
    OrvFotoRetrieverMetaData* retrieveMetaData() override { return nullptr; }
    bool operator==(const OrvFotoRetrieverInterface&) const override { return false; }
    size_t hash() const override { return 0; }
    const GatedSource* mySource;
    OrvExternalId myId;
};

OrvFotoRetrieverInterface* GatedSource::createRetrieverInterface(const OrvExternalId& id) const
{
    return new GatedRetriever(this, id);
}

OrvExternalId foto(const QString& name) { return OrvExternalId(QStringLiteral("gated"), QStringLiteral("foto"), name); }

void setGate(GatedSource& source, bool open)
{
    {
        std::lock_guard<std::mutex> lock(source.mutex);
        source.open = open;
    }
    source.opened.notify_all();
}

} // namespace

TEST(ThumbnailLoader, NewestFirstOffTheMainThreadAndCachedAfterwards)
{
    OrvSingleton<OrvFotoCacheManager>::instance()->clear();
    GatedSource source;
    OrvThumbnailLoader loader(1);
    QStringList arrived;
    QObject::connect(&loader, &OrvThumbnailLoader::ready, [&](const OrvExternalId& id, const QSize&, const QImage& image, const QSize&) {
        arrived.append(image.isNull() ? id.remoteId() + QStringLiteral(" (none)") : id.remoteId());
    });
    setGate(source, false);
    const QSize size(64, 64);
    // The first blocks the only worker; the rest wait.
    EXPECT_TRUE(loader.request(&source, foto("first"), size).isNull());
    ASSERT_TRUE(OrvTest::waitFor([&] { return loader.running() == 1; }));
    for (const char* name : {"a", "b", "c", "broken"})
        loader.request(&source, foto(QString::fromLatin1(name)), size);
    // Asked again: it moves to the front instead of being queued twice.
    loader.request(&source, foto("a"), size);
    EXPECT_EQ(loader.waiting(), 4);
    setGate(source, true);
    ASSERT_TRUE(OrvTest::waitFor([&] { return arrived.size() == 5; }));
    EXPECT_EQ(source.served, (QStringList{"first", "a", "broken", "c", "b"}));
    EXPECT_TRUE(arrived.contains(QStringLiteral("broken (none)")));
    EXPECT_TRUE(source.offMainThread);

    // Now the foto cache answers at once, without a worker.
    const QImage cached = loader.request(&source, foto("b"), size);
    EXPECT_EQ(cached.size(), size);
    EXPECT_EQ(loader.waiting() + loader.running(), 0);
    EXPECT_EQ(source.served.count(QStringLiteral("b")), 1);
}

TEST(ThumbnailLoader, TheQueueIsBoundedAndCancellable)
{
    GatedSource source;
    OrvThumbnailLoader loader(1);
    QStringList dropped;
    QObject::connect(&loader, &OrvThumbnailLoader::dropped,
                     [&](const OrvExternalId& id, const QSize&) { dropped.append(id.remoteId()); });
    setGate(source, false);
    loader.request(&source, foto("blocker"), QSize(8, 8));
    ASSERT_TRUE(OrvTest::waitFor([&] { return loader.running() == 1; }));
    for (int i = 0; i < OrvThumbnailLoader::maxWaiting + 5; ++i)
        loader.request(&source, foto(QString::number(i)), QSize(8, 8));
    EXPECT_EQ(loader.waiting(), OrvThumbnailLoader::maxWaiting);
    EXPECT_EQ(dropped, (QStringList{"0", "1", "2", "3", "4"})) << "the oldest go";
    loader.cancelWaiting();
    EXPECT_EQ(loader.waiting(), 0);
    EXPECT_EQ(dropped.size(), OrvThumbnailLoader::maxWaiting + 5);
    setGate(source, true);
    ASSERT_TRUE(OrvTest::waitFor([&] { return loader.running() == 0; }));
    EXPECT_EQ(source.served, (QStringList{"blocker"}));
}
