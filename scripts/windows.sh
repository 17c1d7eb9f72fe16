#!/usr/bin/env bash
# The Windows build, from Debian packages only: installs the MinGW-w64 cross
# compilers and Wine, builds the dependencies from Debian's source packages
# (once, cached in the build folder), cross-builds api_cpp.dll, zq_sim.exe,
# the examples and the tests, checks the DLL's exports and imports, packs the
# ZIP and builds a C and a C++ consumer against it, then runs the Windows
# tests under Wine (scripts/windows_tests.sh).
#   bash scripts/windows.sh [BUILD_DIR]      (default build-windows)
#   ZQ_WINDOWS_TESTS=0 bash scripts/windows.sh   builds and packs only
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-windows}
mkdir -p "$build"
build=$(cd "$build" && pwd)
jobs=${ZQ_JOBS:-2}
toolchain=$PWD/cmake/mingw-w64.cmake

echo "-- packages"
# The Linux packages whose source versions the Windows build uses, the cross
# compilers, Wine, and dpkg-dev for apt-get source.
bash scripts/setup.sh cmake make g++ pkg-config dpkg-dev libcjson-dev libnlopt-dev libsuitesparse-dev googletest \
    g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64

echo "-- dependencies for the target"
deps=$(bash scripts/windows_deps.sh "$build" | tail -n 1)

echo "-- cross build"
tests=ON
[ "${ZQ_WINDOWS_TESTS:-1}" != 0 ] || tests=OFF
cmake -S . -B "$build/tree" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_PREFIX_PATH="$deps" \
    -DCMAKE_BUILD_TYPE=Release -DZQ_WERROR=ON -DZQ_BUILD_TESTS=$tests >/dev/null
cmake --build "$build/tree" -j"$jobs"

echo "-- exports and imports of api_cpp.dll"
bash scripts/check_dll.sh "$build/tree/api_cpp.dll" "$deps/include/cjson/cJSON.h"

echo "-- ZIP package"
rm -rf "$build/package"
(cd "$build/tree" && cpack -G ZIP -B "$build/package" >/dev/null)
zip=$(ls "$build"/package/*.zip)
(cd "$build/package" && cmake -E tar xf "$zip")
unpacked=$(find "$build/package" -mindepth 1 -maxdepth 1 -type d ! -name _CPack_Packages)
for f in bin/api_cpp.dll bin/zq_sim.exe lib/libapi_cpp.dll.a lib/api_cpp.lib lib/cmake/api_cpp/api_cppConfig.cmake \
         include/zq_api.h include/cjson/cJSON.h; do
    [ -f "$unpacked/$f" ] || { echo "windows: $f missing from $(basename "$zip")" >&2; exit 1; }
done
echo "$(basename "$zip"): $(cd "$unpacked" && find . -type f | wc -l) files"

echo "-- consumers built against the unpacked package"
rm -rf "$build/consumers"
cmake -S tests/package -B "$build/consumers" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_PREFIX_PATH="$unpacked" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_EXE_LINKER_FLAGS=-static \
    -DCMAKE_C_FLAGS="-Wall -Werror" -DCMAKE_CXX_FLAGS="-Wall -Werror" >/dev/null
cmake --build "$build/consumers" -j"$jobs" >/dev/null

if [ "$tests" = ON ]; then
    bash scripts/windows_tests.sh "$build" "$unpacked"
fi
echo "windows: built, packed$([ "$tests" = ON ] && echo ' and tested under Wine')"
