#!/usr/bin/env bash
# run_tests.sh PRESET [ctest options...]: runs the tests of build/PRESET and closes with the number
# of test cases that passed and failed.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
shift
results=$PWD/build/$preset/test-results
rm -rf "$results"
mkdir -p "$results"
code=0
ctest --test-dir "build/$preset" --output-on-failure --timeout 900 \
    --parallel "$(nproc)" --no-tests=error --output-junit "$results/ctest.xml" "$@" || code=$?
python3 scripts/count_tests.py "$results" || code=1
exit $code
