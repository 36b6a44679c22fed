#!/usr/bin/env python3
"""Makes TTML subtitle tracks (`stpp`, ISO/IEC 14496-30): a fragmented MP4 file, or a DASH presentation.

Without options it writes the two committed samples, subtitles.mp4 and dash/, beside this script. The
output depends on the options alone. Only Python's standard library is used.
"""

import argparse
import os
import struct
import sys
from xml.sax.saxutils import escape

# A short text in several languages, one line a sample. A track longer than its text starts over and
# numbers its lines, so that no two documents of a track are alike.
TEXTS = {
    "en": [
        "The ferry leaves at six.",
        "Nobody told me it was the last one.",
        "Then we will have to row.",
        "Across the whole bay?\nIn this weather?",
        "The lighthouse keeper lends us his boat.",
        "He only asks for a story in return.",
        "I know one about a whale & a violin.",
        "That one is true, you know.",
        "Look: the light turns green!",
        "It means somebody is waiting for us.",
        "Or that somebody is leaving.",
        "Either way, keep rowing.",
    ],
    "de": [
        "Die Fähre geht um sechs.",
        "Niemand hat mir gesagt, dass es die letzte war.",
        "Dann müssen wir eben rudern.",
        "Über die ganze Bucht?\nBei diesem Wetter?",
        "Der Leuchtturmwärter leiht uns sein Boot.",
        "Er möchte dafür nur eine Geschichte hören.",
        "Ich kenne eine von einem Wal & einer Geige.",
        "Die ist übrigens wahr.",
        "Schau: Das Licht wird grün!",
        "Das heißt, jemand wartet auf uns.",
        "Oder dass jemand geht.",
        "So oder so: weiterrudern.",
    ],
    "el": [
        "Το πλοίο φεύγει στις έξι.",
        "Κανείς δεν μου είπε πως ήταν το τελευταίο.",
        "Τότε θα κωπηλατήσουμε.",
        "Ο φαροφύλακας μας δανείζει τη βάρκα του.",
    ],
    "ja": [
        "船は六時に出ます。",
        "最後の便だとは聞いていませんでした。",
        "それなら漕ぐしかない。",
        "灯台守が舟を貸してくれた。",
    ],
    "ar": [
        "تغادر العبّارة في السادسة.",
        "لم يخبرني أحد أنها الأخيرة.",
        "علينا إذن أن نجدّف.",
        "أعارنا حارس المنارة قاربه.",
    ],
    "hi": [
        "नाव छह बजे चलती है।",
        "किसी ने नहीं बताया कि यह आख़िरी थी।",
        "तब तो हमें चप्पू चलाने होंगे।",
        "प्रकाशस्तंभ का रखवाला हमें अपनी नाव देता है।",
    ],
}

# ISO 639-2/T codes of the languages above; mdhd holds three letters.
ISO_639_2 = {"en": "eng", "de": "deu", "el": "ell", "ja": "jpn", "ar": "ara", "hi": "hin"}

DOCUMENT = """<?xml version="1.0" encoding="UTF-8"?>
<tt xmlns="http://www.w3.org/ns/ttml" xmlns:ttp="http://www.w3.org/ns/ttml#parameter" \
xmlns:tts="http://www.w3.org/ns/ttml#styling" \
ttp:profile="http://www.w3.org/ns/ttml/profile/imsc1/text" xml:lang="{language}">
  <head>
    <layout>
      <region xml:id="bottom" tts:origin="10% 80%" tts:extent="80% 15%" tts:displayAlign="after" \
tts:textAlign="center"/>
    </layout>
  </head>
  <body region="bottom">
    <div>
      <p begin="{begin}" end="{end}"><span tts:color="white" tts:backgroundColor="black">{text}</span></p>
    </div>
  </body>
</tt>
"""

COMPACT_DOCUMENT = (
    '<tt xmlns="http://www.w3.org/ns/ttml" xml:lang="{language}"><body><div>'
    '<p begin="{begin}" end="{end}">{text}</p></div></body></tt>'
)

TRUN_DATA_OFFSET = 0x000001
TRUN_SAMPLE_DURATION = 0x000100
TRUN_SAMPLE_SIZE = 0x000200
TFHD_DEFAULT_BASE_IS_MOOF = 0x020000


