#!/usr/bin/env bash
# Installs what building and testing XUMComps needs on a Debian machine, and
# nothing that is already there: gettext checks the dictionary exchange with the
# real msgfmt, stb and ZeroMQ are the benchmarks' peers, Qt 6 and Xvfb build
# the windowing backend and run its tests on a virtual display, Qt WebEngine
# builds the web view. With --fuzz it adds
# clang and its sanitizer and libFuzzer runtimes.
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config libgtest-dev libgmock-dev libbenchmark-dev libboost-dev libcereal-dev
          gettext libstb-dev libzmq3-dev qt6-base-dev qt6-webengine-dev xvfb xauth)
if [[ "${1:-}" == "--fuzz" ]]; then
  packages+=(clang libclang-rt-14-dev)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

sudo=""
if [[ $(id -u) -ne 0 ]]; then sudo="sudo"; fi
echo "Installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq "${missing[@]}" >/dev/null
