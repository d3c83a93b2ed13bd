#!/usr/bin/env bash
# The demo: real files travel through the library. demo.sh BUILD_DIRECTORY [EMULATOR]
set -euo pipefail
build=$1
emulator=${2:-}
suffix="" examples=$build/examples
[ ! -e "$build/bin/vl.exe" ] || suffix=.exe examples=$build/bin
vl() { $emulator "$build/bin/vl$suffix" "$@"; }
example() {
    local name=$1
    shift
    $emulator "$examples/$name$suffix" "$@"
}
work=$build/demo
rm -rf "$work"
mkdir -p "$work"

# The system's headers, less the few that differ from a neighbour only in case (the library ignores case).
tree=/usr/include
echo "Packing $tree, once per storage method:"
for method in stored lzss scrambled; do
    mkdir "$work/$method"
    vl archive create "$work/$method/HEADERS.VAS" "$tree" --method "$method" --exclude 'linux/netfilter*/*' \
        --seed 1 --archiver-id 7 2>"$work/$method.log" || { cat "$work/$method.log" >&2; exit 1; }
done
echo
example load_archive "$tree" "$work/stored" "$work/lzss" "$work/scrambled"

echo
echo "Reading settings from scripts that lie scrambled in an archive:"
mkdir "$work/settings"
vl archive create "$work/settings/SCRIPTS.VAS" "$(dirname "$0")/scripts" --method scrambled 2>"$work/settings.log" ||
    { cat "$work/settings.log" >&2; exit 1; }
example read_settings "$work/settings"

echo
echo "A data file of nested chunks:"
mkdir "$work/data" "$work/data_stored" "$work/data_lzss"
example data_file write "$work/data"
for method in stored lzss; do
    vl archive create "$work/data_$method/DATA.VAS" "$work/data" --method "$method" 2>"$work/$method.log" ||
        { cat "$work/$method.log" >&2; exit 1; }
done
example data_file read "$work/data" "$work/data_stored" "$work/data_lzss"
echo "vl dump shows it:"
vl dump SCENE.DAT --archive "$work/data_lzss/DATA.VAS" >"$work/scene.txt"
head -n 8 "$work/scene.txt"
echo "... $(wc -l <"$work/scene.txt") lines"
