#!/usr/bin/env bash
# Installs a built tree to a temporary prefix, builds every example in examples/*/ against it
# as a project of its own (find_package(api_cpp)), checks zq_sim's command line, and runs a
# few examples against the installed zq_sim.
#   scripts/examples.sh [BUILD_DIR]   (default build-ci; it must be built)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-ci}
jobs=${ZQ_JOBS:-2}
prefix=$(mktemp -d)
sim_pid=
cleanup() {
    if [ -n "$sim_pid" ]; then kill "$sim_pid" 2>/dev/null || true; wait "$sim_pid" 2>/dev/null || true; fi
    rm -rf "$prefix"
}
trap cleanup EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libapi_cpp.so*' | head -n 1)")
export LD_LIBRARY_PATH="$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"

for dir in examples/*/; do
    [ -f "$dir/CMakeLists.txt" ] || continue  # common/: the examples' shared command line
    name=$(basename "$dir")
    echo "-- example $name"
    cmake -S "$dir" -B "$prefix/build/$name" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >/dev/null
    cmake --build "$prefix/build/$name" -j"$jobs" >/dev/null
    "$prefix/build/$name/zq_example_$name" --help >/dev/null
done

sim="$prefix/bin/zq_sim"
echo "-- zq_sim command line"
"$sim" --help | grep -q '^usage: zq_sim'
"$sim" --version | grep -q '^zq_sim '
status=0
"$sim" --model NO-SUCH-ARM 2>"$prefix/err" >/dev/null || status=$?
[ "$status" -eq 2 ] && grep -q 'ZQ41' "$prefix/err" || { echo "unknown model not refused"; exit 1; }
status=0
"$sim" --bogus 2>/dev/null >/dev/null || status=$?
[ "$status" -eq 2 ] || { echo "unknown option not refused"; exit 1; }

echo "-- examples against zq_sim"
"$sim" --port 0 >"$prefix/sim.out" &
sim_pid=$!
port=
for _ in $(seq 100); do
    port=$(sed -n 's/.*listening on 127\.0\.0\.1:\([0-9]*\).*/\1/p' "$prefix/sim.out")
    [ -n "$port" ] && break
    sleep 0.05
done
[ -n "$port" ] || { echo "zq_sim did not start"; exit 1; }
for name in session motion streaming; do
    timeout 30 "$prefix/build/$name/zq_example_$name" --port "$port" >/dev/null
done
timeout 30 "$prefix/build/sim_in_process/zq_example_sim_in_process" >/dev/null
echo "examples: all built and ran"
