// What a load works with: the definitions and included names of its files, and the nodes of the
// preprocessor's lists. As long as a script lives, what the loads so far have worked with is kept for the
// next one.
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

    /// For one load: one that is kept, or a new one. Each acquire is followed by one giveBack and one
    /// release, the last of which destroys all that are kept. Throws V_MemoryException_Allocation; nothing is
    /// acquired then.
    static WorkState &acquire();
    /// The load is over: forgets its definitions and included names and keeps the rest.
    static void giveBack(WorkState &state) noexcept;
    static void release() noexcept;

    bool hasDefinitions() const { return !m_definitions.empty(); }
    /// The value defined for a name, null when there is none.
    const V_String *findDefinition(std::string_view name) const;
    /// Adds a definition that does not exist yet.
    void define(std::string_view name, std::string_view value);

    /// Whether a file of this name is included for the first time during this load; notes it.
    bool include(std::string_view name);

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
    WorkState *m_pNextKept = nullptr;
};

} // namespace vl
