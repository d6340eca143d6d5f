#!/bin/sh
# SPDX-License-Identifier: MIT
# Compiles and links the README's usage example with the flags that
# `pkg-config --cflags --libs YdNurbsLib` gives for an install prefix, runs it and checks
# what it prints.
# usage: pkgconfig.sh <c++ compiler> <install prefix> <work dir> <expected output (ERE)>
set -eu
cxx=$1
prefix=$2
work=$3
expected=$4
here=$(cd "$(dirname "$0")" && pwd)

if ! command -v pkg-config >/dev/null 2>&1; then
  echo "pkg-config is not installed (Debian: pkg-config); skipping"
  exit 77
fi
pcdir=$(dirname "$(find "$prefix" -name YdNurbsLib.pc | head -n 1)")
[ -f "$pcdir/YdNurbsLib.pc" ] || { echo "no YdNurbsLib.pc under $prefix"; exit 1; }
PKG_CONFIG_PATH=$pcdir
export PKG_CONFIG_PATH

flags=$(pkg-config --cflags --libs YdNurbsLib)
echo "pkg-config --cflags --libs YdNurbsLib: $flags"
mkdir -p "$work"
# shellcheck disable=SC2086 # the flags are words
"$cxx" -std=c++17 "$here/usage.cpp" $flags -o "$work/usage"

LD_LIBRARY_PATH=$(pkg-config --variable=libdir YdNurbsLib)${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
export LD_LIBRARY_PATH
out=$("$work/usage")
echo "$out"
echo "$out" | grep -Eq "$expected" || { echo "unexpected output; expected /$expected/"; exit 1; }
