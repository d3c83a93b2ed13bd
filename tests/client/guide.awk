# Makes one source of all the code in the guide: what declares something stands by itself, any other piece becomes a
# function's body. The names that a piece takes from what is told around it are parameters.
BEGIN {
    print "#include \"vl/vl.h\"\n#include \"vl/math_types.h\"\n#include \"vl/std.h\"\n#include <cstdio>\n#include <iostream>\n#include <vector>"
}
/^```cpp/ { inside = 1; body = ""; declares = 0; next }
/^```/ && inside {
    inside = 0
    ++pieces
    if (declares)
        printf "namespace piece%d {\n%s}\n", pieces, body
    else
        printf "void piece%d(float x, float y, float seconds, float cloud, float progress) {\n{\n%s}\n}\n", pieces, body
    next
}
inside && /^#include/ { next }
inside { body = body $0 "\n"; if (/^(static|struct) /) declares = 1 }
END { if (pieces < 10) { print "#error \"the guide has lost its code\"" } }
