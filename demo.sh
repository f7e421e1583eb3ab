#!/usr/bin/env bash
# demo.sh: installs what is missing, builds the library and velm-inspect, makes a blade section with
# a simulated probing, inspects it, and says where the report and the picture are.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install_packages.sh build

log=build/demo/build.log
out=$PWD/demo-output
mkdir -p "$out" build/demo
echo "Building the library and velm-inspect (a minute or two the first time) ..."
generator=(-G "Unix Makefiles")
if command -v ninja >/dev/null; then generator=(-G Ninja); fi
if ! { cmake -S . -B build/demo "${generator[@]}" -DCMAKE_BUILD_TYPE=Release \
        -DVELM_BUILD_TESTS=OFF -DVELM_BUILD_BENCH=OFF -DVELM_BUILD_EXAMPLES=OFF \
    && cmake --build build/demo --parallel "$(nproc)" --target velm-inspect make_sample; } >"$log" 2>&1
then
    tail -30 "$log" >&2
    echo "The build failed; all of its output is in $log." >&2
    exit 1
fi

build/demo/apps/inspect/make_sample "$out"
command=(velm-inspect section blade.dat probed.csv --tolerance 0.05
    --json report.json --csv report.csv --svg report.svg)
printf '\n$ cd %s\n$ %s\n\n' demo-output "${command[*]}"
program=$PWD/build/demo/apps/inspect/${command[0]}
code=0
(cd "$out" && "$program" "${command[@]:1}") >"$out/report.txt" || code=$?
if [ "$code" -gt 1 ]; then exit "$code"; fi # 1: some points out of tolerance, as the dent should be

sed -n '1,6p' "$out/report.txt"
echo "..."
sed -n '/^$/,$p' "$out/report.txt"
cat <<END

Exit code $code: $([ "$code" = 0 ] && echo "all points are in tolerance" || echo "some points are out of tolerance (the blade has a bow and a dent)").
The picture:  $out/report.svg   (open it in a browser)
The reports:  $out/report.json, report.csv, report.txt
END
