// Intrusive lists: every operation beside a vector, what failures leave behind, and nodes that are reused.

#include "tests/support/failing_allocation.h"

#include "vl/core/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace {

template <class List>
std::vector<int> contents(const List &list) {
    std::vector<int> forward, backward;
    for (const int *element = list.getFirst(); element; element = list.getNext(element))
        forward.push_back(*element);
    for (const int *element = list.getLast(); element; element = list.getPrev(element))
        backward.push_back(*element);
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(forward.size(), static_cast<std::size_t>(list.getCount()));
    return forward;
}

struct Indexed : V_DLList<int> {
    Indexed() { m_pIndexArrays[1] = V_Memory::allocateCounted(8); }
};

TEST(List, RandomOperationsKeepWhatAVectorKeeps) {
    V_Memory::resetNewDeleteCounts();
    {
        const Indexed indexed; // releases its index
        V_DLList<int> list, other;
        EXPECT_EQ(list.unlinkFirst(), nullptr);
        EXPECT_EQ(list.unlinkLast(), nullptr);
        std::vector<int> model, otherModel;
        std::mt19937 random(1);
        for (int i = 0; i < 3000; ++i) {
            const std::size_t at = model.empty() ? 0 : random() % model.size();
            const auto place = model.begin() + static_cast<std::ptrdiff_t>(at);
            int *const element = list.getAt(static_cast<int>(at));
            const std::function<void()> operations[] = {
                [&] { *list.insertFirst() = i, model.insert(model.begin(), i); },
                [&] { *list.insertLast() = i, model.push_back(i); },
                [&] { // from one list to the other
                    list.unlink(element);
                    other.linkFirst(element);
                    otherModel.insert(otherModel.begin(), *place);
                    model.erase(place);
                },
                [&] { list.remove(element), model.erase(place); },
                [&] { list.linkLast(list.unlinkFirst()), list.linkFirst(list.unlinkLast()); },
                [&] {
                    EXPECT_EQ(*element, *place);
                    EXPECT_EQ(list.getAt(list.getCount()), nullptr);
                    EXPECT_EQ(list.getAt(-1), nullptr);
                }};
            operations[random() % (model.empty() ? 2 : 6)]();
            if (i % 50 == 0) {
                EXPECT_EQ(contents(list), model);
            }
        }
        EXPECT_EQ(contents(list), model);
        EXPECT_EQ(contents(other), otherModel);
        const int deletes = V_Memory::getDeleteCount();
        list.removeAll();
        EXPECT_EQ(V_Memory::getDeleteCount(), deletes + static_cast<int>(model.size()));
        EXPECT_EQ(list.getCount(), 0);
        list.freeNode(nullptr);
    }
    EXPECT_EQ(V_Memory::getNewCount(), V_Memory::getDeleteCount());
}

struct Owner {
    std::shared_ptr<int> shared;
};

struct Throws {
    Throws() { throw 1; }
};

TEST(List, FailuresLeaveTheListUnchanged) {
    V_Memory::resetNewDeleteCounts();
    V_DLListInit<Throws> throws;
    EXPECT_THROW(throws.insertLast(), int);
    EXPECT_EQ(throws.getCount(), 0);
    EXPECT_EQ(V_Memory::getNewCount(), V_Memory::getDeleteCount());

    V_DLList<int> list;
    *list.insertLast() = 1;
    const FailingAllocation fault(0);
    EXPECT_THROW(list.insertLast(), V_MemoryException_Allocation *);
    EXPECT_EQ(contents(list), std::vector<int>{1});
}

TEST(List, ReusableNodesComeBackLastFirstAndAreDestroyedWithTheList) {
    const auto shared = std::make_shared<int>();
    {
        V_ReusableNodeList<Owner, V_DLListInit<Owner>> list;
        Owner *nodes[3];
        for (Owner *&node : nodes) {
            node = list.getNode();
            node->shared = shared;
        }
        list.releaseAll();
        EXPECT_EQ(list.getFirst(), nullptr);
        const int allocations = V_Memory::getNewCount();
        EXPECT_EQ(list.getNode(), nodes[2]);
        EXPECT_EQ(V_Memory::getNewCount(), allocations);
        EXPECT_EQ(nodes[2]->shared, shared); // as it was left
        EXPECT_EQ(list.getFreeCount(), 2);
        EXPECT_EQ(list.getNext(list.getFirst()), nullptr);
    }
    EXPECT_EQ(shared.use_count(), 1);
}

} // namespace
