#!/usr/bin/env bash
# The library's binary interface is the one under review: its exported symbols, the types they use, and the
# layout of the exported classes. With "refresh", writes the reference anew instead of comparing.
# Headers are named as the debug information names them: from the repository's root, which is where this runs.
# Usage: abi.sh check|refresh LIBRARY REFERENCE HEADER_FOLDER [HEADER]...
set -euo pipefail
action=$1 library=$2 reference=$3
headers=(--headers-dir "$4")
for header in "${@:5}"; do
    headers+=(--header-file "$header")
done

# What the headers do not define is the library's own business. Neither places on the machine that builds nor
# lines of the source are told: the description changes when the interface does.
describe() {
    abidw --exported-interfaces-only --drop-private-types "${headers[@]}" --no-corpus-path \
        --no-comp-dir-path --no-show-locs --no-elf-needed --no-parameter-names --type-id-style hash "$library"
}

case $action in
check)
    built=$(mktemp --suffix=.xml)
    trap 'rm -f "$built"' EXIT
    describe > "$built"
    # Two descriptions are compared, because the library itself would show more than the reference. Also what
    # old clients would survive is a change to review.
    abidiff --harmless "$reference" "$built" ||
        { echo "the binary interface changed: review it, then refresh $reference" >&2; exit 1; }
    echo "the binary interface is as reviewed"
    ;;
refresh) describe > "$reference" ;;
*)
    sed -n '2,5s/^# \{0,1\}//p' "$0" >&2
    exit 2
    ;;
esac
