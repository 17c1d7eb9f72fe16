#!/usr/bin/env bash
# Fails when a source folder under src/ includes a header of a folder that is
# not below it. Each line of the table names a folder and the folders it may
# include besides itself; the public headers (zq_*.h) are open to all.
#   scripts/check_layers.sh
set -euo pipefail
cd "$(dirname "$0")/.."

declare -A below=(
    [platform]=""
    [kinematics]="platform"
    [ik]="kinematics platform"
    [collision]="kinematics platform"
    [session]="kinematics platform"
    [motion]="session kinematics platform"
    [commands]="motion session kinematics platform"
    [service]="commands motion session kinematics ik collision platform"
)

bad=0
while IFS= read -r line; do
    file=${line%%:*}
    folder=$(cut -d/ -f2 <<<"$file")
    target=$(sed -E 's/.*#include "([a-z_]+)\/.*/\1/' <<<"$line")
    [ "$target" = "$folder" ] && continue
    if [ -z "${below[$folder]+set}" ]; then
        echo "check_layers: $file: the folder src/$folder has no row in scripts/check_layers.sh" >&2
        bad=1
    elif ! grep -qw -- "$target" <<<"${below[$folder]}"; then
        echo "check_layers: $file includes $target/, which is not below $folder/" >&2
        bad=1
    fi
done < <(grep -rHE '^[[:space:]]*#[[:space:]]*include "[a-z_]+/' src)
[ $bad -eq 0 ] && echo "check_layers: every include points down"
exit $bad
