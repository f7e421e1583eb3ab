#!/usr/bin/env bash
# install_packages.sh GROUP: installs what is missing of a group of Debian packages: build (the
# library and the program), cad (and the reader of CAD files), test (and the tests), ci (and
# everything that .ci/run calls).
# Works as root and with sudo; where nothing is missing it needs neither.
set -euo pipefail

build=(g++ cmake make ninja-build libcli11-dev nlohmann-json3-dev)
cad=("${build[@]}" libocct-data-exchange-dev)
test=("${cad[@]}" libgtest-dev python3)
ci=("${test[@]}" clang clang-format-14 libclang-rt-14-dev libbenchmark-dev pkg-config gdb git
    binutils ccache doxygen chromium)

case ${1:-} in
    build) wanted=("${build[@]}") ;;
    cad) wanted=("${cad[@]}") ;;
    test) wanted=("${test[@]}") ;;
    ci) wanted=("${ci[@]}") ;;
    *) echo "usage: $0 build|cad|test|ci" >&2; exit 2 ;;
esac

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "No Debian packages here; going on with what is installed (needed: ${wanted[*]})." >&2
    exit 0
fi

# A tool counts as installed wherever it is in the PATH; a library must be a package.
declare -A tool=([g++]=g++ [cmake]=cmake [make]=make [ninja-build]=ninja [clang]=clang++
    [clang-format-14]=clang-format-14 [pkg-config]=pkg-config [gdb]=gdb [python3]=python3 [git]=git
    [binutils]=nm [ccache]=ccache [doxygen]=doxygen [chromium]=chromium)
missing=()
for package in "${wanted[@]}"; do
    [ -n "${tool[$package]:-}" ] && command -v "${tool[$package]}" >/dev/null && continue
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] && continue
    missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    # Without ninja make does, without ccache nothing is lost.
    case "${missing[*]}" in
        ninja-build | ccache | "ninja-build ccache") command -v sudo >/dev/null || exit 0 ;;
    esac
    if ! command -v sudo >/dev/null; then
        echo "Missing packages: ${missing[*]}. Neither root nor sudo is at hand to install them:" >&2
        echo "    apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "Installing ${missing[*]}"
apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300)
"${apt[@]}" update
"${apt[@]}" install -y --no-install-recommends "${missing[@]}"
