#!/usr/bin/env bash
# check_format.sh [--fix]: every C++ file is as clang-format 14 leaves it and in the style that
# check_style.py checks.
set -euo pipefail
cd "$(dirname "$0")/.."
tool=$(command -v clang-format-14 || command -v clang-format)
"$tool" --version | grep -q 'version 14\.' || { echo "clang-format 14 is needed"; exit 1; }
mapfile -t files < <(git ls-files -- '*.h' '*.cpp')
if [ "${1:-}" = --fix ]; then scripts/check_style.py --fix; "$tool" -i "${files[@]}"; exit; fi
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 20 "$tool" --dry-run -Werror
echo "format: ${#files[@]} files"
scripts/check_style.py
