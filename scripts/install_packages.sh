#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Orbisk needs and that are missing, and says which.
#
# usage: scripts/install_packages.sh [build|test|coverage|fuzz]...
#   build     the plug-in and the development host, and what the host needs to draw without a GPU
#   test      what the tests need on top
#   coverage  what scripts/coverage.sh needs on top of both
#   fuzz      what scripts/fuzz.sh needs on top of both
set -euo pipefail

build_packages=(
  g++ cmake ninja-build pkg-config
  libegl-dev libgles-dev libgbm-dev libx11-dev                  # the plug-in
  libsdl2-dev libcairo2-dev libwebp-dev libcli11-dev            # the development host
  libegl1 libgles2 libegl-mesa0 libgl1-mesa-dri                 # Mesa, whose llvmpipe draws on the CPU
  fontconfig fonts-dejavu-core                                  # the writing under the host's pictures
)
test_packages=(
  libgtest-dev libgmock-dev
  python3                                                       # the assets' script is checked
  binutils                                                      # the library's symbol table is read
  xvfb xauth                                                    # window modes
)
coverage_packages=(
  gcovr python3
)
fuzz_packages=(
  clang-14 libclang-rt-14-dev                                   # libFuzzer and the sanitizers' runtimes
)

packages=()
for group in "${@:-build}"; do
  case "$group" in
    build) packages+=("${build_packages[@]}") ;;
    test) packages+=("${test_packages[@]}") ;;
    coverage) packages+=("${coverage_packages[@]}") ;;
    fuzz) packages+=("${fuzz_packages[@]}") ;;
    *) echo "install_packages.sh: no such group: $group (build, test, coverage, fuzz)" >&2; exit 2 ;;
  esac
done

# A package may be there for several architectures: this machine's own counts, unless the name has another one behind it.
native=$(dpkg --print-architecture)
missing=()
for package in "${packages[@]}"; do
  architecture=$native
  [[ "$package" != *:* ]] || architecture=${package#*:}
  dpkg-query --show --showformat='${Architecture} ${db:Status-Status}\n' "$package" 2>/dev/null |
    grep -qE "^($architecture|all) installed$" || missing+=("$package")
done
[ "${#missing[@]}" -gt 0 ] || exit 0

echo "Installing with apt-get: ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "install_packages.sh: run me as root, or install sudo" >&2; exit 1; }
  as_root=(sudo)
fi
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
