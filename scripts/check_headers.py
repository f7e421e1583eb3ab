#!/usr/bin/env python3
"""check_headers.py [COMPILER]: every header compiles alone and begins with #pragma once after its
first comment, and velm/velm.h reaches every public one."""
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion",
         "-Werror", "-ffp-contract=off", "-I", str(ROOT), "-x", "c++"]
INCLUDE = re.compile(r'^\s*#\s*include\s*["<](velm/[^">]+)[">]', re.MULTILINE)


def compile_alone(compiler, header):
    """The compiler's complaints about a file that holds only an include of the header, twice."""
    source = f'#include "{header}"\n#include "{header}"\n'
    run = subprocess.run([compiler, *FLAGS, "-"], input=source, capture_output=True, text=True,
                         check=False)
    return run.stderr if run.returncode else ""


def reachable(start):
    """Every header that an include of start brings in."""
    seen, waiting = set(), [start]
    while waiting:
        header = waiting.pop()
        if header not in seen:
            seen.add(header)
            waiting += INCLUDE.findall((ROOT / header).read_text())
    return seen


def main():
    compiler = sys.argv[1] if len(sys.argv) > 1 else os.environ.get("CXX", "g++")
    headers = sorted(p.relative_to(ROOT).as_posix() for p in (ROOT / "velm").rglob("*.h"))
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
    public = {header for header in headers if "/detail/" not in header}
    faults += [f"velm/velm.h does not reach {header}"
               for header in sorted(public - reachable("velm/velm.h"))]
    for fault in faults:
        print(fault)
    print(f"headers: {len(headers)} compiled alone with {compiler}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
