// A client with names of its own for `File` and `Sys`, that knows no exceptions but the standard's.

#define VL_NO_GLOBAL_NAMES
#include "vl/math_types.h"
#include "vl/std.h"
#include "vl/vl.h"

#include <cstdio>
#include <string>

class File {
  public:
    std::string name = "no such file";
};
struct Sys {
    static void quiet() { V_getSystem()->ceaseVerbose(1); }
};

int main() {
    if (V_getFile() || V_getSystem())
        return 1;
    const V_VantorInit library;
    Sys::quiet();
    const File file;
    const auto size = [&] { return V_getFile()->size(file.name.c_str()); };
    int number = 0;
    int &same = V_asStandard([&]() -> int & { return number; });
    V_asStandard([&] { ++same; });
    try {
        V_asStandard(size);
    } catch (const std::runtime_error &failure) {
        const std::string message = failure.what();
        for (int i = 0; i < 8; ++i) // what the library would overwrite has been copied
            try {
                V_getFile()->size("other");
            } catch (V_FileException *) {
                number += 10;
            }
        if (number == 81 && message == failure.what())
            std::puts(failure.what());
        return 0;
    }
    return 1;
}
