#!/usr/bin/env bash
# Fetches the Dart grammar that package-lock.json pins into a folder, through npm, unless it is there already.
#
# usage: install_grammar.sh FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
folder=$1

fail() { echo "install_grammar.sh: $*" >&2; exit 1; }

command -v node >/dev/null && command -v npm >/dev/null || fail "node or npm is missing: scripts/install_packages.sh test"
if cmp -s "$here/package-lock.json" "$folder/installed-lock.json"; then exit 0; fi
mkdir -p "$folder"
cp "$here/package.json" "$here/package-lock.json" "$folder"
cd "$folder"
npm ci --ignore-scripts --no-audit --no-fund --loglevel=error ||
  fail "npm cannot fetch the Dart grammar: the tests of the Dart files need a package registry that npm can reach"
cp package-lock.json installed-lock.json
