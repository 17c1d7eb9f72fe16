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
"$sim" --list-models | grep -Eq '^  ZQ41 +6 joints$' || { echo "--list-models gives no joint counts"; exit 1; }

echo "-- zq_demo command line"
demo="$build/examples/zq_demo"
if [ -x "$demo" ]; then
    "$demo" --help | grep -q '^usage: zq_demo .*--port'
    status=0
    "$demo" --bogus 2>/dev/null >/dev/null || status=$?
    [ "$status" -eq 2 ] || { echo "zq_demo: unknown option not refused"; exit 1; }
fi

echo "-- the C++ face through pkg-config alone"
pc_dir=$(dirname "$(find "$prefix" -name api_cpp.pc | head -n 1)")
# shellcheck disable=SC2046
g++ -std=c++17 -Wall -Wextra -Werror -Iexamples/common examples/cpp_face/cpp_face.cpp -o "$prefix/cpp_face_pc" \
    $(PKG_CONFIG_PATH="$pc_dir" pkg-config --cflags --libs api_cpp)
"$prefix/cpp_face_pc" --help >/dev/null

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
for name in session motion streaming io gripper teleoperation collision cpp_face; do
    echo "   $name"
    timeout 30 "$prefix/build/$name/zq_example_$name" --port "$port" >/dev/null
done
# Realtime reports to a UDP port other than the first one the library listens on (8089): each
# report must still name its arm.
udp=$(python3 -c 'import socket; s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
[ "$udp" != 8089 ] || udp=8099
echo "   realtime (UDP port $udp)"
timeout 30 "$prefix/build/realtime/zq_example_realtime" --port "$port" --udp "$udp" >/dev/null
timeout 30 "$prefix/build/sim_in_process/zq_example_sim_in_process" >/dev/null
echo "examples: all built and ran"
