#!/usr/bin/env bash
# Plays thousands of random command sequences on the plug-in: under AddressSanitizer on this machine's driver and, at the
# same time, under ThreadSanitizer on the fake graphics libraries. A test run plays some of them; this plays them all.
#
# usage: scripts/sequences.sh [COUNT [FIRST_SEED]]     10000 sequences when nothing is said, always the same ones
set -euo pipefail
cd "$(dirname "$0")/.."

export ORBISK_SEQUENCE_COUNT="${1:-10000}"
[ $# -lt 2 ] || export ORBISK_SEQUENCE_SEED="$2"

scripts/install_packages.sh build test
scripts/build.sh asan --target random_sequences_gl_test
scripts/build.sh tsan --target random_sequences_fakes_test
export EGL_PLATFORM="${EGL_PLATFORM:-surfaceless}"
build/asan/test/faults/random_sequences_gl_test >build/sequences_gl.log 2>&1 &
driver=$!
build/tsan/test/faults/random_sequences_fakes_test >build/sequences_fakes.log 2>&1 &
fakes=$!

status=0
wait "$driver" || status=$?
wait "$fakes" || status=$?
for log in gl fakes; do
  echo "== $log =="
  if [ "$status" -eq 0 ]; then grep '^Seeds' "build/sequences_$log.log"; else tail -n 60 "build/sequences_$log.log"; fi
done
exit "$status"
