#!/usr/bin/env bash
# build.sh PRESET [cmake options...]: configures and builds a preset in build/PRESET, with Ninja or,
# where it is missing, with make.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
shift
generator=()
command -v ninja >/dev/null || generator=(-G "Unix Makefiles")
cmake --preset "$preset" "${generator[@]}" "$@"
exec cmake --build "build/$preset" --parallel "$(nproc)"
