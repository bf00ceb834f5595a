#!/usr/bin/env python3
"""Turns the figures of bench-run.py into a table of ratios.

  bench-report.py RESULTS.json [DOCS-FOLDER]

Prints the table. With DOCS-FOLDER, and when nothing was filtered out, writes benchmarks.md and load-time.svg there.
"""
import json
import math
import os
import pathlib
import statistics
import subprocess
import sys
import textwrap
import time

PACKAGES = ("libpugixml-dev", "libxml2-dev", "libexpat1-dev", "g++", "libc6")

# title, our figure, what it is held against, how to read the ratio, target of the geometric mean, of the worst case
FASTER = "as fast"  # peer / ours, at least
ATMOST = "times"  # ours / peer, at most
AGAIN = ", memory kept"
ROWS = [
    ("`LoadFromFile` against pugixml `load_file`", "load/parvel/files", "load/pugixml/files", FASTER, 3.8, 1.4),
    ("`LoadFromFile` against pugixml" + AGAIN, "load_again/parvel/files", "load_again/pugixml/files", FASTER, 3.8, 1.4),
    ("`LoadFromFile` against libxml2's tree", "load/parvel/files", "load/libxml2/files", FASTER, 20, None),
    ("`LoadFromFile` against libxml2" + AGAIN, "load_again/parvel/files", "load_again/libxml2/files", FASTER, 20, None),
    ("`LoadFromFile` against reading and one validating pass, no objects", "load/parvel/files", "load/limit/files",
     ATMOST, 1.15, None),
    ("`LoadFromFile` against reading the file alone", "load/parvel/files", "load/read/files", ATMOST, 1.5, None),
    ("load and full walk against pugixml", "load_walk/parvel/files", "load_walk/pugixml/files", FASTER, 2.2, 1.2),
    ("load and full walk against pugixml" + AGAIN, "load_walk_again/parvel/files", "load_walk_again/pugixml/files",
     FASTER, 2.2, 1.2),
    ("first answer from 100 MB against pugixml", "first_answer/parvel/files", "first_answer/pugixml/files", FASTER, 5,
     None),
    ("memory after load against pugixml", "memory_loaded/parvel/files", "memory_loaded/pugixml/files", ATMOST, 0.35,
     None),
    ("memory after full walk against pugixml", "memory_walked/parvel/files", "memory_walked/pugixml/files", ATMOST,
     0.65, None),
    ("release of an untouched document, in ms", "release_untouched/parvel/files", 1e6, ATMOST, None, 0.1),
    ("release of an untouched document, in ms" + AGAIN, "release_untouched_again/parvel/files", 1e6, ATMOST, None, 0.1),
    ("release of an untouched document against freeing one block of its size", "release_untouched/parvel/files",
     "release_untouched/one_block/files", ATMOST, None, None),
    ("release of a walked document against its load", "release_walked/parvel/files", "load/parvel/files", ATMOST, None,
     0.25),
    ("release of a walked document against its load" + AGAIN, "release_walked_again/parvel/files",
     "load_again/parvel/files", ATMOST, None, 0.25),
    ("load of documents up to 16 KB against pugixml", "load/parvel/small", "load/pugixml/small", ATMOST, 0.75, None),
    ("`GetAttribute`, 1 to 16 attributes, against pugixml", "attribute/parvel/count", "attribute/pugixml/count",
     ATMOST, None, 1.0, ("1", "4", "16")),
    ("`GetAttribute`, 1000 attributes, against pugixml", "attribute/parvel/count", "attribute/pugixml/count", FASTER,
     20, None, ("1000",)),
    ("`SaveToFile` unedited against one write of the same bytes", "save/parvel/files", "save/one_write/files", ATMOST,
     1.3, None),
    ("one edit and `SaveToFile` against pugixml `save_file`", "edit_save/parvel/files", "edit_save/pugixml/files",
     FASTER, 1.6, None),
    ("the same against pugixml without indentation", "edit_save/parvel/files", "edit_save/pugixml_raw/files", FASTER,
     None, None),
    ("`ExportToXml` against pugixml building by calls and saving", "export/parvel/files", "export/pugixml/files",
     FASTER, 1, None),
    ("`ExportToXml` against libxml2 building by calls and saving", "export/parvel/files", "export/libxml2/files",
     FASTER, 1, None),
    ("`TransXml2Bin` against expat with counting handlers", "convert/parvel/files", "convert/expat/files", ATMOST, 1.8,
     None),
    ("`Clone` of a document against its load and walk", "clone/parvel/files", "load_walk/parvel/files", ATMOST, 1,
     None),
    ("the same of a document whose root is edited", "clone_edited/parvel/files", "load_walk/parvel/files", ATMOST, None,
     None),
    ("`IsEqual` of documents against load and walk of one", "compare/parvel/files", "load_walk/parvel/files", ATMOST,
     1, None),
    ("the same of two whose roots are edited", "compare_edited/parvel/files", "load_walk/parvel/files", ATMOST, None,
     None),
    ("script result: list of 1,000,000 items against `memchr` and one copy" + AGAIN,
     "script_million_again/parvel/items", "script_million_again/look_and_copy/items", ATMOST, 3, None),
]

