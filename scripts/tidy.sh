#!/usr/bin/env bash
# Runs clang-tidy over the sources that a change touches, by the commands of build/dev.
# Usage: scripts/tidy.sh [commit to compare with, main if nothing is said | --all]
set -euo pipefail
cd "$(dirname "$0")/.."
command -v clang-tidy >/dev/null || { echo "tidy: no clang-tidy here; scripts/setup.sh --dev installs it" >&2; exit 1; }

base=${1:-main}
cmake --preset tidy >/dev/null
if [ "$base" = --all ]; then
    list=$(git ls-files -- '*.cpp')
else
    list=$(git diff --name-only --diff-filter=d "$(git merge-base "$base" HEAD)" -- '*.cpp')
fi
# What this configuration does not build has no command.
sources=()
for file in $list; do
    if grep -q "\"file\": \"$PWD/$file\"" build/tidy/compile_commands.json; then sources+=("$file"); fi
done
if [ ${#sources[@]} -eq 0 ]; then
    echo "tidy: nothing to look at"
    exit 0
fi
printf '%s\0' "${sources[@]}" | xargs -0 -n 4 -P "$(nproc)" clang-tidy -p build/tidy --quiet --warnings-as-errors='*'
echo "tidy: ${#sources[@]} sources"
