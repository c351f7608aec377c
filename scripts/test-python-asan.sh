#!/usr/bin/env bash
# Runs the Python tests with the address sanitizer: module and libraries are built with it and, since the interpreter is
# not, it is loaded before everything else. Memory that the interpreter never gives back is not looked at.
# Usage: scripts/test-python-asan.sh [pytest arguments]
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/python-asan

cmake --preset asan -B "$build" -DTAVIX_BUILD_TESTS=OFF -DTAVIX_PYTHON_PRELOADED=ON >/dev/null
cmake --build "$build" --target python_module
# Exceptions are thrown through the C++ library, which the sanitizer has to find when it starts.
preloaded=$("${CXX:-c++}" -print-file-name=libasan.so):$("${CXX:-c++}" -print-file-name=libstdc++.so)
export ASAN_OPTIONS=detect_leaks=0:intercept_tls_get_addr=0 PYTHONMALLOC=malloc PYTHONPATH=$PWD/$build/python
failed=0
for file in tests/python/test_*.py; do # each in a process of its own, with cameras of its own
    echo "$file"
    LD_PRELOAD=$preloaded /usr/bin/python3 -B -m pytest -q -p no:cacheprovider "$@" "$file" || failed=1
done
exit $failed
