#!/usr/bin/env bash
# Fails when a source file is not formatted as .clang-format says, and names it.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.cpp' '*.h')
[ ${#files[@]} -eq 0 ] || clang-format --dry-run -Werror "${files[@]}"
