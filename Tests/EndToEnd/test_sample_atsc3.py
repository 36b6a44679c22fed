"""The ATSC 3.0 services of Samples/: that they are correct ones, and hold what Samples/README.md says.

Nothing of the scripts that make them is used here but the script itself, and nothing of the library.
"""

import collections
import datetime
import filecmp
import os
import re
import selectors
import struct
import subprocess
import sys
import unittest
import xml.etree.ElementTree as ElementTree
import zlib

from ttmlsrc_case import SAMPLES, TIME_LIMIT, Case

FOLDER = os.path.join(SAMPLES, "atsc3")
MAKER = os.path.join(SAMPLES, "make_atsc3.py")

DASH = "{urn:mpeg:dash:schema:mpd:2011}"
TTML = "{http://www.w3.org/ns/ttml}"
TTP = "{http://www.w3.org/ns/ttml#parameter}"
TTS = "{http://www.w3.org/ns/ttml#styling}"
XML_ID, XML_LANG = ("{http://www.w3.org/XML/1998/namespace}" + name for name in ("id", "lang"))
BACKGROUND_IMAGE = "{http://www.smpte-ra.org/schemas/2052-1/2010/smpte-tt}backgroundImage"
ALT_TEXT = "{http://www.w3.org/ns/ttml/profile/imsc1#metadata}altText"
CAPTION_SCHEME = "http://dashif.org/guidelines/dash-atsc-closedcaption"

CLOCK_TICK = 0.02  # seconds; a file's time is that of the tick before

PARENTS = {b"moov", b"mvex", b"trak", b"mdia", b"minf", b"dinf", b"stbl", b"moof", b"traf"}

Box = collections.namedtuple("Box", "kind start end body children")
Set = collections.namedtuple("Set", "language role properties codecs timescale duration number init media name")
Segment = collections.namedtuple("Segment", "sequence time duration parts")


