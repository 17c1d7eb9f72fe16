#!/usr/bin/env bash
# Compares the dynamic symbols that libapi_cpp.so defines with the checked-in
# list docs/abi/api_cpp.symbols, so that an unintended change of the exported
# interface fails. After an intended change, refresh the list:
#   scripts/check_abi.sh build-dir/libapi_cpp.so --update
set -euo pipefail
cd "$(dirname "$0")/.."
lib=${1:?usage: scripts/check_abi.sh path/to/libapi_cpp.so [--update]}
ref=docs/abi/api_cpp.symbols

current=$(nm -D --defined-only -C "$lib" | sed -E 's/^[0-9a-f]+ //' | LC_ALL=C sort -u)
if [ "${2:-}" = "--update" ]; then
    printf '%s\n' "$current" >"$ref"
    echo "check_abi: $ref refreshed ($(wc -l <"$ref") symbols)"
    exit 0
fi
if ! diff -u "$ref" <(printf '%s\n' "$current"); then
    echo "check_abi: the exported symbols differ from $ref (- expected, + found)." >&2
    echo "check_abi: if the change is intended, run: scripts/check_abi.sh $lib --update" >&2
    exit 1
fi
# Only the public functions, the service classes and nothing of the internals.
if printf '%s\n' "$current" | grep -vE '^[A-Z] (zq_[A-Za-z0-9_]+|ZQ_(Service|Internal)::zq_[A-Za-z0-9_]+\(.*\))$'; then
    echo "check_abi: the symbols above are outside the public interface" >&2
    exit 1
fi
echo "check_abi: $(printf '%s\n' "$current" | wc -l) exported symbols as expected"
