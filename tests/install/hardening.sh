#!/usr/bin/env bash
# Reads in the binaries themselves whether they are hardened: what a compiler was told is one thing, what came out another.
# Usage: hardening.sh BUILD_DIR ARCHITECTURE DEBUG(ON|OFF)
set -euo pipefail
build=$1 architecture=$2 debug=$3
failed=0
complain() { echo "$1: $2" >&2; failed=1; }

# Guards that every one of our programs and libraries must show.
check() { # file
    local file=$1 dynamic segments symbols runpath
    dynamic=$(readelf --wide --dynamic "$file")
    segments=$(readelf --wide --program-headers "$file")
    symbols=$(readelf --wide --dyn-syms "$file")
    grep -q 'Type: *DYN' <<<"$(readelf --file-header "$file")" || complain "$file" "is not position independent"
    grep -q 'GNU_RELRO' <<<"$segments" || complain "$file" "has no read-only relocations"
    grep -qE 'BIND_NOW|Flags:.*NOW' <<<"$dynamic" || complain "$file" "binds its symbols lazily"
    grep -qE 'GNU_STACK.* RW +0x' <<<"$segments" || complain "$file" "has an executable stack"
    grep -q 'TEXTREL' <<<"$dynamic" && complain "$file" "writes to its own code when it is loaded"
    grep -q '__stack_chk_fail' <<<"$symbols" || complain "$file" "has no stack protector"
    runpath=$(sed -nE 's/.*\(R(UN)?PATH\).*\[(.*)\]/\2/p' <<<"$dynamic")
    case ":$runpath:" in *::*) [ -z "$runpath" ] || complain "$file" "looks for libraries in the current folder: '$runpath'" ;; esac
    case "$runpath" in *"$build"*) complain "$file" "looks for libraries in the build tree by its absolute path: '$runpath'" ;; esac
    if [ "$architecture" = x86_64 ]; then
        # Each function that is called through a pointer begins with a landing mark. (The note that says so for a file as
        # a whole is missing: the C library's start code has none.)
        [ "$(objdump --disassemble --no-show-raw-insn "$file" | grep -c 'endbr64')" -gt 20 ] || complain "$file" "has no control-flow protection"
    fi
}

# What only some sources call for: one of the binaries shows that the switch is on.
somewhere() { # pattern, what is missing
    local file
    for file in "${files[@]}"; do
        if grep -qE "$1" <<<"$(readelf --wide --dyn-syms "$file")"; then return; fi
    done
    complain "$build" "$2"
}

shopt -s nullglob
files=("$build"/lib/lib*.so "$build"/lib/*.cti "$build/bin/tavix")
[ "${#files[@]}" -ge 8 ] || { echo "$build: too few binaries to look at: ${files[*]}" >&2; exit 1; }
for file in "${files[@]}"; do
    check "$file"
done
grep -q 'FLAGS_1.*PIE' <<<"$(readelf --wide --dynamic "$build/bin/tavix")" || complain "$build/bin/tavix" "is no position independent program"
somewhere '__(mem|str|v?s?n?printf|read|poll)[a-z]*_chk' "no call of the C library is checked"
[ "$debug" = OFF ] || somewhere '__glibcxx_assert_fail' "the C++ library's assertions are off"
exit "$failed"
