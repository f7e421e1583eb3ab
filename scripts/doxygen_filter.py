#!/usr/bin/env python3
"""doxygen_filter.py HEADER: prints a header as Doxygen reads it. The first comment becomes the
description of the file, and what the header declares joins the group of its task: the first header
under velm/ itself that includes it (velm/fit.h ...), otherwise the group of its floor."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'^#include "(velm/[^"]+)"', re.MULTILINE)
# In the order of precedence: a header that serves two tasks is listed under the first.
TASKS = ["fit", "align", "compare", "region", "store", "archive", "transform",
         "inspect"]


def group_of(header):
    for task in TASKS:
        if header in INCLUDE.findall((ROOT / f"velm/{task}.h").read_text()):
            return task
    parts = header.split("/")
    return parts[1] if len(parts) > 2 else None


def main():
    path = pathlib.Path(sys.argv[1])
    lines = path.read_text().splitlines()
    header = path.resolve().relative_to(ROOT).as_posix()
    about = 0
    while about < len(lines) and lines[about].startswith("//"):
        about += 1
    print("/// \\file")
    for line in lines[:about]:  # no Doxygen commands in there
        print("///" + line[2:].replace("\\", "\\\\"))
    body = lines[about:]
    group = group_of(header)
    last = max((i for i, line in enumerate(body) if line.startswith("#include")), default=0)
    for i, line in enumerate(body):
        print(line)
        if group and i == last:
            print(f"/// \\addtogroup {group}\n/// @{{")
    if group:
        print("/// @}")


if __name__ == "__main__":
    main()
