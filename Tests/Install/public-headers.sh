#!/usr/bin/env bash
# Every public header compiles alone, twice in one file, and as C++11.
# Usage: public-headers.sh SOURCE_DIR CXX
set -euo pipefail
source=$1 cxx=$2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
count=0
for header in "$source"/Source/Include/*.h "$source"/Platform/Include/*.h; do
    name=$(basename "$header")
    printf '#include "%s"\n#include "%s"\n' "$name" "$name" > "$work/header.cpp"
    for standard in c++11 c++17; do
        "$cxx" -std="$standard" -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only \
            -I"$source/Source/Include" -I"$source/Platform/Include" "$work/header.cpp" ||
            { echo "$name does not compile alone as $standard" >&2; exit 1; }
    done
    count=$((count + 1))
done
echo "$count public headers compile alone"
