#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The whole test suite from a fresh clone on a Debian machine: installs what is missing (with
# root or sudo), then configures, builds and runs every test in Release, the installed-package
# and add_subdirectory consumers included.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}
export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$(nproc)}
cmake --workflow --preset test
