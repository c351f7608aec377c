#!/usr/bin/env bash
# Builds the fuzz targets and runs each for some seconds over its corpus. What it finds on the way stays in
# build/fuzz/corpus; `scripts/corpus.sh merge TARGET build/fuzz/corpus/fuzz_TARGET` takes over what is new.
# Usage: scripts/fuzz.sh [seconds per target]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzzers
count=0
for target in build/fuzz/bin/fuzz_*; do
    [ -x "$target" ] || continue
    name=$(basename "$target")
    findings=build/fuzz/findings/$name
    scratch=build/fuzz/corpus/$name
    inputs=build/fuzz/inputs/$name
    mkdir -p "$findings" "$scratch"
    rm -rf "$inputs"
    scripts/corpus.sh unpack "${name#fuzz_}" "$inputs"
    # One dictionary serves all targets that read descriptions.
    dictionary=fuzz/dictionaries/${name#fuzz_}
    case $name in fuzz_genapi_injection | fuzz_genapi_lint | fuzz_genapi_node_map)
        dictionary=fuzz/dictionaries/genapi_description ;;
    esac
    [ -f "$dictionary" ] && dictionary=-dict=$dictionary || dictionary=
    echo "fuzz: $name for $seconds s"
    "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 -artifact_prefix="$findings/" $dictionary \
        "$scratch" "$inputs" >"$findings/log" 2>&1 || {
        tail -n 40 "$findings/log" >&2
        echo "fuzz: $name found something, see $findings" >&2
        exit 1
    }
    count=$((count + 1))
done
[ "$count" -gt 0 ] || { echo "fuzz: no target was built" >&2; exit 1; }
