#!/usr/bin/env bash
# Builds the benchmarks and prints one table, each figure beside a named reference of the same run:
# ./bench.sh [option of Google Benchmark]...   (--benchmark_filter=task runs one subject)
# Ends with 1 when a limit is broken.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. Tools/setup.sh

ensure_packages build bench
build_preset bench --target benchmarks
exec build/bench/bin/benchmarks "$@"
