// The smallest client that needs everything an installation must bring: headers, symbols, type information.

#include "vl/vl.h"

#include <cstdio>

int main() {
    const V_VantorInit library;
    Sys->ceaseVerbose(1);
    try {
        File->load("no such file", V_File::WHOLE_FILE);
    } catch (V_FileException *failure) { // thrown in the library, caught here by its area
        std::puts(failure->getErrorMessage());
        return 0;
    } catch (...) {
        std::puts("the exception arrived without its type");
    }
    return 1;
}
