#!/usr/bin/env bash
# Builds the fuzz targets and runs each for some time, all side by side; prints what came of it, and fails where
# something was found. Installs what is missing first.
#
# usage: scripts/fuzz.sh [SECONDS [TARGET...]]     60 seconds of every target when nothing is said
#
# What a run learns stays in build/fuzz/corpus/TARGET/ and is where the next one begins. A find stays in
# build/fuzz/finds/TARGET/; `build/fuzz/fuzz/TARGET FILE` runs it again. Mended, it gets a test of its own, and its file
# moves to fuzz/finds/TARGET/, which every test run replays.
#
# ORBISK_FUZZ_LENGTH is the longest input in bytes, 2048 unless set. Short ones run many times faster: 512 for model files
# and 64 for messages still take nearly all the branches.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift || true
targets=("$@")
[ "${#targets[@]}" -gt 0 ] || targets=(glb_loader json_scanning message_decoder method_call)

scripts/install_packages.sh build test fuzz
scripts/build.sh fuzz
build="$PWD/build/fuzz"
"$build/fuzz/orbisk_fuzz_seeds" "$build/seeds"

# What AddressSanitizer does with each allocation, stacks above all, would take more time than all the rest.
export ASAN_OPTIONS="malloc_context_size=1:max_malloc_fill_size=0:quarantine_size_mb=16${ASAN_OPTIONS:+:$ASAN_OPTIONS}"

# Inputs stay small: a model of 89 kB may rightly decode to 755 MB.
fuzz() {
  local target=$1
  local folders=("$build/corpus/$target" "$build/seeds/$target")
  mkdir -p "$build/corpus/$target" "$build/finds/$target"
  [ ! -d "fuzz/finds/$target" ] || folders+=("fuzz/finds/$target")
  "$build/fuzz/$target" -max_total_time="$seconds" -max_len="${ORBISK_FUZZ_LENGTH:-2048}" -timeout=20 \
    -rss_limit_mb=2048 -malloc_limit_mb=64 \
    -dict="fuzz/dictionaries/$target.dict" -artifact_prefix="$build/finds/$target/" -print_final_stats=1 \
    "${folders[@]}" >"$build/$target.log" 2>&1
}

pids=()
for target in "${targets[@]}"; do
  fuzz "$target" &
  pids+=("$!")
done

stat_of() { sed -n "s/^stat::$2: *//p" "$build/$1.log"; }
row='%-16s %12s %9s %7s %9s  %s\n'
# shellcheck disable=SC2059
printf "$row" target executions per\ s edges features finds
status=0
for i in "${!targets[@]}"; do
  target=${targets[$i]}
  find=none
  if ! wait "${pids[$i]}"; then
    status=1
    find=$(sed -n 's/.*Test unit written to //p' "$build/$target.log" | tail -n 1)
    find=${find:-"see $build/$target.log"}
  fi
  progress=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$build/$target.log" | tail -n 1 || true)
  read -r _ edges _ features <<<"${progress:-cov: ? ft: ?}"
  # shellcheck disable=SC2059
  printf "$row" "$target" "$(stat_of "$target" number_of_executed_units)" "$(stat_of "$target" average_exec_per_sec)" \
    "$edges" "$features" "$find"
done
exit "$status"
