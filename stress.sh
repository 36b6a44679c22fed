#!/usr/bin/env bash
# Builds with the thread sanitizer, has eight clients call everything at random on each kind of source while the
# platform is at work, and creates and destroys sources in every state:
# ./stress.sh [--seconds N] [--seed S] [--sources N]
#   --seconds  how long the clients are at each kind (60 unless given)
#   --seed     fixes what each thread does, in its order; each run prints the one that it took
#   --sources  how many of each kind are created and destroyed (10000 unless given)
# Ends with 1 or more when a test fails, a race is found or something hangs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. Tools/setup.sh

options=(--seconds 60 --sources 10000)
while [ $# -gt 0 ]; do
    case $1 in
    --seconds | --seed | --sources)
        case ${2:-} in
        '' | *[!0-9]*) echo "stress.sh: $1 needs a number" >&2; exit 2 ;;
        esac
        options+=("$1" "$2")
        shift
        ;;
    *)
        sed -n '2,8s/^# \{0,1\}//p' "$0" >&2
        exit 2
        ;;
    esac
    shift
done

ensure_packages build test
build_preset tsan --target stress_tests
exec build/tsan/bin/stress_tests --gtest_filter='Stress/*' "${options[@]}"
