#!/usr/bin/env bash
# Fuzzes each target until 10 million executions or 20 minutes, whichever comes first, prints what was reached,
# and minimises its corpus: ./fuzz.sh [--minutes N] [--runs N] [TARGET]...
#   --minutes  another limit of time for each target
#   --runs     another limit of executions for each target
# Targets are the folders of Tests/Fuzz/Corpus. Ends with 1 when one of them found something; the input is then in
# build/fuzz/finds.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. Tools/setup.sh

# Of what the corpus of a target may have in this repository: all of them together stay below 1 MiB.
largest_corpus=$((100 * 1024))
largest_input=4096

minutes=20
runs=10000000
targets=()
usage() {
    sed -n '2,7s/^# \{0,1\}//p' "$0" >&2
    exit 2
}
while [ $# -gt 0 ]; do
    case $1 in
    --minutes | --runs)
        case ${2:-} in '' | 0* | *[!0-9]*) usage ;; esac
        [ "$1" = --minutes ] && minutes=$2 || runs=$2
        shift
        ;;
    -*) usage ;;
    *)
        [ -d "Tests/Fuzz/Corpus/$1" ] || usage
        targets+=("$1")
        ;;
    esac
    shift
done
if [ "${#targets[@]}" -eq 0 ]; then
    targets=(Tests/Fuzz/Corpus/*)
    targets=("${targets[@]##*/}")
fi

# Replaces what is kept for a target with the smallest inputs that reach as much. Inputs of what was found once,
# which are named so, stay whatever they reach.
minimise() {
    local target=$1 kept=Tests/Fuzz/Corpus/$1 fresh=build/fuzz/fresh/$1 size=0 file bytes
    rm -rf "$fresh"
    mkdir -p "$fresh"
    run "$target" -merge=1 "$fresh" "build/fuzz/seeds/$target" "$kept" "build/fuzz/found/$target"
    find "$kept" -type f ! -name 'finding-*' -delete
    while read -r bytes file; do
        size=$((size + bytes))
        [ "$size" -gt "$largest_corpus" ] || cp "$file" "$kept"
    done < <(find "$fresh" -type f -printf '%s %p\n' | sort -n)
}

# Runs a target with the options, and with what all runs have in common.
run() {
    local target=$1
    shift
    "build/fuzz/bin/fuzz_$target" -max_len=$largest_input -timeout=20 -print_final_stats=1 \
        "-artifact_prefix=build/fuzz/finds/$target-" "$@" >> "build/fuzz/$target.log" 2>&1
}

ensure_packages build test fuzz
build_preset fuzz
Tests/Fuzz/make_seeds.py build/fuzz/seeds > build/fuzz/seeds.log
mkdir -p build/fuzz/finds

failed=()
printf '%-16s %12s %8s %9s %7s %13s %7s %8s\n' target executions seconds per-second edges instrumented inputs bytes
for target in "${targets[@]}"; do
    log=build/fuzz/$target.log
    mkdir -p "build/fuzz/found/$target"
    : > "$log"
    begin=$SECONDS
    run "$target" "-runs=$runs" "-max_total_time=$((60 * minutes))" \
        "build/fuzz/found/$target" "Tests/Fuzz/Corpus/$target" "build/fuzz/seeds/$target" || failed+=("$target")
    took=$((SECONDS - begin))
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    edges=$(sed -n 's/^#.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -1)
    instrumented=$(sed -n 's/^INFO: Loaded 1 modules *(\([0-9]*\) inline.*/\1/p' "$log" | tail -1)
    case " ${failed[*]} " in *" $target "*) ;; *) minimise "$target" || failed+=("$target") ;; esac
    inputs=$(find "Tests/Fuzz/Corpus/$target" -type f | wc -l)
    bytes=$(find "Tests/Fuzz/Corpus/$target" -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum + 0 }')
    printf '%-16s %12s %8s %9s %7s %13s %7s %8s\n' "$target" "${executions:-?}" "$took" \
        "$((${executions:-0} / (took > 0 ? took : 1)))" "${edges:-?}" "${instrumented:-?}" "$inputs" "$bytes"
done
for target in "${failed[@]}"; do
    echo "fuzz.sh: '$target' found something; build/fuzz/$target.log says what, the input is in build/fuzz/finds" >&2
done
[ "${#failed[@]}" -eq 0 ]
