// Intrusive doubly linked lists. A node is a link header with the element directly behind it in one counted
// allocation, so lists hand out and take back element pointers, and an element moves from one list to another
// of the same element type by unlink and link, without a copy. Element pointers stay valid until the node is
// freed. Linking, unlinking and stepping take constant time. Nothing is synchronised.
#pragma once

#include "vl/core/memory.h"

#include <cstddef>
#include <new>

/// The link header of every node. Both pointers are null in an unlinked node.
struct V_DLListBaseNode {
    V_DLListBaseNode *prev; ///< null otherwise only in the head sentinel
    V_DLListBaseNode *next; ///< null otherwise only in the tail sentinel
};

/// The list itself. Elements are left unconstructed: it suits plain records, whose owner initialises them
/// after insertion and releases what they own before removal.
template <class T, class Node>
class V_DLListBase {
  public:
    constexpr V_DLListBase() : m_head{nullptr, &m_tail}, m_tail{&m_head, nullptr} {}
    V_DLListBase(const V_DLListBase &) = delete;
    V_DLListBase &operator=(const V_DLListBase &) = delete;

    /// Removes and frees every element.
    virtual ~V_DLListBase() { removeAll(); }

    /// A new unlinked node (counted); returns its element. Throws V_MemoryException_Allocation with the list
    /// unchanged.
    virtual T *allocateNode() {
        static_assert(alignof(T) <= sizeof(Node), "the element lies directly behind the link header");
        Node *node = new (V_Memory::allocateCounted(sizeof(Node) + sizeof(T))) Node;
        node->prev = nullptr;
        node->next = nullptr;
        return elementOf(node);
    }

    /// Frees the unlinked node of `element` (counted); null is ignored.
    virtual void freeNode(T *element) {
        if (element)
            V_Memory::freeCounted(nodeOf(element));
    }

    /// How many elements are linked.
    int getCount() const { return m_iCount; }

    /// The first or last element, null when the list is empty.
    T *getFirst() const { return m_head.next == &m_tail ? nullptr : elementOf(m_head.next); }
    T *getLast() const { return m_tail.prev == &m_head ? nullptr : elementOf(m_tail.prev); }

    /// The neighbour of a linked element, null at the end of the list.
    T *getNext(const T *element) const {
        Node *node = nodeOf(element)->next;
        return node->next ? elementOf(node) : nullptr;
    }
    T *getPrev(const T *element) const {
        Node *node = nodeOf(element)->prev;
        return node->prev ? elementOf(node) : nullptr;
    }

    /// The element at a position counted from 0, null when there is none. Walks on from the position asked
    /// for last unless that lies behind this one or the list has changed since, so a loop over rising
    /// positions costs one step each.
    T *getAt(int position) const {
        if (position < 0 || position >= m_iCount)
            return nullptr;
        if (m_iCachedPosition == noPosition || position < m_iCachedPosition) {
            m_iCachedPosition = 0;
            m_pCachedNode = m_head.next;
        }
        for (; m_iCachedPosition < position; ++m_iCachedPosition)
            m_pCachedNode = m_pCachedNode->next;
        return elementOf(m_pCachedNode);
    }

    /// Link the unlinked node of `element`.
    void linkFirst(T *element) { linkAfter(&m_head, nodeOf(element)); }
    void linkLast(T *element) { linkAfter(m_tail.prev, nodeOf(element)); }

    /// allocateNode, then linkFirst or linkLast.
    T *insertFirst() {
        T *element = allocateNode();
        linkFirst(element);
        return element;
    }
    T *insertLast() {
        T *element = allocateNode();
        linkLast(element);
        return element;
    }

    /// Takes the element out of the list; its node is not freed.
    void unlink(T *element) {
        Node *node = nodeOf(element);
        node->prev->next = node->next;
        node->next->prev = node->prev;
        node->prev = nullptr;
        node->next = nullptr;
        --m_iCount;
        m_iCachedPosition = noPosition;
    }

