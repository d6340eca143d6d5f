#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Puts the line "SPDX-License-Identifier: MIT" at the top of every source file of the
# repository: C++ ("// ..."), CMake and scripts ("# ...", after a "#!" line). Data files,
# JSON, Markdown and pictures are left alone. Files that already carry the line are not
# touched, so running it again changes nothing.
# usage: scripts/add-spdx.sh          add the line where it is missing
#        scripts/add-spdx.sh --check  only list the files without it; fails if there are any
set -euo pipefail
cd "$(dirname "$0")/.."

tag="SPDX-License-Identifier: MIT"

# The comment leader for a file, or nothing when it is not a source file.
leader() {
  case "$1" in
    fuzz/corpus/*) ;;
    *.h | *.hpp | *.cpp | *.cc) echo "//" ;;
    CMakeLists.txt | */CMakeLists.txt | *.cmake | *.cmake.in) echo "#" ;;
    *.sh | *.py) echo "#" ;;
    *) if [ -f "$1" ] && [ "$(head -c 2 "$1")" = "#!" ]; then echo "#"; fi ;;
  esac
}

# Writes the line into f (in place, so the file keeps its mode).
add_line() {
  local f=$1 line=$2 tmp
  tmp=$(mktemp)
  if [ "$(head -c 2 "$f")" = "#!" ]; then
    { head -n 1 "$f"; echo "$line"; tail -n +2 "$f"; } >"$tmp"
  elif [ -n "$(head -n 1 "$f")" ]; then
    { echo "$line"; echo; cat "$f"; } >"$tmp"
  else
    { echo "$line"; cat "$f"; } >"$tmp"
  fi
  cat "$tmp" >"$f"
  rm -f "$tmp"
}

main() {
  local check=0 missing=0 f lead
  case "${1:-}" in
    --check) check=1 ;;
    "") ;;
    *) echo "usage: $0 [--check]" >&2; return 2 ;;
  esac
  while IFS= read -r f; do
    [ -f "$f" ] || continue
    lead=$(leader "$f")
    [ -n "$lead" ] || continue
    if head -n 3 "$f" | grep -xF "$lead $tag" >/dev/null; then
      continue
    fi
    missing=$((missing + 1))
    if [ "$check" -eq 1 ]; then
      echo "no license line: $f"
    else
      add_line "$f" "$lead $tag"
      echo "added: $f"
    fi
  done < <(git ls-files --cached --others --exclude-standard)
  if [ "$check" -eq 1 ]; then
    [ "$missing" -eq 0 ] || { echo "$missing source files lack '$tag'" >&2; return 1; }
    echo "license lines: every source file has one"
  fi
}

# Everything runs from this one line, read before it starts: the script may rewrite itself.
main "$@"; exit
