#!/usr/bin/env bash
# Builds and runs all tests, as shipped and then under the sanitizers (under ThreadSanitizer those in which threads
# meet); installs what is missing first. Further arguments go to ctest, for example `./test.sh -R StandardCodec`.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install_packages.sh build test
for preset in release asan tsan; do
  echo "== $preset =="
  scripts/build.sh "$preset"
  ctest --preset "$preset" --parallel "$(nproc)" "$@"
done
scripts/install_packages.sh fuzz; scripts/fuzz.sh 60
