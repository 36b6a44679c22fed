#!/usr/bin/env bash
# The library exports the symbols under review in exported-symbols.txt, no more and no fewer, and has the
# agreed SONAME. Usage: exported-symbols.sh LIBRARY REFERENCE
set -euo pipefail
library=$1 reference=$2

soname=$(objdump -p "$library" | awk '$1 == "SONAME" { print $2 }')
[ "$soname" = libttmlsource.so.1 ] || { echo "SONAME is $soname" >&2; exit 1; }
diff "$reference" <(nm -DC --defined-only "$library" | cut -d' ' -f3- | sed 's/\[abi:cxx11\]//' |
    LC_ALL=C sort -u) || { echo "the exported symbols changed: review $reference" >&2; exit 1; }
echo "exports and SONAME are as reviewed"
