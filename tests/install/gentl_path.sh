#!/usr/bin/env bash
# Fails unless the files of the package put its folder into the variable of GenTL programs once, wherever they are run,
# and leave what is there before it.
# Usage: gentl_path.sh BUILD_DIR
set -euo pipefail
script=$1/debian/tavix-gentl.sh generator=$1/debian/60-tavix-gentl
expect() { [ "$2" = "$3" ] || { echo "$1: expected $3, got $2" >&2; exit 1; }; }
sourced() { # the variable's value before (none: unset), and how often
    env -u GENICAM_GENTL64_PATH ${1:+GENICAM_GENTL64_PATH="$1"} \
        sh -euc 'for i in $2; do . "$1"; done; printenv GENICAM_GENTL64_PATH' - "$script" "$2"
}
generated() { env -u GENICAM_GENTL64_PATH ${1:+GENICAM_GENTL64_PATH="$1"} sh -eu "$generator"; }

folder=$(sourced "" 1)
[[ $folder == /usr/*/tavix-gentl ]] || { echo "$folder is no folder of the package" >&2; exit 1; }
expect "a shell in a shell" "$(sourced "" "1 2")" "$folder"
expect "others stay in front" "$(sourced /opt/other "1 2")" "/opt/other:$folder"
expect "in the middle" "$(sourced "/a:$folder:/b" 1)" "/a:$folder:/b"
expect "with a slash" "$(sourced "$folder/" 1)" "$folder/"
expect "a folder that begins alike" "$(sourced "$folder-2" 1)" "$folder-2:$folder"
expect "services of a user" "$(generated "")" "GENICAM_GENTL64_PATH=$folder"
expect "services of a user who has it" "$(generated "/opt/other:$folder")" "GENICAM_GENTL64_PATH=/opt/other:$folder"
expect "a shell below a service" "$(sourced "$(generated /opt/other | cut -d= -f2)" 1)" "/opt/other:$folder"
