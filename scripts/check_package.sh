#!/usr/bin/env bash
# Checks the library as its users get it, from a finished build directory:
# the service class is generated from the current headers, the exported
# interface is compatible with docs/abi, an install moved to another prefix serves a C11 and
# a C++17 consumer through find_package and through pkg-config, and cpack
# makes the runtime and development packages.
#   scripts/check_package.sh build-dir
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(cd "${1:?usage: scripts/check_package.sh build-dir}" && pwd)
src=$PWD
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

echo "-- generated service class and C++ and Python faces"
python3 scripts/gen_service.py --check
python3 scripts/gen_faces.py --check

echo "-- exported symbols and ABI"
bash scripts/check_abi.sh "$build/libapi_cpp.so"

echo "-- install, moved to another prefix"
for component in runtime dev; do
    cmake --install "$build" --prefix "$tmp/first" --component $component >/dev/null
done
mv "$tmp/first" "$tmp/moved"
prefix=$tmp/moved
libdir=$(dirname "$(find "$prefix" -name 'libapi_cpp.so' | head -n1)")
if grep -rqs "$tmp/first" "$prefix"; then
    echo "check_package: the install refers to its first prefix" >&2
    exit 1
fi

echo "-- consumers through find_package"
cmake -S tests/package -B "$tmp/cmake" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$tmp/cmake" -j"${ZQ_JOBS:-2}" >/dev/null
LD_LIBRARY_PATH=$libdir "$tmp/cmake/consumer_c"
LD_LIBRARY_PATH=$libdir "$tmp/cmake/consumer_cpp"

echo "-- consumers through pkg-config"
export PKG_CONFIG_PATH=$libdir/pkgconfig
# shellcheck disable=SC2046
cc -std=c11 -Wall -Werror tests/package/consumer.c -o "$tmp/pc_c" $(pkg-config --cflags --libs api_cpp)
# shellcheck disable=SC2046
c++ -std=c++17 -Wall -Werror tests/package/consumer.cpp -o "$tmp/pc_cpp" $(pkg-config --cflags --libs api_cpp)
LD_LIBRARY_PATH=$libdir "$tmp/pc_c"
LD_LIBRARY_PATH=$libdir "$tmp/pc_cpp"

echo "-- Python package installed beside the library"
if [ -f "$build/python/zq/__init__.py" ]; then
    pydir=$(sed -n 's/^ZQ_PYTHON_INSTALL_DIR:PATH=//p' "$build/CMakeCache.txt")
    # Under the default prefix the package lands on the interpreter's own path.
    /usr/bin/python3 -c "import sys; sys.exit('/usr/local/$pydir' not in sys.path)" ||
        { echo "check_package: /usr/local/$pydir is not on the path of python3" >&2; exit 1; }
    for component in runtime python; do
        cmake --install "$build" --prefix "$tmp/py" --component $component >/dev/null
    done
    (cd "$tmp" && PYTHONPATH="$tmp/py/$pydir" /usr/bin/python3 -c \
        "import zq; assert zq.__file__.startswith('$tmp/py/'); s = zq.Simulator(); s.start(); a = zq.Arm('127.0.0.1', s.port); print('import zq:', len(a.joint_degree()), 'joints'); a.close(); s.stop()")
fi

echo "-- packages"
(cd "$build" && cpack -G DEB -B "$tmp/deb" >/dev/null)
for deb in "$tmp"/deb/*.deb; do
    echo "$(basename "$deb"): $(dpkg-deb -f "$deb" Depends)"
    dpkg-deb -c "$deb" | awk '{print "   ", $6, $7, $8}'
done
[ "$(ls "$tmp"/deb/*.deb | wc -l)" -eq 2 ] || { echo "check_package: expected two packages" >&2; exit 1; }
cd "$src"
echo "check_package: passed"