GROWTH_LIMIT = 2.2  # time(2n) / time(n)
GROWTHS = [
    ("load", "load/parvel/series"), ("(pugixml: load)", "load/pugixml/series"),
    ("load and walk", "load_walk/parvel/series"),
    ("release, walked", "release_walked/parvel/series"), ("save", "save/parvel/series"),
    ("save after one edit", "edit_save/parvel/series"), ("export", "export/parvel/series"),
    ("convert", "convert/parvel/series"), ("clone", "clone/parvel/series"), ("compare", "compare/parvel/series"),
    ("memory, loaded", "memory_loaded/parvel/series"), ("memory, walked", "memory_walked/parvel/series"),
    ("script: list", "script_list/parvel/bytes"), ("script: lines", "script_lines/parvel/bytes"),
    ("script: quoted item", "script_quoted/parvel/bytes"),
    ("(`memchr` and one copy of that)", "script_quoted/look_and_copy/bytes"),
    ("append a child", "edit_append/parvel/count"), ("remove the first child", "edit_remove_front/parvel/count"),
    ("remove the last child", "edit_remove_back/parvel/count"),
    ("set an attribute each", "edit_set_attributes/parvel/count"),
    ("set many on one", "edit_set_on_one/parvel/count"), ("clone a node", "edit_clone/parvel/count"),
    ("compare nodes", "edit_compare/parvel/count"), ("rebuild and save", "edit_rebuild/parvel/count"),
]

# Why a figure may miss its target: what stands in the way, by the name of ours. Shares of time are what `perf` shows.
PAGES = ("the system's making of pages for the block that the file is read into, about half of a load's time and more. "
         "The row with memory kept shows the rest")
MISSES = {
    "load/parvel/files": PAGES + ".",
    "load_walk/parvel/files": "the pages of the block and of the nodes, 40 bytes each: about half of the time.",
    "load_walk_again/parvel/files": "new pages cost pugixml more than Parvel. What is left is the walk: calls through "
    "interfaces, which no compiler puts in line, and texts of two bytes a character from all over the dictionary.",
    "first_answer/parvel/files": PAGES + ". Reading 100 MB takes most of the time by itself.",
    "release_untouched/parvel/files": "giving the pages back to the system, which takes as long for one block of that "
    "size. The row with memory kept shows the rest.",
    "release_walked/parvel/files": "giving the pages of the block and of the nodes back to the system. The row with "
    "memory kept shows the rest.",
    "edit_save/parvel/files": "what a save without an edit costs, nearly all of it the system's writing: most of the "
    "time in drawings, since UTF-16 doubles their text.",
    "load/parvel/series": "a step at which pages become dearer; pugixml's worst step is like it.",
    "release_walked/parvel/series": "a step at which giving pages back becomes dearer.",
    "edit_compare/parvel/count": "where the trees outgrow the processor's cache.",
    "save/parvel/series": "where the file outgrows the processor's cache, so that what is written comes from memory.",
    "compare/parvel/series": "where two documents outgrow the processor's cache: comparing is nothing but reading.",
    "script_list/parvel/bytes": "pages again: reading the text once and copying it grows alike.",
    "script_quoted/parvel/bytes": "pages again: reading the text once and copying it grows alike.",
    "attribute/parvel/count": "a call through an interface, and several reads that wait for each other.",
}


