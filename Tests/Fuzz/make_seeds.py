#!/usr/bin/env python3
"""Makes the seeds of the fuzz targets from the samples: one folder a target, a few small inputs in each.

    make_seeds.py FOLDER

What stands before the samples' bytes in an input is told at the top of each target's source. The output depends
on the samples alone. Only Python's standard library is used.
"""

import gzip
import os
import re
import struct
import sys
import zlib

SAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "Samples")
sys.dont_write_bytecode = True
sys.path.insert(0, SAMPLES)

import make_images  # noqa: E402
import ts_maker  # noqa: E402

PACKET = 188
PES_PIDS = (0x102, 0x103, 0x202)
TABLES = {0x00: 0, 0x11: 1, 0x12: 2, 0x100: 3, 0x200: 4}  # PIDs and the choice in an input
OF_OTHER_PIDS = 5


def sample(*path):
    with open(os.path.join(SAMPLES, *path), "rb") as file:
        return file.read()


def packets():
    stream = sample("subtitles.ts")
    return [stream[at:at + PACKET] for at in range(0, len(stream), PACKET)]


def pid_of(packet):
    return (packet[1] & 0x1F) << 8 | packet[2]


def payload_of(packet):
    return packet[5 + packet[4]:] if packet[3] & 0x20 else packet[4:]


def units(pid):
    """What the payloads of a PID make from one unit start to the next."""
    found = []
    for packet in packets():
        if pid_of(packet) == pid and packet[3] & 0x10:
            if packet[1] & 0x40:
                found.append(b"")
            if found:
                found[-1] += payload_of(packet)
    return found


def unlike(items):
    return list(dict.fromkeys(items))


def pes_packets():
    found = []
    for pid in PES_PIDS:
        for unit in units(pid):
            found.append(unit[:6 + struct.unpack(">H", unit[4:6])[0]])
    return sorted(unlike(found), key=len)


def segments_of(pes):
    """The segments of a data field behind a header with nothing but a PTS, as (type, bytes)."""
    at, found = 9 + pes[8] + 7, []
    for _ in range(pes[at - 1]):
        size = struct.unpack(">H", pes[at + 1:at + 3])[0]
        found.append((pes[at], pes[at + 3:at + 3 + size]))
        at += 3 + size
    return found


def field(*segments):
    return ts_maker.ttml_field(1234, list(segments))


def pes_seeds():
    right = pes_packets()
    head = right[0][:14]
    return right[:6] + right[-2:] + [
        right[0][:20],
        ts_maker.pes(0xBD, 90000, field(ts_maker.plain(b"<tt/>"))),
        ts_maker.pes(0xBD, 90000, field(ts_maker.compressed(b"<tt/>"))),
        ts_maker.pes(0xBD, 90000, field(ts_maker.compressed(b"<tt/>", 32), ts_maker.plain(b""))),
        head + bytes(6) + b"\2" + b"\1\0\1a" + b"\3\0\0",
        head + bytes(6) + b"\0",
    ]


def inflate_seeds():
    found = [b"\0" + content for pes in pes_packets() for kind, content in segments_of(pes) if kind == 2][:4]
    for text in (b"", b"<tt/>", b"a" * 700, sample("hindi.ttml")[:500]):
        for level in (0, 1, 9):
            found.append(b"\0" + gzip.compress(text, level, mtime=0))
            found.append(b"\1" + zlib.compress(text, level)[2:-4])
        found.append(bytes([2 + 4 * 9]) + text)
    named = b"\x1f\x8b\x08\x1e" + bytes(6) + b"\2\0xy" + b"name\0" + b"note\0"
    named += struct.pack("<H", zlib.crc32(named) & 0xFFFF) + gzip.compress(b"<tt/>", mtime=0)[10:]
    return found + [b"\0" + named, b"\0" + zlib.compress(b"<tt/>"), b"\0" + gzip.compress(b"x", mtime=0) * 2]