class Walker:
    """Takes files of boxes apart; what is not well-formed is an assertion failure."""

    def __init__(self, case):
        self.case = case

    def boxes(self, data, start, end):
        found = []
        while start < end:
            self.case.assertGreaterEqual(end - start, 8)
            size, kind = struct.unpack(">I4s", data[start:start + 8])
            self.case.assertGreaterEqual(size, 8, kind)
            self.case.assertLessEqual(start + size, end, kind)
            children = self.boxes(data, start + 8, start + size) if kind in PARENTS else []
            found.append(Box(kind, start, start + size, data[start + 8:start + size], children))
            start += size
        return found

    def read(self, path):
        with open(path, "rb") as file:
            data = file.read()
        return data, self.boxes(data, 0, len(data))

    def only(self, boxes, *path):
        for kind in path:
            boxes = [box for box in boxes if box.kind == kind]
            self.case.assertEqual(len(boxes), 1, path)
            last, boxes = boxes[0], boxes[0].children
        return last

    def numbers(self, form, body, exact=True):
        size = struct.calcsize(form)
        if exact:
            self.case.assertEqual(len(body), size)
        return struct.unpack(form, body[:size])

    def init(self, path):
        """The brands, the time scale, the language and the three texts of the sample entry."""
        _, boxes = self.read(path)
        self.case.assertEqual([box.kind for box in boxes], [b"ftyp", b"moov"])
        movie = boxes[1].children
        self.case.assertEqual([box.kind for box in movie], [b"mvhd", b"trak", b"mvex"])
        media = self.only(movie, b"trak", b"mdia").children
        _, _, _, scale, length, letters, _ = self.numbers(">IIIIIHH", self.only(media, b"mdhd").body)
        self.case.assertEqual(length, 0)
        language = "".join(chr(0x60 + (letters >> shift & 31)) for shift in (10, 5, 0))
        self.case.assertEqual(self.only(media, b"hdlr").body[8:12], b"subt")
        information = self.only(media, b"minf").children
        self.case.assertEqual(self.only(information, b"sthd").body, bytes(4))
        tables = self.only(information, b"stbl").children
        for empty in (b"stts", b"stsc", b"stco"):
            self.case.assertEqual(self.only(tables, empty).body, bytes(8))
        self.case.assertEqual(self.only(tables, b"stsz").body, bytes(12))
        description = self.only(tables, b"stsd").body
        self.case.assertEqual(self.numbers(">II", description, exact=False), (0, 1))
        size, kind, reserved, reference = self.numbers(">I4s6sH", description[8:], exact=False)
        self.case.assertEqual((size, kind, reserved, reference), (len(description) - 8, b"stpp", bytes(6), 1))
        texts = description[24:].split(b"\0")
        self.case.assertEqual((len(texts), texts[3]), (4, b""))
        track = self.numbers(">IIII", self.only(movie, b"trak", b"tkhd").body, exact=False)[3]
        self.case.assertEqual(self.numbers(">6I", self.only(movie, b"mvex", b"trex").body), (0, track, 1, 0, 0, 0))
        self.case.assertEqual(track, 1)
        brands = [boxes[0].body[at:at + 4] for at in range(0, len(boxes[0].body), 4)]
        return brands[2:], scale, language, texts[:3]

    def segment(self, path):
        data, boxes = self.read(path)
        self.case.assertEqual([box.kind for box in boxes], [b"styp", b"sidx", b"moof", b"mdat"])
        _, index, fragment, media = boxes
        self.case.assertEqual([box.kind for box in fragment.children], [b"mfhd", b"traf"])
        sequence = self.numbers(">II", fragment.children[0].body)[1]
        tracks = fragment.children[1].children
        self.case.assertEqual([box.kind for box in tracks][:3], [b"tfhd", b"tfdt", b"trun"])
        self.case.assertEqual(self.numbers(">II", tracks[0].body), (0x020000, 1))
        version, time = self.numbers(">IQ", tracks[1].body)
        self.case.assertEqual(version, 1 << 24)
        flags, count, offset, duration, size = self.numbers(">IIiII", tracks[2].body)
        self.case.assertEqual((flags, count), (0x301, 1))
        self.case.assertEqual(fragment.start + offset, media.start + 8)
        self.case.assertEqual(len(media.body), size)
        self.case.assertEqual(
            self.numbers(">IIIQQHHIII", index.body)[:1] + self.numbers(">IIIQQHHIII", index.body)[3:],
            (1 << 24, time, 0, 0, 1, len(data) - index.end, duration, 0x90000000))
        return Segment(sequence, time, duration, self.parts(tracks[3:], media.body))

    def parts(self, boxes, sample):
        """The sample cut where the sub-sample information says."""
        if not boxes:
            return [sample]
        self.case.assertEqual([box.kind for box in boxes], [b"subs"])
        body = boxes[0].body
        version, entries, delta, count = self.numbers(">IIIH", body, exact=False)
        self.case.assertEqual((version, entries, delta), (0, 1, 1))
        self.case.assertEqual(len(body), 14 + 8 * count)
        parts = []
        for number in range(count):
            size, priority, discardable, parameters = struct.unpack(">HBBI", body[14 + 8 * number:22 + 8 * number])
            self.case.assertEqual((priority, discardable, parameters), (0, 0, 0))
            parts.append(sample[:size])
            sample = sample[size:]
        self.case.assertEqual(sample, b"")
        return parts


class Png:
    """An image of palette indices; a wrong checksum or chunk is an assertion failure."""

    def __init__(self, case, data):
        case.assertEqual(data[:8], b"\x89PNG\r\n\x1a\n")
        at, kinds, pixels = 8, [], b""
        while at < len(data):
            size, kind = struct.unpack(">I4s", data[at:at + 8])
            body = data[at + 8:at + 8 + size]
            case.assertEqual(struct.unpack(">I", data[at + 8 + size:at + 12 + size])[0], zlib.crc32(kind + body))
            kinds.append(kind)
            pixels += body if kind == b"IDAT" else b""
            if kind == b"IHDR":
                self.width, self.height = struct.unpack(">II", body[:8])
            at += 12 + size
        case.assertEqual((at, kinds), (len(data), [b"IHDR", b"PLTE", b"tRNS", b"IDAT", b"IEND"]))
        case.assertEqual(len(zlib.decompress(pixels)), self.height * (self.width + 1))


