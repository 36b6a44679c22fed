#!/usr/bin/env python3
"""Makes ATSC 3.0 services with captions as a ROUTE receiver leaves them: MPDs and segments in one folder.

Without options it writes the committed sample, atsc3/, beside this script. The output depends on the options
alone, except with --live, which is on the air for as long as the service lasts. Only Python's standard library
is used. README.md tells what the sample holds, and when.
"""

import argparse
import calendar
import os
import sys
import time

from atsc3_maker import DYNAMIC, ENDED, CaptionSet, Service, write

START, DELAY = "2026-01-01T00:00:00Z", "PT1.5S"
START_FORM = "%Y-%m-%dT%H:%M:%SZ"

ENGLISH = [
    (2, "The dome is open. Lights out, please."),
    (3, "Something moved\nbetween these two stars."),
    (1,),
    (2, "Comets & cats come when they like."),
    (1, "How far is it?", "Farther than last night."),
    (2, "(the clock strikes three)"),
    (1,),
    (2, "Write it down: “彗星, 3:07.”"),
]
KOREAN = [
    (1,),
    (2, "돔이 열렸어요. 불을 꺼 주세요."),
    (3, "이 두 별 사이에서\n뭔가 움직였어요."),
    (2, "혜성은 오고 싶을 때 와요."),
    (1, "얼마나 멀어요?", "어젯밤보다 멀어요."),
    (2, "(시계가 세 시를 친다)"),
    (1,),
    (2, "적어 두세요: 세 시 칠 분."),
]
# Images have the letters of make_images.py.
SPANISH = [
    (2, "TRES ESTRELLAS"),
    (3, "ALLI ESTA!"),
    (1,),
    (3, "FRIA Y ALTA"),
    (2, "LAS TRES!"),
    (1,),
    (2, "SE IRA"),
]
GERMAN = [
    (2, "Der Nachtzug hält hier nicht."),
    (2, "Doch, heute schon:\nfür eine Katze & ihren Korb."),
    (1,),
    (2, "Wem gehört sie?"),
    (2, "Dem Zug, sagt der Schaffner."),
    (1,),
    (2, "Dann gute Fahrt, Mieze!"),
]
ITALIAN = [
    (2, "ALT!"),
    (1,),
    (4, "SALIRE!", "SI! SALI!"),
    (1,),
    (4, "ALLE TRE"),
]


def observatory(**changes):
    """The sample's service: segments of 2.002 s, as with pictures at 60000/1001 Hz."""
    told = {"name": "service.mpd", "segments": 14, "step_ms": 2002, "start": START, "delay": DELAY}
    told["sets"] = [
        CaptionSet("eng", "en", ENGLISH, properties="ar:16-9,er:0,profile:0,3d:0"),
        CaptionSet("kor", "ko", KOREAN, role="subtitle", properties="ar:16-9,er:1,profile:0,3d:0"),
        CaptionSet("spa", "es", SPANISH, image=True, role="subtitle", properties="ar:16-9,er:0,profile:1,3d:0"),
    ]
    return Service(**{**told, **changes})


def night_train(**changes):
    """A second service to tune to. Its caption sets have no caption property."""
    told = {"name": "second.mpd", "segments": 12, "step_ms": 2000, "start": "2026-01-01T06:00:00Z", "delay": "PT2S",
            "first_number": 0, "number_form": "$Number%05d$"}
    told["sets"] = [
        CaptionSet("deu", "de", GERMAN, timescale=1000),
        CaptionSet("ita", "it", ITALIAN, image=True, role="subtitle", timescale=1000),
    ]
    return Service(**{**told, **changes})


def epoch_ms(start):
    return calendar.timegm(time.strptime(start, START_FORM)) * 1000


def from_epoch(start, step_ms=2002):
    """What makes a service number its segments, and count its times, from the Unix epoch though its MPD, as if
    written at the tune-in, starts at `start`."""
    first = epoch_ms(start) // step_ms
    return {"first_number": first, "start_number": 0, "time_at_first": first * step_ms, "time_offset": 0}


def write_live(folder, changes):
    """Starts at the next full second, and writes each segment when it is available."""
    start = int(time.time()) + 1
    begun = time.strftime(START_FORM, time.gmtime(start))
    changes = {**changes, "start": begun}
    if "time_at_first" in changes:
        changes.update(from_epoch(begun))
    service = observatory(**changes)
    write(folder, service.init_files())
    write(folder, {service.name: service.mpd(DYNAMIC).encode("utf-8")})
    print(os.path.join(folder, service.name), flush=True)
    for index in range(service.segments):
        time.sleep(max(0, start + (index + 1) * service.step_ms / 1000 - time.time()))
        write(folder, service.segment_files(index))
    write(folder, {service.name: service.mpd(ENDED).encode("utf-8")})


def write_service(folder, changes):
    service = observatory(**changes)
    write(folder, service.files())
    write(folder, {"dynamic.mpd": service.mpd(DYNAMIC).encode("utf-8")})
    write(folder, night_train().files())


def start_of(text):
    try:
        epoch_ms(text)
    except ValueError:
        raise argparse.ArgumentTypeError("'%s' is not a time such as %s" % (text, START)) from None
    return text


def count_of(text):
    value = int(text)
    if value < 1:
        raise argparse.ArgumentTypeError("'%s' must be 1 or more" % text)
    return value


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    here = os.path.dirname(os.path.abspath(__file__))
    parser.add_argument("--output", metavar="DIR", default=os.path.join(here, "atsc3"),
                        help="where to write it; atsc3 beside this script unless given")
    parser.add_argument("--segments", type=count_of, default=14, metavar="N",
                        help="of 2.002 s each in service.mpd, 14 unless given")
    parser.add_argument("--start", type=start_of, default=START, metavar="TIME",
                        help="availabilityStartTime of service.mpd, %s unless given" % START)
    parser.add_argument("--from-epoch", action="store_true",
                        help="number the segments from the Unix epoch, though the MPD says from its start")
    parser.add_argument("--live", action="store_true",
                        help="write service.mpd alone, say where, and each segment when its time has come; needs "
                             "--output")
    options = parser.parse_args()
    if options.live and options.output == parser.get_default("output"):
        parser.error("--live needs --output")
    changes = {"segments": options.segments, "start": options.start}
    if options.from_epoch:
        changes.update(from_epoch(options.start))
    try:
        (write_live if options.live else write_service)(options.output, changes)
    except OSError as error:
        sys.exit("make_atsc3.py: cannot write %s: %s" % (error.filename, error.strerror))
    except KeyboardInterrupt:
        sys.exit(130)


if __name__ == "__main__":
    main()
