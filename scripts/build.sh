#!/usr/bin/env bash
# Configures, where that has not been done, and builds one CMake preset.
#
# usage: scripts/build.sh PRESET [cmake --build arguments]
set -euo pipefail
cd "$(dirname "$0")/.."

preset=$1
shift
log="build/$preset/configure.log"
mkdir -p "build/$preset"
if ! cmake --preset "$preset" >"$log" 2>&1; then
  cat "$log" >&2
  exit 1
fi
cmake --build --preset "$preset" "$@"
