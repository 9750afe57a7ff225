#!/usr/bin/env bash
# Installs what is missing, builds Telva in release mode and runs the example programs: the
# lifecycle demo and the telva command-line program on the example problem.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_deps.sh
cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DTELVA_BUILD_TESTS=OFF > /dev/null
cmake --build build-release -j "$(nproc)"
./build-release/lifecycle_demo
./build-release/telva -O primal_simplex -s examples/afiro_like.mps
