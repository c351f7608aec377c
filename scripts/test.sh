#!/usr/bin/env bash
# Installs what is needed, builds and runs every test that needs no hardware. Works in a fresh clone.
# Usage: scripts/test.sh [ctest arguments]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset fresh >/dev/null || { echo "test: configuring failed; run 'cmake --preset fresh' to see why" >&2; exit 1; }
cmake --build --preset fresh -j "$(nproc)" # more at a time only take the cache from each other
exec ctest --preset fresh --output-on-failure "$@"
