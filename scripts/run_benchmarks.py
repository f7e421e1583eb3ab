#!/usr/bin/env python3
"""run_benchmarks.py [--build FOLDER] [--rounds N] [SUBJECT ...]: the benchmarks beside what a user
would take instead, as one table.

Runs bench_SUBJECT of a release build (all of them without a name), its rows in random order over N
rounds, and prints the least time of each row. Rows of one task, those whose names begin with the
same word and that have the same arguments, stand together, with their times relative to the first."""
import argparse
import json
import pathlib
import subprocess
import sys

UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
GIVEN = {"cpu_time", "real_time", "iterations", "repetitions", "repetition_index", "threads",
         "family_index", "per_family_instance_index", "items_per_second", "bytes_per_second"}


def least_rows(program, rounds, seconds):
    """By the rows' names, in the order of the program: the least time, in seconds, and what else
    that round has counted."""
    command = [program, f"--benchmark_repetitions={rounds}", f"--benchmark_min_time={seconds}",
               "--benchmark_enable_random_interleaving=true", "--benchmark_format=json"]
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if run.returncode != 0:
        sys.exit(f"{program} ended with {run.returncode}\n{run.stderr}")
    least = {}
    for row in json.loads(run.stdout)["benchmarks"]:
        if row["run_type"] != "iteration" or "error_occurred" in row:
            continue
        name = row["run_name"]
        measured = "real_time" if "_time" in name.rpartition("/")[2] else "cpu_time"
        time = row[measured] * UNITS[row["time_unit"]]
        counted = {key: value for key, value in row.items()
                   if isinstance(value, (int, float)) and key not in GIVEN}
        key = (row["family_index"], row["per_family_instance_index"], name)
        if key not in least or time < least[key][0]:
            least[key] = (time, counted)
    return {key[2]: least[key] for key in sorted(least)}


def task_of(name):
    """The first word of a row's name, and its arguments."""
    title, _, arguments = name.partition("/")
    return title.partition("<")[0].split("_")[0], arguments


def show(rows):
    tasks = {}
    for name in rows:
        tasks.setdefault(task_of(name), []).append(name)
    width = max(map(len, rows), default=0)
    for names in tasks.values():
        first = rows[names[0]][0]
        for name in names:
            time, counted = rows[name]
            beside = "" if name == names[0] else f"{time / first:.2f}"
            counts = "  ".join(f"{key} {value:.4g}" for key, value in counted.items())
            print(f"  {name:{width}} {1e6 * time:14.3f} us {beside:>8}  {counts}".rstrip())


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition(":")[2])
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/release"))
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--seconds", type=float, default=0.1, help="of a row in a round, at least")
    parser.add_argument("subjects", nargs="*", metavar="SUBJECT")
    wanted = parser.parse_args()
    folder = wanted.build / "bench"
    programs = [folder / f"bench_{subject}" for subject in wanted.subjects]
    if not programs:
        programs = sorted(p for p in folder.glob("bench_*") if p.is_file())
    missing = [str(p) for p in programs if not p.is_file()]
    if missing or not programs:
        sys.exit(f"{', '.join(missing) or folder}: no such benchmark; "
                 f"cmake --preset release && cmake --build {wanted.build} --target bench")
    for program in programs:
        print(program.name, flush=True)
        show(least_rows(program, wanted.rounds, wanted.seconds))


if __name__ == "__main__":
    main()
