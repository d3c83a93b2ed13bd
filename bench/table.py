#!/usr/bin/env python3
"""Runs the benchmarks and prints one table: every target, what was measured, its peer or limit, the ratio.

table.py BUILD_DIRECTORY [SUBJECT]

The targets stand in bench/targets.json, by subject. Each names two benchmarks of one program and compares the
medians of their times per item (or of a counter), so both were measured in the same run:

  "ours", "peer"      names of the benchmarks (the run name that Google Benchmark prints)
  "at_least": 1.5     ours must be at least 1.5 times as fast as the peer
  "at_most": 1.3      ours may take at most 1.3 times as long (or as much, with "counter")
  "counter": "bytes"  compares that counter instead of the time; smaller is better
"""

import json
import os
import subprocess
import sys


def medians(program):
    """Runs a benchmark program; gives {name: {"time": ns per item, counters...}} of the medians."""
    output = subprocess.run(
        [program, "--benchmark_format=json", "--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true"],
        stdout=subprocess.PIPE, check=True).stdout
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    result = {}
    for entry in json.loads(output)["benchmarks"]:
        if entry.get("aggregate_name") != "median":
            continue
        numbers = {key: value for key, value in entry.items() if isinstance(value, (int, float))}
        rate = entry.get("items_per_second") or entry.get("bytes_per_second")
        numbers["time"] = 1e9 / rate if rate else entry["cpu_time"] * unit[entry["time_unit"]]
        result[entry["run_name"]] = numbers
    return result


def row(target, measured):
    """One line of the table, and whether the target is met (None: not measured)."""
    missing = [name for name in (target["ours"], target["peer"]) if name not in measured]
    if missing:
        return f"  {target['what']:<58} not measured: {', '.join(missing)}", None
    key = target.get("counter", "time")
    ours, peer = measured[target["ours"]][key], measured[target["peer"]][key]
    if "at_least" in target:
        ratio, bound = peer / ours, f">= {target['at_least']}"
        met = ratio >= target["at_least"]
    else:
        ratio, bound = ours / peer, f"<= {target['at_most']}"
        met = ratio <= target["at_most"]
    unit = "" if "counter" in target else " ns"
    return (f"  {target['what']:<58} {ours:>12,.2f}{unit} {peer:>14,.2f}{unit} {ratio:>8.2f}  {bound:<8} "
            f"{'met' if met else 'NOT MET'}"), met


def main():
    build, wanted = sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else ""
    with open(os.path.join(os.path.dirname(__file__), "targets.json"), encoding="utf-8") as file:
        subjects = json.load(file)
    met = total = 0
    print(f"  {'medians of 5 runs, per item':<58} {'ours':>15} {'peer':>17} {'ratio':>8}  target")
    for subject, targets in subjects.items():
        if wanted and wanted != subject:
            continue
        measured = medians(os.path.join(build, "bench_" + subject))
        print(subject)
        for target in targets:
            line, good = row(target, measured)
            print(line, flush=True)
            met += bool(good)
            total += 1
    print(f"{met} of {total} targets met")


if __name__ == "__main__":
    main()
