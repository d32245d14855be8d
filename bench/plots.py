#!/usr/bin/env python3
"""Draws what ./bench.sh has measured last: how the cost grows. Needs gnuplot (Debian: gnuplot-nox).

usage: plots.py [FOLDER]     writes four .svg files, to docs/performance/ unless told otherwise
"""

import json
import pathlib
import re
import statistics
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
RESULTS = ROOT / "build/bench/results"
MILLISECONDS = {"ns": 1e-6, "us": 1e-3, "ms": 1, "s": 1e3}


def our_times(bench, clock, wanted):
    """The medians in ms of the benchmarks of ours whose names match `wanted`, with the match and a run."""
    runs = {}
    for run in json.loads((RESULTS / f"{bench}.json").read_text())["benchmarks"]:
        match = re.match(wanted, run["run_name"])
        if match and run["run_type"] == "iteration":
            runs.setdefault(match.groups(), []).append(run)
    return [(groups, statistics.median(run[clock] * MILLISECONDS[run["time_unit"]] for run in of_one), of_one[0])
            for groups, of_one in sorted(runs.items(), key=lambda item: item[1][0]["family_index"])]


def plot(path, title, x_label, series):
    """`series`: (name, points) pairs."""
    commands = [f'set terminal svg size 640,400 font "sans,12" background "white"; set output "{path}"',
                f'set title "{title}"; set xlabel "{x_label}"; set ylabel "milliseconds"',
                "set logscale xy; set grid; set key left top"]
    for i, (_, points) in enumerate(series):
        commands += [f"$data{i} << END", *(f"{x} {y}" for x, y in sorted(points)), "END"]
    commands.append("plot " + ", ".join(f'$data{i} with linespoints lw 2 pt 7 title "{name}"'
                                        for i, (name, _) in enumerate(series)))
    subprocess.run(["gnuplot"], input="\n".join(commands), text=True, check=True)


def grouped(points):
    series = {}
    for name, x, y in points:
        series.setdefault(name, []).append((x, y))
    return list(series.items())


def main():
    folder = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT / "docs/performance"
    folder.mkdir(parents=True, exist_ok=True)

    frames = [(int(width) * int(height), f"{width} x {height}", int(vertices), time)
              for (width, height, vertices), time, _ in
              our_times("frame_bench", "cpu_time", r"frame/(\d+)x(\d+) of (\d+) vertices/orbisk")]
    plot(folder / "frame_by_vertices.svg", "A frame on llvmpipe, processor time", "vertices",
         grouped((size, vertices, time) for _, size, vertices, time in frames))
    plot(folder / "frame_by_pixels.svg", "A frame on llvmpipe, processor time", "pixels",
         grouped((f"{vertices} vertices", pixels, time) for pixels, _, vertices, time in frames))

    loads = [(int(meshes), int(vertices), bool(computed), time, run["json_bytes"])
             for (meshes, vertices, computed), time, run in
             our_times("load_bench", "cpu_time", r"load/(\d+) x (\d+)(, no normals)?/orbisk")]
    plot(folder / "load_by_vertices.svg", "Loading one mesh", "vertices",
         grouped(("normals computed" if computed else "normals in the file", vertices, time)
                 for meshes, vertices, computed, time, _ in loads if meshes == 1))
    plot(folder / "load_by_json.svg", "Loading: bytes of JSON that the lookups pass over", "meshes x bytes of JSON",
         grouped(("50,000 to 200,000 vertices in all", meshes * size, time)
                 for meshes, vertices, computed, time, size in loads
                 if not computed and 50_000 <= meshes * vertices <= 200_000))


main()
