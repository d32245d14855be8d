#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Orbisk needs and that are missing, and says which.
#
# usage: scripts/install_packages.sh [GROUP...]     build when nothing is said
#   plugin    building the plug-in alone
#   sysroot   building the plug-in alone for AArch64, against a sysroot
#   build     the plug-in and the development host, and what the host needs to draw without a GPU
#   model_tool  what building orbisk_model needs on top of `build`
#   test      what building and running the tests needs on top, orbisk_model among it
#   aarch64   what building for AArch64 needs on top of `build`; named along with `test`, also what the tests need on top
#             to be built for it and run here
#   bench     what ./bench.sh needs on top of `build` and `test`
#   coverage  what scripts/coverage.sh needs on top of both
#   fuzz      what scripts/fuzz.sh needs on top of both
#   lint      what scripts/lint.sh needs on top of `build`
#   fresh     what scripts/fresh_machine.sh needs
set -euo pipefail

plugin_packages=(
  g++ cmake ninja-build
  libegl-dev libgles-dev libgbm-dev libx11-dev
)
sysroot_packages=(
  g++-aarch64-linux-gnu cmake ninja-build
)
build_packages=(
  "${plugin_packages[@]}"
  pkg-config libsdl2-dev libcairo2-dev libwebp-dev libcli11-dev # the development host
  libegl1 libgles2 libegl-mesa0 libgl1-mesa-dri                 # Mesa, whose llvmpipe draws on the CPU
  fontconfig fonts-dejavu-core                                  # the writing under the host's pictures
)
model_tool_packages=(
  libtinygltf-dev nlohmann-json3-dev libstb-dev                 # glTF, its buffers and pictures
  libdraco-dev libmeshoptimizer-dev                             # compressed data; welding and simplifying
  libassimp-dev libwebp-dev libcli11-dev                        # other formats; WebP; the command line
)
test_packages=(
  "${model_tool_packages[@]}"
  libgtest-dev libgmock-dev libpng-dev
  python3 python3-yaml                                          # the assets' script and pubspec.yaml are checked
  clang                                                         # builds the Flutter package, as its tooling does
  nodejs npm                                                    # reads the Flutter package's Dart files
  binutils                                                      # the library's symbol table is read
  xvfb xauth                                                    # window modes
)
aarch64_packages=(
  g++-aarch64-linux-gnu
  {libegl-dev,libgles-dev,libgbm-dev,libx11-dev}:arm64          # as above, for the target
  {libsdl2-dev,libcairo2-dev,libwebp-dev}:arm64
)
aarch64_test_packages=(
  qemu-user-static
  {libegl1,libgles2,libegl-mesa0,libgl1-mesa-dri}:arm64
  {libgtest-dev,libgmock-dev,libpng-dev}:arm64
)
bench_packages=(
  libbenchmark-dev python3
  libtinygltf-dev libassimp-dev f3d                             # what we compare with
  gnuplot-nox                                                   # bench/plots.py
  xvfb xauth                                                    # f3d's display
)
coverage_packages=(
  gcovr python3
)
fuzz_packages=(
  clang-14 libclang-rt-14-dev                                   # libFuzzer and the sanitizers' runtimes
)
lint_packages=(
  clang-14 clang-format-14 clang-tidy-14
)
fresh_packages=(
  debootstrap git
)

groups=("${@:-build}")
packages=()
for group in "${groups[@]}"; do
  case "$group" in
    plugin) packages+=("${plugin_packages[@]}") ;;
    sysroot) packages+=("${sysroot_packages[@]}") ;;
    build) packages+=("${build_packages[@]}") ;;
    model_tool) packages+=("${model_tool_packages[@]}") ;;
    test) packages+=("${test_packages[@]}") ;;
    aarch64)
      packages+=("${aarch64_packages[@]}")
      [[ " ${groups[*]} " != *" test "* ]] || packages+=("${aarch64_test_packages[@]}")
      ;;
    bench) packages+=("${bench_packages[@]}") ;;
    coverage) packages+=("${coverage_packages[@]}") ;;
    fuzz) packages+=("${fuzz_packages[@]}") ;;
    lint) packages+=("${lint_packages[@]}") ;;
    fresh) packages+=("${fresh_packages[@]}") ;;
    *)
      echo "install_packages.sh: no such group: $group (its first lines tell which there are)" >&2
      exit 2
      ;;
  esac
done

# A package may be there for several architectures: this machine's own counts, unless the name ends with another one.
native=$(dpkg --print-architecture)
# It may also come with another package: npm with the nodejs that is not Debian's.
provided=$(dpkg-query --show --showformat='${db:Status-Status}, ${Provides}\n' | grep '^installed' | tr -d ' ' | tr ',' '\n')
missing=()
for package in "${packages[@]}"; do
  architecture=$native
  [[ "$package" != *:* ]] || architecture=${package#*:}
  dpkg-query --show --showformat='${Architecture} ${db:Status-Status}\n' "$package" 2>/dev/null |
    grep -qE "^($architecture|all) installed$" || grep -qxF "$package" <<<"$provided" || missing+=("$package")
done
[ "${#missing[@]}" -gt 0 ] || exit 0

echo "Installing with apt-get: ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "install_packages.sh: run me as root, or install sudo" >&2; exit 1; }
  as_root=(sudo)
fi
if [[ "${missing[*]}" == *:arm64* ]] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
  "${as_root[@]}" dpkg --add-architecture arm64
fi
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