def mpds():
    return [sample("atsc3", name) for name in ("service.mpd", "dynamic.mpd", "second.mpd")]


def mpd_times_seeds():
    times = ["2026-01-01T00:00:00Z", "2024-02-29T23:59:59.999Z", "1969-12-31T23:59:59+01:00", "2038-01-19T03:14:08",
             "99999999999-1-1T0:0:1e30", "2026-01-01T00:00:nan", " +7-0x8", ""]
    delays = ["PT1.5S", "PT1H2M3.25S", "PTHMS", "PT0.7S", "PT0x1pS", "P1DT2S", "PT.5M", ""]
    texts = ['<MPD availabilityStartTime="%s" suggestedPresentationDelay="%s"/>' % both for both in zip(times, delays)]
    texts += ['availabilityStartTime="2026', 'suggestedPresentationDelay="']
    return [text.encode() for text in texts] + [mpd[:600] for mpd in mpds()[:2]]


def boxes(data):
    at = 0
    while at + 8 <= len(data):
        size = struct.unpack(">I", data[at:at + 4])[0]
        yield data[at + 4:at + 8], data[at + 8:at + size]
        at += size


def caption(how, payload, reference=2000000000, offset=500000000):
    return bytes([how]) + struct.pack(">qq", reference, offset) + payload


def caption_seeds():
    dot = make_images.png([[1]])
    text = next(body for kind, body in boxes(sample("atsc3", "eng-6.m4s")) if kind == b"mdat")
    long = next(body for kind, body in boxes(sample("atsc3", "kor-9.m4s")) if kind == b"mdat")
    found = [caption(how, text + rest) for how in (0x00, 0x01, 0x10, 0x11, 0x20, 0x60, 0xA0, 0x0F)
             for rest in (b"", dot)]
    found += [caption(0x10, dot), caption(0x10, long[:300] + dot + dot), caption(0x00, b""), caption(0x00, long)]
    found += [caption(0x00, text, *times) for times in ((-1, 0), (0, 1), (0, -1), (1 << 62, -(1 << 62)),
                                                       ((1 << 63) - 1, -(1 << 63)), (1, 0))]
    return found


def time_expression_seeds():
    texts = ["00:00:05.000", "10:20:30:12", "5s", "1.5h", "2m", "250ms", "12f", "90000t", "00:59:59.9999", "0.0005s",
             "99999999999999999999h", "12.5f", "7.25t", "1:00:00", "00:60:00", "s", ":"]
    for name in ("imsc1-text.ttml", "ebu-tt-d.ttml"):
        texts += re.findall('(?:begin|end|dur)="([^"]*)"', sample(name).decode())
    rates = [b"\0", b"\3", b"\4", b"\x0a" + struct.pack(">i", 90000), b"\7" + struct.pack(">d", 59.94),
             b"\x08\xff\xff\xff\xff"]
    return [rate + text.encode() for text in unlike(texts) for rate in rates[:2]] + [
        rate + text.encode() for text in ("12f", "90000t", "00:00:01:23") for rate in rates[2:]]


def transport_seeds():
    stream = packets()
    wanted = [packet for packet in stream if pid_of(packet) in set(TABLES) | set(PES_PIDS) | {0x101}]
    tables = [next(one for one in stream if pid_of(one) == pid) for pid in sorted(TABLES)]
    subtitles = [one for one in stream if pid_of(one) == 0x103][:7]
    rows = [stream[:6], wanted[:8], tables + subtitles, tables[:1] + tables[3:4] + wanted[-7:], subtitles]
    found = []
    for number, row in enumerate(rows):
        plain = b"".join(row)
        found.append(bytes([number % 2, 0]) + plain)
        found.append(bytes([2 + number % 2, 40 * number]) + plain)
    row = rows[2]
    stamped = b"".join(b"\0\0\0\1" + one for one in row)
    with_parity = b"".join(one + ts_maker.parity(one) for one in row)
    return found + [b"\0\0" + stamped, b"\0\x20" + with_parity, b"\0\7" + b"junk" + b"".join(row),
                    b"\1\x26" + with_parity,
                    b"\0\0" + b"".join(row[:4]) + row[4][:100] + b"".join(row[5:])]


