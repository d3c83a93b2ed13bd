// Every check, in a client's code; compiled without warnings whether checks are active or not.

#include "vl/core/check.h"
#include "vl/core/memory.h"

#include <type_traits>

static_assert(!std::is_aggregate<V_Memory>::value && !std::is_copy_constructible<V_Memory>::value,
              "all that it has belongs to the process");

struct DeclaredOnly;

struct Client {
    bool isValid() const { return true; }
    bool isConstructed() const { return true; }
    void check() const {
        V_ASSERT_OBJECT_VALID();
        V_ASSERT_OBJECT_CONSTRUCTED();
        V_ASSERT_POINTER(this);
        V_ASSERT_0_OR_POINTER(this);
    }
    void checkGone() const { V_ASSERT_OBJECT_DESTRUCTED(); }
};

void checkEverything(const Client &client, DeclaredOnly *declared, void *block, unsigned int size) {
    const int used = 1;
    int array[3] = {};
    V_ASSERT(used == 1);
    V_ASSERT_REASON(used == 1, "because");
    V_VERIFY(size != 1);
    V_VERIFY_REASON(size != 1, "because");
    V_ASSERT_POINTER(declared);
    V_ASSERT_0_OR_POINTER(declared);
    V_ASSERT_0_OR_POINTER(nullptr);
    V_ASSERT_POINTER(&array);
    V_ASSERT_POINTER_SIZE(block, size);
    V_ASSERT_POINTER_SIZE_REASON(block, size, "because");
    V_ASSERT_POINTER_REASON(&array, "because");
    V_ASSERT_0_OR_POINTER_REASON(declared, "because");
    V_ASSERT_POINTER_TO_SINGLE_REASON(declared, "because");
    V_ASSERT_POINTER_TO_ARRAY_REASON(array, "because");
    V_ASSERT_POINTER_TO_REALLOCATION_REASON(block, "because");
    V_ASSERT_POINTER(&checkEverything);
    V_ASSERT_POINTER(static_cast<volatile void *>(block));
    V_ASSERT(std::is_same<int, int>::value);
    V_ASSERT_POINTER_TO_SINGLE(declared);
    V_ASSERT_POINTER_TO_ARRAY(array);
    V_ASSERT_POINTER_TO_REALLOCATION(block);
    V_ASSERT_OBJECT_VALID1(client);
    if (size == 2)
        V_ASSERT(block);
    else
        V_ILLEGAL_CALL();
    client.check();
    client.checkGone();
}