    /// Unlinks the first or last element and returns it; null when the list is empty.
    T *unlinkFirst() { return unlinked(getFirst()); }
    T *unlinkLast() { return unlinked(getLast()); }

    /// Unlinks and frees.
    void remove(T *element) {
        unlink(element);
        freeNode(element);
    }
    void removeAll() {
        for (void *&array : m_pIndexArrays) {
            V_Memory::freeCounted(array);
            array = nullptr;
        }
        while (T *element = unlinkFirst())
            freeNode(element);
    }

  protected:
    /// From an element to its node, and back.
    static Node *nodeOf(const T *element) {
        return reinterpret_cast<Node *>(reinterpret_cast<std::byte *>(const_cast<T *>(element)) -
                                        sizeof(Node));
    }
    static T *elementOf(Node *node) {
        return reinterpret_cast<T *>(reinterpret_cast<std::byte *>(node) + sizeof(Node));
    }

  private:
    static constexpr int noPosition = 0x7FFFFFFF;

    T *unlinked(T *element) {
        if (element)
            unlink(element);
        return element;
    }
    void linkAfter(Node *place, Node *node) {
        node->prev = place;
        node->next = place->next;
        place->next->prev = node;
        place->next = node;
        ++m_iCount;
        m_iCachedPosition = noPosition;
    }

    Node m_head;
    Node m_tail;
    int m_iCount = 0;
    mutable int m_iCachedPosition = noPosition;
    mutable Node *m_pCachedNode = nullptr;

  protected:
    void *m_pIndexArrays[2] =
        {}; ///< counted blocks for an index that a derived list keeps; freed by removeAll
};

/// A list of plain elements.
template <class T>
class V_DLList : public V_DLListBase<T, V_DLListBaseNode> {};

/// A list that constructs (by default) the elements it allocates and destroys those it frees.
template <class T>
class V_DLListInit : public V_DLList<T> {
  public:
    ~V_DLListInit() override { this->removeAll(); }

    /// Also passes on what T's constructor throws; the node is then freed.
    T *allocateNode() override {
        T *element = V_DLList<T>::allocateNode();
        try {
            return new (element) T();
        } catch (...) {
            V_DLList<T>::freeNode(element);
            throw;
        }
    }
    void freeNode(T *element) override {
        if (element)
            element->~T();
        V_DLList<T>::freeNode(element);
    }
};

/// Two lists of type L (elements of type T): the nodes in service, and free nodes kept for reuse with their
/// elements still constructed and holding their last contents.
template <class T, class L>
class V_ReusableNodeList {
  public:
    V_ReusableNodeList() = default;
    V_ReusableNodeList(const V_ReusableNodeList &) = delete;
    V_ReusableNodeList &operator=(const V_ReusableNodeList &) = delete;
    ~V_ReusableNodeList() {
        releaseAll();
        m_free.removeAll();
    }

    /// Puts a node in service, at the end: a free one with its last contents, or else a new one. Throws
    /// V_MemoryException_Allocation.
    T *getNode() {
        if (m_free.getCount() == 0)
            m_free.linkLast(m_free.allocateNode());
        T *element = m_free.unlinkFirst();
        m_used.linkLast(element);
        return element;
    }

    /// Takes every node out of service. The one that was last is then the first to be reused.
    void releaseAll() {
        while (T *element = m_used.unlinkFirst())
            m_free.linkFirst(element);
    }

    /// Frees the nodes kept for reuse.
    void removeAllFree() { m_free.removeAll(); }

    /// The nodes in service, in the order in which they were taken.
    T *getFirst() const { return m_used.getFirst(); }
    T *getNext(const T *element) const { return m_used.getNext(element); }
    int getCount() const { return m_used.getCount(); }
    int getFreeCount() const { return m_free.getCount(); }

  private:
    L m_used;
    L m_free;
};
