#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the Debian packages this project needs that the machine lacks, with root or sudo.
# Without arguments: what building, testing and the demo need. With --ci: also clang (its
# warnings and the fuzz targets), clang-format and the fuzzing runtime. Does nothing when
# everything is there, so every entry point (the README's test command, the demo, CI) can call
# it first.
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config libgtest-dev libbenchmark-dev libcli11-dev
          nlohmann-json3-dev)
for arg in "$@"; do
  case "$arg" in
    --ci) packages+=(clang clang-format-14 libclang-rt-14-dev) ;;
    *) echo "usage: $0 [--ci]" >&2; exit 2 ;;
  esac
done

missing=()
for pkg in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'ok installed' || missing+=("$pkg")
done
[ "${#missing[@]}" -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
  sudo=()
elif command -v sudo >/dev/null 2>&1; then
  sudo=(sudo)
else
  echo "error: ${missing[*]} missing, and neither root nor sudo is available to install them" >&2
  exit 1
fi
# Another installer may hold the dpkg lock for a while; wait for it rather than fail.
"${sudo[@]}" apt-get -o DPkg::Lock::Timeout=300 update -qq
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 install -y -qq \
  --no-install-recommends "${missing[@]}"
