#!/usr/bin/env bash
# Makes the present interface the released one, after an intended change or
# a merge that added functions: rewrites the export map from the headers,
# relinks the library of a build folder (configured with debug information,
# e.g. RelWithDebInfo), dumps its ABI to docs/abi/api_cpp.abi and its
# symbols to the readable list docs/abi/api_cpp.symbols, then checks.
#   scripts/refresh_abi.sh [build-dir]    (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
lib=$build/libapi_cpp.so

python3 scripts/abi_map.py --write
cmake --build "$build" --target api_cpp -j"${ZQ_JOBS:-2}" >/dev/null
if ! readelf -S "$lib" | grep -q '\.debug_info'; then
    echo "refresh_abi: $lib has no debug information; configure $build as RelWithDebInfo" >&2
    exit 1
fi
abidw --drop-private-types --exported-interfaces-only --headers-dir include --no-corpus-path \
      --no-comp-dir-path --no-show-locs --out-file docs/abi/api_cpp.abi "$lib"
nm -D --defined-only -C "$lib" | sed -E 's/^[0-9a-f]+ //; s/@@?[A-Z0-9_]+$//' | grep -vE '^A ' |
    LC_ALL=C sort -u >docs/abi/api_cpp.symbols
echo "refresh_abi: docs/abi/api_cpp.abi and docs/abi/api_cpp.symbols ($(wc -l <docs/abi/api_cpp.symbols) symbols) refreshed"
bash scripts/check_abi.sh "$lib"
