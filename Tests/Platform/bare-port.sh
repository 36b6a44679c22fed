#!/usr/bin/env bash
# Runs the suite on a port without abilities: nothing fails, and what is skipped says which ability is missing.
# Usage: bare-port.sh PORT_TESTS_BARE
set -euo pipefail
tests=$1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TTML_SETTINGS=$work/settings.db TTML_LOG=off
"$tests" > "$work/out" || { cat "$work/out" >&2; exit 1; }

sed -n "s/.*the port 'bare' has no ability for it: //p" "$work/out" | sort -u > "$work/abilities"
diff - "$work/abilities" << 'END'
a DVB service with subtitles
a feature of the system
a process with a package
a process without a package
a second DVB service
a television that is not tuned
an ATSC 3.0 service with captions
another process that reads a setting
another process that sets a setting
captions of 524,288 bytes
documents at a URL
ending the TV service
giving the screen to the TV service
live media
media with a subtitle track
reading the log
signals of the recorder
END

# Each skipped test says it once.
skipped=$(sed -n 's/^\[  SKIPPED \] \([0-9]*\) tests.*/\1/p' "$work/out")
[ "$(grep -c "the port 'bare' has no ability for it" "$work/out")" = "$skipped" ] ||
    { echo "a test was skipped without a reason" >&2; exit 1; }
ran=$(grep -c '^\[       OK \]' "$work/out")
echo "$ran tests need no ability, $skipped were skipped by name"
