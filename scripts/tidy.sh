#!/usr/bin/env bash
# Runs clang-tidy over the sources that a change touches, and over the sources of headers that it touches.
# Usage: scripts/tidy.sh [--most N] [COMMIT | --all]
#   COMMIT    what to compare with; if nothing is said, where the branch left main, or on main the commit before
#   --most N  looks at N sources at most, what we ship before tests, and tells how many are left
#   --all     looks at everything
set -euo pipefail
cd "$(dirname "$0")/.."
command -v clang-tidy >/dev/null || { echo "tidy: no clang-tidy here; scripts/setup.sh --dev installs it" >&2; exit 1; }

base= most=
while [ $# -gt 0 ]; do
    case $1 in
        --most) most=$2; shift ;;
        *) base=$1 ;;
    esac
    shift
done

commit() { git rev-parse --quiet --verify "$1^{commit}" 2>/dev/null; }

# Where this branch left main, here or where it was cloned from; on main itself the commit before. Nothing where a
# shallow clone, a first commit or no repository at all has none.
find_base() {
    local head branch fork
    head=$(commit HEAD) || return 0
    for branch in main origin/main; do
        commit "$branch" >/dev/null || continue
        fork=$(git merge-base "$branch" HEAD 2>/dev/null) || continue
        [ "$fork" = "$head" ] || { echo "$fork"; return 0; }
    done
    commit HEAD~ || true
}

# Sources that are or belong to what has changed: a header's is the one beside it.
changed() { # base
    git diff --name-only --diff-filter=d "$1" -- '*.cpp' '*.h' | sed 's/\.h$/.cpp/' | sort -u
}

if [ "$base" = --all ]; then
    list=$(git ls-files -- '*.cpp')
else
    if [ -z "$base" ]; then
        base=$(find_base)
        [ -n "$base" ] || { echo "tidy: no older commit here to compare with, so nothing to look at"; exit 0; }
    else
        commit "$base" >/dev/null || { echo "tidy: $base is no commit" >&2; exit 1; }
        base=$(git merge-base "$base" HEAD || commit "$base")
    fi
    base=$(git rev-parse --short "$base")
    echo "tidy: what has changed since $(git log -1 --format='%h %s' "$base")"
    list=$(changed "$base")
    list=$({ grep -v '^tests/' <<<"$list" || true; grep '^tests/' <<<"$list" || true; })
fi

# What this configuration does not build has no command.
cmake --preset tidy >/dev/null
sources=()
for file in $list; do
    if grep -q "\"file\": \"$PWD/$file\"" build/tidy/compile_commands.json; then sources+=("$file"); fi
done
if [ ${#sources[@]} -eq 0 ]; then
    echo "tidy: nothing to look at"
    exit 0
fi
left=0
if [ -n "$most" ] && [ ${#sources[@]} -gt "$most" ]; then
    left=$((${#sources[@]} - most))
    sources=("${sources[@]:0:most}")
fi
printf '%s\0' "${sources[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy -p build/tidy --quiet --warnings-as-errors='*'
echo "tidy: ${#sources[@]} sources"
[ $left -eq 0 ] || echo "tidy: $left more are left to scripts/tidy.sh $base"
