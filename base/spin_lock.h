// A lock for a few instructions. Unlike std::mutex it needs neither construction nor destruction on any
// system, so static objects may use it in whatever order they come and go.
#pragma once

#include <atomic>
#include <thread>

namespace vl {

class SpinLock {
  public:
    void lock() noexcept {
        while (m_taken.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
    }
    void unlock() noexcept { m_taken.clear(std::memory_order_release); }

  private:
    std::atomic_flag m_taken;
};

} // namespace vl
