// What all script loaders share while at least one of them lives: the definitions and included names of the
// load that is going on, and the nodes of the preprocessor's lists, kept for reuse.
#pragma once

#include "core/counted.h"
#include "script/loader.h"
#include "vl/core/list.h"
#include "vl/core/string.h"

#include <functional>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace vl {

/// A pool of nodes: a list takes one for itself and gives all of its own back.
template <class T>
class NodePool {
  public:
    /// A node, not initialised, at the end of `list`. Allocates only when the pool is empty.
    T *take(V_DLList<T> &list) {
        T *node = m_nodes.unlinkFirst();
        if (!node)
            node = m_nodes.allocateNode();
        list.linkLast(node);
        return node;
    }
    void giveBack(V_DLList<T> &list, T *node) {
        list.unlink(node);
        m_nodes.linkFirst(node);
    }
    void giveBackAll(V_DLList<T> &list) {
        while (T *node = list.getFirst())
            giveBack(list, node);
    }

  private:
    V_DLList<T> m_nodes;
};

class WorkState {
  public:
    static constexpr std::size_t maximumDefineLength = 127; ///< of a name and of a value

    /// The state, created by the first of its users. Each acquire is followed by one release, the last of
    /// which destroys it. Throws V_MemoryException_Allocation; nothing is acquired then.
    static WorkState &acquire();
    static void release() noexcept;
    static WorkState &get() { return *sm_pInstance; }

    bool hasDefinitions() const { return !m_definitions.empty(); }
    /// The value defined for a name, null when there is none.
    const V_String *findDefinition(std::string_view name) const;
    /// Adds a definition that does not exist yet.
    void define(std::string_view name, std::string_view value);

    /// Whether a file of this name is included for the first time during this load; notes it.
    bool include(std::string_view name);

    /// Forgets definitions and included names: the end of a load.
    void endLoad() noexcept;

    NodePool<V_ScriptLoader::BRACKETS> m_bracketPool;
    NodePool<V_ScriptLoader::DEFINEINSERT> m_definePool;
    NodePool<V_ScriptLoader::INCLUDEINSERT> m_includePool;

  private:
    using NameView = std::basic_string_view<char, std::V_CTrI>;
    struct NameOrder {
        using is_transparent = void;
        bool operator()(NameView a, NameView b) const { return a < b; }
    };
    using Definition = std::pair<const V_StringI, V_String>;

    std::map<V_StringI, V_String, NameOrder, CountedAllocator<Definition>> m_definitions;
    std::set<V_String, std::less<>, CountedAllocator<V_String>> m_includedNames;

    static WorkState *sm_pInstance;
    static unsigned int sm_uUsers;
};

} // namespace vl
