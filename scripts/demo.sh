#!/usr/bin/env bash
# Installs the dependencies, builds the library and runs the demo against the
# built-in controller simulator.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZQ_BUILD_TESTS=OFF >/dev/null
cmake --build build -j"${ZQ_JOBS:-2}" --target zq_demo >/dev/null
exec ./build/examples/zq_demo "$@"
