#!/usr/bin/env bash
# Installs a build into a prefix of its own and builds and runs the client against it, by find_package and by
# pkg-config, with every compiler at hand; then inside a project that has the library's sources.
# run.sh BUILD_DIRECTORY COMPILER_FLAGS
set -euo pipefail
source=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$1
flags=${2:-}
prefix=$build/client-prefix
work=$build/client
rm -rf "$prefix" "$work"
cmake --install "$build" --prefix "$prefix" >/dev/null
for compiler in g++ clang++; do
    command -v "$compiler" >/dev/null || continue
    cmake -G Ninja -S "$source" -B "$work/$compiler" -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
    cmake --build "$work/$compiler" -- --quiet
    for client in "$work/$compiler"/client_*; do
        said=$("$client") || { echo "$client failed: $said"; exit 1; }
        [ "${said^^}" = 'FILE \NO SUCH FILE NOT FOUND' ] || { echo "$client failed: $said"; exit 1; }
    done
    # What the guide shows, a reader must be able to write.
    awk -f "$source/guide.awk" "$source/../../docs/guide.md" >"$work/guide.cpp"
    # shellcheck disable=SC2086
    "$compiler" $flags -std=c++17 -fsyntax-only -Wall -Wextra -Wno-unused -Wno-unused-parameter -Werror -I"$prefix/include" "$work/guide.cpp"
    if command -v pkg-config >/dev/null; then
        pc=$(dirname "$(find "$prefix" -name vl.pc)")
        # shellcheck disable=SC2046,SC2086
        "$compiler" $flags -std=c++17 "$source/client.cpp" -o "$work/$compiler/by_pkg_config" \
            $(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs vl) -Wl,-rpath,"$(dirname "$pc")"
        "$work/$compiler/by_pkg_config" >/dev/null
    fi
done
for shared in ON OFF; do
    env -u CMAKE_CXX_COMPILER_LAUNCHER cmake -G Ninja -S "$source/embedded" -B "$work/embedded_$shared" \
        -DVL_SOURCE="$source/../.." -DBUILD_SHARED_LIBS=$shared -DCMAKE_CXX_FLAGS="$flags" >/dev/null
done
cmake --build "$work/embedded_OFF" --target game -- --quiet
[ "$("$work/embedded_OFF/game")" = 'File \NO SUCH FILE not found' ]
"$prefix/bin/vl" --version
grep -q "vl $("$prefix/bin/vl" --version | cut -d' ' -f2)" "$prefix/share/man/man1/vl.1"
[ -f "$prefix/share/man/man1/vl.1" ]
