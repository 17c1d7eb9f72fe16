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
if [ -f "$prefix/.complete" ]; then
    echo "$prefix"
    exit 0
fi
echo "windows deps: building $cjson $nlopt $suitesparse $gtest into $prefix" >&2
rm -rf "$prefix" "$build/deps/work"
work=$build/deps/work
mkdir -p "$work" "$prefix"

# The source packages need a deb-src entry; add one beside each Debian entry
# of the system (deb822 .sources files or one-line .list files).
if ! apt-get source --print-uris "$cjson" >/dev/null 2>&1; then
    SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
    list=/etc/apt/sources.list.d/zq-deb-src
    for f in /etc/apt/sources.list.d/*.sources; do
        [ -f "$f" ] || continue
        awk 'BEGIN{RS=""; ORS="\n\n"} /URIs:[^\n]*debian/ && /Types:[^\n]*deb/ && !/Types:[^\n]*deb-src/ {
                 sub(/Types:[^\n]*/, "Types: deb-src"); print }' "$f"
    done | $SUDO tee "$list.sources" >/dev/null
    cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
        sed -n 's/^deb \(.*debian.*\)/deb-src \1/p' | $SUDO tee "$list.list" >/dev/null
    $SUDO apt-get update -qq
fi
(cd "$work" && apt-get source -qq "$cjson" "$nlopt" "$suitesparse" >/dev/null 2>&1) ||
    (cd "$work" && apt-get source "$cjson" "$nlopt" "$suitesparse")
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