class Results:
    """Medians by name; `pick` chooses something else than the median."""

    def __init__(self, raw, pick=statistics.median):
        self.values = {}
        self.failed = set()
        for entry in raw["figures"]:
            if "error" in entry or not entry["times"]:
                self.failed.add(entry["name"])
            else:
                self.values[entry["name"]] = pick(entry["times"])
        for entry in raw["memory"]:
            self.values[entry["name"]] = entry["heap"]

    def cases(self, prefix):
        """Values of all cases below a name, or None when one of them failed."""
        if any(name.startswith(prefix + "/") for name in self.failed):
            return None
        return {name[len(prefix) + 1:]: value for name, value in self.values.items() if name.startswith(prefix + "/")}


def size_of(case):
    return float(case.removesuffix("MB.xml"))


def number(value):
    if value >= 100:
        return f"{value:.0f}"
    return f"{value:.1f}" if value >= 10 else f"{value:.2f}" if value >= 0.1 else f"{value:.2g}"


def row_of(results, title, ours_name, peer_name, kind, target, worst_target, only=None):
    """[title, measured, worst case, target, met] or None when it was not measured."""
    ours = results.cases(ours_name)
    peer = results.cases(peer_name) if isinstance(peer_name, str) else {case: peer_name for case in ours or {}}
    targets = []
    if target is not None:
        targets.append(f"{'at least' if kind == FASTER else 'at most'} {target:g}")
    if worst_target is not None:
        targets.append(f"{'none under' if kind == FASTER else 'none over'} {worst_target:g}")
    wanted = ", ".join(targets) or "-"
    if ours is None or peer is None:
        return [title, "no figure: the operation failed", "", wanted, "no"]
    cases = [case for case in ours if case in peer and (only is None or case in only)]
    if not cases:
        return None
    ratios = {case: peer[case] / ours[case] if kind == FASTER else ours[case] / peer[case] for case in cases}
    mean = statistics.geometric_mean(ratios.values())
    worst = (min if kind == FASTER else max)(ratios, key=ratios.get)
    isMet = all(limit is None or (value >= limit if kind == FASTER else value <= limit)
                for value, limit in ((mean, target), (ratios[worst], worst_target)))
    met = "-" if not targets else "yes" if isMet else "no"
    digits = f"{mean:.3f}" if not isMet and target is not None and number(mean) == number(target) else number(mean)
    measured = digits + (" times as fast" if kind == FASTER else "")
    return [title, measured, f"{number(ratios[worst])} ({worst})" if len(cases) > 1 else "", wanted, met]


def growth_of(results, title, name):
    values = results.cases(name)
    if values is None:
        return [title, "no figure: the operation failed", "", "", "no"]
    if not values:
        return None
    points = sorted((size_of(case), value) for case, value in values.items())
    unit = {"series": "MB", "bytes": "bytes", "count": "nodes"}[name.split("/")[-1]]
    steps = [((v2 / v1) ** (math.log(2) / math.log(n2 / n1)), n1, n2)
             for (n1, v1), (n2, v2) in zip(points, points[1:])]
    (first, low), (last, high) = points[0], points[-1]
    whole = (high / low) ** (math.log(2) / math.log(last / first))
    worst, n1, n2 = max(steps)
    at = f"{number(worst)} ({n1:,g} to {n2:,g} {unit})"
    if title.startswith("("):
        return [title, number(whole), at, "-", "-"]
    return [title, number(whole), at, f"below {GROWTH_LIMIT}", "yes" if worst < GROWTH_LIMIT else "no"]


