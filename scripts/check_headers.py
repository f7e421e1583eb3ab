#!/usr/bin/env python3
"""check_headers.py [COMPILER]: every header compiles alone and has #pragma once after its first
comment, and velm/velm.h includes every public one, floor by floor.

check_headers.py --write-roof writes velm/velm.h again."""
import concurrent.futures
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion",
         "-Werror", "-ffp-contract=off", "-I", str(ROOT), "-x", "c++"]
FLOORS = ["platform", "frame", "numerics", "transforms", "wireframe", "curves", "planar", "surfaces",
          "store", "measure", "inspection"]
ROOF = "velm/velm.h"
GROUND = ["velm/export.h", "velm/fwd.h", "velm/version.h"]
ROOF_HEAD = """// velm/velm.h: everything in one include.
#pragma once
"""


def compile_alone(compiler, header):
    """The compiler's complaints about a file that holds only an include of the header, twice."""
    source = f'#include "{header}"\n#include "{header}"\n'
    run = subprocess.run([compiler, *FLAGS, "-"], input=source, capture_output=True, text=True,
                         check=False)
    return run.stderr if run.returncode else ""


def roof(public):
    """The text of velm/velm.h: every public header, floor by floor. Those of a task (velm/fit.h ...)
    bring nothing of their own."""
    text = ROOF_HEAD
    for floor in ["", *FLOORS]:
        here = [h for h in public if h.startswith(f"velm/{floor}/")] if floor else GROUND
        if here:
            text += "\n" + "".join(f'#include "{header}"\n' for header in here)
    return text


def main():
    headers = sorted(p.relative_to(ROOT).as_posix() for p in (ROOT / "velm").rglob("*.h"))
    public = [header for header in headers if "/detail/" not in header]
    if sys.argv[1:] == ["--write-roof"]:
        (ROOT / ROOF).write_text(roof(public))
        return 0
    compiler = sys.argv[1] if len(sys.argv) > 1 else os.environ.get("CXX", "g++")
    faults = []
    for header in headers:
        lines = [line for line in (ROOT / header).read_text().splitlines()
                 if line and not line.startswith("//")]
        if lines[0] != "#pragma once":
            faults.append(f"{header}: #pragma once is missing after the first comment")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for header, text in zip(headers, pool.map(lambda h: compile_alone(compiler, h), headers)):
            if text:
                faults.append(f"{header}: does not compile alone\n{text}")
    if (ROOT / ROOF).read_text() != roof(public):
        faults.append(f"{ROOF} does not list every public header; run {sys.argv[0]} --write-roof")
    for fault in faults:
        print(fault)
    print(f"headers: {len(headers)} compiled alone with {compiler}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
