#!/usr/bin/env bash
# Configures the suite for a platform that is not ours, and looks at what it would compile and link.
# Usage: other-platform.sh SOURCE_DIR CXX PLATFORM_LIBRARY
set -euo pipefail
source=$1 cxx=$2 library=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$source/Platform/Include" "$work/maker"
cp "$source/Tests/Platform/BarePort.cpp" "$work/MakerPort.cpp"
cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DTTML_PLATFORM=none \
    -DTTML_PLATFORM_INCLUDE_DIR="$work/maker" -DTTML_PLATFORM_LIBRARIES="$library" \
    -DTTML_PORT_SOURCES="$work/MakerPort.cpp" > "$work/configure.log"
ninja -C "$work/build" -t commands port_tests > "$work/commands"
for wanted in "-c $work/MakerPort.cpp" "-I$work/maker" "$library" "Tests/Platform/TvPacketTest.cpp"; do
    grep -qF -e "$wanted" "$work/commands" || { echo "no '$wanted' in the suite's build" >&2; exit 1; }
done
if grep -E "$source/(Platform/|Tests/Platform/(Host|BarePort))" "$work/commands" >&2; then
    echo "the lines above are of our own platform" >&2
    exit 1
fi
# The file that a port begins with compiles against the maker's headers.
cmake --build "$work/build" --target Tests/Platform/CMakeFiles/port_tests.dir/"${work#/}"/MakerPort.cpp.o \
    > "$work/build.log" || { cat "$work/build.log" >&2; exit 1; }
echo "the suite links another platform"
