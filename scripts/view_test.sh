#!/usr/bin/env bash
# The live 3D view: builds zq_sim and zq_view with the page (npm packages into
# the build folder), runs the server tests, then the page in headless Chromium.
#   bash scripts/view_test.sh [BUILD_DIR]   (default build-view)
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build-view}
bash scripts/setup.sh
need=()
command -v chromium >/dev/null || need+=(chromium)
command -v npm >/dev/null || need+=(nodejs npm)
if [ ${#need[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${need[@]}" >/dev/null
fi
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZQ_WERROR=ON -DZQ_BUILD_VIEW=ON >/dev/null
python=$(grep -q '^ZQ_BUILD_PYTHON:BOOL=ON' "$dir"/CMakeCache.txt && echo zq_python || true)
cmake --build "$dir" -j"${ZQ_JOBS:-2}" --target zq_sim zq_view zq_view_tests $python
"$dir"/view/zq_view_tests --gtest_brief=1
cp view/tests/browser.test.mjs "$dir"/view/npm/
ZQ_BUILD="$PWD/$dir" node --test "$dir"/view/npm/browser.test.mjs
if [ -n "$python" ]; then  # zq.view() from Python
  PYTHONPATH="$PWD/$dir/python" /usr/bin/python3 -m pytest -q -p no:cacheprovider python/tests -k view
fi