def mpd_of(folder, name):
    return ElementTree.parse(os.path.join(folder, name)).getroot()


def sets_of(mpd):
    sets = []
    for found in mpd.findall(DASH + "Period/" + DASH + "AdaptationSet"):
        template = found.find(DASH + "SegmentTemplate")
        representation = found.find(DASH + "Representation")
        told = found.find(DASH + "SupplementalProperty")
        sets.append(Set(
            found.get("lang"), found.find(DASH + "Role").get("value"),
            told.get("value") if told is not None and told.get("schemeIdUri") == CAPTION_SCHEME else None,
            representation.get("codecs"), int(template.get("timescale")), int(template.get("duration")),
            int(template.get("startNumber")), template.get("initialization"), template.get("media"),
            representation.get("id")))
    return sets


def named(template, captions, number):
    name = template.replace("$RepresentationID$", captions.name).replace("$Number$", str(number))
    return name.replace("$Number%05d$", "%05d" % number)


def time_of(text):
    """Milliseconds of a clock time."""
    hours, minutes, seconds = text.split(":")
    return (int(hours) * 60 + int(minutes)) * 60000 + round(float(seconds) * 1000)


class AtscSample(Case):
    def setUp(self):
        super().setUp()
        self.walker = Walker(self)

    def segments(self, captions, count, folder=FOLDER):
        return [self.walker.segment(os.path.join(folder, named(captions.media, captions, captions.number + index)))
                for index in range(count)]

    def all_segments(self):
        for name, count in (("service.mpd", 14), ("second.mpd", 12)):
            for captions in sets_of(mpd_of(FOLDER, name)):
                yield captions, self.segments(captions, count)

    def shown(self, captions, segments):
        """(first segment, number of segments, texts, images) of each run of equal samples."""
        runs = []
        for number, segment in enumerate(segments):
            if runs and runs[-1][4] == segment.parts:
                runs[-1][1] += 1
                continue
            root = ElementTree.fromstring(segment.parts[0])
            texts = [" / ".join(line.itertext()) for line in root.iter(TTML + "p")]
            texts += [text.text for text in root.iter(ALT_TEXT)]
            runs.append([number, 1, texts, len(segment.parts) - 1, segment.parts])
        return [tuple(run[:4]) for run in runs]

    def make(self, *options, **more):
        return subprocess.run([sys.executable, "-B", MAKER, *options], timeout=TIME_LIMIT, **more)


