#!/usr/bin/env bash
# Installs the build into a folder of its own and builds a consumer against it, through the CMake package
# and through pkg-config; both must run and say the same.
# Usage: consumer.sh BUILD_DIR SOURCE_DIR CXX "CXXFLAGS"
set -euo pipefail
build=$1 source=$2 cxx=$3 flags=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" > "$work/install.log"
libdir=$(dirname "$(dirname "$(find "$work/prefix" -name ttmlsource.pc)")")

expect() {
    local said
    said=$(TTML_LOG=off LD_LIBRARY_PATH="$libdir" "$1")
    [ "$said" = "subtitle mode 66" ] || { echo "consumer built with $2 said: $said" >&2; exit 1; }
    echo "consumer built with $2: $said"
}

cmake -G Ninja -S "$source/Tests/Install/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="$flags" > "$work/configure.log"
cmake --build "$work/cmake" > "$work/build.log" || { cat "$work/build.log" >&2; exit 1; }
expect "$work/cmake/consumer" "the CMake package"

# The pkg-config file finds the tree wherever it is put, library folder and all.
[ "$(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --variable=libdir ttmlsource | xargs realpath)" = \
    "$(realpath "$libdir")" ] || { echo "pkg-config gives another library folder" >&2; exit 1; }

export PKG_CONFIG_PATH="$libdir/pkgconfig"
[ "$(pkg-config --modversion ttmlsource)" = 1.0.0 ] || { echo "pkg-config gives another version" >&2; exit 1; }
# shellcheck disable=SC2046,SC2086
"$cxx" -std=c++11 -Wall -Wextra -Wpedantic -Werror $flags $(pkg-config --cflags ttmlsource) \
    "$source/Tests/Install/consumer/main.cpp" -o "$work/consumer" \
    $(pkg-config --libs ttmlsource) -Wl,-rpath-link,"$libdir"
expect "$work/consumer" pkg-config

# Nothing installed may name the tree it was built from.
if grep -rlF "$source" "$work/prefix"; then
    echo "the files above hold the build machine's path" >&2
    exit 1
fi
