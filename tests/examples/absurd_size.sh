#!/usr/bin/env bash
# Runs an example with a camera that states half a terabyte for an image: it must refuse it and name both figures.
# Usage: absurd_size.sh PROGRAM DESCRIPTION
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
sed 's|<pValue>PayloadSize_Reg</pValue>|<Value>549755813888</Value>|' "$2" >"$folder/absurd.xml"
cmp -s "$2" "$folder/absurd.xml" && { echo "the description states its size otherwise" >&2; exit 1; }
echo "{\"cameras\": [{\"registers\": {\"descriptionPath\": \"$folder/absurd.xml\"}}]}" >"$folder/cameras.json"
status=0
TAVIX_VIRTUAL_CAMERAS=$folder/cameras.json "$1" >/dev/null 2>"$folder/errors" || status=$?
cat "$folder/errors"
[ "$status" -eq 1 ]
grep -q "states 549755813888 bytes for an image; 4 buffers may have 1073741824 bytes" "$folder/errors"
