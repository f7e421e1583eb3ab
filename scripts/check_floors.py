#!/usr/bin/env python3
"""check_floors.py: fails when an #include of the library points to a higher floor, when files include
each other in a circle, or when a public header includes an internal one (under detail/), which is
not installed. docs/architecture.md tells the floors."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FLOORS = ["platform", "frame", "numerics", "transforms", "wireframe", "curves", "planar", "surfaces",
          "measure"]
GROUND = {"velm/fwd.h", "velm/version.h", "velm/export.h"}
INCLUDE = re.compile(r'^\s*#\s*include\s*["<](velm/[^">]+)[">]', re.MULTILINE)


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
    if "store" in (here, there):  # beside the floors: stands on frame, carries only measure
        return (here, there) == ("store", "store") or here == "measure" or (
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


def main():
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
    for fault in faults:
        print(fault)
    print(f"floors: {len(arrows)} files, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
