// V_Mutex across threads.

#include "tests/support/failing_allocation.h"

#include "vl/core/mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

TEST(Mutex, ThreadsExcludeEachOther) {
    V_Mutex mutex;
    int count = 0;
    const auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            const V_MutexLock lock(&mutex);
            ++count;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(count, 40000);
}

TEST(Mutex, IsFreeForOtherThreadsOnlyAfterAsManyUnlocksAsLocks) {
    V_Mutex mutex;
    std::atomic<int> held = 2;
    std::atomic<bool> waits = false;
    mutex.lock();
    mutex.lock();
    std::thread other([&] {
        waits = true;
        const V_MutexLock lock(&mutex);
        EXPECT_EQ(held, 0);
    });
    while (!waits)
        std::this_thread::yield();
    for (int i = 0; i < 2; ++i) {
        for (int turn = 0; turn < 1000; ++turn) // a chance for the other to come in too early
            std::this_thread::yield();
        --held;
        mutex.unlock();
    }
    other.join();
}

TEST(Mutex, WithoutMemoryDoesNothing) {
    const FailingAllocation fault(0);
    V_Mutex mutex;
    EXPECT_TRUE(FailingAllocation::happened());
    const V_MutexLock lock(&mutex);
    mutex.unlock();
}

} // namespace
