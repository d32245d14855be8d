#!/usr/bin/env bash
# Checks format and code, then builds and runs all tests: as shipped; under the sanitizers (under ThreadSanitizer those in
# which threads meet, and here alone, as it cannot run under emulation); as AArch64 programs, emulated where this machine
# is none. Then fuzzes for a minute each. Installs what is missing first. Further arguments go to ctest (-R, -E, ...): they
# choose among cases in the release build, among programs elsewhere.
set -euo pipefail
cd "$(dirname "$0")"

presets=(release asan tsan)
groups=(build test fuzz lint)
# On AArch64 itself `release` is that already.
if [ "$(uname -m)" != aarch64 ]; then
  presets+=(aarch64)
  groups+=(aarch64)
fi

scripts/install_packages.sh "${groups[@]}"
echo "== lint =="
scripts/lint.sh
for preset in "${presets[@]}"; do
  echo "== $preset =="
  scripts/build.sh "$preset"
  # Twice as many as processors: some tests mostly wait.
  ctest --preset "$preset" --parallel "$(($(nproc) * 2))" "$@"
done
echo "== fuzz =="
scripts/fuzz.sh 60
