#!/usr/bin/env python3
"""check_floors.py: fails when an #include of the library or of velm-inspect points to a higher floor,
when files include each other in a circle, or when a public header includes an internal one (under
detail/), which is not installed. In the program a header and its source count as one, so that no two
modules need each other. docs/architecture.md lists the floors."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FLOORS = ["platform", "frame", "numerics", "transforms", "wireframe", "curves", "planar", "surfaces",
          "measure", "inspection"]
GROUND = {"velm/fwd.h", "velm/version.h", "velm/export.h"}
INCLUDE = re.compile(r'^\s*#\s*include\s*["<](velm/[^">]+)[">]', re.MULTILINE)

PROGRAM = "apps/inspect"
PROGRAM_FLOORS = ["base", "result", "input", "keep", "picture", "report", "inspection", "command"]
PROGRAM_ROOF = "main"
PROGRAM_INCLUDE = re.compile(r'^\s*#\s*include\s*"inspect/([^"]+)\.h"', re.MULTILINE)


def is_roof(file):
    """velm/velm.h and the headers of tasks, velm/fit.h ..."""
    return file.count("/") == 1 and file not in GROUND


def may_include(source, target):
    """Whether an arrow from source to target is allowed."""
    if target in GROUND:
        return source not in GROUND
    if source in GROUND or is_roof(target) and not is_roof(source):
        return False
    if is_roof(source):
        return True
    here, there = source.split("/")[1], target.split("/")[1]
    if "store" in (here, there):  # beside the floors: on frame, below measure and inspection
        return (here, there) == ("store", "store") or here in ("measure", "inspection") or (
            here == "store" and FLOORS.index(there) <= FLOORS.index("frame"))
    return FLOORS.index(there) <= FLOORS.index(here)


def find_circle(arrows):
    """A list of files that include each other in a circle, or None."""
    done, path = set(), []

    def visit(file):
        if file in path:
            return path[path.index(file):] + [file]
        if file in done:
            return None
        path.append(file)
        for target in arrows.get(file, []):
            circle = visit(target)
            if circle:
                return circle
        path.pop()
        done.add(file)
        return None

    return next((circle for file in sorted(arrows) if (circle := visit(file))), None)


def check_library():
    """The faults of the library, and how many files it has."""
    faults, arrows = [], {}
    for path in sorted((ROOT / "velm").rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        source = path.relative_to(ROOT).as_posix()
        arrows[source] = INCLUDE.findall(path.read_text())
        parts = source.split("/")
        if len(parts) > 2 and parts[1] not in FLOORS + ["store"]:
            faults.append(f"{source}: '{parts[1]}' is no floor")
            continue
        for target in arrows[source]:
            if not (ROOT / target).exists():
                faults.append(f"{source}: includes {target}, which does not exist")
            elif not may_include(source, target):
                faults.append(f"{source}: the include of {target} points up")
            elif "/detail/" in target and source.endswith(".h") and "/detail/" not in source:
                faults.append(f"{source}: a public header includes the internal {target}")
    circle = find_circle(arrows)
    if circle:
        faults.append("files include each other in a circle: " + " -> ".join(circle))
    return faults, len(arrows)


def check_program():
    """The faults of velm-inspect, and how many files it has."""
    faults, arrows, files = [], {}, 0
    for path in sorted((ROOT / PROGRAM).rglob("*")):
        module = path.relative_to(ROOT / PROGRAM).with_suffix("").as_posix()
        if path.suffix not in (".h", ".cpp") or module.startswith("demo/"):
            continue
        files += 1
        floor = module.split("/")[0]
        if floor not in PROGRAM_FLOORS + [PROGRAM_ROOF]:
            faults.append(f"{PROGRAM}/{module}: '{floor}' is no floor of the program")
            continue
        for target in PROGRAM_INCLUDE.findall(path.read_text()):
            if target == module:
                continue
            arrows.setdefault(module, set()).add(target)
            there = target.split("/")[0]
            if floor != PROGRAM_ROOF and (
                    there not in PROGRAM_FLOORS or
                    PROGRAM_FLOORS.index(there) > PROGRAM_FLOORS.index(floor)):
                faults.append(f"{PROGRAM}/{module}{path.suffix}: the include of {target} points up")
    circle = find_circle({module: sorted(targets) for module, targets in arrows.items()})
    if circle:
        faults.append(f"{PROGRAM}: modules need each other: " + " -> ".join(circle))
    return faults, files


def main():
    library, library_files = check_library()
    program, program_files = check_program()
    for fault in library + program:
        print(fault)
    print(f"floors: {library_files} files of the library, {program_files} of the program, "
          f"{len(library + program)} faults")
    return 1 if library or program else 0


if __name__ == "__main__":
    sys.exit(main())
