#!/usr/bin/env bash
# demo.sh [--cad]: installs what is missing, builds the library and velm-inspect, makes parts with a
# simulated measurement, a housing in space with a scan of it, a blade as a polygon and as a NURBS
# curve, a link of arcs and a pressed panel, inspects them, keeps three of the inspections in an
# object file, reports them again from it, and says where the reports and the pictures are.
# With --cad it installs Open CASCADE too, writes the housing as a STEP file and inspects that again.
set -euo pipefail
cd "$(dirname "$0")"
cad=
case "${1:-}" in
    "") ;;
    --cad) cad=yes ;;
    *) echo "usage: $0 [--cad]" >&2; exit 2 ;;
esac
scripts/install_packages.sh build
[ -z "$cad" ] || scripts/install_packages.sh cad

log=build/demo/build.log
out=$PWD/demo-output
mkdir -p "$out" build/demo
echo "Building the library and velm-inspect (two to three minutes on two cores the first time) ..."
generator=(-G "Unix Makefiles")
if command -v ninja >/dev/null; then generator=(-G Ninja); fi
# Options that make the first build shorter; the results are the same.
if ! { cmake -S . -B build/demo "${generator[@]}" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" -DVELM_UNITY=ON -DVELM_PRECOMPILE=ON \
        -DVELM_BUILD_TESTS=OFF -DVELM_BUILD_BENCH=OFF -DVELM_BUILD_EXAMPLES=OFF \
        -DVELM_CAD_IMPORT="$([ -n "$cad" ] && echo ON || echo OFF)" \
    && cmake --build build/demo --parallel "$(nproc)" --target velm-inspect make_sample \
        ${cad:+velm-cad-import write_step}; } >"$log" 2>&1
then
    tail -30 "$log" >&2
    echo "The build failed; all of its output is in $log." >&2
    exit 1
fi

build/demo/apps/inspect/make_sample "$out"
program=$PWD/build/demo/apps/inspect/velm-inspect
rm -f "$out/parts.velm" "$out/housing.step"

# Runs `velm-inspect ARGUMENTS` in the folder, its tables into the file NAME.txt; tells the command,
# the first three rows, four more that are out of tolerance, and the summary. 1, some points out
# of tolerance, is what the faults should give.
inspect() { # NAME ARGUMENTS...
    local name=$1 code=0 tables=1
    shift
    [ "$1" != surface ] || tables=2 # of the faces and of the points
    printf '\n$ velm-inspect %s\n\n' "$*"
    (cd "$out" && "$program" "$@") >"$out/$name.txt" || code=$?
    if [ "$code" -gt 1 ]; then exit "$code"; fi
    awk -v tables="$tables" 'NR <= 4 { print; next }
         /^$/ && !summary { if (++ended < tables) next; summary = 1; print "..." }
         summary { print; next }
         / OUT( |$)/ && out++ < 4 { print (out == 1 ? "...\n" : "") $0 }' "$out/$name.txt"
    printf '\nExit code %s: %s.\n' "$code" \
        "$([ "$code" = 0 ] && echo "all points are in tolerance" || echo "some points are out of tolerance")"
}

# Reports inspection NUMBER from the object file, by a process that knows nothing else, and compares
# the reports with those of the run, NAME.KIND, byte for byte.
reopen() { # NUMBER NAME KIND...
    local number=$1 name=$2 code=0 kind arguments=()
    shift 2
    for kind in "$@"; do arguments+=("--$kind" "stored_$name.$kind"); done
    printf '\n$ velm-inspect report parts.velm --record %s %s\n\n' "$number" "${arguments[*]}"
    (cd "$out" && "$program" report parts.velm --record "$number" "${arguments[@]}") \
        >"$out/stored_$name.txt" || code=$?
    if [ "$code" -gt 1 ]; then exit "$code"; fi
    for kind in txt "$@"; do
        if ! cmp -s "$out/$name.$kind" "$out/stored_$name.$kind"; then
            echo "The object file doesn't give the report again: stored_$name.$kind differs from" \
                "$name.$kind, both in $out." >&2
            exit 1
        fi
    done
    awk '/^$/ { blocks++ } blocks == 1 && NF && ++shown <= 5' "$out/stored_$name.txt"
    printf '\nThe same as the run wrote: the table of %s points and the files (%s), number for number.\n' \
        "$(($(wc -l <"$out/$name.csv") - 1))" "$*"
}

printf '\n$ cd %s\n' demo-output
inspect housing_report surface housing.velm scan.ply --tolerance 0.1 --store parts.velm \
    --json housing_report.json --csv housing_report.csv --html housing_report.html
inspect report section blade.dat probed.csv --tolerance 0.05 --store parts.velm \
    --json report.json --csv report.csv --svg report.svg --html report.html
inspect curve_report section blade_curve.txt curve.csv --tolerance 0.05 \
    --json curve_report.json --csv curve_report.csv --svg curve_report.svg --html curve_report.html
inspect link_report section link.txt link.csv --tolerance 0.03 \
    --frame 412.5 230 95  0.02 -0.01 1  4 3 0 --max-height 0.1 \
    --json link_report.json --csv link_report.csv --svg link_report.svg
inspect bore_report fit circle bore.csv --inside --tolerance 0.015 --json bore_report.json
inspect panel_report targets panel.csv --tolerance 0.2 --align bestfit --store parts.velm \
    --json panel_report.json --csv panel_report.csv --html panel_report.html
reopen 1 housing_report json csv html
reopen 2 report json csv svg html
reopen 3 panel_report json csv html
if [ -n "$cad" ]; then
    build/demo/apps/cad/write_step "$out/housing.velm" "$out/housing.step"
    inspect step_report surface housing.step scan.ply --tolerance 0.1 \
        --json step_report.json --html step_report.html
fi
cat <<END

The housing has a bump on its lid, which is warped, and a bore off its place.
The blade has a bow and a dent; as one NURBS curve it is worn at the leading edge and has a step
where a second cut ends; the link, of lines and arcs and probed in space, a large end that is too
large and a bore off its place, which is round; the panel, brought onto its nominal by the best fit,
a dent and a burr on the edge of its hole.
The pages:    $out/housing_report.html, report.html, curve_report.html, panel_report.html
              (open them in a browser)
The pictures: $out/report.svg, curve_report.svg, link_report.svg
The reports:  $out/housing_report.json, report.json, curve_report.json, link_report.json, panel_report.json, and .csv, .txt
The object file that keeps the housing, the blade and the panel: $out/parts.velm
END
