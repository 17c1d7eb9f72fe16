#!/usr/bin/env bash
# Builds the library's dependencies for 64-bit Windows from Debian's source
# packages of the versions the Linux build uses: cJSON, NLopt, SuiteSparse
# (AMD, LDL and SuiteSparse_config only), and GoogleTest from the sources the
# googletest package installs under /usr/src. Everything lands in a prefix
# named after the package versions, so a second run builds nothing:
#   scripts/windows_deps.sh BUILD_DIR      prints the prefix on its last line
# Needs root (or sudo) once, to add a deb-src entry next to the system's own.
set -euo pipefail
cd "$(dirname "$0")/.."
src=$PWD
build=$(mkdir -p "${1:?usage: scripts/windows_deps.sh BUILD_DIR}" && cd "$1" && pwd)
jobs=${ZQ_JOBS:-2}
toolchain=$src/cmake/mingw-w64.cmake

version_of() {  # source package of an installed binary package, and its version
    dpkg-query -W -f='${source:Package}=${source:Version}' "$1"
}
cjson=$(version_of libcjson-dev)
nlopt=$(version_of libnlopt-dev)
suitesparse=$(version_of libsuitesparse-dev)
gtest=$(version_of googletest)
compiler=$(version_of g++-mingw-w64-x86-64-posix)
key=$(printf '%s\n' "$cjson" "$nlopt" "$suitesparse" "$gtest" "$compiler" | tr -c 'A-Za-z0-9.+\n' '_' |
      tr '\n' '-' | sed 's/-$//')
prefix=$build/deps/$key
# Google Benchmark only for the wire figures under Wine (ZQ_WINDOWS_BENCH=1).
bench=""
[ "${ZQ_WINDOWS_BENCH:-0}" = 0 ] || bench=$(version_of libbenchmark-dev)
bench_stamp=$prefix/.complete-$(printf '%s' "$bench" | tr -c 'A-Za-z0-9.+' '_')
if [ -f "$prefix/.complete" ] && { [ -z "$bench" ] || [ -f "$bench_stamp" ]; }; then
    echo "$prefix"
    exit 0
fi
work=$build/deps/work
rm -rf "$work"
mkdir -p "$work"
packages=("$cjson" "$nlopt" "$suitesparse")
if [ -f "$prefix/.complete" ]; then
    packages=()
else
    echo "windows deps: building $cjson $nlopt $suitesparse $gtest into $prefix" >&2
    rm -rf "$prefix"
fi
[ -z "$bench" ] || packages+=("$bench")
mkdir -p "$prefix"

# The source packages need a deb-src entry; add one beside each Debian entry
# of the system (deb822 .sources files or one-line .list files).
if ! apt-get source --print-uris "${packages[0]}" >/dev/null 2>&1; then
    SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
    list=/etc/apt/sources.list.d/zq-deb-src
    for f in /etc/apt/sources.list.d/*.sources; do
        [ -f "$f" ] || continue
        awk 'BEGIN{RS=""; ORS="\n\n"} /URIs:[^\n]*debian/ && /Types:[^\n]*deb/ && !/Types:[^\n]*deb-src/ {
                 sub(/Types:[^\n]*/, "Types: deb-src"); print }' "$f"
    done >"$work/deb-src.sources"
    cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
        sed -n 's/^deb \(.*debian.*\)/deb-src \1/p' >"$work/deb-src.list"
    for kind in sources list; do
        [ ! -s "$work/deb-src.$kind" ] || $SUDO cp "$work/deb-src.$kind" "$list.$kind"
    done
    $SUDO apt-get update -qq
fi
(cd "$work" && apt-get source -qq "${packages[@]}" >/dev/null 2>&1) ||
    (cd "$work" && apt-get source "${packages[@]}")
dir_of() { find "$work" -maxdepth 1 -type d -name "$1-*" | head -n 1; }

configure_build_install() {  # name, source dir, cmake arguments...
    local name=$1 dir=$2
    shift 2
    echo "windows deps: $name" >&2
    cmake -S "$dir" -B "$work/build-$name" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DBUILD_SHARED_LIBS=OFF "$@" >"$work/$name.log"
    cmake --build "$work/build-$name" -j"$jobs" >>"$work/$name.log"
    cmake --install "$work/build-$name" >>"$work/$name.log"
}

if [ -n "$bench" ]; then
    configure_build_install benchmark "$(dir_of benchmark)" -DBENCHMARK_ENABLE_TESTING=OFF \
        -DBENCHMARK_ENABLE_GTEST_TESTS=OFF -DBENCHMARK_ENABLE_WERROR=OFF \
        -DGIT_VERSION="$(printf %s "$bench" | sed "s/.*=\(.*\)-.*/\1/")"
    touch "$bench_stamp"
fi
if [ -f "$prefix/.complete" ]; then
    rm -rf "$work"
    echo "$prefix"
    exit 0
fi

# cJSON: a static library; the api_cpp DLL links it and exports its functions.
configure_build_install cjson "$(dir_of cjson)" -DENABLE_CJSON_TEST=OFF -DENABLE_CJSON_UTILS=OFF \
    -DENABLE_CUSTOM_COMPILER_FLAGS=OFF -DENABLE_TARGET_EXPORT=ON -DBUILD_SHARED_AND_STATIC_LIBS=OFF
# cJSON writes its install prefix into its package files: make them relative.
sed -i "s|$prefix|\${CMAKE_CURRENT_LIST_DIR}/../../..|g" "$prefix"/lib/cmake/cJSON/*.cmake
configure_build_install nlopt "$(dir_of nlopt)" -DNLOPT_PYTHON=OFF -DNLOPT_OCTAVE=OFF -DNLOPT_MATLAB=OFF \
    -DNLOPT_GUILE=OFF -DNLOPT_SWIG=OFF -DNLOPT_TESTS=OFF -DNLOPT_CXX=OFF
configure_build_install suitesparse "$src/cmake/suitesparse" -DSUITESPARSE_SOURCE_DIR="$(dir_of suitesparse)"
configure_build_install googletest /usr/src/googletest -Dgtest_disable_pthreads=OFF -DINSTALL_GTEST=ON

rm -rf "$work"
touch "$prefix/.complete"
echo "$prefix"
