#!/usr/bin/env bash
# Checks what a compiler run does not: the format of every C++ file, and the plug-in, the host and orbisk_model under clang
# with its thread-safety analysis and clang-tidy (.clang-tidy has the list), any warning an error. Installs what is missing
# first.
#
# usage: scripts/lint.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_packages.sh build model_tool lint

# Git's own list, so that no build folder is looked through.
git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format-14 --dry-run -Werror

scripts/build.sh lint

# The analysis has to bite: this file reads the viewer without its lock.
unlocked=test/plugin/reads_without_lock.cpp
if clang++-14 -std=c++17 -fsyntax-only -Wthread-safety -Werror -I. -Iclient_wrapper/include -Iembedder/include \
  "$unlocked" 2>build/lint/unlocked.log || ! grep -q "requires holding mutex" build/lint/unlocked.log; then
  cat build/lint/unlocked.log >&2
  echo "lint.sh: clang accepts $unlocked, or refuses it for another reason than the lock" >&2
  exit 1
fi
