#!/bin/sh
# Installs the library that was built for Windows into a fresh place, runs the README's ten lines against it under Wine,
# and looks into the ZIP.
# usage: windows.sh BUILD_FOLDER
set -eu
build=$(realpath "$1")
sources=$(realpath "$(dirname "$0")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/installed" >/dev/null
"$sources/tests/package/readme.sh" "$work/installed" "$sources/cmake/mingw-w64.cmake"

(cd "$build" && cpack -B "$work" >/dev/null)
cmake -E tar tf "$work"/*.zip >"$work/listed"
for file in bin/vellox.dll bin/songbin.exe lib/libvellox.dll.a include/vellox/trash.h doc/README.md \
    lib/cmake/Vellox/VelloxConfig.cmake; do
    grep -qx "[^/]*/$file" "$work/listed" || { echo "$file is not in the ZIP" >&2 && exit 1; }
done
echo "the README's host runs, and the ZIP has what a host needs"
