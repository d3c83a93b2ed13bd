// A recursive lock for clients, and its holder for a scope.
#pragma once

#include "vl/core/export.h"

#include <mutex>

/// A recursive mutex within the process: the thread that holds it may lock it again, and must unlock it as
/// often before another thread gets it. When the system has no memory for it, that is not reported; locking
/// and unlocking then do nothing.
class VL_API V_Mutex {
  public:
    V_Mutex();
    /// Nobody may hold the mutex or wait for it.
    ~V_Mutex();
    V_Mutex(const V_Mutex &) = delete;
    V_Mutex &operator=(const V_Mutex &) = delete;

    /// Waits without time-out until the mutex is free, and takes it.
    void lock() {
        if (m_hMutex)
            m_hMutex->lock();
    }

    /// Gives it back once. Only the holder may call this.
    void unlock() {
        if (m_hMutex)
            m_hMutex->unlock();
    }

  private:
    std::recursive_mutex *m_hMutex; ///< owned, may be null
};

/// Holds a mutex for its lifetime.
class VL_API V_MutexLock {
  public:
    /// Waits for the mutex, which must outlive the lock.
    explicit V_MutexLock(V_Mutex *mutex) : m_pMutex(mutex) { m_pMutex->lock(); }
    ~V_MutexLock() { m_pMutex->unlock(); }
    V_MutexLock(const V_MutexLock &) = delete;
    V_MutexLock &operator=(const V_MutexLock &) = delete;

  private:
    V_Mutex *m_pMutex;
};
