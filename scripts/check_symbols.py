#!/usr/bin/env python3
"""check_symbols.py LIBRARY... [--update]: compares what builds of libvelm.so export with the kept list
scripts/exported_symbols.txt, and looks at their SONAME.

A kept symbol must be in every build given. A symbol outside the list is a fault unless it is weak: an
instantiation of a template that one build emits and another one inlines. --update writes the list
anew, with what all the builds export: read the difference before you commit it; a line that goes
breaks hosts."""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
KEPT = ROOT / "scripts" / "exported_symbols.txt"
SHOWN = 40
FOREIGN = re.compile(r"_Z(TV|TI|TS|GV|Z)*N?K?(St|Sa|Ss|9__gnu_cxx|7testing)")
DERIVED = re.compile(r"^(typeinfo name for|(construction vtable|VTT|guard variable) for|(non-)?virtual thunk to) ")


def listing(library, *options):
    return subprocess.run(["nm", "-D", "--defined-only", *options, library], check=True,
                          capture_output=True, text=True).stdout.splitlines()


def exported(library):
    """Of the defined dynamic symbols: the demangled names and their kinds (those left out that follow
    from others), and the names that are not ours."""
    kinds, foreign = {}, []
    for mangled, demangled in zip(listing(library), listing(library, "-C")):
        _, kind, name = demangled.split(maxsplit=2)
        if FOREIGN.match(mangled.split()[2]):
            foreign.append(name)
        if not DERIVED.match(name):
            kinds[name] = kind
    return kinds, foreign


def soname_faults(library):
    version = re.search(r'VERSION_STRING "(\d+\.\d+)', (ROOT / "velm/version.h").read_text())
    dynamic = subprocess.run(["readelf", "-d", library], check=True, capture_output=True, text=True)
    wanted = f"Library soname: [libvelm.so.{version[1]}]"
    return [] if wanted in dynamic.stdout else [f"no '{wanted}'"]


def main():
    libraries = [argument for argument in sys.argv[1:] if argument != "--update"]
    builds = {library: exported(library) for library in libraries}
    if "--update" in sys.argv:
        common = set.intersection(*(set(kinds) for kinds, _ in builds.values()))
        KEPT.write_text("".join(name + "\n" for name in sorted(common)))
        return 0
    kept = set(KEPT.read_text().splitlines())
    count = 0
    for library, (kinds, foreign) in builds.items():
        faults = soname_faults(library)
        faults += [f"not ours, but exported: {name}" for name in sorted(foreign)]
        faults += [f"exported, but not in the list: {name}" for name in sorted(kinds.keys() - kept)
                   if kinds[name] not in "WVu"]
        faults += [f"in the list, but not exported: {name}" for name in sorted(kept - kinds.keys())]
        for fault in faults[:SHOWN]:
            print(f"{library}: {fault}")
        if len(faults) > SHOWN:
            print(f"{library}: and {len(faults) - SHOWN} more")
        count += len(faults)
    print(f"symbols: {len(kept)} kept, {len(libraries)} builds, {count} faults")
    if count:
        print(f"If that is as it should be: {' '.join([sys.argv[0], *libraries])} --update")
    return 1 if count else 0


if __name__ == "__main__":
    sys.exit(main())
