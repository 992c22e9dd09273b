#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"

#include <gtest/gtest.h>

#include <QImage>

#include <thread>
#include <vector>

namespace {

OrvFoto fotoNumber(int n)
{
    return OrvFoto(OrvFotoKeyExternalService(nullptr, OrvExternalId(QStringLiteral("t"), QStringLiteral("foto"), QString::number(n))));
}

OrvDrawable drawable(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::gray);
    return OrvDrawable(image);
}

struct CacheFixture : ::testing::Test
{
    void SetUp() override
    {
        cache = OrvSingleton<OrvFotoCacheManager>::instance();
        cache->clear();
        oldBudget = cache->budget();
    }
    void TearDown() override
    {
        cache->setBudget(oldBudget);
        cache->clear();
    }
    OrvFotoCacheManager* cache = nullptr;
    qint64 oldBudget = 0;
};

} // namespace

TEST_F(CacheFixture, FindsTheSmallestDrawableThatCoversTheRequest)
{
    const OrvFoto foto = fotoNumber(1);
    cache->insertDrawable(foto, drawable(64, 48));
    cache->insertDrawable(foto, drawable(256, 192));
    cache->insertDrawable(foto, drawable(1024, 768));
    EXPECT_EQ(cache->drawable(foto, QSize(60, 60)).size(), QSize(64, 48));
    EXPECT_EQ(cache->drawable(foto, QSize(200, 200)).size(), QSize(256, 192));
    EXPECT_EQ(cache->drawable(foto, QSize(900, 900)).size(), QSize(1024, 768));
    EXPECT_TRUE(cache->drawable(foto, QSize(2000, 2000)).isNull());
    EXPECT_EQ(cache->drawable(foto, FOTO_CACHE_SIZE_FULL).size(), QSize(1024, 768));
    EXPECT_TRUE(cache->drawable(fotoNumber(2), QSize(10, 10)).isNull());

    OrvFotoMetaData meta;
    meta.setAdobeRating(4);
    cache->insertMetaData(foto, meta);
    EXPECT_EQ(cache->metaData(foto).adobeRating(), 4);
    cache->invalidate(foto);
    EXPECT_TRUE(cache->drawable(foto, QSize(60, 60)).isNull());
    EXPECT_FALSE(cache->metaData(foto).isValid());
    EXPECT_EQ(cache->bytesUsed(), 0);
}

TEST_F(CacheFixture, EvictsLeastRecentlyUsedUnderItsBudget)
{
    const qint64 one = drawable(100, 100).byteCount();
    cache->setBudget(3 * one);
    for (int i = 0; i < 3; ++i)
        cache->insertDrawable(fotoNumber(i), drawable(100, 100));
    EXPECT_FALSE(cache->drawable(fotoNumber(0), QSize(100, 100)).isNull());  // 0 is now the newest
    cache->insertDrawable(fotoNumber(3), drawable(100, 100));
    EXPECT_LE(cache->bytesUsed(), cache->budget());
    EXPECT_FALSE(cache->drawable(fotoNumber(0), QSize(100, 100)).isNull());
    EXPECT_TRUE(cache->drawable(fotoNumber(1), QSize(100, 100)).isNull());
    EXPECT_FALSE(cache->drawable(fotoNumber(3), QSize(100, 100)).isNull());

    // Larger than the whole budget: not cached, and nothing else pushed out.
    cache->insertDrawable(fotoNumber(9), drawable(400, 400));
    EXPECT_TRUE(cache->drawable(fotoNumber(9), QSize(10, 10)).isNull());
    EXPECT_EQ(cache->entryCount(), 3);

    cache->setBudget(one);
    EXPECT_EQ(cache->entryCount(), 1);
    cache->invalidate(OrvFotoList({fotoNumber(0), fotoNumber(3)}));
    EXPECT_EQ(cache->entryCount(), 0);
}

TEST_F(CacheFixture, StaysWithinBudgetUnderConcurrentUse)
{
    const qint64 one = drawable(32, 32).byteCount();
    cache->setBudget(50 * one);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 2000; ++i) {
                const OrvFoto foto = fotoNumber((i * 7 + t) % 200);
                switch (i % 4) {
                case 0:
                    cache->insertDrawable(foto, drawable(32, 32));
                    break;
                case 1:
                    cache->drawable(foto, QSize(16, 16));
                    break;
                case 2: {
                    OrvFotoMetaData meta;
                    meta.setAdobeRating(i % 5);
                    cache->insertMetaData(foto, meta);
                    break;
                }
                default:
                    cache->invalidate(foto);
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_LE(cache->bytesUsed(), cache->budget());
    EXPECT_GT(cache->entryCount(), 0);
}
