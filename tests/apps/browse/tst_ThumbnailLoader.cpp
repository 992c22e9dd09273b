// The browser's loader: worker threads only, newest request first, a bounded
// queue, the foto cache answering what it has.

#include "BrowserTestSupport.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRetriever.h"
#include "OrvThumbnailLoader.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

using BrowserTest::GatedSource;

namespace {

OrvExternalId foto(const QString& name) { return OrvExternalId(QStringLiteral("gated"), QStringLiteral("foto"), name); }

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
    source.setOpen(false);
    const QSize size(64, 64);
    // The first blocks the only worker; the rest wait.
    EXPECT_TRUE(loader.request(&source, foto("first"), size).isNull());
    ASSERT_TRUE(OrvTest::waitFor([&] { return loader.running() == 1; }));
    for (const char* name : {"a", "b", "c", "broken"})
        loader.request(&source, foto(QString::fromLatin1(name)), size);
    // Asked again: it moves to the front instead of being queued twice.
    loader.request(&source, foto("a"), size);
    EXPECT_EQ(loader.waiting(), 4);
    source.setOpen(true);
    ASSERT_TRUE(OrvTest::waitFor([&] { return arrived.size() == 5; }));
    EXPECT_EQ(source.served(), (QStringList{"first", "a", "broken", "c", "b"}));
    EXPECT_TRUE(arrived.contains(QStringLiteral("broken (none)")));
    EXPECT_TRUE(source.offMainThread);

    // Now the foto cache answers at once, without a worker.
    const QImage cached = loader.request(&source, foto("b"), size);
    EXPECT_EQ(cached.size(), size);
    EXPECT_EQ(loader.waiting() + loader.running(), 0);
    EXPECT_EQ(source.served().count(QStringLiteral("b")), 1);
}

TEST(ThumbnailLoader, ABitmapLargerThanAskedForIsFittedOffTheMainThread)
{
    OrvSingleton<OrvFotoCacheManager>::instance()->clear();
    GatedSource source;
    source.widerBy = 1.5;  // 96 x 64 for 64 x 64
    OrvThumbnailLoader loader(1);
    QSize handed;
    QSize fetched;
    QObject::connect(&loader, &OrvThumbnailLoader::ready, [&](const OrvExternalId&, const QSize&, const QImage& image, const QSize& pixels) {
        handed = image.size();
        fetched = pixels;
    });
    loader.request(&source, foto("wide"), QSize(64, 64));
    ASSERT_TRUE(OrvTest::waitFor([&] { return handed.isValid(); }));
    EXPECT_EQ(handed, QSize(64, 42));
    EXPECT_EQ(fetched, QSize(96, 64));
    // The cache keeps what the source gave.
    EXPECT_EQ(loader.request(&source, foto("wide"), QSize(64, 64)).size(), QSize(96, 64));
}

TEST(ThumbnailLoader, TheQueueIsBoundedAndCancellable)
{
    GatedSource source;
    OrvThumbnailLoader loader(1);
    QStringList dropped;
    QObject::connect(&loader, &OrvThumbnailLoader::dropped,
                     [&](const OrvExternalId& id, const QSize&) { dropped.append(id.remoteId()); });
    source.setOpen(false);
    loader.request(&source, foto("blocker"), QSize(8, 8));
    ASSERT_TRUE(OrvTest::waitFor([&] { return loader.running() == 1; }));
    for (int i = 0; i < OrvThumbnailLoader::maxWaiting + 5; ++i)
        loader.request(&source, foto(QString::number(i)), QSize(8, 8));
    EXPECT_EQ(loader.waiting(), OrvThumbnailLoader::maxWaiting);
    EXPECT_EQ(dropped, (QStringList{"0", "1", "2", "3", "4"})) << "the oldest go";
    loader.cancelWaiting();
    EXPECT_EQ(loader.waiting(), 0);
    EXPECT_EQ(dropped.size(), OrvThumbnailLoader::maxWaiting + 5);
    source.setOpen(true);
    ASSERT_TRUE(OrvTest::waitFor([&] { return loader.running() == 0; }));
    EXPECT_EQ(source.served(), (QStringList{"blocker"}));
}
