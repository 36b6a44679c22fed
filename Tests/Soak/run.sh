#!/usr/bin/env bash
# Runs the soak program on its inputs: run.sh PROGRAM KIND SECONDS REPORT_SECONDS STEP_MS
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export TTML_SETTINGS=$folder/settings.db no_proxy=127.0.0.1
# Every line of the log is made and written, as in a television.
export TTML_LOG=info
# Freed memory that a thread keeps for itself would count as held.
export GLIBC_TUNABLES=glibc.malloc.tcache_count=0
# Longer than a round at ten times real time.
python3 "$root/Samples/make_ts.py" --seconds 240 --output "$folder/stream.ts"
coproc SERVER { exec python3 "$root/Tests/Support/http_server.py" --until-stdin-closes --root "$root/Samples"; }
read -r port <&"${SERVER[0]}" || { echo "run.sh: the HTTP server did not start" >&2; exit 1; }
mkfifo "$folder/fifo"
tail -n 20 < "$folder/fifo" > "$folder/log" &
keeper=$!
# The log's end is all that is kept of it, and shown where the run fails.
status=0
"$1" "$2" "$3" "$4" "$5" "http://127.0.0.1:$port/files" "$folder/stream.ts" 2> "$folder/fifo" || status=$?
wait "$keeper"
[ "$status" -eq 0 ] || cat "$folder/log" >&2
exit "$status"
