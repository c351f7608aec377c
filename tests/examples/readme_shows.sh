#!/usr/bin/env bash
# Fails unless the README's first block of C++ code stands in the source file, indentation and empty lines aside.
# Usage: readme_shows.sh README SOURCE
set -euo pipefail
plain() { sed -E 's/^[[:space:]]+//; /^$/d'; }
code=$(awk '/^```cpp$/ && !done { inside = 1; next } /^```$/ { if (inside) done = 1; inside = 0 } inside' "$1" | plain)
[ -n "$code" ] || { echo "$1 shows no C++ code" >&2; exit 1; }
[[ "$(plain <"$2")" == *"$code"* ]] || { echo "$1 shows code that does not stand so in $2" >&2; exit 1; }
