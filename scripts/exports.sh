#!/usr/bin/env bash
# What shared libraries show, compared with what they promise.
# Usage: scripts/exports.sh check LIBRARY LIST            fails when they differ
#        scripts/exports.sh renew LIBRARY LIST            writes the list
#        scripts/exports.sh symbols VERSION (LIBRARY LIST)...   prints what Debian's packages say of libraries that fit
set -euo pipefail
export LC_ALL=C

# As the linker knows them. readelf reads the libraries of any processor.
names() { readelf --wide --dyn-syms "$1" | awk '$1 ~ /^[0-9]+:$/ && $5 != "LOCAL" && $7 != "UND" { print $8 }' | sort -u; }

# As people write them; the type of a list of arguments has a name of its own on each processor.
shown() { names "$1" | c++filt | sed 's/__va_list_tag\*/va_list/; s/std::__va_list/va_list/' | sort -u; }

# Tables of classes are made wherever a compiler finds that it needs them: of a class that is listed they may be missing.
tables='^(vtable|VTT|typeinfo|typeinfo name) for '
classes() { grep -E "$tables" | sed -E "s/$tables//" | sort -u; }

check() { # library, list
    local found
    found=$(shown "$1")
    [ -s "$2" ] || { echo "$2: no list" >&2; return 1; }
    diff --label "$2" --label "$1" --unified=0 <(grep -vE "$tables" "$2") <(grep -vE "$tables" <<<"$found") >&2 &&
        diff --label "$2" --label "$1" --unified=0 <(classes <"$2") <(classes <<<"$found" | cat - <(classes <"$2") | sort -u) >&2 ||
        { echo "$1 does not show what is listed; where that is meant: ninja exports" >&2; return 1; }
}

symbols() { # version, library
    local name
    echo "$(readelf --dynamic --wide "$2" | sed -nE 's/.*\(SONAME\).*\[(.*)\]/\1/p') tavix #MINVER#"
    names "$2" | while read -r name; do echo " $name@Base $1"; done
}

case ${1:-} in
    check) check "$2" "$3" ;;
    renew) shown "$2" >"$3" ;;
    symbols)
        version=$2
        shift 2
        while [ $# -gt 0 ]; do
            check "$1" "$2"
            symbols "$version" "$1"
            shift 2
        done ;;
    *) sed -n '3,5s/^# //p' "$0" >&2; exit 2 ;;
esac
