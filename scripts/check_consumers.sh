#!/usr/bin/env bash
# check_consumers.sh BUILD_DIR: installs that build into a folder and uses it as hosts do: by the
# CMake package, by pkg-config, and the source tree by add_subdirectory; shared and static each.
set -euo pipefail
cd "$(dirname "$0")/.."
source=$PWD
built=$(realpath "$1")
work=$source/build/consumers
consumers=$source/tests/consumers
rm -rf "$work/prefix" "$work/package" "$work/pkg-config"
mkdir -p "$work/pkg-config"
log=$work/log.txt
generator=()
command -v ninja >/dev/null && generator=(-G Ninja)

quietly() { "$@" >"$log" 2>&1 || { cat "$log"; echo "failed: $*"; exit 1; }; }

# run_all FOLDER WAY: runs the programs; static and shared must find the same classes.
run_all() {
    for kind in shared static; do
        "$1/host_$kind" || { echo "$2, $kind: the host failed"; exit 1; }
        "$1/static_objects_$kind" || { echo "$2, $kind: a static object failed"; exit 1; }
        "$1/every_class_$kind" >"$work/classes_$kind.txt" ||
            { echo "$2, $kind: a class is not created by its name"; exit 1; }
    done
    diff "$work/classes_shared.txt" "$work/classes_static.txt" ||
        { echo "$2: the static library lost classes"; exit 1; }
    echo "consumers: $2, shared and static, $(wc -l <"$work/classes_static.txt") classes"
}

quietly cmake --install "$built" --prefix "$work/prefix"
[ -f "$work/prefix/share/doc/velm/overview.md" ] || { echo "the documents are not installed"; exit 1; }
if find "$work/prefix" -path '*/detail/*' | grep -q .; then
    echo "internal headers are installed"; exit 1
fi

quietly cmake "${generator[@]}" -S "$consumers" -B "$work/package" -DCMAKE_PREFIX_PATH="$work/prefix"
quietly cmake --build "$work/package" --parallel "$(nproc)"
grep -q 'ffp-contract=off' "$work"/package/build.ninja "$work"/package/CMakeFiles/*/flags.make \
    2>/dev/null || { echo "the package does not hand on -ffp-contract=off"; exit 1; }
run_all "$work/package" "CMake package"
for example in examples/*.cpp; do
    name=$(basename "$example" .cpp)
    folder=$(mktemp -d)
    (cd "$folder" && "$work/package/example_$name") | diff "examples/expected/$name.txt" - ||
        { echo "$example, built on the installed package, prints something else"; exit 1; }
    rm -r "$folder"
done

PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name velm.pc)")
export PKG_CONFIG_PATH
libdir=$(pkg-config --variable=libdir velm)
for program in host every_class static_objects; do
    for kind in shared static; do
        module=velm
        [ $kind = static ] && module=velm-static
        read -ra cflags < <(pkg-config --cflags $module)
        read -ra libs < <(pkg-config --libs $module)
        quietly "${CXX:-g++}" -std=c++20 "${cflags[@]}" "$consumers/$program.cpp" \
            "${libs[@]}" -Wl,-rpath,"$libdir" -o "$work/pkg-config/${program}_$kind"
    done
done
run_all "$work/pkg-config" pkg-config
if "${CXX:-g++}" -std=c++20 -ffast-math -fsyntax-only -I "$work/prefix/include" \
    "$consumers/host.cpp" 2>/dev/null; then
    echo "fast-math is not refused"; exit 1
fi
while read -r header; do
    error=$(echo "#include <$header>" | "${CXX:-g++}" -std=c++17 -fsyntax-only \
        -I "$work/prefix/include" -x c++ - 2>&1) && { echo "$header: C++17 is not refused"; exit 1; }
    grep -q 'velm needs C++20' <<<"$error" || { echo "$header: C++17 gets no clear error"; exit 1; }
done < <(cd "$work/prefix/include" && ls velm/*.h | grep -v -e fwd.h -e version.h)

quietly cmake "${generator[@]}" -S "$consumers" -B "$work/subdirectory" \
    -DVELM_SOURCE_DIR="$source" -DCMAKE_BUILD_TYPE=Release
quietly cmake --build "$work/subdirectory" --parallel "$(nproc)"
run_all "$work/subdirectory" add_subdirectory
