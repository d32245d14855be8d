#!/usr/bin/env bash
# Runs the built plug-in for long, beside a program of EGL calls alone, and says whether it grows: resident memory,
# heap, descriptors, threads, failed starts. Exits with 1 when it grows more than the driver does.
#
# usage: scripts/soak.sh [CYCLES [RESTARTS [FRAMES]]]
#        scripts/soak.sh --beside-threads [CYCLES [RESTARTS]]
#
# 1000 cycles, 1000 restarts and 100000 frames unless told otherwise; each at least 20. The full run takes some minutes,
# and up to 6 GB of memory while it goes through the cycles: see docs/limits.md for whose that is.
#
# With --beside-threads it counts instead how many starts fail where another thread of the process starts between stop
# and start: of one viewer, which is up to the driver, and of viewers made anew, which must all start.
#
# ORBISK_SOAK_PLUGIN names another plug-in than the one of the release build.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=()
if [ "${1:-}" = --beside-threads ]; then
  mode=("$1")
  shift
fi
scripts/install_packages.sh build test
scripts/build.sh release --target orbisk_soak orbisk_plugin
[ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] || export EGL_PLATFORM="${EGL_PLATFORM:-surfaceless}"
exec build/release/orbisk_soak "${mode[@]}" "${ORBISK_SOAK_PLUGIN:-build/release/liborbisk_plugin.so}" \
  assets/device.glb "$@"