class Mpds(AtscSample):
    def test_tell_what_the_service_is(self):
        attributes = mpd_of(FOLDER, "service.mpd").attrib
        self.assertEqual(attributes, {
            "profiles": "urn:mpeg:dash:profile:isoff-broadcast:2015", "type": "static",
            "mediaPresentationDuration": "PT28.028S", "availabilityStartTime": "2026-01-01T00:00:00Z",
            "suggestedPresentationDelay": "PT1.5S", "minBufferTime": "PT2S", "maxSegmentDuration": "PT2.002S"})
        attributes = mpd_of(FOLDER, "second.mpd").attrib
        self.assertEqual(attributes, {
            "profiles": "urn:mpeg:dash:profile:isoff-broadcast:2015", "type": "static",
            "mediaPresentationDuration": "PT24.000S", "availabilityStartTime": "2026-01-01T06:00:00Z",
            "suggestedPresentationDelay": "PT2S", "minBufferTime": "PT2S", "maxSegmentDuration": "PT2.000S"})

    def test_tell_of_the_same_sets_on_the_air_as_afterwards(self):
        dynamic, static = mpd_of(FOLDER, "dynamic.mpd"), mpd_of(FOLDER, "service.mpd")
        self.assertEqual(dynamic.attrib, {
            "profiles": "urn:mpeg:dash:profile:isoff-broadcast:2015", "type": "dynamic",
            "minimumUpdatePeriod": "PT2S", "timeShiftBufferDepth": "PT20S", "publishTime": "2026-01-01T00:00:00Z",
            "availabilityStartTime": "2026-01-01T00:00:00Z", "suggestedPresentationDelay": "PT1.5S",
            "minBufferTime": "PT2S", "maxSegmentDuration": "PT2.002S"})
        self.assertEqual(ElementTree.tostring(dynamic[0]), ElementTree.tostring(static[0]))

    def test_tell_of_each_caption_set(self):
        self.assertEqual(
            [captions[:7] for captions in sets_of(mpd_of(FOLDER, "service.mpd"))],
            [("eng", "caption", "ar:16-9,er:0,profile:0,3d:0", "stpp.ttml.im1t", 90000, 180180, 1),
             ("kor", "subtitle", "ar:16-9,er:1,profile:0,3d:0", "stpp.ttml.im1t", 90000, 180180, 1),
             ("spa", "subtitle", "ar:16-9,er:0,profile:1,3d:0", "stpp.ttml.im1i", 90000, 180180, 1)])
        self.assertEqual(
            [captions[:7] for captions in sets_of(mpd_of(FOLDER, "second.mpd"))],
            [("deu", "caption", None, "stpp.ttml.im1t", 1000, 2000, 0),
             ("ita", "subtitle", None, "stpp.ttml.im1i", 1000, 2000, 0)])

    def test_name_every_file_of_the_folder_and_no_other(self):
        names = {"service.mpd", "dynamic.mpd", "second.mpd"}
        for mpd, count in (("service.mpd", 14), ("second.mpd", 12)):
            for captions in sets_of(mpd_of(FOLDER, mpd)):
                names.add(named(captions.init, captions, 0))
                names.update(named(captions.media, captions, captions.number + index) for index in range(count))
        self.assertEqual(sorted(os.listdir(FOLDER)), sorted(names))

    def test_are_of_a_small_sample(self):
        size = sum(os.path.getsize(os.path.join(FOLDER, name)) for name in os.listdir(FOLDER))
        self.assertLess(size, 300000)


