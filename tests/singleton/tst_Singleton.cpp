#include "Probe.h"

#include <gtest/gtest.h>

#include <QSet>

#include <atomic>
#include <dlfcn.h>
#include <thread>
#include <vector>

int probeConstructions();

namespace {

using ProbeFunction = void* (*)();

ProbeFunction load(const char* path, const char* symbol)
{
    // Loaded like a plug-in: local symbols, the host framework already in the process.
    void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        return nullptr;
    return reinterpret_cast<ProbeFunction>(dlsym(handle, symbol));
}

} // namespace

TEST(OrvSingleton, OneInstanceAcrossLibrariesAndThreads)
{
    ProbeFunction fromA = load(LIB_A_PATH, "probeFromA");
    ProbeFunction fromB = load(LIB_B_PATH, "probeFromB");
    ASSERT_NE(fromA, nullptr) << dlerror();
    ASSERT_NE(fromB, nullptr) << dlerror();
    ASSERT_EQ(probeConstructions(), 0);

    constexpr int threadCount = 16;
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::vector<void*> results(threadCount, nullptr);
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (!go.load())
                std::this_thread::yield();
            // Half go through each library, one through the test itself.
            if (i == 0)
                results[i] = Probe::instance();
            else
                results[i] = (i % 2) ? fromA() : fromB();
        });
    }
    while (ready.load() < threadCount)
        std::this_thread::yield();
    go = true;
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(probeConstructions(), 1);
    const QSet<void*> distinct(results.begin(), results.end());
    EXPECT_EQ(distinct.size(), 1);
    EXPECT_NE(results.front(), nullptr);
    EXPECT_EQ(Probe::instance()->setupCalls, 1);
    EXPECT_EQ(fromA(), Probe::instance());
    EXPECT_EQ(fromB(), Probe::instance());
}
