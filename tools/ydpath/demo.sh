#!/usr/bin/env bash
# ydpath demo, from a fresh clone on a Debian machine: installs what is missing, builds the
# ydpath tool (Release) and runs it on the bundled sample. Prints the summary and leaves
# ydpath-out/plot.svg (plus report.json, walk.txt and the sampled curves) in the current
# folder. Extra arguments go to ydpath, e.g.  tools/ydpath/demo.sh --tol 0.005
set -euo pipefail

here=$(pwd)
repo=$(cd "$(dirname "$0")/../.." && pwd)

need=()
for pkg in cmake ninja-build g++ libgtest-dev libcli11-dev nlohmann-json3-dev; do
  dpkg -s "$pkg" >/dev/null 2>&1 || need+=("$pkg")
done
if [ "${#need[@]}" -gt 0 ]; then
  echo "installing: ${need[*]}"
  if [ "$(id -u)" -eq 0 ]; then sudo=""; else sudo="sudo"; fi
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${need[@]}"
fi

cd "$repo"
cmake --preset release >/dev/null
cmake --build --preset release --target ydpath -j "${CMAKE_BUILD_PARALLEL_LEVEL:-2}" >/dev/null

cd "$here"
"$repo/build/release/tools/ydpath/ydpath" --walk 0.5 "$@"
echo
echo "plot: $here/ydpath-out/plot.svg"
