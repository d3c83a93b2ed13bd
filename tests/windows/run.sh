#!/usr/bin/env bash
# Builds everything for Windows and runs the tests by Wine: run.sh WIDTH [NAME]. Then the demo
# runs, the library is packed as a zip, and a client of its own is built with what is in there.
set -euo pipefail
width=$1 build=build/windows-$1
export CCACHE_DIR=$PWD/build/ccache WINEDEBUG=-all WINEDLLOVERRIDES="mscoree=;mshtml=" DISPLAY=
export WINEPREFIX=$PWD/$build/wine WINEARCH=win$width
wine=/usr/lib/wine/wine$([ "$width" = 32 ] || echo 64)

cmake --preset "windows-$width" >/dev/null
cmake --build "$build" -- --quiet
mkdir -p "$WINEPREFIX"
"$wine" "$build/bin/vl.exe" --version # the first start takes a while, and no second may meet it
ctest --test-dir "$build" --output-on-failure --no-tests=error -j "$(nproc)" ${2:+-R "$2"}
if [ -z "${2:-}" ]; then
    examples/demo.sh "$PWD/$build" "$wine"
    tests/windows/package.sh "$width" "$wine"
fi
wineserver -k || true
