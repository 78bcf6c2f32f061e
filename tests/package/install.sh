#!/bin/sh
# Installs the built library into a fresh place, moves it, and builds and runs projects outside of the tree against it:
# through find_package and through pkg-config, with each compiler, and the README's ten lines as they stand there; one
# that lays out lists otherwise is stopped. Then makes the Debian packages, installs them into an empty root and removes
# them again.
# usage: install.sh BUILD_FOLDER
set -eu
build=$(realpath "$1")
sources=$(realpath "$(dirname "$0")/../..")
consumer=$sources/examples/consumer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
XDG_DATA_HOME=$work/data
export XDG_DATA_HOME

cmake --install "$build" --prefix "$work/installed" >/dev/null
mv installed moved
libdir=$(dirname "$(find moved -name libvellox.so)") # what pkg-config tells has no blanks then
PKG_CONFIG_PATH=$libdir/pkgconfig
export PKG_CONFIG_PATH

build_project() {
    cmake -S "$1" -B "$2" -DCMAKE_PREFIX_PATH="$work/moved" >/dev/null
    cmake --build "$2" >/dev/null
}

for compiler in g++ clang++; do
    CXX=$compiler build_project "$consumer" "cmake-$compiler"
    printf "find_package, %s: %s\n" "$compiler" "$("cmake-$compiler/consumer")"

    flags=$(pkg-config --cflags --libs vellox)
    # shellcheck disable=SC2086 # several words
    $compiler -std=c++17 -Wall -Wextra -Wpedantic -Werror "$consumer/main.cpp" "$consumer/module.cpp" $flags -o consumer
    printf "pkg-config, %s: %s\n" "$compiler" "$(LD_LIBRARY_PATH=$libdir ./consumer)"
done

# shellcheck disable=SC2086
if g++ -D_GLIBCXX_DEBUG -fsyntax-only "$consumer/main.cpp" $flags 2>log || ! grep -q "error.*_GLIBCXX_DEBUG" log; then
    cat log && echo "a host with debug lists is not stopped" >&2 && exit 1
fi

build_project "$sources/examples/first_hour" first_hour
mkdir "A Folder"
echo take >"A Folder/take.wav"
first_hour/first_hour "A Folder/"
[ "$(cat "A Folder/take.wav")" = take ]

"$sources/tests/package/readme.sh" "$work/moved"

(cd "$build" && cpack -B "$work/packages" >/dev/null)
mkdir -p root/var/lib/dpkg/updates root/var/lib/dpkg/info root/var/lib/dpkg/triggers
touch root/var/lib/dpkg/status
if [ "$(id -u)" != 0 ]; then
    echo "packages made, not installed: that takes root" && ls packages/*.deb
    exit 0
fi
in_root() { dpkg --root="$work/root" --log=/dev/null --force-depends --force-script-chrootless "$@" >/dev/null 2>&1; }
in_root --install packages/*.deb
find root/usr -name 'libvellox.so*' -o -name vellox.pc -o -name trash.h | sort
in_root --purge songbin vellox-dbgsym libvellox-dev libvellox1
left=$(find root -not -path 'root/var*' -not -type d)
[ -z "$left" ] || { echo "left behind: $left" >&2; exit 1; }
echo "packages installed and removed"
