#!/usr/bin/env bash
# Packs the library for Windows and builds a client against the package: package.sh WIDTH WINE.
set -euo pipefail
width=$1 wine=$2 build=$PWD/build/windows-$1
(cd "$build" && cpack -G ZIP --config CPackConfig.cmake >/dev/null)
package=$(ls "$build"/vl-*-windows-"$width".zip)
place=$build/package
rm -rf "$place" && mkdir -p "$place"
(cd "$place" && cmake -E tar xf "$package")
cmake -S tests/client -B "$place/client" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/windows-$width.cmake" \
    -DCMAKE_PREFIX_PATH="$(echo "$place"/vl-*)" -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH >/dev/null
cmake --build "$place/client" -- --quiet
cp "$place"/vl-*/bin/*.dll "$place/client"
# The client is linked as the compiler does it by itself, with libraries that lie in the compiler's directories.
compiler=$([ "$width" = 64 ] && echo x86_64 || echo i686)-w64-mingw32
WINEPATH=Z:$(dirname "$("$compiler-g++-posix" -print-file-name=libstdc++-6.dll)")";Z:/usr/$compiler/lib"
export WINEPATH
for client in "$place"/client/client_*.exe; do
    said=$("$wine" "$client" | tr -d '\r') || { echo "$client failed: $said"; exit 1; }
    [ "${said^^}" = 'FILE \NO SUCH FILE NOT FOUND' ] || { echo "$client failed: $said"; exit 1; }
done
# Nothing but the system's own libraries, and the compiler's where exceptions need it.
allowed='KERNEL32|USER32|WINMM|msvcrt'
[ "$width" = 64 ] || allowed+='|libgcc_s_dw2-1|libwinpthread-1'
needed=$("$compiler-objdump" -p "$place"/vl-*/bin/vl.dll | sed -n 's/.*DLL Name: //p')
others=$(grep -Eiv "^($allowed)\.dll$" <<<"$needed" || true)
[ -z "$others" ] || { echo "vl.dll needs $others" >&2; exit 1; }
