"""The transport stream of Samples/: that it is a correct one, and holds what Samples/README.md says.

Nothing of the script that makes it is used here but the script itself, and nothing of the library.
"""

import collections
import filecmp
import gzip
import os
import struct
import subprocess
import sys
import unittest
import xml.etree.ElementTree as ElementTree

from ttmlsrc_case import SAMPLES, Case

SAMPLE = os.path.join(SAMPLES, "subtitles.ts")
MAKER = os.path.join(SAMPLES, "make_ts.py")

PAT, SDT, EIT, NULL = 0x0000, 0x0011, 0x0012, 0x1FFF
PMTS = {101: 0x100, 102: 0x200}
VIDEOS = {101: 0x101, 102: 0x201}
ENGLISH, GERMAN, FRENCH, ENGLISH_MOVED = 0x102, 0x103, 0x202, 0x104
CLOCK_WRAP = (1 << 33) * 300
PTS_WRAP = 1 << 33

Packet = collections.namedtuple("Packet", "slot pid start counter field payload")
Piece = collections.namedtuple("Piece", "slot last data")  # a section or PES packet: its first and last slot
Subtitle = collections.namedtuple("Subtitle", "slot last pid pts media_time segments")


def crc(data):
    rest = 0xFFFFFFFF
    for byte in data:
        rest ^= byte << 24
        for _ in range(8):
            rest = (rest << 1 ^ 0x04C11DB7 if rest & 0x80000000 else rest << 1) & 0xFFFFFFFF
    return rest


def descriptors(data):
    found = []
    while data:
        found.append((data[0], data[2:2 + data[1]]))
        data = data[2 + data[1]:]
    return found


