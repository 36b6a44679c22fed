#!/usr/bin/env bash
# Runs all three sources for a time, at ten times real time with a tune every few seconds, and reports heap,
# threads, file descriptors and delivered documents every minute: ./soak.sh [TIME]   (1h unless given; 90s, 10m)
# Ends with 1 when anything fails or grows.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. Tools/setup.sh

time=${1:-1h}
case $time in
*[!0-9smh]* | [smh]*) echo "soak.sh: takes a time like 90s, 10m or 1h, not '$time'" >&2; exit 2 ;;
*h) seconds=$((${time%h} * 3600)) ;;
*m) seconds=$((${time%m} * 60)) ;;
*) seconds=${time%s} ;;
esac

ensure_packages build demo test
build_preset release --target soak

runs=()
for kind in broadband dvb atsc3; do
    Tests/Soak/run.sh build/release/bin/soak "$kind" "$seconds" 60 1500 &
    runs+=($!)
done
status=0
for run in "${runs[@]}"; do
    wait "$run" || status=1
done
exit $status
