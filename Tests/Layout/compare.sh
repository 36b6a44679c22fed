#!/usr/bin/env bash
# Runs a layout probe and compares what it says with a reviewed reference.
# Usage: compare.sh REFERENCE PROBE_COMMAND...
set -euo pipefail
reference=$1
shift
diff "$reference" <("$@") || { echo "the layout differs from $(basename "$reference")" >&2; exit 1; }
echo "layout is as in $(basename "$reference")"
