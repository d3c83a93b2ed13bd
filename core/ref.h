// Shared ownership of the library's own objects, which are counted allocations: the last reference deletes.
#pragma once

#include "core/counted.h"

#include <atomic>
#include <type_traits>
#include <utility>

namespace vl {

template <class T>
class Ref;

/// Base of what is owned by references; it holds their number. References may be taken and dropped on any
/// thread.
class RefCounted {
  public:
    RefCounted() = default;
    RefCounted(const RefCounted &) = delete;
    RefCounted &operator=(const RefCounted &) = delete;

  protected:
    ~RefCounted() = default;

  private:
    template <class T>
    friend class Ref;
    mutable std::atomic<unsigned int> m_uReferences{0};
};

/// A reference to an object of newCounted, or none.
template <class T>
class Ref {
  public:
    Ref() = default;
    explicit Ref(T *object) : m_pObject(object) {
        if (m_pObject)
            m_pObject->RefCounted::m_uReferences.fetch_add(1, std::memory_order_relaxed);
    }
    Ref(const Ref &other) : Ref(other.m_pObject) {}
    Ref(Ref &&other) noexcept : m_pObject(std::exchange(other.m_pObject, nullptr)) {}
    Ref &operator=(Ref other) noexcept {
        std::swap(m_pObject, other.m_pObject);
        return *this;
    }
    ~Ref() {
        if (m_pObject && m_pObject->RefCounted::m_uReferences.fetch_sub(1, std::memory_order_acq_rel) == 1)
            deleteCounted(const_cast<std::remove_const_t<T> *>(m_pObject));
    }

    /// Hands the reference over to who keeps it by hand, and takes such a one back.
    T *release() { return std::exchange(m_pObject, nullptr); }
    static Ref adopt(T *object) {
        Ref result;
        result.m_pObject = object;
        return result;
    }

    T *get() const { return m_pObject; }
    T *operator->() const { return m_pObject; }
    T &operator*() const { return *m_pObject; }
    explicit operator bool() const { return m_pObject != nullptr; }

  private:
    T *m_pObject = nullptr;
};

} // namespace vl