def clock_time(ms):
    return "%02d:%02d:%02d.%03d" % (ms // 3600000, ms // 60000 % 60, ms // 1000 % 60, ms % 1000)


def line_text(language, number):
    lines = TEXTS.get(language)
    if lines is None:
        return "[%s] line %d" % (language, number + 1)
    text = lines[number % len(lines)]
    return text if number < len(lines) else "%d. %s" % (number + 1, text)


class Track:
    """One language: what its samples hold and when they play."""

    def __init__(self, track_id, language, options):
        self.id = track_id
        self.language = language
        self.iso_language = ISO_639_2.get(language, language if len(language) == 3 else "und")
        self.options = options

    def start_ms(self, number):
        return self.options.start_tfdt + number * (self.options.duration + self.options.gap)

    def sample(self, number):
        start = self.start_ms(number)
        text = escape(line_text(self.language, number)).replace("\n", "<br/>")
        form = COMPACT_DOCUMENT if self.options.compact else DOCUMENT
        return form.format(
            language=self.language,
            begin=clock_time(start),
            end=clock_time(start + self.options.duration),
            text=text,
        ).encode("utf-8")


def box(kind, *parts):
    body = b"".join(parts)
    return struct.pack(">I4s", 8 + len(body), kind) + body


def full_box(kind, version, flags, *parts):
    return box(kind, struct.pack(">I", version << 24 | flags), *parts)


def units(ms, options):
    return ms * options.timescale // 1000


def ftyp(kind):
    return box(kind, b"iso6", struct.pack(">I", 0), b"iso6", b"dash", b"cmfc", b"im1t")


MATRIX = struct.pack(">9i", 0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000)


def sample_entry():
    # XMLSubtitleSampleEntry: namespace, schema_location and auxiliary_mime_types are zero-terminated.
    return box(b"stpp", bytes(6), struct.pack(">H", 1), b"http://www.w3.org/ns/ttml\0", b"\0", b"\0")


EMPTY_TABLES = (
    full_box(b"stts", 0, 0, struct.pack(">I", 0))
    + full_box(b"stsc", 0, 0, struct.pack(">I", 0))
    + full_box(b"stsz", 0, 0, struct.pack(">II", 0, 0))
    + full_box(b"stco", 0, 0, struct.pack(">I", 0))
)


def trak(track, options, tables=None, length_ms=0):
    """`tables` describe the samples of a file that is not fragmented; fragments describe their own."""
    tkhd = full_box(
        b"tkhd", 0, 7, struct.pack(">IIIII", 0, 0, track.id, 0, length_ms), bytes(8),
        struct.pack(">hhhH", 0, 0, 0, 0), MATRIX, struct.pack(">II", 0, 0),
    )
    packed = 0
    for letter in track.iso_language:
        packed = packed << 5 | (ord(letter) - 0x60)
    mdhd = full_box(b"mdhd", 0, 0, struct.pack(">IIIIHH", 0, 0, options.timescale,
                                              units(length_ms, options), packed, 0))
    hdlr = full_box(b"hdlr", 0, 0, struct.pack(">I4s", 0, b"subt"), bytes(12), b"Subtitles\0")
    dref = full_box(b"dref", 0, 0, struct.pack(">I", 1), full_box(b"url ", 0, 1))
    stsd = full_box(b"stsd", 0, 0, struct.pack(">I", 1), sample_entry())
    stbl = box(b"stbl", stsd, tables or EMPTY_TABLES)
    minf = box(b"minf", full_box(b"sthd", 0, 0), box(b"dinf", dref), stbl)
    return box(b"trak", tkhd, box(b"mdia", mdhd, hdlr, minf))


def mvhd(tracks, length_ms=0):
    return full_box(
        b"mvhd", 0, 0, struct.pack(">IIII", 0, 0, 1000, length_ms), struct.pack(">IH", 0x10000, 0x100),
        bytes(10), MATRIX, bytes(24), struct.pack(">I", len(tracks) + 1),
    )


def moov(tracks, options):
    trex = [full_box(b"trex", 0, 0, struct.pack(">IIIII", track.id, 1, 0, 0, 0)) for track in tracks]
    return box(b"moov", mvhd(tracks), *[trak(track, options) for track in tracks], box(b"mvex", *trex))


def fragment(sequence, track, first, count, options):
    """moof and mdat with `count` samples of one track from sample `first` on."""
    samples = [track.sample(number) for number in range(first, first + count)]
    flags = TRUN_DATA_OFFSET | TRUN_SAMPLE_SIZE
    table = b""
    for number, sample in enumerate(samples, first):
        if not options.no_duration:
            last = number + 1 == first + count
            step = options.duration if last else options.duration + options.gap
            table += struct.pack(">I", units(step, options))
        table += struct.pack(">I", len(sample))
    if not options.no_duration:
        flags |= TRUN_SAMPLE_DURATION

    def moof(data_offset):
        return box(
            b"moof",
            full_box(b"mfhd", 0, 0, struct.pack(">I", sequence)),
            box(
                b"traf",
                full_box(b"tfhd", 0, TFHD_DEFAULT_BASE_IS_MOOF, struct.pack(">I", track.id)),
                full_box(b"tfdt", 1, 0, struct.pack(">Q", units(track.start_ms(first), options))),
                full_box(b"trun", 0, flags, struct.pack(">Ii", count, data_offset), table),
            ),
        )

    # The data begins behind the header of the mdat that follows the moof.
    return moof(len(moof(0)) + 8) + box(b"mdat", *samples)


def sidx(track, start_ms, references, options):
    """References are (bytes, milliseconds) of each subsegment; they follow the box at once."""
    table = b"".join(
        struct.pack(">III", size, units(ms, options), 0x90000000) for size, ms in references
    )
    return full_box(
        b"sidx", 1, 0,
        struct.pack(">IIQQHH", track.id, options.timescale, units(start_ms, options), 0, 0, len(references)),
        table,
    )


def write_plain(out, tracks, options):
    """A file that is not fragmented: all samples, one chunk each, and then the tables that list them."""
    head = ftyp(b"ftyp")
    step = options.duration + options.gap
    length_ms = options.samples * step - options.gap
    offset = len(head) + 8
    data, traks = b"", []
    for track in tracks:
        samples = [track.sample(number) for number in range(options.samples)]
        offsets = []
        for sample in samples:
            offsets.append(offset)
            offset += len(sample)
        data += b"".join(samples)
        tables = (
            full_box(b"stts", 0, 0, struct.pack(">IIIII", 2, len(samples) - 1, units(step, options), 1,
                                                units(options.duration, options)))
            + full_box(b"stsc", 0, 0, struct.pack(">IIII", 1, 1, 1, 1))
            + full_box(b"stsz", 0, 0, struct.pack(">II", 0, len(samples)), *[
                struct.pack(">I", len(sample)) for sample in samples])
            + full_box(b"stco", 0, 0, struct.pack(">I", len(samples)), *[
                struct.pack(">I", place) for place in offsets])
        )
        traks.append(trak(track, options, tables, length_ms))
    out.write(head + box(b"mdat", data) + box(b"moov", mvhd(tracks, length_ms), *traks))


def write_file(options):
    tracks = [Track(i + 1, language, options) for i, language in enumerate(options.tracks)]
    step = options.per_fragment
    with open(options.out, "wb") as out:
        if options.plain:
            write_plain(out, tracks, options)
            return
        out.write(ftyp(b"ftyp"))
        out.write(moov(tracks, options))
        runs = [(first, min(step, options.samples - first)) for first in range(0, options.samples, step)]
        if options.sidx:
            references = [
                (
                    len(fragment(i + 1, tracks[0], first, count, options)),
                    count * (options.duration + options.gap),
                )
                for i, (first, count) in enumerate(runs)
            ]
            out.write(sidx(tracks[0], options.start_tfdt, references, options))
        sequence = 0
        for first, count in runs:
            for track in tracks:
                sequence += 1
                out.write(fragment(sequence, track, first, count, options))


def write_dash(options):
    """One init segment a language and media segments of --per-segment samples each, numbered from 1."""
    os.makedirs(options.dash, exist_ok=True)
    step = options.per_segment
    sets = []
    for language in options.tracks:
        track = Track(1, language, options)
        folder = os.path.join(options.dash, language)
        os.makedirs(folder, exist_ok=True)
        with open(os.path.join(folder, "init.mp4"), "wb") as out:
            out.write(ftyp(b"ftyp") + moov([track], options))
        for number, first in enumerate(range(0, options.samples, step), 1):
            count = min(step, options.samples - first)
            media = fragment(number, track, first, count, options)
            length = count * (options.duration + options.gap)
            with open(os.path.join(folder, "%d.m4s" % number), "wb") as out:
                out.write(ftyp(b"styp"))
                out.write(sidx(track, track.start_ms(first), [(len(media), length)], options))
                out.write(media)
        sets.append(
            '    <AdaptationSet contentType="text" mimeType="application/mp4" lang="%s" '
            'segmentAlignment="true" startWithSAP="1">\n'
            '      <Role schemeIdUri="urn:mpeg:dash:role:2011" value="subtitle"/>\n'
            '      <SegmentTemplate timescale="1000" duration="%d" startNumber="1"\n'
            '                       initialization="$RepresentationID$/init.mp4" '
            'media="$RepresentationID$/$Number$.m4s"/>\n'
            '      <Representation id="%s" codecs="stpp.ttml.im1t" bandwidth="2000"/>\n'
            "    </AdaptationSet>\n" % (language, step * (options.duration + options.gap), language)
        )
    total = options.samples * (options.duration + options.gap)
    length = "PT%d.%03dS" % (total // 1000, total % 1000)
    with open(os.path.join(options.dash, "manifest.mpd"), "w", encoding="utf-8", newline="\n") as out:
        out.write('<?xml version="1.0" encoding="UTF-8"?>\n')
        out.write(
            '<MPD xmlns="urn:mpeg:dash:schema:mpd:2011" '
            'profiles="urn:mpeg:dash:profile:isoff-live:2011" type="static"\n'
            '     mediaPresentationDuration="%s" minBufferTime="PT2S">\n' % length
        )
        out.write('  <Period id="1" start="PT0S">\n%s  </Period>\n</MPD>\n' % "".join(sets))


def languages(text):
    return [part.strip() for part in text.split(",") if part.strip()]


def count_of(text):
    value = int(text)
    if value < 1:
        raise argparse.ArgumentTypeError("'%s' must be 1 or more" % text)
    return value


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--out", metavar="FILE", help="write a fragmented MP4 file")
    parser.add_argument("--dash", metavar="DIR", help="write a DASH presentation")
    parser.add_argument("--samples", type=count_of, default=12, metavar="N", help="samples of each track")
    parser.add_argument("--duration", type=count_of, default=5000, metavar="MS", help="of each sample")
    parser.add_argument("--gap", type=int, default=0, metavar="MS",
                        help="time without subtitles after each sample (needs one sample a fragment)")
    parser.add_argument("--start-tfdt", type=int, default=0, metavar="MS", help="time of the first sample")
    parser.add_argument("--timescale", type=count_of, default=1000, metavar="HZ", help="of the tracks")
    parser.add_argument("--tracks", type=languages, default=None, metavar="LANG,LANG",
                        help="one track each: %s or any other" % ", ".join(TEXTS))
    parser.add_argument("--per-fragment", type=count_of, default=1, metavar="N", help="samples a fragment")
    parser.add_argument("--per-segment", type=count_of, default=2, metavar="N", help="samples a DASH segment")
    parser.add_argument("--no-duration", action="store_true", help="leave the sample durations out")
    parser.add_argument("--sidx", action="store_true", help="put a segment index before the first fragment")
    parser.add_argument("--plain", action="store_true", help="write a file that is not fragmented")
    parser.add_argument("--compact", action="store_true", help="documents of some 150 bytes")
    options = parser.parse_args()
    if options.gap and options.per_fragment != 1:
        parser.error("--gap needs --per-fragment 1")
    if options.plain and options.start_tfdt:
        parser.error("--plain starts at 0")

    defaults = not options.out and not options.dash
    here = os.path.dirname(os.path.abspath(__file__))
    if defaults:
        options.out = os.path.join(here, "subtitles.mp4")
        options.dash = os.path.join(here, "dash")
    tracks = options.tracks
    try:
        if options.out:
            options.tracks = tracks or ["en"]
            write_file(options)
        if options.dash:
            options.tracks = tracks or ["en", "de"]
            write_dash(options)
    except OSError as error:
        sys.exit("make_stpp.py: cannot write %s: %s" % (error.filename, error.strerror))


if __name__ == "__main__":
    main()
