#!/usr/bin/env bash
# Builds the library, its Linux platform and the client, and plays the bundled samples: a document fetched
# from an HTTP server, a subtitle track of a media file, a transport stream, and the captions of an ATSC 3.0
# service, all through libttmlsource.so.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. Tools/setup.sh

ensure_packages build demo
mkdir -p build
echo "== Building (a minute the first time)"
build_preset demo > build/demo.log 2>&1 || { cat build/demo.log >&2; exit 1; }
client=build/demo/bin/ttmlsrc

# A real HTTP server on a free loopback port, which it prints first; it ends when this script does, because
# its standard input ends then.
coproc SERVER { exec python3 Tests/Support/http_server.py --until-stdin-closes --root Samples; }
read -r port <&"${SERVER[0]}" || { echo "demo.sh: the HTTP server of the demo did not start" >&2; exit 1; }
export no_proxy=127.0.0.1
base=http://127.0.0.1:$port/files

say() { printf '\n== %s\n' "$*"; }

say "Out of band: the source thread fetches one document from $base"
"$client" broadband --url "$base/imsc1-text.ttml" --user-agent ttml-demo --dnt 1 --descriptor "English"

say "What the server was asked: a document that repeats the request's headers"
"$client" broadband --url "http://127.0.0.1:$port/headers" --user-agent ttml-demo --dnt 1 --out build/demo-out \
    > /dev/null
cat build/demo-out/0001.ttml

say "In band: a minute of an stpp track from $base/subtitles.mp4, at ten times its speed"
"$client" broadband --media "$base/subtitles.mp4" --speed 10

say "In band with a script: play, pause (samples are held back), resume, seek, stop"
"$client" broadband --media Samples/subtitles.mp4 --speed 10 \
    --script "play; wait 1200ms; pause; wait 1s; resume; wait 600ms; seek 40s; seek-done; wait 700ms; stop"

say "The same track from a DASH manifest, as JSON (first three events)"
"$client" broadband --media "$base/dash/manifest.mpd" --fast --json > build/demo.json
head -n 3 build/demo.json | cut -c 1-160

# The library's warnings (repeats dropped, no clock before the tune) are for its users; here they would be in the way.
export TTML_LOG=error TTML_SETTINGS=build/demo-settings.db
say "DVB: what a transport stream holds"
"$client" info Samples/subtitles.ts

say "DVB: its English subtitles at ten times their speed; the programme map moves them, the clock wraps"
"$client" dvb Samples/subtitles.ts --speed 10

say "DVB: tuning to the other service, and a locked channel"
"$client" dvb Samples/subtitles.ts --speed 10 \
    --script "wait 600ms; tune 102; wait 800ms; channel-lock on; lock on; show; lock off; show; wait 500ms"

say "ATSC 3.0: the captions of a service from its MPD on an HTTP server, at ten times their speed"
"$client" atsc3 "$base/atsc3/service.mpd" --speed 10

say "ATSC 3.0: captions that are images, each kept as a document and a PNG"
rm -rf build/demo-out
"$client" atsc3 Samples/atsc3/service.mpd --lang spa --fast --out build/demo-out
ls build/demo-out

say "ATSC 3.0: tuning to another service; captions are shown only while the setting is on"
"$client" atsc3 Samples/atsc3/service.mpd --also Samples/atsc3/second.mpd --speed 10 \
    --script "wait 600ms; caption off; show; caption on; show; tune 2; wait 700ms"

say "Done. '$client --help' tells the rest; './test.sh' runs the tests."
