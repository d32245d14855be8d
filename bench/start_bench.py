#!/usr/bin/env python3
"""From nothing to the first picture, and to the end of the process: orbisk_host, headless, against f3d on an X server that
runs already, and against a program that does no more than start EGL, draw a triangle and read it back. Wall time and peak
memory. Writes what the benches of Google Benchmark write.

usage: start_bench.py HOST BARE_START MODEL RESULT_FILE
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
    """When the picture was written and when the process ended, in ms from its start, and its peak memory in MB. A command
    without a picture has to end well only."""
    if picture:
        picture.unlink(missing_ok=True)
    begun, begun_clock = time.monotonic(), time.time()
    process = subprocess.Popen(command, env={**os.environ, **environment}, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    elapsed = time.monotonic() - begun
    if status != 0 or picture and not picture.read_bytes().startswith(b"\x89PNG"):
        sys.exit(f"{command[0]}: status {status}, or no picture")
    figures = {"the whole process": {"real_time": elapsed * 1e3, "peak_MB": usage.ru_maxrss / 1024}}
    if picture:
        figures["sample device to first PNG"] = {"real_time": (picture.stat().st_mtime - begun_clock) * 1e3}
    return figures


def main():
    host, bare_start, model, result = sys.argv[1:]
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
            "bare EGL": ([bare_start], {"EGL_PLATFORM": "surfaceless"}, None),
        }
        benchmarks = []
        try:
            for repetition in range(REPETITIONS):
                for family, (name, (command, environment, picture)) in enumerate(contestants.items()):
                    for case, figures in run(command, environment, picture).items():
                        row = f"start/{case}/{name}/real_time"
                        benchmarks.append({"name": row, "run_name": row, "run_type": "iteration",
                                           "family_index": family, "repetition_index": repetition, "time_unit": "ms",
                                           **figures})
        finally:
            server.terminate()
            server.wait()
    pathlib.Path(result).write_text(json.dumps({"benchmarks": benchmarks}, indent=1))


main()
