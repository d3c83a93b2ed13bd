// Every check, in a client's code; compiled without warnings whether checks are active or not.

#include "vl/core/check.h"

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
