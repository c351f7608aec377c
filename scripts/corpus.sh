#!/usr/bin/env bash
# The inputs of a fuzz target lie in one file, fuzz/corpus/TARGET: a line each, name and bytes in base64, sorted by name.
# Usage: scripts/corpus.sh unpack TARGET FOLDER      writes each input to a file of the folder
#        scripts/corpus.sh pack TARGET FOLDER        makes the inputs of the files of the folder
#        scripts/corpus.sh merge TARGET [FOLDER...]  takes over of the folders what reaches code that nothing else reaches,
#                                                    and drops what does so no longer; needs build/fuzz (scripts/fuzz.sh)
# Inputs with a name of their own always stay; found-* are the fuzzer's.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C
[ $# -ge 2 ] || { sed -n '2,7s/^# //p' "$0" >&2; exit 2; }
command=$1 target=$2
corpus=fuzz/corpus/$target
shift 2

unpack() { # folder
    local name bytes
    mkdir -p "$1"
    while read -r name bytes; do base64 --decode <<<"$bytes" >"$1/$name"; done <"$corpus"
}

pack() { # folder
    local file
    for file in "$1"/*; do echo "$(basename "$file") $(base64 --wrap=0 "$file")"; done >"$corpus.new"
    mv "$corpus.new" "$corpus"
}

merge() { # folders
    local fuzzer=build/fuzz/bin/fuzz_$target file
    [ -x "$fuzzer" ] || { echo "$fuzzer is not built" >&2; return 1; }
    scratch=$(mktemp -d)
    trap 'rm -rf "$scratch"' EXIT
    unpack "$scratch/all"
    mkdir "$scratch/kept"
    find "$scratch/all" -type f ! -name 'found-*' -exec cp -t "$scratch/kept" {} +
    "$fuzzer" -merge=1 "$scratch/kept" "$scratch/all" "$@" 2>"$scratch/log" || { tail -n 20 "$scratch/log" >&2; return 1; }
    for file in "$scratch"/kept/*; do
        # The fuzzer names what it keeps by its hash.
        if [[ $(basename "$file") =~ ^[0-9a-f]{40}$ ]]; then mv "$file" "$scratch/kept/found-$(basename "$file" | head -c 10)"; fi
    done
    pack "$scratch/kept"
}

case $command in
    unpack | pack) "$command" "$1" ;;
    merge) merge "$@" ;;
    *) sed -n '2,7s/^# //p' "$0" >&2; exit 2 ;;
esac
