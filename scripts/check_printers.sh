#!/usr/bin/env bash
# check_printers.sh BUILD_DIR: GDB stops in a small program and its printers are compared with what
# tests/gdb/expected.txt says.
set -euo pipefail
cd "$(dirname "$0")/.."
if ! command -v gdb >/dev/null; then
    echo "printers: skipped, gdb is not installed"
    exit 0
fi
work=build/gdb
mkdir -p "$work"
"${CXX:-g++}" -std=c++20 -g -O0 -ffp-contract=off -I . tests/gdb/printed.cpp -L "$1" \
    -Wl,-rpath,"$(realpath "$1")" -lvelm -o "$work/printed"
# Addresses differ from run to run.
gdb -nx -batch -x share/gdb/velm_printers.py -x tests/gdb/commands.gdb "$work/printed" \
    2>"$work/errors.txt" | sed -n '/^\$/,$p' | sed 's/0x[0-9a-f]*/ADDRESS/' >"$work/printed.txt" ||
    { cat "$work/errors.txt"; exit 1; }
diff -u tests/gdb/expected.txt "$work/printed.txt" || { cat "$work/errors.txt"; exit 1; }
echo "printers: $(grep -c '^\$' "$work/printed.txt") values printed as expected"
