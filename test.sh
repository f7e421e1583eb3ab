#!/usr/bin/env bash
# test.sh: installs what is missing, builds the library and the program with all tests, runs them.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install_packages.sh test
scripts/build.sh dev
exec scripts/run_tests.sh dev