def misses(rows, growth):
    """A list of what is missed, and why."""
    specs = {spec[0]: spec[1] for spec in ROWS + GROWTHS}
    lines = []
    for row in [*rows, *growth]:
        if row[-1] != "no":
            continue
        name = specs[row[0]]
        if name not in MISSES:
            print(f"nobody has said why this is missed: {row[0]}", file=sys.stderr)
        title = f"growth of {row[0]}" if row in growth else row[0]
        lines.append(f"- {title}: {MISSES.get(name, 'not known yet.')}")
    wrapped = [textwrap.fill(line, 120, subsequent_indent="  ", break_on_hyphens=False) for line in lines]
    return "\n".join(wrapped or ["Nothing."]) + "\n"


def table(heads, rows):
    lines = ["| " + " | ".join(heads) + " |", "| " + " | ".join("---" for _ in heads) + " |"]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


def bytes_per_node(raw):
    nodes = {entry["name"]: entry for entry in raw["memory"]}
    rows = []
    for name, entry in nodes.items():
        if not name.startswith("memory_walked/parvel/files") or not entry["nodes"]:
            continue
        loaded = nodes[name.replace("walked", "loaded")]["heap"]
        rows.append([name.split("/")[-1], f"{entry['nodes']:,}", number(loaded / entry["nodes"]),
                     number((entry["heap"] - loaded) / entry["nodes"]), number(entry["heap"] / entry["nodes"])])
    return rows


def times_by_file(results):
    """Medians in ms of what is loaded, walked, saved and converted, one row a file."""
    columns = ["load/parvel", "load/read", "load/limit", "load/pugixml", "load/libxml2", "load_walk/parvel",
               "load_walk/pugixml", "save/parvel", "edit_save/parvel", "edit_save/pugixml", "convert/parvel",
               "convert/expat"]
    cases = sorted(results.cases("load/parvel/files") or {})
    value = results.values.get
    rows = [[case] + [number(value(f"{column}/files/{case}", 0) / 1e6) for column in columns] for case in cases]
    return ["file"] + [column.replace("/", " ") for column in columns], rows


def machine(raw):
    model = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")), "?")
    versions = subprocess.run(["dpkg-query", "-W", "-f", "${Package} ${Version}\n", *PACKAGES], capture_output=True,
                              text=True).stdout.split("\n")
    versions = dict.fromkeys(versions)  # of several architectures once
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    return f"{model}, {raw['context']['num_cpus']} cores, {memory:.0f} GiB", ", ".join(filter(None, versions))


def document(raw, results, rows, growth):
    name, versions = machine(raw)
    commit = subprocess.run(["git", "describe", "--always", "--dirty"], capture_output=True, text=True).stdout.strip()
    heads, times = times_by_file(results)
    return f"""# How fast Parvel is

Made by `make bench`, which measures Parvel and its peers on the same files in the same run. A figure is the ratio of
two medians, over repetitions in random order; over several files it is the geometric mean, with the worst file beside
it. Times are processor time, user and system; files are warm, what is written goes to memory, and each operation on a
document finds fresh memory, as in a host that opens its first one. Where it says "memory kept", the host has done the
same before, with a `malloc` that keeps all that is freed (`M_MMAP_MAX` 0, no trimming): no page is new, for anybody;
each contender then has a process of its own. Memory is what `malloc` has handed out, one process a measurement. Reading
alone, and reading with one look at every word and record, go the way of a load: pages made ahead, a piece at a time.
Parvel is built as `make` builds it, with -O3; the others are Debian's packages.

- Machine: {name}
- Date: {time.strftime("%Y-%m-%d")}, at {commit}; the run took {raw["seconds"] / 60:.0f} minutes; load average when it \
began: {raw["load"]:.1f}
- Versions: {versions}

The files are made by `scripts/bench-corpus.py` from what Debian packages bring: interface descriptions
(interfaces.gir), the mime database, locale data (many small nodes), a dictionary, a handbook in many languages (rich in
text), drawings, and 100 MB of all of them.

{table(["figure", "measured", "worst", "target", "met"], rows)}
## What is missed, and by what

{misses(rows, growth)}
## Growth

By how much time or memory grows when the input doubles: over the whole range, and at the worst step; from the fastest
repetitions. In brackets, for comparison, what others need on the same inputs. Documents and script results of 1.6 to
100 MB, edits of 1,000 to 1,000,000 nodes.

{table(["what", "whole range", "worst step", "target", "met"], growth)}
## Bytes per node

{table(["file", "nodes", "loaded", "added by the walk", "together"], bytes_per_node(raw))}
## Times

Medians in milliseconds. They depend on the machine, the ratios above far less so; what a page of fresh memory costs
shows in both, and is much on a virtual machine.

{table(heads, times)}
![Time to load over the size of the XML file](load-time.svg)
"""


