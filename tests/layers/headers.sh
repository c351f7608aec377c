#!/usr/bin/env bash
# Whether every public header compiles alone, with nothing but the folder of public headers to find its friends in; each is
# included twice, so that a forgotten #pragma once is found as well. Says all that do not.
# Usage: headers.sh <folder of public headers> <compiler> [its arguments]
set -euo pipefail
folder=$1
shift

check() { # header, compiler and arguments
    local header=$1
    shift
    printf '#include <%s>\n#include <%s> // again\n' "$header" "$header" |
        "$@" -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror -x c++ -
}
export -f check

cd "$folder"
count=$(find . -name '*.h' | wc -l)
[ "$count" -gt 0 ] || { echo "no header in $folder" >&2; exit 1; }
find . -name '*.h' -printf '%P\0' | xargs -0 -P 2 -I{} bash -c 'check "$@" || { echo "$1 does not compile alone" >&2; exit 1; }' check {} "$@" -I "$folder"
echo "$count headers compile alone"
