#!/usr/bin/env bash
# Shows a device turned by a recorded IMU run: installs what is missing, builds, draws, and says where the pictures
# are. Further arguments go to the development host, for example `./demo.sh --window`.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install_packages.sh build
scripts/build.sh ship
show=(--headless --out out/demo)
[[ " $* " == *" --window "* ]] && show=()
build/ship/orbisk_host --model assets/device.glb --imu assets/imu_run.csv --distance 2.6 "${show[@]}" "$@"
