#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# ydpath demo, from a fresh clone on a Debian machine: installs what is missing, builds the
# ydpath tool (Release) and runs it on the bundled sample. Prints the summary and leaves
# ydpath-out/plot.svg (plus report.json, walk.txt and the sampled curves) in the current
# folder. Extra arguments go to ydpath, e.g.  tools/ydpath/demo.sh --tol 0.005
set -euo pipefail

here=$(pwd)
repo=$(cd "$(dirname "$0")/../.." && pwd)

# The same install step as the test command, so the two work in either order.
"$repo/scripts/install-deps.sh"

cd "$repo"
cmake --preset release >/dev/null
cmake --build --preset release --target ydpath -j "${CMAKE_BUILD_PARALLEL_LEVEL:-2}" >/dev/null

cd "$here"
"$repo/build/release/tools/ydpath/ydpath" --walk 0.5 "$@"
echo
echo "plot: $here/ydpath-out/plot.svg"
