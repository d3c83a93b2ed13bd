#!/usr/bin/env bash
# What Ctrl-C leaves of an archive that is being made: interrupt.sh WINE VL.EXE. Wine hands an interrupt of this
# system to the program as that of its console.
set -euo pipefail
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
mkdir "$directory/tree"
echo old >"$directory/OUT.VAS"
head -c 60000000 /dev/urandom >"$directory/tree/noise"
"$1" "$2" archive create "Z:$directory/OUT.VAS" "Z:$directory/tree" &
until compgen -G "$directory/*.partial" >/dev/null; do sleep 0.05; done
kill -INT $!
wait $! || true
if compgen -G "$directory/*.partial" || [ "$(cat "$directory/OUT.VAS")" != old ]; then
    ls -l "$directory" >&2
    exit 1
fi
