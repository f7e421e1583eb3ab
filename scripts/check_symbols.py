#!/usr/bin/env python3
"""check_symbols.py LIBRARY [--update]: compares what libvelm.so exports with the kept list
scripts/exported_symbols.txt, and looks at its SONAME. --update writes the list anew: read the
difference before you commit it; a line that goes breaks a host."""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
KEPT = ROOT / "scripts" / "exported_symbols.txt"
FOREIGN = re.compile(r"^(?:.* for |.*\) )?(?:std::|__gnu_cxx::|testing::|_)")
DERIVED = re.compile(r"^(typeinfo name for|(non-)?virtual thunk to|guard variable for) ")


def exported(library):
    """The demangled names of the defined dynamic symbols, without those that follow from others."""
    listing = subprocess.run(["nm", "-DC", "--defined-only", library], check=True,
                             capture_output=True, text=True).stdout
    names = {line.split(maxsplit=2)[2] for line in listing.splitlines()}
    return {name for name in names if not DERIVED.match(name)}


def soname_faults(library):
    version = re.search(r'VERSION_STRING "(\d+\.\d+)', (ROOT / "velm/version.h").read_text())
    dynamic = subprocess.run(["readelf", "-d", library], check=True, capture_output=True, text=True)
    wanted = f"Library soname: [libvelm.so.{version[1]}]"
    return [] if wanted in dynamic.stdout else [f"the library has no '{wanted}'"]


def main():
    names = exported(sys.argv[1])
    if "--update" in sys.argv:
        KEPT.write_text("".join(name + "\n" for name in sorted(names)))
        return 0
    kept = set(KEPT.read_text().splitlines())
    faults = soname_faults(sys.argv[1])
    faults += [f"not ours, but exported: {name}" for name in sorted(names) if FOREIGN.match(name)]
    faults += [f"exported, but not in the list: {name}" for name in sorted(names - kept)]
    faults += [f"in the list, but not exported: {name}" for name in sorted(kept - names)]
    for fault in faults:
        print(fault)
    print(f"symbols: {len(names)} exported, {len(faults)} faults")
    if faults:
        print(f"If that is as it should be: {sys.argv[0]} {sys.argv[1]} --update")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
