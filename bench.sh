#!/usr/bin/env bash
# Builds the benchmarks as the release is built, runs them and prints one table; installs what is missing first.
#
# usage: ./bench.sh [NAME...]     the benches of these names alone, such as load_bench
#
# What counts is ratios within a row: the machine is the same for all in it, and what disturbs it disturbs all.
# build/bench/results/ keeps each bench's figures.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install_packages.sh build test bench
scripts/build.sh bench >&2

build=build/bench
results="$build/results"
mkdir -p "$results"
names=("$@")
if [ "${#names[@]}" -eq 0 ]; then
  rm -f "$results"/*.json
  for program in "$build"/benches/*_bench; do names+=("$(basename "$program")"); done
  names+=(start_bench)
fi

export EGL_PLATFORM="${EGL_PLATFORM:-surfaceless}"
for name in "${names[@]}"; do
  echo "running $name" >&2
  if [ "$name" = start_bench ]; then
    bench/start_bench.py "$build/orbisk_host" "$build/benches/bare_start" assets/device.glb "$results/$name.json"
    continue
  fi
  # Contestants take turns, so that a slow minute of the machine meets all of them.
  "$build/benches/$name" --benchmark_out="$results/$name.json" --benchmark_out_format=json \
    --benchmark_repetitions=5 --benchmark_min_time=0.1 --benchmark_enable_random_interleaving=true \
    >"$results/$name.log" 2>&1 || { cat "$results/$name.log" >&2; exit 1; }
done
python3 bench/table.py "${names[@]/#/$results/}"
