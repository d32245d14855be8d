#!/usr/bin/env python3
"""Prints the benches' results as one table: a row for each case, medians, ratios to ours.

usage: table.py RESULT...     files of Google Benchmark's, the suffix .json left out
"""

import json
import statistics
import sys


def time_text(nanoseconds):
    for limit, unit in ((1e3, "ns"), (1e6, "us"), (1e9, "ms")):
        if nanoseconds < limit:
            return f"{nanoseconds / limit * 1e3:.3g} {unit}"
    return f"{nanoseconds / 1e9:.3g} s"


def read(results):
    """Row -> contestant -> runs, in the order in which the benches register them."""
    rows = {}
    for result in results:
        with open(result + ".json", encoding="utf-8") as file:
            for run in sorted(json.load(file)["benchmarks"], key=lambda run: run["family_index"]):
                if run.get("error_occurred"):
                    sys.exit(f"{run['name']}: {run['error_message']}")
                if run["run_type"] != "iteration":
                    continue
                what, case, contestant = run["run_name"].split("/")[:3]
                rows.setdefault((what, case), {}).setdefault(contestant, []).append(run)
    return rows


STANDARD = {"name", "family_index", "per_family_instance_index", "run_name", "run_type", "repetitions",
            "repetition_index", "threads", "iterations", "real_time", "cpu_time", "time_unit"}
FACTORS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def median_time(runs):
    """Processor time, which other programs disturb least; for a bench that says so (/real_time) the clock's."""
    clock = "real_time" if runs[0]["run_name"].endswith("/real_time") else "cpu_time"
    return statistics.median(run[clock] * FACTORS[run["time_unit"]] for run in runs)


def counters(runs):
    names = [name for name in runs[0] if name not in STANDARD]
    summary = {name: max if name.startswith("worst") else statistics.median for name in names}
    return [f"{summary[name](run[name] for run in runs):.3g} {name}" for name in names]


def main():
    lines = [("case", "orbisk", "against it (their time / ours)", "counted")]
    for (what, case), contestants in read(sys.argv[1:]).items():
        ours = contestants.get("orbisk")
        time = median_time(ours) if ours else None
        others = [f"{name} {median_time(runs) / time:.2f}" if time else f"{name} {time_text(median_time(runs))}"
                  for name, runs in contestants.items() if name != "orbisk"]
        counted = {name: ", ".join(counters(runs)) for name, runs in contestants.items() if counters(runs)}
        lines.append((f"{what}: {case}", time_text(time) if time else "", ", ".join(others),
                      "; ".join(f"{name} {text}" if len(counted) > 1 else text for name, text in counted.items())))
    widths = [max(len(line[column]) for line in lines) for column in range(4)]
    for line in lines:
        print("  ".join(text.ljust(width) for text, width in zip(line, widths)).rstrip())


main()