class Segments(AtscSample):
    def test_begin_with_an_stpp_track_of_the_set_s_language(self):
        for mpd in ("service.mpd", "second.mpd"):
            for captions in sets_of(mpd_of(FOLDER, mpd)):
                brands, scale, language, texts = self.walker.init(
                    os.path.join(FOLDER, named(captions.init, captions, 0)))
                image = captions.codecs == "stpp.ttml.im1i"
                self.assertEqual(brands, [b"iso6", b"dash", b"cmfc", b"im1i" if image else b"im1t"])
                self.assertEqual((scale, language), (captions.timescale, captions.language))
                self.assertEqual(texts, [b"http://www.w3.org/ns/ttml", b"", b"image/png" if image else b""])

    def test_follow_each_other_without_a_gap(self):
        for captions, segments in self.all_segments():
            for index, segment in enumerate(segments):
                self.assertEqual(segment.sequence, captions.number + index)
                self.assertEqual(segment.time, index * captions.duration)
                self.assertEqual(segment.duration, captions.duration)

    def test_hold_documents_whose_times_are_those_of_their_segments(self):
        for captions, segments in self.all_segments():
            step = captions.duration * 1000 // captions.timescale
            for first, count, texts, _ in self.shown(captions, segments):
                root = ElementTree.fromstring(segments[first].parts[0])
                timed = [(time_of(found.get("begin")), time_of(found.get("end")))
                         for found in root.iter() if found.get("begin")]
                self.assertEqual(len(timed), len(texts))
                if texts:
                    self.assertEqual(timed[0][0], first * step)
                    self.assertEqual(timed[-1][1], (first + count) * step)

    def test_hold_documents_of_their_profile_and_language(self):
        languages = {"eng": "en", "kor": "ko", "spa": "es", "deu": "de", "ita": "it"}
        for captions, segments in self.all_segments():
            for segment in segments:
                root = ElementTree.fromstring(segment.parts[0])
                self.assertEqual((root.tag, root.get(XML_LANG)), (TTML + "tt", languages[captions.language]))
                if len(root):
                    kind = "image" if captions.codecs == "stpp.ttml.im1i" else "text"
                    self.assertEqual(root.get(TTP + "profile"), "http://www.w3.org/ns/ttml/profile/imsc1/" + kind)
                    regions = {region.get(XML_ID) for region in root.iter(TTML + "region")}
                    used = {found.get("region") for found in root.iter() if found.get("region")}
                    self.assertEqual(used, regions)

    def test_hold_images_of_the_size_of_their_regions_behind_documents_that_name_them(self):
        counts = collections.Counter()
        for captions, segments in self.all_segments():
            for segment in segments:
                document, *images = segment.parts
                root = ElementTree.fromstring(document)
                divs = [div for div in root.iter(TTML + "div") if div.get(BACKGROUND_IMAGE)]
                self.assertEqual([div.get(BACKGROUND_IMAGE) for div in divs],
                                 ["urn:mpeg:14496-30:subs:%d" % number for number in range(1, len(images) + 1)])
                extents = {region.get(XML_ID): region.get(TTS + "extent") for region in root.iter(TTML + "region")}
                for div, image in zip(divs, images):
                    png = Png(self, image)
                    self.assertEqual("%dpx %dpx" % (png.width, png.height), extents[div.get("region")])
                counts[captions.language, len(images)] += 1
        self.assertEqual(counts, {("eng", 0): 14, ("kor", 0): 14, ("spa", 0): 2, ("spa", 1): 12, ("deu", 0): 12,
                                  ("ita", 0): 2, ("ita", 1): 6, ("ita", 2): 4})

    def test_show_what_the_readme_tells(self):
        shown = {captions.language: self.shown(captions, segments) for captions, segments in self.all_segments()}
        self.assertEqual(shown["eng"], [
            (0, 2, ["The dome is open. Lights out, please."], 0),
            (2, 3, ["Something moved / between these two stars."], 0),
            (5, 1, [], 0),
            (6, 2, ["Comets & cats come when they like."], 0),
            (8, 1, ["How far is it?", "Farther than last night."], 0),
            (9, 2, ["(the clock strikes three)"], 0),
            (11, 1, [], 0),
            (12, 2, ["Write it down: “彗星, 3:07.”"], 0)])
        self.assertEqual([run[:2] + run[3:] for run in shown["kor"]],
                         [(0, 1, 0), (1, 2, 0), (3, 3, 0), (6, 2, 0), (8, 1, 0), (9, 2, 0), (11, 1, 0), (12, 2, 0)])
        self.assertEqual(shown["spa"], [
            (0, 2, ["TRES ESTRELLAS"], 1),
            (2, 3, ["ALLI ESTA!"], 1),
            (5, 1, [], 0),
            (6, 3, ["FRIA Y ALTA"], 1),
            (9, 2, ["LAS TRES!"], 1),
            (11, 1, [], 0),
            (12, 2, ["SE IRA"], 1)])
        self.assertEqual(shown["deu"], [
            (0, 2, ["Der Nachtzug hält hier nicht."], 0),
            (2, 2, ["Doch, heute schon: / für eine Katze & ihren Korb."], 0),
            (4, 1, [], 0),
            (5, 2, ["Wem gehört sie?"], 0),
            (7, 2, ["Dem Zug, sagt der Schaffner."], 0),
            (9, 1, [], 0),
            (10, 2, ["Dann gute Fahrt, Mieze!"], 0)])
        self.assertEqual(shown["ita"], [
            (0, 2, ["ALT!"], 1),
            (2, 1, [], 0),
            (3, 4, ["SALIRE!", "SI! SALI!"], 2),
            (7, 1, [], 0),
            (8, 4, ["ALLE TRE"], 1)])


