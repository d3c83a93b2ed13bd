// The state that script loaders share.

#include "script/work_state.h"

namespace vl {

WorkState *WorkState::sm_pInstance = nullptr;
unsigned int WorkState::sm_uUsers = 0;

WorkState &WorkState::acquire() {
    if (!sm_pInstance)
        sm_pInstance = newCounted<WorkState>();
    ++sm_uUsers;
    return *sm_pInstance;
}

void WorkState::release() noexcept {
    if (--sm_uUsers == 0)
        deleteCounted(std::exchange(sm_pInstance, nullptr));
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

void WorkState::endLoad() noexcept {
    m_definitions.clear();
    m_includedNames.clear();
}

} // namespace vl
