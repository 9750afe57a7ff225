#!/usr/bin/env bash
# Installs what is missing, builds the library and the whole test suite, and runs it twice:
# once in an optimized build, once under AddressSanitizer and UndefinedBehaviorSanitizer.
# Long instance sweeps carry the CTest label "sweep" and are left out here.
set -euo pipefail
cd "$(dirname "$0")/.."

# The data tests read the public benchmark sets in place; without them the run fails at once.
data_dir=${TELVA_DATA_DIR:-$(pwd)/../shared/data}
if [ ! -r "$data_dir/netlib/solutions.csv" ]; then
  echo "error: the benchmark sets are not in $data_dir (expected ../shared/data beside the" \
       "checkout, or set TELVA_DATA_DIR)" >&2
  exit 1
fi
export TELVA_DATA_DIR=$(cd "$data_dir" && pwd)

scripts/install_deps.sh
jobs=$(nproc)

cmake -S . -B build-test -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTELVA_BUILD_BENCH=OFF > /dev/null
cmake --build build-test -j "$jobs"
(cd build-test && ctest -j "$jobs" --output-on-failure -LE sweep)

cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DTELVA_SANITIZE=ON -DTELVA_BUILD_BENCH=OFF > /dev/null
cmake --build build-asan -j "$jobs"
(cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest -j "$jobs" --output-on-failure -LE sweep)
