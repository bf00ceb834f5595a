#!/usr/bin/env python3
"""Runs the benchmarks and gathers their figures in one JSON file.

  bench-run.py BUILD-FOLDER OUT.json [FILTER]

One process for each figure group and case, so that what is compared runs side by side, with its repetitions in random
order; where malloc is to keep memory, one for each contender. Memory is measured with one process a figure. FILTER is a
regular expression on names: <figure>/<contender>/<case>.
"""
import itertools
import json
import os
import re
import subprocess
import sys
import tempfile
import time

# Figures that are compared with each other run in one process, all others by themselves.
GROUPS = {
    "load_walk": "walk", "first_answer": "walk", "clone": "walk", "compare": "walk",
    "clone_edited": "walk", "compare_edited": "walk",
    "save": "save", "edit_save": "save",
}
REPETITIONS = {"files": 7, "small": 15, "series": 9, "bytes": 9, "count": 5}
OTHER_REPETITIONS = 5
LEAST_SECONDS = {"small": 0.05, "series": 0.02}
OTHER_LEAST_SECONDS = 0.02
MEMORY_STAGES = ("loaded", "walked")


def names_of(program):
    """(figure, contender, set, case) of every benchmark."""
    listing = subprocess.run([program, "--benchmark_list_tests"], check=True, capture_output=True, text=True).stdout
    return [tuple(line.split("/")[:4]) for line in listing.split()]


def group_of(name):
    figure, contender, case_set, case = name
    group = GROUPS.get(figure, figure)
    if figure.endswith("_again"):  # malloc keeps what it has freed itself, not what another one has
        group = f"{figure} {contender}"
    return (group, case_set, case if case_set in ("files", "small", "items") else "")


def run_group(program, group, names):
    figures = sorted({name[0] for name in names})
    contenders = sorted({name[1] for name in names})
    cases = sorted({f"{name[2]}/{name[3]}" for name in names})
    alternatives = ["|".join(part).replace(".", "[.]") for part in (figures, contenders, cases)]
    case_set = group[1]
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        subprocess.run(
            [program, "--benchmark_filter=^({})/({})/({})(/|$)".format(*alternatives),
             f"--benchmark_repetitions={REPETITIONS.get(case_set, OTHER_REPETITIONS)}",
             f"--benchmark_min_time={LEAST_SECONDS.get(case_set, OTHER_LEAST_SECONDS)}",
             "--benchmark_enable_random_interleaving=true", f"--benchmark_out={out.name}",
             "--benchmark_out_format=json"],
            check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return json.load(open(out.name))


def figures_of(report):
    """One entry a benchmark, with the times of its repetitions in nanoseconds."""
    entries = {}
    for run in report["benchmarks"]:
        if run.get("run_type") != "iteration":
            continue
        name = "/".join(run["name"].split("/")[:4])
        entry = entries.setdefault(name, {"name": name, "times": []})
        if run.get("error_occurred"):
            entry["error"] = run["error_message"]
            continue
        # Those that time themselves do so in processor time; the others' wall clock stands still for nobody.
        is_own_clock = "/manual_time" in run["name"]
        entry["times"].append(run["real_time"] if is_own_clock else run["cpu_time"])
    return list(entries.values())


def measure_memory(program, names, pattern):
    cases = sorted({(name[2], name[3]) for name in names if name[0] == "load" and name[2] in ("files", "series")})
    entries = []
    for (case_set, case), contender, stage in itertools.product(cases, ("parvel", "pugixml"), MEMORY_STAGES):
        name = f"memory_{stage}/{contender}/{case_set}/{case}"
        if not pattern.search(name) or (case_set == "series" and contender != "parvel"):
            continue
        answer = subprocess.run([program, contender, stage, f"{case_set}/{case}"], check=True, capture_output=True,
                                text=True).stdout
        heap, resident, nodes, _ = map(int, answer.split())
        entries.append({"name": name, "heap": heap, "resident": resident, "nodes": nodes})
    return entries


def main():
    folder, out_path = sys.argv[1:3]
    pattern = re.compile(sys.argv[3] if len(sys.argv) > 3 else "")
    program = os.path.join(folder, "parvel_bench")
    names = names_of(program)
    wanted = [name for name in names if pattern.search("/".join(name))]
    start = time.time()
    load = os.getloadavg()[0]
    context = {}
    figures = []
    for group, members in itertools.groupby(sorted(wanted, key=group_of), key=group_of):
        print(f"{time.time() - start:6.1f} s  {' '.join(group)}", flush=True)
        report = run_group(program, group, list(members))
        context = report["context"]
        figures += figures_of(report)
    memory = measure_memory(os.path.join(folder, "parvel_bench_memory"), names, pattern)
    with open(out_path, "w") as out:
        json.dump({"context": context, "load": load, "filter": pattern.pattern, "seconds": time.time() - start,
                   "figures": figures, "memory": memory}, out, indent=1)
    print(f"{time.time() - start:6.1f} s  done: {out_path}")


if __name__ == "__main__":
    main()
