#!/usr/bin/env python3
"""Runs the benchmarks of a build and prints what each costs in its floor or beside its peer, with the goal.

    bench/report.py FOLDER      the folder of the benchmark programs
"""
import json
import pathlib
import subprocess
import sys

REPETITIONS = 3  # of which the fastest counts: nothing makes work faster than it is

# program: (what is measured, unit of the ratio, goal, way to the figure). The way is a pair of benchmarks, the time of
# the first over that of the second, or a benchmark with the counter that tells the ratio.
AT_MOST, AT_LEAST = "at most", "at least"
ROWS = {
    "applet_benchmark": [
        ("get of a cached parameter", "floors", (AT_MOST, 2), ("getCached", "floors")),
        ("set with one design write", "floors", (AT_MOST, 2), ("setWithOneDesignWrite", "floors")),
    ],
    "start_up_benchmark": [
        ("start-up to the ready applet", "its vendor calls made plainly", None, ("startUp", "ratio")),
        ("loading a configuration", "reading its keys and its design writes", None, ("loadConfiguration", "ratio")),
    ],
    "software_trigger_benchmark": [
        ("software trigger pulse", "bare design writes", None, ("softwareTriggerBurst", "bares")),
    ],
    "xml_benchmark": [
        ("GenApi document", "pugixml building it", (AT_MOST, 1), ("builder", "documentTree")),
    ],
    "configuration_benchmark": [
        ("reading all keys twice", "one pass into a map", (AT_MOST, 2), ("parser", "onePassIntoMap")),
        ("reading all keys twice", "inih", (AT_MOST, 1), ("parser", "inih")),
        ("rewinding per key", "one pass into a map", None, ("rewindingPerKey", "onePassIntoMap")),
    ],
    "lookup_table_benchmark": [
        ("processor table", "4096 calls of pow", (AT_MOST, 1.15), ("processorTable/gamma", "powCalls")),
        ("processor table, exponent 1", "4096 calls of pow", (AT_MOST, 0.115), ("processorTable/linear", "powCalls")),
        ("loading a table file", "tuned parser", (AT_MOST, 2), ("readGray", "tunedParser")),
        ("saving a table file", "tuned printer", (AT_MOST, 2), ("writeGray", "tunedPrinter")),
    ],
    "shading_benchmark": [
        ("shading, full range, SSE2", "memory moved", (AT_MOST, 3), ("compute/full_range_sse2", "moveMemory/read_once")),
        ("shading, full range, AVX2", "memory moved", (AT_MOST, 2.1), ("compute/full_range_avx2", "moveMemory/read_once")),
        ("shading, maximum, SSE2", "memory moved", (AT_MOST, 3), ("compute/maximum_sse2", "moveMemory/read_twice")),
        ("shading, maximum, AVX2", "memory moved", (AT_MOST, 2.1), ("compute/maximum_avx2", "moveMemory/read_twice")),
        ("shading, mean, SSE2", "memory moved", (AT_MOST, 3.2), ("compute/mean_sse2", "moveMemory/read_twice")),
        ("shading, mean, AVX2", "memory moved", (AT_MOST, 3.2), ("compute/mean_avx2", "moveMemory/read_twice")),
        ("shading, maximum with defects, SSE2", "memory moved", (AT_MOST, 3),
         ("compute/maximum_defects_sse2", "moveMemory/read_twice")),
        ("shading, maximum with defects, AVX2", "memory moved", (AT_MOST, 2),
         ("compute/maximum_defects_avx2", "moveMemory/read_twice")),
        ("shading, noise, maximum, SSE2", "memory moved", None, ("compute/noise_maximum_sse2", "moveMemory/noise_read_twice")),
        ("shading, noise, maximum, AVX2", "memory moved", None, ("compute/noise_maximum_avx2", "moveMemory/noise_read_twice")),
        ("shading, the plain loop", "memory moved", None, ("plainLoop", "moveMemory/read_twice")),
        ("writing a coefficient image", "the bytes written plainly", (AT_MOST, 1.2), ("coefficientImage", "plainBytes")),
    ],
    "shading_apply_benchmark": [
        ("applying shading settings, full range", "reading and writing the files", (AT_MOST, 1.5),
         ("applySettings/full_range", "ratio_without_design")),
        ("applying shading settings, maximum", "reading and writing the files", (AT_MOST, 1.5),
         ("applySettings/maximum", "ratio_without_design")),
        ("applying shading settings, mean", "reading and writing the files", (AT_MOST, 1.5),
         ("applySettings/mean", "ratio_without_design")),
    ],
    "image_path_benchmark": [
        ("image path 1024 x 1024, SSE2", "frames of OpenCV", (AT_LEAST, 1.4), ("imagePath/1024", "baseline_ratio")),
        ("image path 1024 x 1024, AVX2", "frames of OpenCV", (AT_LEAST, 1.8), ("imagePath/1024", "avx2_ratio")),
        ("image path 8192 x 8192, SSE2", "frames of OpenCV", (AT_LEAST, 1.4), ("imagePath/8192", "baseline_ratio")),
        ("image path 8192 x 8192, AVX2", "frames of OpenCV", (AT_LEAST, 1.8), ("imagePath/8192", "avx2_ratio")),
    ],
}


def run(program):
    """The results of a benchmark program: for each benchmark the best of its repetitions."""
    command = [str(program), "--benchmark_format=json", f"--benchmark_repetitions={REPETITIONS}"]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    best = {}
    for result in json.loads(output)["benchmarks"]:
        if result["run_type"] == "iteration":
            name = result["run_name"].split("/iterations")[0].split("/manual_time")[0]
            best.setdefault(name, []).append(result)
    return best


def ratio(results, way, goal):
    first, second = way
    if second in results:
        return min(r["cpu_time"] for r in results[first]) / min(r["cpu_time"] for r in results[second])
    best = max if goal is not None and goal[0] == AT_LEAST else min
    return best(r[second] for r in results[first])


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    missed = 0
    print("| What | Beside | Ratio | Goal |\n|---|---|---|---|")
    for program, rows in ROWS.items():
        if not (folder / program).exists():
            print(f"{program} was not built", file=sys.stderr)
            continue
        results = run(folder / program)
        for what, beside, goal, way in rows:
            if not all(name in results for name in way if name == way[0]):
                continue  # no AVX2 here
            value = ratio(results, way, goal)
            holds = goal is None or (value <= goal[1] if goal[0] == AT_MOST else value >= goal[1])
            missed += not holds
            told = "" if goal is None else f"{goal[0]} {goal[1]:g}" + ("" if holds else ", missed")
            print(f"| {what} | {beside} | {value:.2f} | {told} |", flush=True)
    sys.exit(missed > 0)


if __name__ == "__main__":
    main()
