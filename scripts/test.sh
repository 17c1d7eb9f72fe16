#!/usr/bin/env bash
# Installs the dependencies, builds warning-free, and runs every test: once
# plainly, once under AddressSanitizer with UndefinedBehaviorSanitizer, and
# the threaded session suites under ThreadSanitizer. Fuzz targets run for a
# short fixed time when clang is there.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

jobs=${ZQ_JOBS:-2}
threaded="Session*:Commands*:Motion*:Realtime*:Sim*"

build() {  # dir, extra cmake arguments...
    local dir=$1
    shift
    cmake -S . -B "$dir" -DZQ_WERROR=ON "$@" >/dev/null
    cmake --build "$dir" -j"$jobs"
}

echo "== plain build and tests"
build build-ci -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZQ_BUILD_BENCH=ON
(cd build-ci && ctest --output-on-failure)

echo "== benchmark figures table, smallest samples (checks that every figure is still read)"
python3 bench/run_all.py --build-dir build-ci --no-build --quick >/dev/null

echo "== Python package against the simulator, and its plot examples"
PYTHONPATH="$PWD/build-ci/python" /usr/bin/python3 -m pytest -q -p no:cacheprovider python/tests
PYTHONPATH="$PWD/build-ci/python" /usr/bin/python3 python/examples/plot_move.py build-ci/plot_move.png
PYTHONPATH="$PWD/build-ci/python" /usr/bin/python3 python/examples/plot_path.py build-ci/plot_path.png

echo "== examples built against an installed package, run against zq_sim"
bash scripts/examples.sh build-ci

echo "== API reference: no undocumented public declaration"
cmake --build build-ci --target docs >/dev/null

echo "== reference: every exported function described, every Python method with a docstring"
python3 scripts/check_reference.py build-ci

echo "== service class, exported symbols, relocated install and packages"
bash scripts/check_package.sh build-ci

echo "== live 3D view: server tests, and the page in headless Chromium"
bash scripts/view_test.sh build-ci  # reuses the plain build's library objects

echo "== Windows: cross build, DLL exports and imports, ZIP package, tests under Wine"
bash scripts/windows.sh build-windows

echo "== AddressSanitizer and UndefinedBehaviorSanitizer"
# With clang the stage also checks float-to-integer casts and implicit integer
# truncations and sign changes. Enumeration ranges are left out: a C caller may
# hand any integer for an enumeration, and the library checks its range itself.
if command -v clang++ >/dev/null; then
    CC=clang CXX=clang++ build build-asan -DCMAKE_BUILD_TYPE=Debug -DZQ_SANITIZE_EXCLUDE=enum \
        -DZQ_SANITIZE=address,undefined,float-cast-overflow,implicit-integer-truncation,implicit-integer-sign-change
else
    build build-asan -DCMAKE_BUILD_TYPE=Debug -DZQ_SANITIZE=address,undefined,float-cast-overflow
fi
(cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure)

echo "== ThreadSanitizer on the threaded suites"
build build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZQ_SANITIZE=thread
for mode in 2 1 0; do
    echo "-- thread mode $mode"
    ZQ_TEST_MODE=$mode TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" \
        ./build-tsan/tests/zq_tests --gtest_brief=1 --gtest_filter="$threaded:-*DeathTest*"
done

if [ -f fuzz/CMakeLists.txt ] && command -v clang++ >/dev/null; then
    echo "== fuzzing, a short fixed time per target"
    CC=clang CXX=clang++ build build-fuzz -DZQ_BUILD_FUZZ=ON -DZQ_BUILD_TESTS=OFF \
        -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZQ_SANITIZE=address,undefined
    for target in build-fuzz/fuzz/fuzz_*; do
        [ -x "$target" ] || continue
        echo "-- $(basename "$target")"
        "$target" -max_total_time="${ZQ_FUZZ_SECONDS:-30}" -rss_limit_mb=2048 2>&1 | tail -n 3
    done
fi
echo "all tests passed"
