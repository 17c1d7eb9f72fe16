#!/usr/bin/env bash
# The live 3D view: builds zq_sim and zq_view with the page (npm packages into
# the build folder), runs the server tests, then the page in headless Chromium.
#   bash scripts/view_test.sh [BUILD_DIR]   (default build-view)
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build-view}
if ! command -v chromium >/dev/null || ! dpkg-query -W -f='${Status}' libcpp-httplib-dev 2>/dev/null | grep -q 'ok installed'; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends chromium libcpp-httplib-dev >/dev/null
fi
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZQ_WERROR=ON -DZQ_BUILD_VIEW=ON -DZQ_BUILD_PYTHON=OFF >/dev/null
cmake --build "$dir" -j"${ZQ_JOBS:-2}" --target zq_sim zq_view zq_view_tests
"$dir"/view/zq_view_tests --gtest_brief=1
cp view/tests/browser.test.mjs "$dir"/view/npm/
ZQ_BUILD="$PWD/$dir" node --test "$dir"/view/npm/browser.test.mjs
