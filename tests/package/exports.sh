#!/bin/sh
# Compares what a library exports, weak symbols included, with the committed list.
# usage: exports.sh LIBRARY LIST
set -eu
library=$1
list=$2

mangled() {
    case $library in
        *.dll) "${OBJDUMP:-objdump}" -p "$library" | awk '/Ordinal\/Name Pointer/ { on = 1 } /^$/ { on = 0 } on && /\[ *[0-9]+\]/ { print $NF }' ;;
        *) "${NM:-nm}" -D --defined-only "$library" | awk '{ print $NF }' ;;
    esac
}

# The string types are written short in the list.
exported() {
    mangled | c++filt |
        sed -e 's/\[abi:cxx11\]//g' -e 's/char16_t\|wchar_t/WideChar/g' \
            -e 's/std::__cxx11::basic_string<\([A-Za-z]*\), std::char_traits<[A-Za-z]*>, std::allocator<[A-Za-z]*> >/\1 string/g' \
            -e 's/\<char string/std::string/g' -e 's/WideChar string/WideString/g' |
        LC_ALL=C sort
}

if ! exported | diff -u "$list" -; then
    echo "the exported table differs from $list" >&2
    exit 1
fi
echo "$(wc -l < "$list") exported names, all as listed"