class Walker:
    """Takes a stream of 188-byte packets apart; what is not well-formed is an assertion failure."""

    def __init__(self, case, data):
        case.assertEqual(len(data) % 188, 0)
        self.case = case
        self.packets = [self.packet(slot, data[slot * 188:slot * 188 + 188]) for slot in range(len(data) // 188)]
        self.of = collections.defaultdict(list)
        for packet in self.packets:
            self.of[packet.pid].append(packet)

    def packet(self, slot, data):
        check = self.case
        sync, head, control = struct.unpack(">BHB", data[:4])
        check.assertEqual(sync, 0x47, "packet %d" % slot)
        check.assertEqual(head & 0x8000, 0, "transport error in packet %d" % slot)
        check.assertEqual(control & 0xC0, 0, "packet %d is scrambled" % slot)
        check.assertEqual(control & 0x10, 0x10, "packet %d has no payload" % slot)
        field, payload = b"", data[4:]
        if control & 0x20:
            check.assertLessEqual(payload[0], 182, "packet %d" % slot)
            field, payload = payload[1:1 + payload[0]], payload[1 + payload[0]:]
            if field:
                used = 7 if field[0] & 0x10 else 1
                check.assertEqual(field[0] & ~0x50, 0, "flags in packet %d" % slot)
                check.assertEqual(field[used:], b"\xff" * (len(field) - used), "stuffing in packet %d" % slot)
        return Packet(slot, head & 0x1FFF, bool(head & 0x4000), control & 15, field, payload)

    def clocks(self, pid):
        """(slot, PCR in 27 MHz) of each PCR."""
        found = []
        for packet in self.of[pid]:
            if packet.field and packet.field[0] & 0x10:
                value = int.from_bytes(packet.field[1:7], "big")
                self.case.assertEqual(value >> 9 & 63, 63)
                found.append((packet.slot, (value >> 15) * 300 + (value & 511)))
        return found

    def sections(self, pid):
        found, data, slot = [], b"", 0
        for packet in self.of[pid]:
            payload = packet.payload
            if packet.start:
                self.case.assertEqual(payload[0], 0, "each section here starts in a packet of its own")
                data, slot, payload = b"", packet.slot, payload[1:]
            data += payload
            length = 3 + (int.from_bytes(data[1:3], "big") & 0xFFF)
            if packet.payload and len(data) >= length and data:
                self.case.assertEqual(data[length:], b"\xff" * (len(data) - length))
                self.case.assertEqual(crc(data[:length]), 0, "CRC of a section on PID 0x%x" % pid)
                found.append(Piece(slot, packet.slot, data[:length]))
        return found

    def pes(self, pid):
        found, parts = [], []
        for packet in self.of[pid] + [None]:
            if parts and (packet is None or packet.start):
                data = b"".join(part.payload for part in parts)
                self.case.assertEqual(len(data), 6 + int.from_bytes(data[4:6], "big"), "PES length, PID 0x%x" % pid)
                found.append(Piece(parts[0].slot, parts[-1].slot, data))
                parts = []
            if packet:
                parts.append(packet)
        return found

    def pts(self, data):
        """Checks a PES header; returns its PTS."""
        self.case.assertEqual(data[:3], b"\x00\x00\x01")
        self.case.assertEqual(data[6:9], b"\x84\x80\x05")  # aligned, PTS alone, 5 bytes of header data
        self.case.assertEqual((data[9] & 0xF1, data[11] & 1, data[13] & 1), (0x21, 1, 1))
        return (data[9] >> 1 & 7) << 30 | data[10] << 22 | data[11] >> 1 << 15 | data[12] << 7 | data[13] >> 1

    def subtitles(self, pid):
        found = []
        for slot, last, data in self.pes(pid):
            self.case.assertEqual(data[3], 0xBD)
            pts, field = self.pts(data), data[14:]
            self.case.assertEqual(crc(field), 0, "CRC of a data field on PID 0x%x" % pid)
            segments, place = [], 7
            for _ in range(field[6]):
                kind, length = struct.unpack(">BH", field[place:place + 3])
                segments.append((kind, field[place + 3:place + 3 + length]))
                place += 3 + length
            self.case.assertEqual(place, len(field) - 4, "the segments fill the data field")
            found.append(Subtitle(slot, last, pid, pts, int.from_bytes(field[:6], "big"), segments))
        return found

    def pmts(self, service):
        """(slot, version, PCR PID, [(stream type, PID, descriptors)]) of each."""
        found = []
        for slot, _, data in self.sections(PMTS[service]):
            self.case.assertEqual((data[0], data[3] << 8 | data[4]), (2, service))
            self.case.assertEqual(data[10:12], b"\xf0\x00")  # no descriptors of the programme
            streams, rest = [], data[12:-4]
            while rest:
                kind, pid, length = struct.unpack(">BHH", rest[:5])
                length &= 0xFFF
                streams.append((kind, pid & 0x1FFF, descriptors(rest[5:5 + length])))
                rest = rest[5 + length:]
            found.append((slot, data[5] >> 1 & 31, (data[8] << 8 | data[9]) & 0x1FFF, streams))
        return found


def texts(subtitle):
    """The documents of a PES packet; zeros behind a gzip stream are left out by the reader."""
    return [gzip.decompress(data) if kind == 2 else data for kind, data in subtitle.segments]


def times(document):
    """Where begin and end say, in units of 100 us; None for a document without text."""
    for element in ElementTree.fromstring(document).iter("{http://www.w3.org/ns/ttml}p"):
        clock = [element.get(name).replace(".", ":").split(":") for name in ("begin", "end")]
        return tuple(((int(h) * 60 + int(m)) * 60 + int(s)) * 10000 + int(ms) * 10 for h, m, s, ms in clock)
    return None


def shown(document):
    return "".join(ElementTree.fromstring(document).itertext()).strip()


class StreamCase(Case):
    @classmethod
    def setUpClass(cls):
        with open(SAMPLE, "rb") as file:
            cls.data = file.read()

    def make(self, name, *options):
        subprocess.run([sys.executable, "-B", MAKER, "--output", self.path(name), *options], check=True)
        with open(self.path(name), "rb") as file:
            return file.read()


class SampleStream(StreamCase):
    def setUp(self):
        super().setUp()
        self.walker = Walker(self, self.data)

    def test_is_what_its_script_makes(self):
        self.make("again.ts")
        self.assertTrue(filecmp.cmp(SAMPLE, self.path("again.ts"), shallow=False))

    def test_counts_its_packets_without_a_gap(self):
        pids = {PAT, SDT, EIT, *PMTS.values(), *VIDEOS.values(), ENGLISH, GERMAN, FRENCH, ENGLISH_MOVED}
        self.assertEqual(set(self.walker.of), pids | {NULL})
        self.assertEqual(len(self.walker.packets), 3000)
        for pid in pids:
            counters = [packet.counter for packet in self.walker.of[pid]]
            self.assertEqual(counters, [n % 16 for n in range(len(counters))], "PID 0x%x" % pid)

    def test_has_a_clock_that_wraps_once(self):
        starts = set()
        for service, pid in VIDEOS.items():
            clocks = self.walker.clocks(pid)
            self.assertEqual(len(clocks), 750, service)
            self.assertLessEqual(max(b - a for (a, _), (b, _) in zip(clocks, clocks[1:])), 4)  # 40 ms
            self.assertEqual(sum(b < a for (_, a), (_, b) in zip(clocks, clocks[1:])), 1)
            starts |= {(clock - slot * 270000) % CLOCK_WRAP for slot, clock in clocks}
        # All of them lie on one line, a packet every 10 ms, which reaches the wrap after 18.4 s.
        self.assertEqual(starts, {CLOCK_WRAP - 1840 * 270000})

    def test_has_video_with_every_clock(self):
        for pid in VIDEOS.values():
            pictures = self.walker.pes(pid)
            self.assertEqual(len(pictures), 750)
            self.assertEqual(len({picture.data[14:] for picture in pictures}), 1)
            for picture, (slot, clock) in zip(pictures, self.walker.clocks(pid)):
                self.assertEqual(picture.slot, slot)
                self.assertEqual(picture.data[3], 0xE0)
                self.assertEqual((self.walker.pts(picture.data) - clock // 300) % PTS_WRAP, 200 * 90)
                self.assertEqual(picture.data[14:18], b"\x00\x00\x01\xb3")

    def test_lists_two_services(self):
        tables = self.walker.sections(PAT)
        self.assertEqual(len(tables), 120)
        self.assertEqual({table.data for table in tables}, {tables[0].data})
        self.assertEqual(tables[0].data[8:-4], bytes.fromhex("0065e100 0066e200"))

    def test_describes_its_subtitles(self):
        def ttml(service):
            return {pid: dict(found) for kind, pid, found in self.walker.pmts(service)[0][3] if kind == 6}

        # extension, language, purpose and suitability, flags and count, profile, length and text
        deaf = b"\x10\x00\x01" + "für Gehörlose".encode("latin-1")
        self.assertEqual(ttml(101), {
            ENGLISH: {0x52: b"\x01", 0x7F: b"\x20eng\x01\x01\x01\x00"},
            GERMAN: {0x52: b"\x02", 0x7F: b"\x20deu\x42\x01\x00\x10" + deaf}})
        self.assertEqual(ttml(102), {
            FRENCH: {0x52: b"\x01", 0x7F: b"\x20fra\x00\x01\x02\x0bSous-titres"}})

    def test_moves_the_english_subtitles_half_way(self):
        tables = self.walker.pmts(101)
        pids = [(version, pcr, [pid for _, pid, _ in streams]) for _, version, pcr, streams in tables]
        before, after = (1, 0x101, [0x101, ENGLISH, GERMAN]), (2, 0x101, [0x101, ENGLISH_MOVED, GERMAN])
        self.assertEqual(pids, [before] * 54 + [after] * 66)
        moved = tables[54][0]
        self.assertLess(abs(moved - 1350), 10)
        self.assertEqual([version for _, version, _, _ in self.walker.pmts(102)], [1] * 120)
        last, first = self.walker.subtitles(ENGLISH)[-1], self.walker.subtitles(ENGLISH_MOVED)[0]
        self.assertLess(last.last, moved)
        self.assertGreater(first.slot, moved)
        self.assertEqual(last.segments, first.segments)

    def test_names_its_services_in_two_encodings(self):
        tables = self.walker.sections(SDT)
        self.assertEqual(len(tables), 15)
        data = tables[0].data
        self.assertEqual((data[0], data[1] & 0xF0), (0x42, 0xF0))
        rest, names = data[11:-4], {}
        while rest:
            service, length = struct.unpack(">HxH", rest[:5])
            length &= 0xFFF
            names[service] = descriptors(rest[5:5 + length])
            rest = rest[5 + length:]
        provider = b"\x10\x00\x01" + "Télé Côte".encode("latin-1")
        name = b"\x15" + "Phare Doré".encode()
        self.assertEqual(names, {
            101: [(0x48, b"\x01\x10Bay Broadcasting\x0aHarbour TV")],
            102: [(0x48, b"\x01" + bytes([len(provider)]) + provider + bytes([len(name)]) + name)]})

    def test_rates_the_events_of_the_first_service(self):
        ratings = set()
        for table in self.walker.sections(EIT):
            data = table.data
            self.assertEqual(data[0], 0x4E)
            service, number = data[3] << 8 | data[4], data[6]
            # 5 January 2026 is MJD 61045; 20:15, then 21:00, for 45 minutes each.
            start = bytes.fromhex("ee75201500004500" if number == 0 else "ee75210000004500")
            self.assertEqual(data[16:24], start)
            self.assertEqual(int.from_bytes(data[24:26], "big") & 0xFFF, len(data) - 30)
            ratings.add((service, number, dict(descriptors(data[26:-4])).get(0x55)))
        self.assertEqual(ratings, {(101, 0, b"GBR\x09"), (101, 1, b"GBR\x0d"), (102, 0, None), (102, 1, None)})

    def test_sends_every_document_twice(self):
        english = self.walker.subtitles(ENGLISH) + self.walker.subtitles(ENGLISH_MOVED)
        for subtitles, count, step in ((english, 11, 2500), (self.walker.subtitles(GERMAN), 11, 2500),
                                       (self.walker.subtitles(FRENCH), 9, 3000)):
            self.assertEqual(len(subtitles), 2 * count)
            firsts, repeats = subtitles[::2], subtitles[1::2]
            for first, repeat in zip(firsts, repeats):
                self.assertEqual(first.segments, repeat.segments)
                self.assertEqual((repeat.pts - first.pts) % PTS_WRAP, 90000)
                self.assertEqual(repeat.media_time - first.media_time, 10000)
            for first, following in zip(firsts, firsts[1:]):
                self.assertEqual((following.pts - first.pts) % PTS_WRAP, step * 90)
                self.assertNotEqual(first.segments, following.segments)
            lines = [shown(text) for first in firsts for text in texts(first)]
            self.assertEqual(len(set(lines)), len(lines))

    def test_sends_documents_ahead_of_their_time(self):
        start = (CLOCK_WRAP - 1840 * 270000) // 300
        origins = collections.defaultdict(set)
        for pid in (ENGLISH, ENGLISH_MOVED, GERMAN, FRENCH):
            for number, subtitle in enumerate(self.walker.subtitles(pid)):
                shown_at = (subtitle.pts - start) % PTS_WRAP // 90  # ms from the start of the stream
                self.assertTrue(300 <= shown_at - subtitle.last * 10 <= 800, subtitle)
                origins[pid].add(subtitle.media_time - shown_at * 10)
                first = number % 2 == (1 if pid == ENGLISH_MOVED else 0)
                for text in texts(subtitle):
                    begin = subtitle.media_time - (0 if first else 10000)
                    self.assertIn(times(text), ((begin, begin + 20000), None))
        evening = (20 * 60 + 15) * 60 * 10000
        self.assertEqual(origins, {ENGLISH: {evening}, ENGLISH_MOVED: {evening}, GERMAN: {evening}, FRENCH: {0}})

    def test_has_all_kinds_of_segments(self):
        subtitles = {pid: self.walker.subtitles(pid) for pid in (ENGLISH, ENGLISH_MOVED, GERMAN, FRENCH)}
        kinds = {pid: {tuple(kind for kind, _ in subtitle.segments) for subtitle in found}
                 for pid, found in subtitles.items()}
        self.assertEqual(kinds, {ENGLISH: {(1,), (2,), (2, 1)}, ENGLISH_MOVED: {(1,), (2,)},
                                 GERMAN: {(1,), (2,)}, FRENCH: {(1,), (2,)}})
        # A gzip stream ends with the length of the text, which is below 64 KiB: two zeros. More are padding.
        padded = [sum(data.endswith(b"\0\0\0") for subtitle in found[::2] for kind, data in subtitle.segments
                      if kind == 2) for found in subtitles.values()]
        self.assertEqual(padded, [1, 1, 3, 1])
        sizes = [len(data) for found in subtitles.values() for subtitle in found for _, data in subtitle.segments]
        self.assertEqual((min(sizes), max(sizes) > 4 * 184), (len(b'<tt xmlns="http://www.w3.org/ns/ttml" '
                                                                   b'xml:lang="en"/>'), True))

    def test_has_texts_of_several_scripts(self):
        lines = [shown(text) for pid in (ENGLISH, ENGLISH_MOVED, GERMAN, FRENCH)
                 for subtitle in self.walker.subtitles(pid) for text in texts(subtitle)]
        for part in ("Μαρία", "灯台", "Маяк", "Fähre", "même", "bay & the fog"):
            self.assertTrue(any(part in line for line in lines), part)

    def test_wraps_presentation_times_before_and_after_the_clock(self):
        for pid, wrapped in ((ENGLISH_MOVED, True), (GERMAN, True), (FRENCH, False)):
            before = [subtitle for subtitle in self.walker.subtitles(pid) if subtitle.last < 1840]
            self.assertEqual(before[-1].pts < PTS_WRAP // 2, wrapped, "PID 0x%x" % pid)


class StreamsWithOptions(StreamCase):
    def test_stamp_packets_of_192_bytes(self):
        data = self.make("m2ts.ts", "--packet-size", "192")
        self.assertEqual(b"".join(data[n + 4:n + 192] for n in range(0, len(data), 192)), self.data)
        stamps = [struct.unpack(">I", data[n:n + 4])[0] for n in range(0, len(data), 192)]
        self.assertEqual({(b - a) % (1 << 30) for a, b in zip(stamps, stamps[1:])}, {270000})

    def test_add_parity_to_packets_of_204_bytes(self):
        data = self.make("parity.ts", "--packet-size", "204")
        self.assertEqual(b"".join(data[n:n + 188] for n in range(0, len(data), 204)), self.data)
        powers = [1]  # of x, in the field of RS(204,188)
        for _ in range(254):
            powers.append(powers[-1] << 1 ^ (0x11D if powers[-1] & 0x80 else 0))
        logs = {value: n for n, value in enumerate(powers)}
        for packet in (data[:204], data[204 * 777:204 * 778], data[-204:]):
            for root in range(16):
                value = 0
                for byte in packet:
                    value = (powers[(logs[value] + root) % 255] if value else 0) ^ byte
                self.assertEqual(value, 0, "the polynomial has root %d" % root)

    def test_leave_the_subtitles_out(self):
        walker = Walker(self, self.make("bare.ts", "--no-ttml"))
        self.assertEqual(set(walker.of), {PAT, SDT, EIT, NULL, *PMTS.values(), *VIDEOS.values()})
        for service, pid in VIDEOS.items():
            self.assertEqual({(version, pcr, str(streams)) for _, version, pcr, streams in walker.pmts(service)},
                             {(1, pid, str([(2, pid, [])]))})

    def test_go_on_with_new_texts(self):
        walker = Walker(self, self.make("long.ts", "--seconds", "90"))
        self.assertEqual(len(walker.packets), 9000)
        english = (walker.subtitles(ENGLISH) + walker.subtitles(ENGLISH_MOVED))[::2]
        self.assertEqual(len(english), 35)
        lines = [shown(text) for subtitle in english for text in texts(subtitle)]
        self.assertEqual(lines[12], "12. The ferry is gone, but its wake is not.")
        lines = [line for line in lines if line]
        self.assertEqual((len(lines), len(set(lines))), (35, 35))

    def test_are_refused_with_one_line(self):
        for options, words in ((("--output", self.path("no", "such.ts")), "cannot write"),
                               (("--seconds", "4"), "'4' must be 5 or more"),
                               (("--packet-size", "190"), "invalid choice: 190")):
            run = subprocess.run([sys.executable, "-B", MAKER, "--output", self.path("x.ts"), *options],
                                 stderr=subprocess.PIPE, check=False)
            self.assertNotEqual(run.returncode, 0)
            self.assertIn(words, run.stderr.decode().splitlines()[-1])
            self.assertFalse(os.path.exists(self.path("x.ts")))


if __name__ == "__main__":
    unittest.main()