def section_input(choice, section):
    body = section[8:-4]
    numbers = bytes([section[5] & 0x3F, section[6], section[7]])  # version and whether it is in force
    return bytes([choice]) + section[3:5] + numbers + struct.pack(">H", len(body)) + body


def tables_seeds():
    found, whole = [], b""
    for pid, choice in sorted(TABLES.items()):
        for unit in unlike(units(pid)):
            data = unit[1 + unit[0]:]
            section = data[:3 + (struct.unpack(">H", data[1:3])[0] & 0x0FFF)]
            one = section_input(choice, section)
            if one not in found:
                found.append(one)
                whole += one
    first_pat = found[0]
    maps = [one for one in found if one[0] >= TABLES[0x100]]
    return found + [first_pat + one for one in maps] + [whole] + [
        bytes([OF_OTHER_PIDS]) + struct.pack(">HB", 0x104, 2) + one[1:] for one in maps[:1]]


def segment_input(initialization, *media):
    return struct.pack(">H", len(initialization)) + initialization + b"".join(media)


def segment_seeds():
    def read(name):
        return sample("atsc3", name)

    init, image_init = read("eng-init.mp4"), read("spa-init.mp4")
    file = sample("subtitles.mp4")
    return [segment_input(init, read("eng-6.m4s")), segment_input(init, read("eng-1.m4s"), read("eng-6.m4s")),
            segment_input(image_init, read("spa-6.m4s")), segment_input(image_init, read("spa-13.m4s")[:1500]),
            segment_input(read("deu-init.mp4"), read("deu-00004.m4s")), segment_input(b"", file[:2500]),
            segment_input(sample("dash", "en", "init.mp4"), sample("dash", "en", "1.m4s")[:2000]),
            segment_input(init), segment_input(b"", read("eng-6.m4s"))]


def manifest_seeds():
    row = ('<MPD type="%s" mediaPresentationDuration="PT20S"><Period%s><AdaptationSet lang="eng">%s'
           '<Representation id="a" bandwidth="7" codecs="stpp.ttml.im1t"/></AdaptationSet></Period></MPD>')
    timeline = '<SegmentTimeline><S t="0" d="2000" r="3"/><S d="1000" r="-1"/></SegmentTimeline>'
    kinds = ['<SegmentTemplate media="$Number%%05d$.m4s" timescale="1000" duration="2002" startNumber="3"/>',
             '<SegmentTemplate media="$RepresentationID$/$Time$" timescale="1000">' + timeline + '</SegmentTemplate>',
             '<SegmentList duration="2"><Initialization sourceURL="i"/><SegmentURL media="1"/></SegmentList>',
             '<BaseURL>a.mp4</BaseURL><SegmentBase presentationTimeOffset="9"/>',
             '<SegmentTemplate media="$Number$$$$Bandwidth$" duration="1" endNumber="4" availabilityTimeOffset="1.5"/>']
    found = [(row % ("static", ' start="PT1S"', kind.replace("%%", "%"))).encode() for kind in kinds]
    return found + mpds() + [b"<MPD><Period/><Period duration='PT1S'/></MPD>", b"<MPD", b"<tt/>",
                             sample("dash", "manifest.mpd")]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    seeds = {name[:-len("_seeds")]: make for name, make in globals().items() if name.endswith("_seeds")}
    for target, make in sorted(seeds.items()):
        folder = os.path.join(sys.argv[1], target)
        os.makedirs(folder, exist_ok=True)
        inputs = unlike(make())
        for number, data in enumerate(inputs):
            with open(os.path.join(folder, "seed-%02d" % number), "wb") as file:
                file.write(data)
        print("%-16s %3d seeds, %6d bytes" % (target, len(inputs), sum(map(len, inputs))))


if __name__ == "__main__":
    main()