PLOT_LINES = [("libxml2", "#b35900"), ("pugixml", "#5b5ea6"), ("parvel", "#00796b")]


def plot(results):
    """Load time over size, both logarithmic."""
    width, height, left, top, right, bottom = 720, 440, 80, 30, 110, 60
    series = {who: sorted((size_of(case), value / 1e6) for case, value in
                          (results.cases(f"load/{who}/series") or {}).items()) for who, _ in PLOT_LINES}
    sizes = [size for points in series.values() for size, _ in points]
    values = [value for points in series.values() for _, value in points]
    x_range = (math.log10(min(sizes)), math.log10(max(sizes)))
    y_range = (math.floor(math.log10(min(values))), math.ceil(math.log10(max(values))))

    def x(size):
        return left + (math.log10(size) - x_range[0]) / (x_range[1] - x_range[0]) * (width - left - right)

    def y(value):
        return height - bottom - (math.log10(value) - y_range[0]) / (y_range[1] - y_range[0]) * (height - top - bottom)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif" '
             'font-size="13">', f'<rect width="{width}" height="{height}" fill="#fff"/>']
    for exponent in range(y_range[0], y_range[1] + 1):
        at = y(10**exponent)
        parts.append(f'<path d="M{left} {at:.1f}H{width - right}" stroke="#ddd"/>'
                     f'<text x="{left - 8}" y="{at + 4:.1f}" text-anchor="end">{10**exponent:g} ms</text>')
    for size in (2, 5, 10, 20, 50, 100):
        parts.append(f'<path d="M{x(size):.1f} {top}V{height - bottom}" stroke="#eee"/>'
                     f'<text x="{x(size):.1f}" y="{height - bottom + 18}" text-anchor="middle">{size}</text>')
    for who, colour in PLOT_LINES:
        line = " ".join(f"{x(size):.1f},{y(value):.1f}" for size, value in series[who])
        parts.append(f'<polyline points="{line}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts += [f'<circle cx="{x(size):.1f}" cy="{y(value):.1f}" r="3" fill="{colour}"/>' for size, value in
                  series[who]]
        size, value = series[who][-1]
        parts.append(f'<text x="{x(size) + 10:.1f}" y="{y(value) + 4:.1f}" fill="{colour}">{who}</text>')
    parts.append(f'<text x="{(left + width - right) / 2}" y="{height - 15}" text-anchor="middle">size of the XML file, '
                 'MB</text>')
    parts.append(f'<text x="{left}" y="{top - 10}">time to load</text></svg>\n')
    return "\n".join(parts)


def main():
    raw = json.load(open(sys.argv[1]))
    results = Results(raw)
    rows = [row for row in (row_of(results, *spec) for spec in ROWS) if row]
    fastest = Results(raw, min)  # a small step in size is easily lost in what else the machine does
    growth = [row for row in (growth_of(fastest, *spec) for spec in GROWTHS) if row]
    print(table(["figure", "measured", "worst", "target", "met"], rows))
    if growth:
        print(table(["growth per doubling", "whole range", "worst step", "target", "met"], growth))
    if len(sys.argv) > 2 and not raw["filter"]:
        docs = pathlib.Path(sys.argv[2])
        (docs / "benchmarks.md").write_text(document(raw, results, rows, growth))
        (docs / "load-time.svg").write_text(plot(results))


if __name__ == "__main__":
    main()
