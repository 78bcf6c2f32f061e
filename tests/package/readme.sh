#!/bin/sh
# Holds the README against an installed library: its ten lines, built by its own commands, its lines and its picture of
# the demo, and its table of functions.
# usage: readme.sh PREFIX                    or of a library for Windows, the ten lines alone:
#        readme.sh PREFIX TOOLCHAIN_FILE
set -eu
prefix=$(realpath "$1")
sources=$(realpath "$(dirname "$0")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export XDG_DATA_HOME="$work/data" CMAKE_PREFIX_PATH="$prefix"

fail() {
    echo "README.md: $1" >&2
    exit 1
}

# The block behind the line that holds the words.
block() {
    awk -v words="$1" 'index($0, words) { on = 1 } on && /^```/ { if (inside) exit; inside = 1; next } inside' \
        "$sources/README.md"
}
# The command in the README that begins so, up to its closing backtick.
command_of() { grep -o "\`$1[^\`]*\`" "$sources/README.md" | tr -d '`'; }

# shellcheck disable=SC2016 # backticks of the README
block '`host.cpp`:' >host.cpp
# shellcheck disable=SC2016
block '`CMakeLists.txt`:' >CMakeLists.txt
block 'prints:' >expected
if [ $# = 2 ]; then
    cmake -B build --toolchain "$2" >log 2>&1 && cmake --build build >log 2>&1 || { cat log && fail "no host for Windows"; }
    "$sources/cmake/under-wine" build/host.exe | tr -d '\r' | diff -u expected - || fail "the host prints something else"
    exit
fi
ln -s "$prefix" installed
libdir=$(dirname "$(find installed/ -name libvellox.so)") # what pkg-config tells has no blanks then
export PKG_CONFIG_PATH="$libdir/pkgconfig"
sh -ec "$(command_of 'cmake -B')" >log 2>&1 || { cat log && fail "the project does not build and run"; }
tail -n "$(wc -l <expected)" log | diff -u expected - || fail "the host prints something else"
sh -ec "$(command_of 'g++')" || fail "the host does not build without CMake"
LD_LIBRARY_PATH=$libdir ./host | diff -u expected - || fail "the host without CMake prints something else"

"$prefix/bin/songbin" demo >shown
block 'ends like this' | grep . >lines
[ "$(grep -cxFf lines shown)" -eq "$(wc -l <lines)" ] || fail "the demo prints something else"
same_everywhere() { grep -E '^[0-9]+\.|=>' | grep -vE 'GetAvailableSpace|GetTempFilename'; }
same_everywhere <shown >expected
sed -e 's/<[^>]*>//g' -e 's/&gt;/>/g' "$sources/docs/demo.svg" | same_everywhere | diff -u expected - ||
    fail "docs/demo.svg is old: run ./tools/demo and ./tools/picture"

# Of a declaration in the list of exports, the name alone.
sed -e 's/(.*//' -e 's/Vellox::FileNames:://' -e 's/Vellox::Threading/Threading/' "$sources/src/exports.txt" | sort -u >exported
# shellcheck disable=SC2016
sed -n '/^| Header | Function/,$p' "$sources/README.md" | cut -d'|' -f3 | grep -o '`[^`]*`' | tr -d '`' |
    grep -vx 'WideChar\|WideString' | sort >listed
diff -u exported listed || fail "the table is not the list of exported functions"
echo "README: the ten lines, the demo and the table are as they should be"
