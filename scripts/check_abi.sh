#!/usr/bin/env bash
# Checks the interface that a built libapi_cpp.so exports against the released
# one, docs/abi/api_cpp.abi (an abidw dump):
#   - cmake/api_cpp.map exports exactly the ZQ_API functions of the headers;
#   - every exported symbol is a public zq_ function or a service class
#     method, and carries the version node of the map;
#   - abidiff finds no removed symbol and no changed function or type.
# Added functions, with the types that only they use, pass and are listed.
# abidiff sets bit 8 (incompatible) only for a removed symbol; a changed
# parameter or record layout sets bit 4 (changed) alone. Run with
# --no-added-syms, bit 4 can only come from such a change, so either fails.
# After an intended change: scripts/refresh_abi.sh build-dir
#   scripts/check_abi.sh path/to/libapi_cpp.so
set -euo pipefail
cd "$(dirname "$0")/.."
lib=${1:?usage: scripts/check_abi.sh path/to/libapi_cpp.so}
ref=docs/abi/api_cpp.abi
node=$(sed -nE 's/^([A-Z0-9_]+) \{$/\1/p' cmake/api_cpp.map)
read_options=(--drop-private-types --exported-interfaces-only)
refresh="scripts/refresh_abi.sh $(dirname "$lib")"

python3 scripts/abi_map.py --check

# Defined dynamic symbols, demangled, each with its version.
symbols=$(readelf --dyn-syms --wide --demangle "$lib" |
          awk '$7 != "UND" && $7 != "ABS" && ($5 == "GLOBAL" || $5 == "WEAK") {$1=$2=$3=$4=$5=$6=$7=""; print}' |
          sed -E 's/^ +//' | LC_ALL=C sort -u)
if grep -vE "^(zq_[A-Za-z0-9_]+|ZQ_(Service|Internal)::zq_[A-Za-z0-9_]+\(.*\))@@${node}$" <<<"$symbols"; then
    echo "check_abi: the symbols above are outside the public interface or lack the version $node" >&2
    exit 1
fi

set +e
abidiff "${read_options[@]}" --no-added-syms --hd2 include "$ref" "$lib" >"$lib.abidiff"
rc=$?
set -e
if (( rc & 3 )); then
    cat "$lib.abidiff" >&2
    echo "check_abi: abidiff failed (exit $rc)" >&2
    exit 1
fi
if (( rc & 12 )); then
    cat "$lib.abidiff" >&2
    (( rc & 8 )) && echo "check_abi: symbols of the released interface are gone" >&2
    echo "check_abi: the interface changed incompatibly against $ref (exit $rc)." >&2
    echo "check_abi: if the change is intended, run: $refresh" >&2
    exit 1
fi
added=$(abidiff "${read_options[@]}" --hd2 include "$ref" "$lib" | grep -cE "^  \[A\] " || true)
echo "check_abi: $(wc -l <<<"$symbols") symbols of version $node, compatible with $ref ($added added)"
