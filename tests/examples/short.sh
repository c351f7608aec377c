#!/usr/bin/env bash
# Fails if a program in the folder has more lines than allowed.
# Usage: short.sh FOLDER LINES
set -euo pipefail
shopt -s nullglob
programs=("$1"/*.cpp)
[ ${#programs[@]} -gt 0 ] || { echo "there is no program in $1" >&2; exit 1; }
for program in "${programs[@]}"; do
    lines=$(wc -l <"$program")
    [ "$lines" -le "$2" ] || { echo "$program has $lines lines" >&2; exit 1; }
done
