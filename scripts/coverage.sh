#!/usr/bin/env bash
# Tells which lines and branches of the model loader and of the channel layer their tests take, as a table. Exits with 1
# when one is not taken that scripts/coverage_report.py does not name as unreachable.
#
# usage: scripts/coverage.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_packages.sh build test coverage
# (The preset builds without thread-safe statics: nobody but a second thread at the same moment takes the one branch.)
scripts/build.sh coverage --target test/model/all test/client_wrapper/all

find build/coverage -name '*.gcda' -delete
tests=$(find build/coverage/test/model build/coverage/test/client_wrapper -maxdepth 1 -type f -executable | sort)
for test in $tests; do
  "$test" --gtest_brief=1 >build/coverage/test.log 2>&1 || { cat build/coverage/test.log >&2; exit 1; }
done

# The branches that only an exception takes are left out by the report and not here (--exclude-throw-branches): gcov does
# not know them in a program that never comes by, and several programs have the same code inside.
gcovr --root . --object-directory build/coverage --exclude-unreachable-branches \
  --filter model/ --filter client_wrapper/ --json build/coverage/coverage.json
exec python3 scripts/coverage_report.py build/coverage/coverage.json
