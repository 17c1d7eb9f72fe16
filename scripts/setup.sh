#!/usr/bin/env bash
# Installs the build and test dependencies of api_cpp from Debian packages.
set -euo pipefail
pkgs=(cmake g++ clang make pkg-config libcjson-dev libnlopt-dev libsuitesparse-dev
      libgtest-dev libgmock-dev googletest libbenchmark-dev liborocos-kdl-dev libeigen3-dev doxygen
      pybind11-dev python3-dev python3-numpy python3-pytest python3-matplotlib dpkg-dev file
      libcpp-httplib-dev abigail-tools)
# The collision benchmark's peer.
pkgs+=(libfcl-dev)
# With arguments, a stage's own packages instead, without their recommendations.
flags=()
if [ $# -gt 0 ]; then
  pkgs=("$@")
  flags=(--no-install-recommends)
fi
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${flags[@]}" "${missing[@]}" >/dev/null
fi
