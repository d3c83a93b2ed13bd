// V_Mutex across threads.

#include "tests/support/failing_allocation.h"

#include "vl/core/mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

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
