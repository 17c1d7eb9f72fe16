#!/usr/bin/env bash
# Installs the dependencies, builds zq_view and shows the simulated arm moving
# in a browser: open the address it prints (http://127.0.0.1:8000/, or the
# port given as the first argument). Ctrl-C ends it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
if ! command -v npm >/dev/null; then  # the page's script is bundled with npm packages at build time
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends nodejs npm >/dev/null
fi
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZQ_BUILD_TESTS=OFF -DZQ_BUILD_VIEW=ON >/dev/null
cmake --build build -j"${ZQ_JOBS:-2}" --target zq_view >/dev/null
exec ./build/view/zq_view --sim --demo --http "${1:-8000}"
