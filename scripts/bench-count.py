#!/usr/bin/env python3
"""Counts the instructions of a fixed set of operations under callgrind, and compares them with bench/counts.txt.

  bench-count.py BUILD-FOLDER COUNTS.txt [--update]

Prints old, new and percent. With --update, and when there is no COUNTS.txt yet, writes the new counts. They repeat
exactly for one compiler and one C library; that of the conversion to about 0.02 %.
"""
import pathlib
import re
import shutil
import subprocess
import sys

# The same routines of the C library on any x86-64 machine, symbols found before the start, and no other environment.
ENVIRONMENT = {"PATH": "/usr/bin:/bin", "LD_BIND_NOW": "1",
               "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2,-AVX,-ERMS,-FSRM,-SSE4_2,-SSSE3"}


def count(program, folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    counts = {}
    isDone = True
    for part in ("convert", "use"):
        profile = folder / part
        done = subprocess.run(["valgrind", "--quiet", "--tool=callgrind", f"--callgrind-out-file={profile}", program,
                               folder, part], env=ENVIRONMENT, stderr=subprocess.PIPE, text=True)
        if done.returncode != 0:
            print(done.stderr, file=sys.stderr)
            isDone = False
        for path in sorted(folder.glob(f"{part}.*"), key=lambda path: int(path.suffix[1:])):
            text = path.read_text()
            name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.M)
            if name:
                counts[name[1]] = int(re.search(r"^totals: (\d+)", text, re.M)[1])
    return counts, isDone


def main():
    build, kept = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    new, isDone = count(build / "parvel_bench_count", build / "count")
    old = {}
    if kept.exists():
        for line in kept.read_text().splitlines():
            if line and not line.startswith("#"):
                name, value = line.rsplit(maxsplit=1)
                old[name] = int(value)
    print(f"{'operation':24} {'old':>14} {'new':>14} {'change':>9}")
    for name, value in new.items():
        before = old.get(name)
        change = f"{(value / before - 1) * 100:+8.2f}%" if before else "new"
        print(f"{name:24} {before or '-':>14} {value:>14} {change:>9}")
    if "--update" in sys.argv or not kept.exists():
        compiler = subprocess.run(["g++", "--version"], capture_output=True, text=True).stdout.split("\n")[0]
        lines = [f"# Instructions by operation: make bench-count compares, make bench-count UPDATE=1 writes this file. {compiler}"]
        kept.write_text("\n".join(lines + [f"{name:24} {value:>14}" for name, value in new.items()]) + "\n")
    sys.exit(0 if isDone else 1)


if __name__ == "__main__":
    main()
