#!/usr/bin/env python3
"""From nothing to the first picture: orbisk_host, headless, against f3d on an X server that runs already. Whole
processes: wall time and peak memory. Writes what the benches of Google Benchmark write.

usage: start_bench.py HOST MODEL RESULT_FILE
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

REPETITIONS = 5
SIZE = (640, 480)


def run(command, environment, picture):
    """Wall time in ms and peak memory in MB of a command that has to leave a picture."""
    picture.unlink(missing_ok=True)
    begun = time.monotonic()
    process = subprocess.Popen(command, env={**os.environ, **environment}, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    elapsed = time.monotonic() - begun
    if status != 0 or not picture.read_bytes().startswith(b"\x89PNG"):
        sys.exit(f"{command[0]}: status {status}, or no picture")
    return {"real_time": elapsed * 1e3, "peak_MB": usage.ru_maxrss / 1024}


def main():
    host, model, result = sys.argv[1:]
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        (folder / "imu.csv").write_text("t,roll,pitch,yaw\n0,0,0,0\n")
        display_read, display_write = os.pipe()
        server = subprocess.Popen(["Xvfb", "-displayfd", str(display_write), "-screen", "0", "1280x1024x24", "-noreset"],
                                  pass_fds=[display_write], stderr=subprocess.DEVNULL)
        os.close(display_write)
        display = ":" + os.read(display_read, 16).decode().strip()
        contestants = {
            "orbisk": ([host, "--model", model, "--imu", str(folder / "imu.csv"), "--headless", "--frames", "1",
                        "--size", "%dx%d" % SIZE, "--out", temporary],
                       {"EGL_PLATFORM": "surfaceless"}, folder / "frame_01.png"),
            "f3d": (["f3d", f"--output={folder}/f3d.png", "--resolution=%d,%d" % SIZE, model],
                    {"DISPLAY": display, "HOME": temporary}, folder / "f3d.png"),
        }
        benchmarks = []
        try:
            for repetition in range(REPETITIONS):
                for family, (name, (command, environment, picture)) in enumerate(contestants.items()):
                    row = f"start/sample device to first PNG/{name}/real_time"
                    figures = run(command, environment, picture)
                    benchmarks.append({"name": row, "run_name": row, "run_type": "iteration", "family_index": family,
                                       "repetition_index": repetition, "time_unit": "ms", **figures})
        finally:
            server.terminate()
            server.wait()
    pathlib.Path(result).write_text(json.dumps({"benchmarks": benchmarks}, indent=1))


main()
