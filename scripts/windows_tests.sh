#!/usr/bin/env bash
# Runs the Windows build under Wine, in a Wine prefix of the build folder:
# the GoogleTest suite in thread modes 2, 1 and 0; the code page tests with
# the ANSI code page 936; the examples and the package's consumers against
# zq_sim.exe; and both directions across the platforms over loopback (the
# Windows examples and C++ consumer against the Linux zq_sim, and the Linux
# ones against zq_sim.exe): connect, queries, a blocking move, realtime reports.
#   scripts/windows_tests.sh BUILD_DIR UNPACKED_PACKAGE   (after scripts/windows.sh)
# The Linux side comes from ZQ_LINUX_BUILD, else build-ci when it is built,
# else a small build of its own in BUILD_DIR/linux.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(cd "${1:?usage: scripts/windows_tests.sh BUILD_DIR UNPACKED_PACKAGE}" && pwd)
pkg=$(cd "${2:?usage: scripts/windows_tests.sh BUILD_DIR UNPACKED_PACKAGE}" && pwd)
tree=$build/tree
jobs=${ZQ_JOBS:-2}
export WINEPREFIX=$build/wine WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
export WINEPATH="Z:${tree//\//\\}"  # api_cpp.dll for the programs of the build tree
sims=()
cleanup() {
    for pid in "${sims[@]}"; do kill "$pid" 2>/dev/null || true; wait "$pid" 2>/dev/null || true; done
    wineserver -k 2>/dev/null || true
}
trap cleanup EXIT

start_sim() {  # output file, program and arguments...; sets sim_port
    local out=$1
    shift
    "$@" --port 0 >"$out" 2>&1 &
    sims+=($!)
    sim_port=
    for _ in $(seq 600); do
        sim_port=$(sed -n 's/.*listening on 127\.0\.0\.1:\([0-9]*\).*/\1/p' "$out")
        [ -n "$sim_port" ] && return 0
        sleep 0.1
    done
    echo "windows tests: $* did not start:" >&2
    cat "$out" >&2
    exit 1
}
stop_sims() {
    for pid in "${sims[@]}"; do kill "$pid" 2>/dev/null || true; wait "$pid" 2>/dev/null || true; done
    sims=()
}
udp_port=$((20000 + $$ % 20000))

echo "-- Wine prefix"
wineboot --init >/dev/null 2>&1 || true
wine "$pkg/bin/zq_sim.exe" --version

echo "-- GoogleTest suite under Wine"
# As ctest runs it on Linux: everything in mode 2, the suites that talk to a
# controller in modes 1 and 0 as well.
sessions="Session*:Commands*:Motion*:Realtime*"
for mode in 2 1 0; do
    filter="*"
    [ "$mode" = 2 ] || filter=$sessions
    echo "-- thread mode $mode"
    ZQ_TEST_MODE=$mode timeout 1800 wine "$tree/tests/zq_tests.exe" --gtest_brief=1 --gtest_filter="$filter"
done

echo "-- code page 936"
# The locale picks the ANSI code page of the Windows processes.
LC_ALL=zh_CN.UTF-8 wine "$pkg/bin/zq_sim.exe" --version >/dev/null
LC_ALL=zh_CN.UTF-8 timeout 300 wine "$tree/tests/zq_tests.exe" --gtest_brief=1 \
    --gtest_filter="${ZQ_CODE_PAGE_TESTS:-CommandsCodePage.*}" | tee "$build/codepage.out"
grep -q "PASSED.*[1-9][0-9]* test" "$build/codepage.out" ||
    { echo "windows tests: no code page test ran" >&2; exit 1; }

echo "-- examples and consumers against zq_sim.exe"
start_sim "$build/sim_exe.out" wine "$pkg/bin/zq_sim.exe"
for name in session motion streaming frames kinematics io gripper teleoperation collision cpp_face; do
    timeout 120 wine "$tree/examples/zq_example_$name.exe" --port "$sim_port" >/dev/null
    echo "zq_example_$name.exe: ok"
done
# Realtime reports to a UDP port other than the library's first (8089).
timeout 120 wine "$tree/examples/zq_example_realtime.exe" --port "$sim_port" --udp "$udp_port" >/dev/null
echo "zq_example_realtime.exe: ok (UDP port $udp_port)"
timeout 120 wine "$tree/examples/zq_example_sim_in_process.exe" >/dev/null
echo "zq_example_sim_in_process.exe: ok"
WINEPATH="Z:${pkg//\//\\}\\bin" timeout 60 wine "$build/consumers/consumer_c.exe" "$sim_port"
WINEPATH="Z:${pkg//\//\\}\\bin" timeout 60 wine "$build/consumers/consumer_cpp.exe" "$sim_port" "$udp_port"

linux=${ZQ_LINUX_BUILD:-build-ci}
if [ ! -x "$linux/zq_sim" ] || [ ! -x "$linux/examples/zq_example_motion" ]; then
    linux=$build/linux
    echo "-- Linux build for the cross-platform runs"
    cmake -S . -B "$linux" -DCMAKE_BUILD_TYPE=Release -DZQ_BUILD_TESTS=OFF -DZQ_BUILD_PYTHON=OFF >/dev/null
    cmake --build "$linux" -j"$jobs" --target zq_sim zq_example_session zq_example_motion >/dev/null
fi
# The C++ consumer on Linux, for realtime reports from zq_sim.exe.
c++ -std=c++17 -Wall -Wextra -Werror tests/package/consumer.cpp -Iinclude -I"$linux/include" -L"$linux" \
    -lapi_cpp -lcjson -Wl,-rpath,"$(cd "$linux" && pwd)" -o "$build/consumer_cpp_linux"

echo "-- Linux examples against zq_sim.exe under Wine"
for name in session motion; do
    timeout 120 "$linux/examples/zq_example_$name" --port "$sim_port" >/dev/null
    echo "zq_example_$name: ok"
done
timeout 60 "$build/consumer_cpp_linux" "$sim_port" "$udp_port"
stop_sims

echo "-- Windows examples under Wine against the Linux zq_sim"
start_sim "$build/sim_linux.out" "$linux/zq_sim"
for name in session motion; do
    timeout 120 wine "$tree/examples/zq_example_$name.exe" --port "$sim_port" >/dev/null
    echo "zq_example_$name.exe: ok"
done
WINEPATH="Z:${pkg//\//\\}\\bin" timeout 60 wine "$build/consumers/consumer_cpp.exe" "$sim_port" "$udp_port"
stop_sims
echo "windows tests: passed under Wine"