class TheScript(AtscSample):
    def test_makes_the_same_bytes_again(self):
        made = self.path("made")
        self.make("--output", made, check=True)
        same, different, missing = filecmp.cmpfiles(FOLDER, made, os.listdir(FOLDER), shallow=False)
        self.assertEqual((different, missing), ([], []))
        self.assertEqual(sorted(os.listdir(made)), sorted(same))

    def test_makes_longer_services_without_saying_anything_twice(self):
        made = self.path("made")
        self.make("--output", made, "--segments", "40", check=True)
        english = sets_of(mpd_of(made, "service.mpd"))[0]
        texts = [texts for _, _, texts, _ in self.shown(english, self.segments(english, 40, made)) if texts]
        self.assertEqual(texts[5:7],
                         [["Write it down: “彗星, 3:07.”"], ["2. The dome is open. Lights out, please."]])
        self.assertEqual(len(set(map(str, texts))), len(texts))

    def test_numbers_segments_from_the_epoch_though_the_mpd_does_not_say_so(self):
        made = self.path("made")
        self.make("--output", made, "--from-epoch", check=True)
        start = int(datetime.datetime(2026, 1, 1, tzinfo=datetime.timezone.utc).timestamp()) * 1000
        first = start // 2002
        english = sets_of(mpd_of(made, "service.mpd"))[0]
        self.assertEqual(english.number, 0)
        numbers = [int(number) for number in re.findall(r"eng-(\d+)\.m4s", " ".join(sorted(os.listdir(made))))]
        self.assertEqual(numbers, list(range(first, first + 14)))
        segment = self.walker.segment(os.path.join(made, "eng-%d.m4s" % numbers[3]))
        self.assertEqual(segment.time, numbers[3] * 180180)
        begins = re.findall('begin="([^"]+)"', segment.parts[0].decode())
        self.assertEqual([time_of(begin) for begin in begins], [numbers[2] * 2002])

    def test_writes_a_service_on_the_air_as_it_goes(self):
        made = self.path("made")
        started = datetime.datetime.now(datetime.timezone.utc)
        with subprocess.Popen([sys.executable, "-B", MAKER, "--live", "--segments", "2", "--output", made],
                              stdout=subprocess.PIPE, text=True) as process:
            with selectors.DefaultSelector() as selector:
                selector.register(process.stdout, selectors.EVENT_READ)
                self.assertTrue(selector.select(TIME_LIMIT), "it does not say where the MPD is")
            path = process.stdout.readline().strip()
            self.assertEqual(path, os.path.join(made, "service.mpd"))
            mpd = mpd_of(made, "service.mpd")
            self.assertEqual(process.wait(TIME_LIMIT), 0)
        self.assertEqual((mpd.get("type"), mpd.get("minimumUpdatePeriod")), ("dynamic", "PT2S"))
        start = datetime.datetime.strptime(mpd.get("availabilityStartTime") + "+0000", "%Y-%m-%dT%H:%M:%SZ%z")
        self.assertLess(abs((start - started).total_seconds()), TIME_LIMIT)
        ended = mpd_of(made, "service.mpd")
        self.assertEqual((ended.get("type"), ended.get("minimumUpdatePeriod"),
                          ended.get("mediaPresentationDuration")),
                         ("dynamic", None, "PT4.004S"))
        self.assertEqual(sorted(os.listdir(made)),
                         ["eng-1.m4s", "eng-2.m4s", "eng-init.mp4", "kor-1.m4s", "kor-2.m4s", "kor-init.mp4",
                          "service.mpd", "spa-1.m4s", "spa-2.m4s", "spa-init.mp4"])
        for number in (1, 2):
            written = os.path.getmtime(os.path.join(made, "eng-%d.m4s" % number))
            self.assertGreaterEqual(written, start.timestamp() + number * 2.002 - CLOCK_TICK)

    def test_refuses_what_it_cannot_do(self):
        for options, words in (
            (["--output", self.write("file", b"")], "make_atsc3.py: cannot write %s: " % self.path("file")),
            (["--start", "noon"], "'noon' is not a time such as 2026-01-01T00:00:00Z"),
            (["--segments", "0"], "'0' must be 1 or more"),
            (["--live"], "--live needs --output"),
        ):
            run = self.make(*options, stderr=subprocess.PIPE, text=True)
            self.assertNotEqual(run.returncode, 0, options)
            self.assertIn(words, run.stderr)


if __name__ == "__main__":
    unittest.main()
