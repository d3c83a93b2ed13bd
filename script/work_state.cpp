// What loads work with, and what of it is kept between them.

#include "script/work_state.h"

#include "base/spin_lock.h"

#include <mutex>

namespace vl {
namespace {

/// Shared by all threads that load scripts.
struct Kept {
    SpinLock lock;
    WorkState *first = nullptr; ///< those that no load works with
    unsigned int users = 0;     ///< scripts that live, and loads that go on
};
constinit Kept kept;

} // namespace

WorkState &WorkState::acquire() {
    const std::lock_guard guard(kept.lock);
    WorkState *state = kept.first;
    if (state)
        kept.first = state->m_pNextKept;
    else
        state = newCounted<WorkState>();
    ++kept.users;
    return *state;
}

void WorkState::giveBack(WorkState &state) noexcept {
    state.m_definitions.clear();
    state.m_includedNames.clear();
    const std::lock_guard guard(kept.lock);
    state.m_pNextKept = kept.first;
    kept.first = &state;
}

void WorkState::release() noexcept {
    WorkState *unused = nullptr;
    {
        const std::lock_guard guard(kept.lock);
        if (--kept.users == 0)
            unused = std::exchange(kept.first, nullptr);
    }
    while (unused)
        deleteCounted(std::exchange(unused, unused->m_pNextKept));
}

const V_String *WorkState::findDefinition(std::string_view name) const {
    const auto found = m_definitions.find(NameView(name.data(), name.size()));
    return found == m_definitions.end() ? nullptr : &found->second;
}

void WorkState::define(std::string_view name, std::string_view value) {
    m_definitions.emplace(V_StringI(name.data(), name.size()), V_String(value.data(), value.size()));
}

bool WorkState::include(std::string_view name) {
    return m_includedNames.emplace(name.data(), name.size()).second;
}

} // namespace vl
